#include <scheduler/Timer.h>

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>

namespace mesk::host {

namespace {

// The kernel tells of a change of the clock only while an alarm is set: this one is far off (the
// year 2262 is as far as its clock counts).
constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max() / 1'000'000;

}  // namespace

Timer::Timer() : fd_(::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (!fd_) throw std::system_error(errno, std::generic_category(), "timerfd_create");
  clear();
}

bool Timer::setAt(std::int64_t millis) {
  millis = std::clamp<std::int64_t>(millis, 1, kNever);  // all zero would switch it off
  struct itimerspec when {};
  when.it_value.tv_sec = millis / 1000;
  when.it_value.tv_nsec = millis % 1000 * 1'000'000;
  if (::timerfd_settime(fd_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &when, nullptr) == 0) return true;
  if (errno == ECANCELED) return false;  // set all the same
  throw std::system_error(errno, std::generic_category(), "timerfd_settime");
}

bool Timer::clear() { return setAt(kNever); }

Timer::Event Timer::drain() {
  std::uint64_t times = 0;
  const ssize_t count = ::read(fd_.get(), &times, sizeof times);
  return meaning(count, errno);
}

Timer::Event Timer::meaning(ssize_t count, int error) {
  if (count > 0) return Event::kExpired;
  return error == ECANCELED ? Event::kClockChanged : Event::kNothing;
}

}  // namespace mesk::host
