#include <mesk/schedule/MDScheduleEvent.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include <mesk/bridge/StoreCall.h>
#include <mesk/bridge/Trace.h>
#include <mesk/schedule/ScheduleCalculator.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <mesk/values/SimpleDateFormat.h>

namespace mesk {
namespace {

constexpr std::uint32_t kTraceNextTime = 0x1AE8018B;

using OwnedText = std::unique_ptr<char>;

/// Where a number stands in a formatted date, and which setting of the rule it becomes.
struct Setting {
  std::size_t first;
  std::size_t width;
  int (ScheduleCalculator::*set)(const int&);
};

using Calculator = ScheduleCalculator;
constexpr Setting kStartDate[] = {
    {0, 4, &Calculator::setStartYear}, {4, 2, &Calculator::setStartMonth}, {6, 2, &Calculator::setStartDay}};
constexpr Setting kStartTime[] = {
    {0, 2, &Calculator::setStartHour}, {2, 2, &Calculator::setStartMinute}, {4, 2, &Calculator::setStartSecond}};
constexpr Setting kEndDate[] = {
    {0, 4, &Calculator::setEndYear}, {4, 2, &Calculator::setEndMonth}, {6, 2, &Calculator::setEndDay}};

/// The number in `width` characters of `text` from `first`; a text that ends before has 0 there.
int numberAt(std::string_view text, std::size_t first, std::size_t width) {
  return first < text.size() ? std::atoi(std::string(text.substr(first, width)).c_str()) : 0;
}

/// Hands the numbers in `text` to the rule until one is refused. Nothing was formatted: there is no such moment.
int fillFrom(ScheduleCalculator& rule, const Setting (&settings)[3], const char* text) {
  if (text == nullptr) return kNotConvertible;
  for (const Setting& setting : settings) {
    if (const int code = (rule.*setting.set)(numberAt(text, setting.first, setting.width)); code != 0) return code;
  }
  return 0;
}

/// `date` as text; null when there is no date.
OwnedText formatted(ThreadContext& ctx, const SimpleDateFormat& format, const Date* date) {
  return OwnedText(date == nullptr ? nullptr : format.format(ctx, *date));
}

/// The fourteen digits of a local time as seconds since the epoch. A conversion that lands in another hour chose the
/// wrong side of a change of the clocks: it is done again on the side that it came out at.
int localTime(const Traced& trace, const char* text, time64& time) {
  if (text == nullptr) return kNotConvertible;
  struct tm local = {};
  do {
    local.tm_year = numberAt(text, 0, 4) - 1900;
    local.tm_mon = numberAt(text, 4, 2) - 1;
    local.tm_mday = numberAt(text, 6, 2);
    local.tm_hour = numberAt(text, 8, 2);
    local.tm_min = numberAt(text, 10, 2);
    local.tm_sec = numberAt(text, 12, 2);
    time = _mktime64(&local);
    if (time == -1) {
      trace.errorTime(10, local);
      return kNotConvertible;
    }
  } while (local.tm_hour != numberAt(text, 8, 2));
  return 0;
}

/// The timestamp of `time`, by way of its local time; null when that has none.
SCTimestamp* timestampOf(ThreadContext& ctx, const SimpleDateFormat& format, time64 time) {
  const struct tm* const local = _localtime64(&time);
  if (local == nullptr) return nullptr;
  char text[80];
  std::snprintf(text, sizeof text, "%4.4d%2.2d%2.2d%2.2d%2.2d%2.2d", local->tm_year + 1900, local->tm_mon + 1,
                local->tm_mday, local->tm_hour, local->tm_min, local->tm_sec);
  const long long millis = format.parse(ctx, text);
  return new (std::nothrow) SCTimestamp(ctx, millis);
}

}  // namespace

MDScheduleEvent::MDScheduleEvent(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDScheduleEvent">, context, rc, sqlCode);
}

MDScheduleEvent::MDScheduleEvent(ThreadContext& ctx, jobject event, jobject) : MDObject(ctx, event) {}

int MDScheduleEvent::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "insert", context, sqlCode);
}

int MDScheduleEvent::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "update", context, sqlCode);
}

int MDScheduleEvent::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "delete", context, sqlCode);
}

long long MDScheduleEvent::getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  return referenceID(ctx, context, rc, sqlCode);
}

