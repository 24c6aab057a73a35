// How tasks have performed over all their runs.
#include <fmt/format.h>

#include <map>
#include <memory>

#include <mesk/history/MDTaskStatistic.h>
#include <mesk/history/MDTaskStatisticType.h>
#include <scheduler/Commands.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

using Start = SCTimestamp* (MDTaskStatistic::*)(ThreadContext&) const;
using Number = int (MDTaskStatistic::*)(ThreadContext&) const;

/// A run that a statistic keeps the particulars of.
struct KeptRun {
  const char* which;
  Start start;
  Number elapsed;
  Number rows;
  Number bytes;
};

const KeptRun kKeptRuns[] = {
    {"last", &MDTaskStatistic::getLastExecution, &MDTaskStatistic::getLastExecutionElapsedTime,
     &MDTaskStatistic::getLastExecutionRowCount, &MDTaskStatistic::getLastExecutionByteCount},
    {"fastest", &MDTaskStatistic::getFastestExecution, &MDTaskStatistic::getFastestExecutionElapsedTime,
     &MDTaskStatistic::getFastestExecutionRowCount, &MDTaskStatistic::getFastestExecutionByteCount},
    {"slowest", &MDTaskStatistic::getSlowestExecution, &MDTaskStatistic::getSlowestExecutionElapsedTime,
     &MDTaskStatistic::getSlowestExecutionRowCount, &MDTaskStatistic::getSlowestExecutionByteCount},
    {"largest", &MDTaskStatistic::getLargestExecution, &MDTaskStatistic::getLargestExecutionElapsedTime,
     &MDTaskStatistic::getLargestExecutionRowCount, &MDTaskStatistic::getLargestExecutionByteCount},
    {"smallest", &MDTaskStatistic::getSmallestExecution, &MDTaskStatistic::getSmallestExecutionElapsedTime,
     &MDTaskStatistic::getSmallestExecutionRowCount, &MDTaskStatistic::getSmallestExecutionByteCount},
};

/// A statistic under the name of its task.
struct Named {
  std::string task;
  std::unique_ptr<MDTaskStatistic> statistic;
};

std::vector<Named> allStatistics(OpenStore& store) {
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  std::map<std::pair<long long, int>, std::unique_ptr<MDTaskStatistic>> statistics;
  for (auto& statistic : session.list<MDTaskStatistic, MDTaskStatisticType>("the statistics")) {
    statistics[{statistic->getTaskID(ctx), statistic->getSuffix(ctx)}] = std::move(statistic);
  }
  std::vector<Named> named;
  for (const auto& task : store.definitions().tasks()) {
    const auto found = statistics.find({task->getTaskID(ctx), task->getSuffix(ctx)});
    if (found == statistics.end()) continue;
    named.push_back({text(task->getTaskName(ctx)), std::move(found->second)});
  }
  return named;
}

/// Nothing when the task has not run yet.
std::vector<Named> statisticOf(OpenStore& store, const std::string& name) {
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  const auto task = store.definitions().find(name);
  int rc = 0;
  int sqlCode = 0;
  MDTaskStatisticType home(ctx, session.context(), rc, sqlCode);
  session.check(rc, sqlCode, "opening the statistics");
  auto statistic = wrapped<MDTaskStatistic>(
      ctx, home.retrieve(ctx, session.context(), task->getTaskID(ctx), task->getSuffix(ctx), rc, sqlCode));
  std::vector<Named> named;
  if (session.checkUnless(kStoreNotFound, rc, sqlCode, fmt::format("reading the statistic of task '{}'", name))) {
    named.push_back({name, std::move(statistic)});
  }
  return named;
}

Json jsonOf(const Named& named, Session& session) {
  ThreadContext& ctx = session.ctx();
  const MDTaskStatistic& statistic = *named.statistic;
  const std::int64_t succeeded = statistic.getTotalSuccessfulExecutions(ctx);
  const std::int64_t failed = statistic.getTotalFailedExecutions(ctx);
  Json object;
  object["task"] = named.task;
  object["runs"] = succeeded + failed;
  object["succeeded"] = succeeded;
  object["failed"] = failed;
  object["elapsedSeconds"] = statistic.getTotalElapsedTime(ctx);
  object["rows"] = statistic.getTotalRowCount(ctx);
  object["bytes"] = statistic.getTotalByteCount(ctx);
  putTime(object, "firstStart", session.millis(statistic.getFirstExecution(ctx)));
  for (const KeptRun& kept : kKeptRuns) {
    Json run;
    putTime(run, "start", session.millis((statistic.*kept.start)(ctx)));
    run["elapsedSeconds"] = (statistic.*kept.elapsed)(ctx);
    run["rows"] = (statistic.*kept.rows)(ctx);
    run["bytes"] = (statistic.*kept.bytes)(ctx);
    object[kept.which] = run;
  }
  return object;
}

Table totals(const std::vector<Named>& all, Session& session) {
  ThreadContext& ctx = session.ctx();
  Table table({{"TASK"},
               {"RUNS", Table::Align::kRight},
               {"SUCCEEDED", Table::Align::kRight},
               {"FAILED", Table::Align::kRight},
               {"ELAPSED", Table::Align::kRight},
               {"ROWS", Table::Align::kRight},
               {"BYTES", Table::Align::kRight},
               {"FIRST"},
               {"LAST"}});
  for (const Named& named : all) {
    const MDTaskStatistic& statistic = *named.statistic;
    const std::int64_t succeeded = statistic.getTotalSuccessfulExecutions(ctx);
    const std::int64_t failed = statistic.getTotalFailedExecutions(ctx);
    table.add({named.task, std::to_string(succeeded + failed), std::to_string(succeeded), std::to_string(failed),
               durationText(statistic.getTotalElapsedTime(ctx)), std::to_string(statistic.getTotalRowCount(ctx)),
               std::to_string(statistic.getTotalByteCount(ctx)),
               timeText(session.millis(statistic.getFirstExecution(ctx))),
               timeText(session.millis(statistic.getLastExecution(ctx)))});
  }
  return table;
}

Table keptRuns(const MDTaskStatistic& statistic, Session& session) {
  ThreadContext& ctx = session.ctx();
  Table table({{"RUN"},
               {"START"},
               {"ELAPSED", Table::Align::kRight},
               {"ROWS", Table::Align::kRight},
               {"BYTES", Table::Align::kRight}});
  for (const KeptRun& kept : kKeptRuns) {
    table.add({kept.which, timeText(session.millis((statistic.*kept.start)(ctx))),
               durationText((statistic.*kept.elapsed)(ctx)), std::to_string((statistic.*kept.rows)(ctx)),
               std::to_string((statistic.*kept.bytes)(ctx))});
  }
  return table;
}

}  // namespace

int statsCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  const auto all = invocation.task.empty() ? allStatistics(store) : statisticOf(store, invocation.task);
  if (all.empty() && store.definitions().tasks().empty()) {
    store.requireVisible(invocation, Administration::Counted::kTasks);
  }
  if (invocation.json) {
    Json array = Json::array();
    for (const Named& named : all) array.push_back(jsonOf(named, session));
    printJson(array);
    return kExitOk;
  }
  if (all.empty()) {
    say(invocation, invocation.task.empty() ? std::string("No task has run yet.")
                                            : fmt::format("task '{}' has not run yet", invocation.task));
    return kExitOk;
  }
  print(totals(all, session));
  if (invocation.task.empty()) return kExitOk;
  print(std::string("\n"));
  print(keptRuns(*all.front().statistic, session));
  return kExitOk;
}

}  // namespace mesk::host
