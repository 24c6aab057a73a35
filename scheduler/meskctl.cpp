// The command line of the store.
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <ctime>

#include <platform/CodePage.h>
#include <scheduler/Commands.h>
#include <scheduler/Programs.h>

namespace {

using namespace mesk::host;

/// A JVM for a fraction of a second: no time for the second compiler or for a collector with threads of its own.
constexpr const char* kShortLived = "-XX:TieredStopAtLevel=1 -XX:+UseSerialGC -XX:-UsePerfData";

/// Declares the commands below `app`, whose whole name is `above`. The one that the command line names becomes
/// `chosen`.
void declare(CLI::App& app, const std::vector<Command>& commands, const std::string& above, Invocation& invocation,
             const Command*& chosen) {
  app.require_subcommand(1);
  for (const Command& command : commands) {
    CLI::App* const subcommand = app.add_subcommand(command.name, command.help);
    const std::string name = above + command.name;
    if (!command.commands.empty()) {
      declare(*subcommand, command.commands, name + " ", invocation, chosen);
      continue;
    }
    command.declare(*subcommand, invocation);
    subcommand->callback([&chosen, &invocation, &command, name] {
      chosen = &command;
      invocation.command = name;
      invocation.needs = command.needs;
    });
  }
}

int run(int argc, char** argv) {
  Invocation invocation;
  CLI::App app("Defines the tasks of a Mesk store, and tells how they do.", "meskctl");
  app.add_option("--store", invocation.store,
                 "The store: a file, or a JDBC URL. Default: the environment variable MESK_STORE")
      ->type_name("FILE-OR-URL");
  app.add_option("--user", invocation.user,
                 "Work for this user. Default: the environment variable MESK_USER, else the user who calls")
      ->envname("MESK_USER")
      ->type_name("NAME");
  app.add_flag("--json", invocation.json, "Answer in JSON");
  app.add_flag("-q,--quiet", invocation.quiet, "Say nothing when all is well");
  app.set_version_flag("--version", std::string("meskctl ") + kVersion);
  app.fallthrough();
  app.footer(
      "Exit codes: 0 done, 1 failed, 2 usage, 3 task file wrong, 4 not found, 5 refused, 6 store cannot be opened,\n"
      "7 no JVM, 8 store library missing, 9 store failed. See meskctl(1).");
  const Command* chosen = nullptr;
  declare(app, commands(), "", invocation, chosen);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);  // help or version
    throw HostError(kExitUsage, fmt::format("{}; 'meskctl --help' tells more", error.what()));
  }
  try {
    return chosen->run(invocation);
  } catch (const StoreError& error) {
    if (error.code() != kStoreNotAuthorised) throw;
    throw HostError(kExitRefused, refusalText(invocation, error.what()));
  }
}

}  // namespace

int main(int argc, char** argv) {
  // Task files are UTF-8 whatever the locale says.
  mesk::setProcessCodePage(mesk::kUtf8CodePage);
  ::setenv("MESK_JVM_OPTIONS", kShortLived, 0);
  ::tzset();
  try {
    return run(argc, argv);
  } catch (const HostError& error) {
    fmt::print(stderr, "meskctl: {}\n", error.what());
    return error.exitCode();
  } catch (const std::exception& error) {
    fmt::print(stderr, "meskctl: {}\n", error.what());
    return kExitFailure;
  }
}