long long MDScheduleEvent::getScheduleEventID(ThreadContext& ctx) const { return getLong(ctx, "getScheduleEventID"); }
void MDScheduleEvent::setScheduleEventID(ThreadContext& ctx, long long value) {
  setLong(ctx, "setScheduleEventID", value);
}
SQLDate* MDScheduleEvent::getStartDate(ThreadContext& ctx) const { return getDate(ctx, "getStartDate"); }
void MDScheduleEvent::setStartDate(ThreadContext& ctx, SQLDate* value) { setDate(ctx, "setStartDate", value); }
SQLTime* MDScheduleEvent::getStartTime(ThreadContext& ctx) const { return getTime(ctx, "getStartTime"); }
void MDScheduleEvent::setStartTime(ThreadContext& ctx, SQLTime* value) { setTime(ctx, "setStartTime", value); }
SQLDate* MDScheduleEvent::getEndDate(ThreadContext& ctx) const { return getDate(ctx, "getEndDate"); }
void MDScheduleEvent::setEndDate(ThreadContext& ctx, SQLDate* value) { setDate(ctx, "setEndDate", value); }
int MDScheduleEvent::getIntervalType(ThreadContext& ctx) const { return getInt(ctx, "getIntervalType"); }
void MDScheduleEvent::setIntervalType(ThreadContext& ctx, int value) { setInt(ctx, "setIntervalType", value); }
int MDScheduleEvent::getIntervalUnit(ThreadContext& ctx) const { return getInt(ctx, "getIntervalUnit"); }
void MDScheduleEvent::setIntervalUnit(ThreadContext& ctx, int value) { setInt(ctx, "setIntervalUnit", value); }
int MDScheduleEvent::getDetail(ThreadContext& ctx) const { return getInt(ctx, "getDetail"); }
void MDScheduleEvent::setDetail(ThreadContext& ctx, int value) { setInt(ctx, "setDetail", value); }
int MDScheduleEvent::getRecurring(ThreadContext& ctx) const { return getInt(ctx, "getRecurring"); }
void MDScheduleEvent::setRecurring(ThreadContext& ctx, int value) { setInt(ctx, "setRecurring", value); }

SCTimestamp* MDScheduleEvent::getNextScheduledTime(ThreadContext& ctx, SCTimestamp* reference,
                                                   int allowReference) const {
  ScheduleCalculator rule;
  getScheduleEventID(ctx);  // read with the other properties; nothing here needs it
  const SimpleDateFormat dateFormat(ctx, "yyyyMMdd");
  const SimpleDateFormat timeFormat(ctx, "HHmmss");
  const SimpleDateFormat momentFormat(ctx, "yyyyMMddHHmmss");
  const Traced trace(kTraceNextTime);

  // The unit's range depends on the type, so the type comes first.
  int code = rule.setRecurring(getRecurring(ctx));
  if (code == 0) code = rule.setIntervalType(getIntervalType(ctx));
  if (code == 0) code = rule.setIntervalUnit(getIntervalUnit(ctx));
  if (code == 0) code = rule.setDetail(getDetail(ctx));
  // Read one by one as long as all is well, and deleted together.
  std::unique_ptr<SQLDate> startDate;
  std::unique_ptr<SQLTime> startTime;
  std::unique_ptr<SQLDate> endDate;
  if (code == 0) {
    startDate.reset(getStartDate(ctx));
    code = fillFrom(rule, kStartDate, formatted(ctx, dateFormat, startDate.get()).get());
  }
  if (code == 0) {
    startTime.reset(getStartTime(ctx));
    code = fillFrom(rule, kStartTime, formatted(ctx, timeFormat, startTime.get()).get());
  }
  if (code == 0) {
    endDate.reset(getEndDate(ctx));
    if (endDate != nullptr) code = fillFrom(rule, kEndDate, formatted(ctx, dateFormat, endDate.get()).get());
  }
  time64 time = 0;
  if (code == 0) code = localTime(trace, formatted(ctx, momentFormat, reference).get(), time);
  if (code == 0) code = computeNextTime(rule, time, allowReference);
  SCTimestamp* const next = code == 0 ? timestampOf(ctx, momentFormat, time) : nullptr;
  trace.exit(code);
  return next;
}

int MDScheduleEvent::isEndToStart(ThreadContext& ctx) {
  const int detail = getDetail(ctx);
  const auto type = static_cast<unsigned>(getIntervalType(ctx));
  return type <= kEveryDays && detail == 1 ? 1 : 0;
}

}  // namespace mesk
