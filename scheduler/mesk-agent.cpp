// mesk-agent: carries out one run of a warehouse task. meskd has it started as it has a script started, and its exit
// code is that of the step: 0 done, 1 parameters wrong, 2 source failed, 3 target failed.
#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include <mesk/bridge/PARLException.h>
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/history/MDTaskStatisticType.h>
#include <mesk/tasks/DWAgentClient.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <platform/CodePage.h>
#include <scheduler/RunOptions.h>
#include <scheduler/Session.h>
#include <scheduler/Units.h>

namespace {

using namespace mesk::host;
using mesk::BrixStepInfo;
using mesk::DWAgentClient;
using mesk::MDTask;
using mesk::MDTaskHistory;
using mesk::MDTaskHistoryType;
using mesk::MDTaskStatistic;
using mesk::MDTaskStatisticType;
using mesk::MDTaskType;
using mesk::ThreadContext;

constexpr int kParametersWrong = 1;

/// A step that cannot be tried.
struct WrongStep : HostError {
  explicit WrongStep(const std::string& why) : HostError(kExitFailure, why) {}
};

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  if (value == nullptr || *value == '\0') {
    throw WrongStep(fmt::format("{} is not set: this program is started by meskd for warehouse tasks", name));
  }
  return value;
}

long long runNumber() {
  const std::string text = variable("MESK_RUN");
  try {
    return numberFromText(text, 1, INT64_MAX);
  } catch (const FormatError& wrong) {
    throw WrongStep(fmt::format("MESK_RUN: {}", wrong.what()));
  }
}

std::unique_ptr<MDTask> taskOf(Session& session, long long run) {
  ThreadContext& ctx = session.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistoryType runs(ctx, session.context(), rc, sqlCode);
  session.check(rc, sqlCode, "opening the history");
  const auto history = wrapped<MDTaskHistory>(ctx, runs.retrieve(ctx, session.context(), run, rc, sqlCode));
  session.check(rc, sqlCode, fmt::format("reading run {}", run));
  const long long id = history->getTaskID(ctx);
  auto task =
      wrapped<MDTask>(ctx, MDTaskType::retrieveTask(ctx, session.context(), id, history->getSuffix(ctx), rc, sqlCode));
  session.check(rc, sqlCode, fmt::format("reading task {}", id));
  return task;
}

/// What a run of the task now is to produce: the first edition, or the one after that of the last successful run.
int nextEdition(Session& session, const MDTask& task) {
  ThreadContext& ctx = session.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskStatisticType home(ctx, session.context(), rc, sqlCode);
  session.check(rc, sqlCode, "opening the statistics");
  const auto statistic = wrapped<MDTaskStatistic>(
      ctx, home.retrieve(ctx, session.context(), task.getTaskID(ctx), task.getSuffix(ctx), rc, sqlCode));
  if (!session.checkUnless(kStoreNotFound, rc, sqlCode, "reading the statistic of the task")) return 1;
  return statistic->getTotalSuccessfulExecutions(ctx) + 1;
}

/// A line in the syntax of java.util.Properties; none for an empty value.
std::string property(std::string_view name, std::string_view value) {
  if (value.empty()) return {};
  std::string written;
  for (const char c : value) {
    if (c == '\n') {
      written += "\\n";
    } else if (c == '\r') {
      written += "\\r";
    } else {
      if (c == '\\' || c == ' ') written += '\\';
      written += c;
    }
  }
  return fmt::format("{}={}\n", name, written);
}

std::string optionsText(const Warehouse& step) {
  return property("mode", textOf(step.mode)) + property("batch", std::to_string(step.batch)) +
         property("retries", std::to_string(step.retries)) +
         property("retryIntervalSeconds", std::to_string(step.retryIntervalSeconds)) +
         property("sourceUser", step.sourceUser) + property("sourcePasswordFile", step.sourcePasswordFile) +
         property("targetUser", step.targetUser) + property("targetPasswordFile", step.targetPasswordFile);
}

/// Why the client's last run failed.
std::string messageOf(ThreadContext& ctx, const DWAgentClient& client) {
  const jmethodID getMessage = ctx.env->GetMethodID(client.objectClass, "getMessage", "()Ljava/lang/String;");
  if (getMessage == nullptr) return "no reason was given";
  const jobject message = ctx.env->CallObjectMethod(client.object, getMessage);
  return text(mesk::MDObject::jStringToString(ctx, static_cast<jstring>(message)));
}

void tellCounts(const BrixStepInfo& info) {
  const char* const path = std::getenv("MESK_COUNTS");
  if (path == nullptr) return;
  std::ofstream counts(path, std::ios::app);
  counts << fmt::format("rows={}\nbytes={}\n", info.RowsMoved, info.BytesMoved) << std::flush;
  if (!counts) fmt::print(stderr, "mesk-agent: the counts of the run could not be kept\n");
}

int run() {
  const long long run = runNumber();
  Session session{StoreAddress(variable("MESK_STORE"))};
  ThreadContext& ctx = session.ctx();
  const auto task = taskOf(session, run);
  RunOptions options;
  try {
    options = RunOptions::fromJson(text(task->getAdditionalParameters(ctx)));
  } catch (const FormatError& wrong) {
    throw WrongStep(wrong.what());
  }
  if (!options.warehouse) throw WrongStep(fmt::format("'{}' is no warehouse task", text(task->getTaskName(ctx))));
  const Warehouse& step = *options.warehouse;

  DWAgentClient client(ctx, session.context(), task.get(), step.source.c_str(),
                       text(task->getScriptContentString(ctx)).c_str(), step.target.c_str(), step.table.c_str(),
                       optionsText(step).c_str());
  if (client.object == nullptr || ctx.env->ExceptionCheck() != JNI_FALSE) {
    session.check(mesk::kUnreached, 0, "preparing the step");
  }
  BrixStepInfo info{};
  const int result = client.run(ctx, run, nextEdition(session, *task), info);
  if (ctx.env->ExceptionCheck() != JNI_FALSE) session.check(mesk::kUnreached, 0, "running the step");
  const std::string retries = info.RetryCount == 0 ? "" : fmt::format(" after {} more tries", info.RetryCount);
  if (result != 0) {
    fmt::print(stderr, "mesk-agent: {}{}\n", messageOf(ctx, client), retries);
    return result;
  }
  tellCounts(info);
  fmt::print("{} rows, {} bytes {} {}{}: edition {}\n", info.RowsMoved, info.BytesMoved,
             step.mode == Warehouse::Mode::kReplace ? "in place of what was in" : "added to", step.table, retries,
             info.EditionNumber);
  return 0;
}

}  // namespace

int main() {
  mesk::setProcessCodePage(mesk::kUtf8CodePage);  // what task files are written in
  ::setenv("MESK_JVM_OPTIONS", "-XX:+UseSerialGC -XX:-UsePerfData", 0);
  try {
    return run();
  } catch (const WrongStep& error) {
    fmt::print(stderr, "mesk-agent: {}\n", error.what());
    return kParametersWrong;
  } catch (const HostError& error) {
    fmt::print(stderr, "mesk-agent: {}\n", error.what());
    return error.exitCode();
  } catch (const std::exception& error) {
    fmt::print(stderr, "mesk-agent: {}\n", error.what());
    return kExitFailure;
  }
}
