// A mail server of this test's own, on 127.0.0.1.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <scheduler/Printed.h>
#include <scheduler/Scratch.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <scheduler/UniqueFd.h>

namespace mesk::host {

/// The program tests/support/smtp-sink while this object lives.
class MailServer {
 public:
  explicit MailServer(const Scratch& scratch, const std::vector<std::string>& more = {})
      : box_(scratch.at("mbox")), refusals_(scratch.write("refusals", "")) {
    auto [inputIn, inputOut] = makePipe();
    auto [outputIn, outputOut] = makePipe();
    std::vector<std::string> words{MESK_SUPPORT "/smtp-sink", box_, "--refuse", refusals_};
    words.insert(words.end(), more.begin(), more.end());
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(inputIn.get(), 0);
      ::dup2(outputOut.get(), 1);
      ::execv(arguments[0], arguments.data());
      ::_exit(127);
    }
    outputOut.reset();
    input_ = std::move(inputOut);
    std::array<char, 16> line{};
    if (::read(outputIn.get(), line.data(), line.size() - 1) <= 0)
      throw std::runtime_error("the mail server is not up");
    port_ = std::stoi(line.data());
  }
  ~MailServer() { stop(); }
  MailServer(const MailServer&) = delete;
  MailServer& operator=(const MailServer&) = delete;

  int port() const { return port_; }
  std::string url() const { return "smtp://127.0.0.1:" + std::to_string(port_); }

  /// From the next mail on; lines as the program's help says.
  void refuse(const Scratch& scratch, const std::string& lines) const { scratch.write("refusals", lines); }

  /// The mails that were taken, as tests/support/read-mails shows them.
  nlohmann::json mails() const {
    if (::access(box_.c_str(), F_OK) != 0) return nlohmann::json::array();
    return nlohmann::json::parse(printed(MESK_SUPPORT "/read-mails " + box_));
  }

  void stop() {
    if (pid_ <= 0) return;
    input_.reset();
    ::waitpid(std::exchange(pid_, -1), nullptr, 0);
  }

 private:
  static std::pair<UniqueFd, UniqueFd> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
  }

  std::string box_;
  std::string refusals_;
  pid_t pid_ = -1;
  UniqueFd input_;
  int port_ = 0;
};

}  // namespace mesk::host
