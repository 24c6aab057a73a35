// What the statistics keep of a run.
#pragma once

#include <mesk/history/MDTaskStatistic.h>
#include <scheduler/RunEnd.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// Holds the latch of all statistics. Taken before the unit of work in which one changes, so that nobody waits for the
/// latch with the store's write lock.
class StatisticsLatched {
 public:
  StatisticsLatched() { MDTaskStatistic::lockAll(); }
  ~StatisticsLatched() { MDTaskStatistic::unlockAll(); }
  StatisticsLatched(const StatisticsLatched&) = delete;
  StatisticsLatched& operator=(const StatisticsLatched&) = delete;
};

/// Adds a run to its task's statistic, which the first run makes. What it comes to does not depend on the order in
/// which runs end: the first and the last are those by their starts, and of equal runs the one that started first is
/// kept. Sums end at the largest int. In the caller's unit of work, under the latch.
void addToStatistic(Session& session, const RunEnd& end);

}  // namespace mesk::host
