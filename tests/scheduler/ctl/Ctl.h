// meskctl as its users have it: a process with arguments, an environment, two streams and an exit code.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <scheduler/Scratch.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace mesk::host {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

struct Answer {
  int code = -1;
  std::string out;
  std::string error;

  /// Standard output as JSON; a failure when it is none.
  Json json() const {
    Json parsed = Json::parse(out, nullptr, false);
    EXPECT_FALSE(parsed.is_discarded()) << out << error;
    return parsed;
  }
};

inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class CtlTest : public testing::Test {
 protected:
  CtlTest() : store_(scratch_.at("store.db")) { environment_["MESK_STORE"] = store_; }

  /// Runs a program to its end, with nothing on its standard input.
  Answer program(const Words& words) const {
    const std::string out = scratch_.at("out");
    const std::string error = scratch_.at("error");
    const pid_t child = ::fork();
    if (child == 0) {
      const auto redirect = [](const std::string& path, int flags, int to) {
        const int fd = ::open(path.c_str(), flags, 0600);
        if (fd < 0 || ::dup2(fd, to) < 0) ::_exit(126);
      };
      redirect("/dev/null", O_RDONLY, 0);
      redirect(out, O_WRONLY | O_CREAT | O_TRUNC, 1);
      redirect(error, O_WRONLY | O_CREAT | O_TRUNC, 2);
      for (const char* name : {"MESK_CLASSPATH", "MESK_JVM_OPTIONS", "MESK_USER", "LC_ALL", "LANG"}) ::unsetenv(name);
      for (const auto& [name, value] : environment_) ::setenv(name.c_str(), value.c_str(), 1);
      std::vector<char*> arguments;
      for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
      arguments.push_back(nullptr);
      ::execvp(arguments[0], arguments.data());
      ::_exit(127);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contentOf(out), contentOf(error)};
  }

  Answer ctl(Words words) const {
    words.insert(words.begin(), MESK_CTL);
    return program(words);
  }

  /// As `ctl`, and all must be well.
  Answer done(const Words& words) const {
    Answer answer = ctl(words);
    EXPECT_EQ(answer.code, 0) << answer.error;
    EXPECT_EQ(answer.error, "");
    return answer;
  }

  Json json(Words words) const {
    words.emplace_back("--json");
    return done(words).json();
  }

  /// Applies tasks, given as what stands under `tasks:`.
  Answer apply(const std::string& tasks) const {
    return ctl({"apply", scratch_.write("tasks.yaml", "mesk: 1\ntasks:\n" + tasks)});
  }

  /// Lets a meskd run what is due, retries included, until nothing is.
  void runDue() const {
    const Answer answer = program({MESK_D, "--exit-when-idle", "--stop-timeout", "30s"});
    ASSERT_EQ(answer.code, 0) << answer.error;
  }

  Scratch scratch_;
  std::string store_;
  std::map<std::string, std::string> environment_;
};

}  // namespace mesk::host
