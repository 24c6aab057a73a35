// The instants of a rule, as the scheduler will come to them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include <scheduler/ScheduleRule.h>

namespace mesk::host {

/// Goes from the instant `first`, which waits in the queue, to those after it, as if runs took no time. Calls
/// `take(previous, instant)` for each until that answers false; `previous` is where the instant was stepped from,
/// nothing for `first`. `after(instant)` is what the scheduler goes on with after an instant, whatever the time is.
///
/// The scheduler takes each step by itself, also over instants that passed while nobody looked, and where the clocks
/// change one long step can come out elsewhere than several short ones. So does this.
template <class After, class Take>
void eachInstant(const ScheduleRule& rule, std::int64_t first, std::int64_t now, bool replay, After after, Take take) {
  std::optional<std::int64_t> previous;
  for (std::int64_t instant = first; take(previous, instant);) {
    if (rule.recurring == 0) return;
    std::int64_t from = isAfterEnd(rule) ? std::max(instant, now) : instant;
    std::optional<std::int64_t> next = after(from);
    // Results travel as fourteen digits: after the year 9999 they begin again.
    while (next && *next > from && *next <= now && !replay) {
      from = *next;
      next = after(from);
    }
    if (!next || *next <= from) return;
    previous = from;
    instant = *next;
  }
}

}  // namespace mesk::host
