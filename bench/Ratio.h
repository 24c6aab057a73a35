// Two things timed in turn, so that whatever else the machine does meets both.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <string>
#include <vector>

namespace mesk::bench {

/// Microseconds of one call of `work`, out of `repeat` calls in a row.
template <class Work>
double microseconds(Work& work, int repeat) {
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < repeat; ++i) work();
  const std::chrono::duration<double, std::micro> taken = std::chrono::steady_clock::now() - begin;
  return taken.count() / repeat;
}

/// The same in the time that the processor gave to the thread: for work that waits for nothing, and so not to be
/// charged for what else the machine does.
template <class Work>
double processorMicroseconds(Work& work, int repeat) {
  const auto now = [] {
    std::timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
  };
  const double begin = now();
  for (int i = 0; i < repeat; ++i) work();
  return (now() - begin) / repeat;
}

inline double quantile(std::vector<double> values, double q) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(q * static_cast<double>(values.size() - 1))];
}

inline void printHeading() {
  fmt::print("{:<44} {:>12} {:>12} {:>8}  {}\n", "", "ours us", "bare us", "ratio", "ratio, 10th to 90th percentile");
}

/// Times `ours` and `bare` in `rounds` alternating rounds of `repeat` calls and prints medians and their ratio.
template <class Ours, class Bare>
void compare(const std::string& name, int rounds, int repeat, Ours ours, Bare bare) {
  ours();
  bare();
  std::vector<double> oursTimes;
  std::vector<double> bareTimes;
  std::vector<double> ratios;
  for (int i = 0; i < rounds; ++i) {
    oursTimes.push_back(microseconds(ours, repeat));
    bareTimes.push_back(microseconds(bare, repeat));
    ratios.push_back(oursTimes.back() / bareTimes.back());
  }
  fmt::print("{:<44} {:>12.3f} {:>12.3f} {:>8.2f}  {:.2f} to {:.2f}\n", name, quantile(oursTimes, 0.5),
             quantile(bareTimes, 0.5), quantile(ratios, 0.5), quantile(ratios, 0.1), quantile(ratios, 0.9));
}

}  // namespace mesk::bench
