// The scheduler host.
#include <fcntl.h>
#include <fmt/format.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

#include <platform/CodePage.h>
#include <platform/Log.h>
#include <scheduler/Daemon.h>
#include <scheduler/Programs.h>
#include <scheduler/SmtpTransport.h>
#include <scheduler/Units.h>
#include <scheduler/Zone.h>

namespace {

using namespace mesk::host;
using mesk::kUtf8CodePage;
using mesk::setProcessCodePage;

constexpr std::size_t kLogBytes = 10 << 20;
constexpr std::size_t kLogFiles = 5;

/// meskd's own lines, and the records that the library writes about what failed in it: beside them in a file of
/// their own, or with them on standard error.
void openLog(const std::string& file) {
  if (file.empty()) {
    mesk::logToStandardError(true);
  } else if (!mesk::startLog((file + ".library").c_str(), kLogBytes, kLogFiles)) {
    throw HostError(kExitUsage, fmt::format("{}.library: cannot be opened as a log", file));
  }
  auto logger =
      file.empty() ? spdlog::stderr_color_mt("meskd") : spdlog::rotating_logger_mt("meskd", file, kLogBytes, kLogFiles);
  logger->set_pattern("%Y-%m-%d %H:%M:%S.%e %l %v");
  logger->flush_on(spdlog::level::info);
  spdlog::set_default_logger(std::move(logger));
}

CLI::Validator duration() {
  return CLI::Validator(
      [](std::string& text) -> std::string {
        try {
          durationFromText(text);
          return {};
        } catch (const FormatError& error) {
          return error.what();
        }
      },
      "DURATION");
}

/// What sends mails as the options say; null when they do not ask for it.
std::unique_ptr<MailTransport> transportFor(SmtpOptions smtp, const StoreAddress& address) {
  if (smtp.url.empty()) {
    if (smtp.user.empty() && smtp.passwordFile.empty() && smtp.from.empty()) return nullptr;
    throw HostError(kExitUsage, "--smtp is missing: options about mails need it");
  }
  std::array<char, 256> host{};
  ::gethostname(host.data(), host.size() - 1);
  if (smtp.from.empty()) smtp.from = fmt::format("mesk@{}", host.data());
  // The same for the same store, whatever starts meskd: FNV-1a.
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : host.data() + address.path()) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  smtp.idSpace = fmt::format("{:016x}", hash);
  try {
    return std::make_unique<SmtpTransport>(std::move(smtp));
  } catch (const FormatError& wrong) {
    throw HostError(kExitUsage, wrong.what());
  }
}

int run(int argc, char** argv) {
  CLI::App app("Runs the tasks of a Mesk store when they are due.", "meskd");
  std::string store;
  std::string log;
  std::string stopTimeout = "60s";
  std::string keepHistory = "90d";
  std::string mailGiveUp = "3d";
  SmtpOptions smtp;
  DaemonOptions options;
  options.runner = programBeside("mesk-runner");
  options.agent = programBeside("mesk-agent");
  app.add_option("--store", store, "The store: a file, or a JDBC URL. Default: the environment variable MESK_STORE")
      ->type_name("FILE-OR-URL");
  app.add_option("--limit", options.limit, "Runs at once")->check(CLI::Range(1, 1000))->capture_default_str();
  app.add_option("--stop-timeout", stopTimeout,
                 "How long a stop waits for runs; what still goes then is left to the next meskd")
      ->check(duration())
      ->capture_default_str();
  app.add_option("--keep-history", keepHistory, "How long the records of runs are kept; 0s for ever")
      ->check(duration())
      ->capture_default_str();
  app.add_option("--log", log, "Log file, rotated, and FILE.library for the library's records; default: standard error")
      ->type_name("FILE");
  app.add_option("--smtp", smtp.url,
                 "Server that takes the messages about runs: smtp://HOST[:PORT] or smtps://..; "
                 "default: they wait in the store")
      ->type_name("URL");
  app.add_option("--smtp-user", smtp.user, "User for that server")->type_name("NAME");
  app.add_option("--smtp-password-file", smtp.passwordFile, "File whose first line is that user's password")
      ->type_name("FILE");
  app.add_option("--mail-from", smtp.from, "Address that messages come from; default: mesk at this machine")
      ->type_name("ADDRESS");
  app.add_option("--mail-give-up", mailGiveUp, "How long a message that does not get through is tried")
      ->check(duration())
      ->capture_default_str();
  app.add_flag("--exit-when-idle", options.exitWhenIdle, "End when nothing runs and nothing is due");
  app.add_option("--ready-fd", options.readyFd, "Descriptor that gets a line when the queue is loaded")
      ->type_name("FD");
  app.set_version_flag("--version", std::string("meskd ") + kVersion);
  app.footer(
      "Exit codes: 0 stopped, 2 usage, 5 no superuser, 6 store cannot be opened, 7 no JVM, 8 store library missing,\n"
      "10 another meskd works on the store. See meskd(8).");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitOk : kExitUsage;
  }
  setProcessCodePage(kUtf8CodePage);  // what task files and scripts are written in
  // Not open as after this program put itself in its own place. Looked at before any other file can take its number.
  if (options.readyFd >= 0 && ::fcntl(options.readyFd, F_GETFD) < 0) options.readyFd = -1;
  openLog(log);
  options.stopTimeoutSeconds = durationFromText(stopTimeout);
  options.keepHistorySeconds = durationFromText(keepHistory);
  options.mailGiveUpSeconds = durationFromText(mailGiveUp);
  const StoreAddress address = StoreAddress::choose(store);
  auto mail = transportFor(smtp, address);

  // The C library looks at the zone file at every conversion while TZ is unset.
  const bool zoneFromSystem = std::getenv("TZ") == nullptr && !systemZone().empty();
  if (zoneFromSystem) ::setenv("TZ", systemZone().c_str(), 1);

  Daemon::End end{};
  {
    Daemon daemon(address, options, std::move(mail));
    end = daemon.run();
  }
  if (end == Daemon::End::kRestart) {
    if (zoneFromSystem) ::unsetenv("TZ");
    ::execv("/proc/self/exe", argv);
    throw HostError(kExitFailure, "meskd could not start itself again");
  }
  return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  Daemon::blockSignals();
  try {
    return run(argc, argv);
  } catch (const mesk::host::HostError& error) {
    fmt::print(stderr, "meskd: {}\n", error.what());
    return error.exitCode();
  } catch (const std::exception& error) {
    fmt::print(stderr, "meskd: {}\n", error.what());
    return kExitFailure;
  }
}
