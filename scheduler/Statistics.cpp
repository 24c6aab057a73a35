#include <scheduler/Statistics.h>

#include <fmt/format.h>

#include <array>
#include <tuple>

#include <mesk/history/MDTaskStatisticType.h>

namespace mesk::host {
namespace {

struct Particulars {
  std::int64_t start = 0;
  int elapsed = 0;
  int rows = 0;
  int bytes = 0;
};

bool isEarlier(const Particulars& run, const Particulars& kept) { return run.start < kept.start; }

int order(auto run, auto kept) { return run < kept ? -1 : run > kept ? 1 : 0; }

/// Whether `run` is to be kept in the place of `kept` when `difference` says how much more of it there is.
bool isLess(int difference, const Particulars& run, const Particulars& kept) {
  return difference < 0 || (difference == 0 && isEarlier(run, kept));
}

int bySize(const Particulars& run, const Particulars& kept) {
  return order(std::tuple(run.rows, run.bytes), std::tuple(kept.rows, kept.bytes));
}

/// One of the runs that a statistic remembers, and which run that is.
struct Remembered {
  using Moment = SCTimestamp* (MDTaskStatistic::*)(ThreadContext&) const;
  using SetMoment = void (MDTaskStatistic::*)(ThreadContext&, SCTimestamp*);
  using Number = int (MDTaskStatistic::*)(ThreadContext&) const;
  using SetNumber = void (MDTaskStatistic::*)(ThreadContext&, int);

  Moment start;
  SetMoment setStart;
  Number elapsed;
  SetNumber setElapsed;
  Number rows;
  SetNumber setRows;
  Number bytes;
  SetNumber setBytes;
  bool (*displaces)(const Particulars& run, const Particulars& kept);
};

using S = MDTaskStatistic;

const std::array kRemembered{
    Remembered{&S::getLastExecution, &S::setLastExecution, &S::getLastExecutionElapsedTime,
               &S::setLastExecutionElapsedTime, &S::getLastExecutionRowCount, &S::setLastExecutionRowCount,
               &S::getLastExecutionByteCount, &S::setLastExecutionByteCount,
               [](const Particulars& run, const Particulars& kept) { return !isEarlier(run, kept); }},
    Remembered{&S::getFastestExecution, &S::setFastestExecution, &S::getFastestExecutionElapsedTime,
               &S::setFastestExecutionElapsedTime, &S::getFastestExecutionRowCount, &S::setFastestExecutionRowCount,
               &S::getFastestExecutionByteCount, &S::setFastestExecutionByteCount,
               [](const Particulars& run, const Particulars& kept) {
                 return isLess(order(run.elapsed, kept.elapsed), run, kept);
               }},
    Remembered{&S::getSlowestExecution, &S::setSlowestExecution, &S::getSlowestExecutionElapsedTime,
               &S::setSlowestExecutionElapsedTime, &S::getSlowestExecutionRowCount, &S::setSlowestExecutionRowCount,
               &S::getSlowestExecutionByteCount, &S::setSlowestExecutionByteCount,
               [](const Particulars& run, const Particulars& kept) {
                 return isLess(order(kept.elapsed, run.elapsed), run, kept);
               }},
    Remembered{&S::getLargestExecution, &S::setLargestExecution, &S::getLargestExecutionElapsedTime,
               &S::setLargestExecutionElapsedTime, &S::getLargestExecutionRowCount, &S::setLargestExecutionRowCount,
               &S::getLargestExecutionByteCount, &S::setLargestExecutionByteCount,
               [](const Particulars& run, const Particulars& kept) { return isLess(bySize(kept, run), run, kept); }},
    Remembered{&S::getSmallestExecution, &S::setSmallestExecution, &S::getSmallestExecutionElapsedTime,
               &S::setSmallestExecutionElapsedTime, &S::getSmallestExecutionRowCount, &S::setSmallestExecutionRowCount,
               &S::getSmallestExecutionByteCount, &S::setSmallestExecutionByteCount,
               [](const Particulars& run, const Particulars& kept) { return isLess(bySize(run, kept), run, kept); }}};

void remember(Session& session, S& statistic, const Remembered& place, const Particulars& run) {
  ThreadContext& ctx = session.ctx();
  if (const auto start = session.millis((statistic.*place.start)(ctx))) {
    const Particulars kept{*start, (statistic.*place.elapsed)(ctx), (statistic.*place.rows)(ctx),
                           (statistic.*place.bytes)(ctx)};
    if (!place.displaces(run, kept)) return;
  }
  auto stamp = session.timestamp(run.start);
  (statistic.*place.setStart)(ctx, &stamp);
  (statistic.*place.setElapsed)(ctx, run.elapsed);
  (statistic.*place.setRows)(ctx, run.rows);
  (statistic.*place.setBytes)(ctx, run.bytes);
}

}  // namespace

void addToStatistic(Session& session, const RunEnd& end) {
  ThreadContext& ctx = session.ctx();
  const long long taskID = end.task.getTaskID(ctx);
  const int suffix = end.task.getSuffix(ctx);
  const Particulars run{session.millis(end.history.getStart(ctx)).value_or(end.moment), end.history.getDuration(ctx),
                        end.history.getRowCount(ctx), end.history.getByteCount(ctx)};

  int rc = 0;
  int sqlCode = 0;
  MDTaskStatisticType home(ctx, session.context(), rc, sqlCode);
  session.check(rc, sqlCode, "opening the statistics");
  const std::string what = fmt::format("counting run {} in the statistic of task {}", end.run, taskID);
  auto statistic = wrapped<MDTaskStatistic>(ctx, home.retrieve(ctx, session.context(), taskID, suffix, rc, sqlCode));
  const bool known = session.checkUnless(kStoreNotFound, rc, sqlCode, what);
  if (!known) {
    statistic = std::make_unique<MDTaskStatistic>(ctx, session.context(), rc, sqlCode);
    session.check(rc, sqlCode, what);
    statistic->setTaskID(ctx, taskID);
    statistic->setSuffix(ctx, suffix);
  }

  const auto add = [&](Remembered::Number get, Remembered::SetNumber set, int more) {
    ((*statistic).*set)(ctx, clamped(std::int64_t{((*statistic).*get)(ctx)} + more));
  };
  if (end.outcome == kRunSucceeded) {
    add(&S::getTotalSuccessfulExecutions, &S::setTotalSuccessfulExecutions, 1);
  } else {
    add(&S::getTotalFailedExecutions, &S::setTotalFailedExecutions, 1);
  }
  add(&S::getTotalElapsedTime, &S::setTotalElapsedTime, run.elapsed);
  add(&S::getTotalRowCount, &S::setTotalRowCount, run.rows);
  add(&S::getTotalByteCount, &S::setTotalByteCount, run.bytes);
  const auto first = session.millis(statistic->getFirstExecution(ctx));
  if (!first || run.start < *first) {
    auto stamp = session.timestamp(run.start);
    statistic->setFirstExecution(ctx, &stamp);
  }
  for (const Remembered& place : kRemembered) remember(session, *statistic, place, run);

  session.check(
      known ? statistic->update(ctx, session.context(), sqlCode) : statistic->insert(ctx, session.context(), sqlCode),
      sqlCode, what);
}

}  // namespace mesk::host
