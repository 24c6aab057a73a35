// What a task's schedule brings.
#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include <platform/Clock.h>
#include <scheduler/Definitions.h>
#include <scheduler/Foretelling.h>

namespace mesk::host {
namespace {

constexpr std::int64_t kSecond = 1000;

time64 seconds(std::int64_t millis) { return millis / kSecond - (millis % kSecond < 0 ? 1 : 0); }

/// By time, the first `count` of them.
void settle(std::vector<Upcoming>& starts, std::size_t count) {
  std::stable_sort(starts.begin(), starts.end(),
                   [](const Upcoming& a, const Upcoming& b) { return a.start < b.start; });
  if (starts.size() > count) starts.resize(count);
}

}  // namespace

/// Asked of the rule and not of an execution, which does not tell a rule that has ended from a store that has failed.
std::optional<std::int64_t> Definitions::instantAfter(const MDScheduleEvent& event, std::int64_t instant) {
  if (event.getRecurring(ctx_) == 0) return std::nullopt;
  const ClockAt then(instant);
  auto from = session_.timestamp(instant);
  return session_.millis(event.getNextScheduledTime(ctx_, &from, 0));
}

void Definitions::foretell(const StoredRule& rule, std::int64_t first, const Horizon& horizon,
                           std::vector<Upcoming>& starts) {
  const std::string words = rule.words();
  std::size_t count = 0;
  const auto after = [&](std::int64_t instant) { return instantAfter(*rule.record, instant); };
  const auto take = [&](std::optional<std::int64_t> previous, std::int64_t instant) {
    if (count == horizon.count || instant > horizon.until) return false;
    const auto from = previous ? std::optional(seconds(*previous)) : std::nullopt;
    starts.push_back(
        {instant, words, instant <= horizon.now, clockMarks(rule.rule, from, seconds(instant), seconds(horizon.now))});
    return ++count < horizon.count;
  };
  eachInstant(rule.rule, first, horizon.now, horizon.replay, after, take);
}

std::vector<Upcoming> Definitions::upcoming(MDTask& task, std::size_t count) {
  const std::int64_t now = clockMillis();
  const TaskDefinition definition = readRecord(task);
  auto queue = executions();
  std::erase_if(queue, [&](const Execution& e) { return !e.queued || !e.start || !e.belongsTo(task, ctx_); });
  std::vector<Upcoming> starts;
  for (const Execution& execution : queue) {
    if (execution.isPending()) continue;
    std::string why = execution.runNow ? "run now" : execution.followOn ? "follow-on" : "again";
    if (execution.run != -1) why = fmt::format("retry of run {}", execution.run);
    starts.push_back({*execution.start, std::move(why), *execution.start <= now, {}});
  }
  const Horizon horizon{now, std::numeric_limits<std::int64_t>::max(), count,
                        definition.options.missed == RunOptions::Missed::kAll};
  for (const StoredRule& rule : rules(task)) {
    const auto pending = std::find_if(queue.begin(), queue.end(), [&rule](const Execution& execution) {
      return execution.isPending() && execution.ruleID == rule.id;
    });
    if (pending != queue.end()) foretell(rule, *pending->start, horizon, starts);
  }
  settle(starts, count);
  return starts;
}

std::vector<Upcoming> Definitions::byRules(MDTask& task, std::int64_t from, std::int64_t until, std::size_t count) {
  // A run has to be later than the clock.
  const std::int64_t before = (seconds(from) - 1) * kSecond;
  const ClockAt clock(before);
  std::vector<Upcoming> starts;
  for (const StoredRule& rule : rules(task)) {
    if (const auto first = firstInstant(*rule.record, rule.rule)) {
      foretell(rule, *first, {before, until, count, false}, starts);
    }
  }
  settle(starts, count);
  return starts;
}

}  // namespace mesk::host
