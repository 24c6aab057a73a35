// Schedule rules, shared named schedules, and their homes.
#include <mesk/ledger/NextTime.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/schedule/MDSharedNamedScheduleType.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace mesk::test::ledger {
namespace {

constexpr long long kID = 0x900000007;

const std::string kEventClass = std::string(kMetadata) + "MDScheduleEvent";
const std::string kScheduleClass = std::string(kMetadata) + "MDSharedNamedSchedule";
const std::string kTimestampClass = "java/sql/Timestamp";

constexpr std::uint32_t kNextTime = 0x1AE8018B;
constexpr std::uint32_t kCompute = 0x1AE80186;

const Rule kRules[] = {
    {.name = "in hours"},
    {.name = "until a day", .endDate = "20900615"},
    {.name = "run out", .endDate = "20900614", .code = -302},
    {.name = "recurring twice", .recurring = 2, .code = -310},
    {.name = "of no type", .type = 7, .code = -311},
    {.name = "of no unit", .unit = 1001, .code = -303},
    {.name = "of no detail", .detail = 43, .code = -304},
    {.name = "month 13", .startDate = "20901301", .code = -305},
    {.name = "day 32", .startDate = "20900132", .code = -306},
    {.name = "a short day", .startDate = "209001", .code = -306},
    {.name = "hour 24", .startTime = "243000", .code = -307},
    {.name = "minute 60", .startTime = "086000", .code = -308},
    {.name = "second 60", .startTime = "083060", .code = -309},
    {.name = "month 13 at the end", .endDate = "20901301", .code = -305},
    {.name = "day 32 at the end", .endDate = "20900132", .code = -306},
    {.name = "without a day", .startDate = nullptr, .code = -301},
    {.name = "without a time", .startTime = nullptr, .code = -301},
    {.name = "of an empty day", .startDate = "", .code = -301},
    {.name = "after nothing", .reference = "", .code = -301},
    {.name = "after what is dead", .code = -301, .referenceIs = State::dead},
    {.name = "the reference itself", .allowReference = 1},
};

std::chrono::sys_seconds timeOf(const std::string& digits) {
  const auto number = [&](std::size_t from, std::size_t width) {
    return from < digits.size() ? std::atoi(digits.substr(from, width).c_str()) : 0;
  };
  using namespace std::chrono;
  const auto month = year(number(0, 4)) / January + months(number(4, 2) - 1);
  return sys_days(month / 1) + days(number(6, 2) - 1) + hours(number(8, 2)) + minutes(number(10, 2)) +
         seconds(number(12, 2));
}

/// The fourteen digits of the first time at or behind the rule's start, in steps of an hour, or for type 0 of a minute,
/// from `digits`, with or without it. Digits that are not there count as 0.
std::string nextOf(const Rule& rule, const std::string& digits, int type) {
  using namespace std::chrono;
  const seconds step(type == 0 ? 60 : 3600);
  const sys_seconds start = timeOf(std::string(rule.startDate) + rule.startTime);
  sys_seconds time = timeOf(digits);
  if (rule.allowReference == 0) time += step;
  while (time < start) time += step;
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  char text[32];
  std::snprintf(text, sizeof text, "%04d%02u%02u%02d%02d%02d", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

/// A date of the rule, and whether its text is as it was answered; null texts and those that fail are not.
bool fetched(Prescription& p, const Wrapper& target, const char* property, const char* type, const Wrapper& format,
             std::optional<Wrapper>& date) {
  date = objectProperty(p, target, property, type);
  return date && formatted(p, format, *date) != "null";
}

/// The code of the rule's settings, in which everything of Java went well as far as `p` says so.
int filled(Prescription& p, const Rule& rule, const Wrapper& target, const Wrapper& dates, const Wrapper& times,
           int& type, std::vector<std::optional<Wrapper>>& fetchedDates) {
  // What cannot be read is 0: a rule in minutes; no unit; no end.
  if (intProperty(p, target, "getRecurring") > 1) return -310;
  type = intProperty(p, target, "getIntervalType");
  if (type > 6) return -311;
  const int unit = intProperty(p, target, "getIntervalUnit");
  if (unit < 1 || unit > (type == 0 ? 1000 : 24)) return -303;
  if (intProperty(p, target, "getDetail") > 42) return -304;
  if (!fetched(p, target, "getStartDate", "Ljava/sql/Date;", dates, fetchedDates[0])) return -301;
  if (rule.code == -305 && rule.endDate == nullptr) return -305;
  if (rule.code == -306 && rule.endDate == nullptr) return -306;
  if (!fetched(p, target, "getStartTime", "Ljava/sql/Time;", times, fetchedDates[1])) return -301;
  if (rule.code <= -307 && rule.code >= -309) return rule.code;
  fetchedDates[2] = objectProperty(p, target, "getEndDate", "Ljava/sql/Date;");
  if (fetchedDates[2]) {
    if (formatted(p, dates, *fetchedDates[2]) == "null") return -301;
    if (rule.code == -305 || rule.code == -306) return rule.code;
  }
  return 0;
}

void addNextTime(ClassRows<MDScheduleEvent>& event) {
  for (const Rule& rule : kRules) {
    Row& row =
        event.add({symbolOf("getNextScheduledTime", &MDScheduleEvent::getNextScheduledTime), rule.name,
                   [rule](Run& run) {
                     const auto& target = run.target<MDScheduleEvent>(kEventClass);
                     auto& reference = run.wrapper<SCTimestamp>(kTimestampClass, "reference", rule.referenceIs);
                     SCTimestamp* next = nullptr;
                     run.record([&] { next = target.getNextScheduledTime(run.ctx, &reference, rule.allowReference); });
                     run.gives(next);
                   },
                   [rule](Prescription& p) {
                     p.result(says::gives(nextTime(p, rule, p.target(), wrapperIn(rule.referenceIs, "reference"))));
                   }});
    answerAs(rule, row.answers);
    row.states = kEveryState;
  }
}

int endToStart(Prescription& p, const Wrapper& rule) {
  const int detail = intProperty(p, rule, "getDetail");
  const int type = intProperty(p, rule, "getIntervalType");
  return type >= 0 && type <= 2 && detail == 1 ? 1 : 0;
}

constexpr std::pair<int, int> kTypesAndDetails[] = {{0, 1}, {1, 1}, {2, 1}, {2, 0}, {2, 2}, {3, 1}, {6, 1}, {-1, 1}};

void addEndToStart(ClassRows<MDScheduleEvent>& event) {
  for (const auto& [type, detail] : kTypesAndDetails) {
    Row& row = event.add({symbolOf("isEndToStart", &MDScheduleEvent::isEndToStart),
                          std::to_string(type) + " with " + std::to_string(detail),
                          [](Run& run) {
                            auto& target = run.target<MDScheduleEvent>(kEventClass);
                            int answer = 77;
                            run.record([&] { answer = target.isEndToStart(run.ctx); });
                            run.answer(answer);
                          },
                          [](Prescription& p) { p.result(says::answer(endToStart(p, p.target()))); }});
    row.answers.add("getIntervalType", static_cast<long long>(type));
    row.answers.add("getDetail", static_cast<long long>(detail));
    row.states = kEveryState;
  }
}

void addEvent(Rows& rows) {
  ClassRows<MDScheduleEvent> event(rows, kEventClass);
  event.wrapsFirst();
  event.creates();
  event.persistsAll();
  event.handsOutKeys();
  event.get("getScheduleEventID", &MDScheduleEvent::getScheduleEventID);
  event.set("setScheduleEventID", &MDScheduleEvent::setScheduleEventID);
  event.get("getStartDate", &MDScheduleEvent::getStartDate);
  event.set("setStartDate", &MDScheduleEvent::setStartDate);
  event.get("getStartTime", &MDScheduleEvent::getStartTime);
  event.set("setStartTime", &MDScheduleEvent::setStartTime);
  event.get("getEndDate", &MDScheduleEvent::getEndDate);
  event.set("setEndDate", &MDScheduleEvent::setEndDate);
  event.get("getIntervalType", &MDScheduleEvent::getIntervalType);
  event.set("setIntervalType", &MDScheduleEvent::setIntervalType);
  event.get("getIntervalUnit", &MDScheduleEvent::getIntervalUnit);
  event.set("setIntervalUnit", &MDScheduleEvent::setIntervalUnit);
  event.get("getDetail", &MDScheduleEvent::getDetail);
  event.set("setDetail", &MDScheduleEvent::setDetail);
  event.get("getRecurring", &MDScheduleEvent::getRecurring);
  event.set("setRecurring", &MDScheduleEvent::setRecurring);
  addNextTime(event);
  addEndToStart(event);
}

/// How a rule is planned again: 1 from the end, 2 from the start of the run, 0 when it cannot be had.
void addRescheduleStatus(ClassRows<MDScheduleEventType>& home) {
  for (const long long id : {kID, -1LL}) {
    for (const auto& [type, detail] : kTypesAndDetails) {
      for (const bool found : {true, false}) {
        Row& row = home.add({symbolOf("rescheduleStatus", &MDScheduleEventType::rescheduleStatus),
                             std::to_string(id) + " " + std::to_string(type) + (found ? " found" : " missing"),
                             [id](Run& run) {
                               auto& target = run.target<MDScheduleEventType>(kEventClass + "Type");
                               const jobject context = run.context();
                               int status = 77;
                               run.record([&] { status = target.rescheduleStatus(run.ctx, context, id); });
                               run.answer(status);
                             },
                             [id](Prescription& p) {
                               int status = 0;
                               if (id != -1) {
                                 int rc = 0;
                                 int unused = 0;
                                 const Ref rule = ClassRows<MDScheduleEventType>::retrieved(
                                     p, p.target(), "retrieve", kEventClass, false, rc, unused, id);
                                 if (!rule.empty()) {
                                   const Wrapper wrapped = p.wrap(rule);
                                   p.deleteLocalRef(rule);
                                   status = endToStart(p, wrapped) == 1 ? 1 : 2;
                                   p.destroy(wrapped);
                                 }
                               }
                               p.result(says::answer(status));
                             }});
        if (found) row.answers.add("retrieve", Object{kEventClass});
        row.answers.add("getIntervalType", static_cast<long long>(type));
        row.answers.add("getDetail", static_cast<long long>(detail));
        row.reports = true;
        row.states = kEveryState;
        if (id == -1) return;
      }
    }
  }
}

void addEventHome(Rows& rows) {
  ClassRows<MDScheduleEventType> home(rows, kEventClass + "Type");
  home.wrapsFirst();
  home.creates();
  home.retrieves("retrieve", &MDScheduleEventType::retrieve, "MDScheduleEvent", true, {}, kID);
  home.lists<MDScheduleEvent>("retrieveList", &MDScheduleEventType::retrieveList, "MDScheduleEvent", 30013);
  home.deletes(&MDScheduleEventType::deleteIt, kID);
  addRescheduleStatus(home);
}

/// The rules are counted and not fetched; there are none of them when that fails.
void addNumber(ClassRows<MDSharedNamedSchedule>& schedule) {
  for (const char* const variant : {"some", "none", "null"}) {
    Row& row = schedule.add(
        {symbolOf("getNumScheduleEvent", &MDSharedNamedSchedule::getNumScheduleEvent), variant,
         [](Run& run) {
           auto& target = run.target<MDSharedNamedSchedule>(kScheduleClass);
           const jobject context = run.context();
           int number = 77;
           run.record([&] { number = target.getNumScheduleEvent(run.ctx, context); });
           run.answer(number);
         },
         [](Prescription& p) {
           int number = 0;
           const Wrapper target = p.target();
           const Wrapper exception = p.exceptionObject();
           if (target.live() && exception.live() &&
               p.getMethod(target.objectClass, "retrieveScheduleEventList", storeMethod("", kCollection))) {
             const Ref rules = p.callObject(target.object, "retrieveScheduleEventList", "context", exception.object);
             const int rc = p.returnCode(exception);
             if (rc == 0 && !rules.empty()) {
               if (const Ref cls = p.getObjectClass(rules); !cls.empty()) {
                 if (p.getMethod(cls, "size", "()I")) number = p.callInt(rules, "size");
                 p.deleteLocalRef(cls);
               }
             }
             if (!rules.empty()) p.deleteLocalRef(rules);
           }
           p.destroy(exception);
           p.result(says::answer(number));
         }});
    if (variant[1] != 'u') row.answers.add("retrieveScheduleEventList", Object{"java/util/ArrayList"});
    row.answers.add("size", *variant == 's' ? 5LL : 0LL);
    row.reports = true;
    row.states = kEveryState;
  }
}

void addSchedule(Rows& rows) {
  ClassRows<MDSharedNamedSchedule> schedule(rows, kScheduleClass);
  schedule.wrapsFirst();
  schedule.creates();
  schedule.persistsAll();
  schedule.get("getSharedScheduleName", &MDSharedNamedSchedule::getSharedScheduleName);
  schedule.set("setSharedScheduleName", &MDSharedNamedSchedule::setSharedScheduleName);
  schedule.get("getDescription", &MDSharedNamedSchedule::getDescription);
  schedule.set("setDescription", &MDSharedNamedSchedule::setDescription);
  schedule.get("getScheduleID", &MDSharedNamedSchedule::getScheduleID);
  schedule.set("setScheduleID", &MDSharedNamedSchedule::setScheduleID);
  schedule.lists<MDScheduleEvent>("retrieveScheduleEventList", &MDSharedNamedSchedule::retrieveScheduleEventList,
                                  "MDScheduleEvent", 30013);
  schedule.relates("addScheduleEvent", &MDSharedNamedSchedule::addScheduleEvent, "MDScheduleEvent", true);
  schedule.relates("removeScheduleEvent", &MDSharedNamedSchedule::removeScheduleEvent, "MDScheduleEvent", true);
  addNumber(schedule);

  ClassRows<MDSharedNamedScheduleType> home(rows, kScheduleClass + "Type");
  home.wraps();
  home.creates();
  home.retrieves("retrieve", &MDSharedNamedScheduleType::retrieve, "MDSharedNamedSchedule", true, {}, kID);
  home.lists<MDSharedNamedSchedule>("retrieveList", &MDSharedNamedScheduleType::retrieveList, "MDSharedNamedSchedule",
                                    30013);
  home.deletes(&MDSharedNamedScheduleType::deleteIt, kID);
}

}  // namespace

std::string nextTime(Prescription& p, const Rule& rule, const Wrapper& event, const Wrapper& after) {
  longProperty(p, event, "getScheduleEventID");
  const Wrapper dates = newFormat(p, "yyyyMMdd");
  const Wrapper times = newFormat(p, "HHmmss");
  const Wrapper moments = newFormat(p, "yyyyMMddHHmmss");
  p.traceEntry(kNextTime);
  std::vector<std::optional<Wrapper>> dated(3);
  int type = 0;
  int code = filled(p, rule, event, dates, times, type, dated);
  std::string reference = "null";
  if (code == 0) {
    reference = formatted(p, moments, after);
    if (reference == "null") code = -301;
  }
  std::string given = "null";
  if (code == 0) {
    p.traceEntry(kCompute);
    if (rule.code == -302 && dated[2]) code = -302;
    p.traceExit(kCompute, code);
  }
  if (code == 0) {
    const long long millis = parsed(p, moments, nextOf(rule, reference.substr(1, reference.size() - 2), type));
    if (p.allocate(16)) {
      const Wrapper next = newObjectOf(p, kTimestampClass, "(J)V", millis);
      given = "wrapper " + show(next.object) + " " + show(next.objectClass);
    }
  }
  p.traceExit(kNextTime, code);
  for (auto date = dated.rbegin(); date != dated.rend(); ++date) {
    if (*date) p.destroy(**date);
  }
  for (const Wrapper& format : {moments, times, dates}) p.destroy(format);
  return given;
}

void answerAs(const Rule& rule, Answers& answers) {
  answers.add("getScheduleEventID", 7LL);
  answers.add("getRecurring", static_cast<long long>(rule.recurring));
  answers.add("getIntervalType", static_cast<long long>(rule.type));
  answers.add("getIntervalUnit", static_cast<long long>(rule.unit));
  answers.add("getDetail", static_cast<long long>(rule.detail));
  if (rule.startDate != nullptr) answers.add("getStartDate", Object{"java/sql/Date"});
  if (rule.startTime != nullptr) answers.add("getStartTime", Object{"java/sql/Time"});
  if (rule.endDate != nullptr) answers.add("getEndDate", Object{"java/sql/Date"});
  for (const char* const text : {rule.startDate, rule.startTime, rule.endDate, rule.reference}) {
    if (text != nullptr) answers.add("format", Text{text});
  }
  answers.add("parse", Object{"java/util/Date"});
  answers.add("getTime", 3800000000000LL);
}

void addScheduleRows(Rows& rows) {
  addEvent(rows);
  addEventHome(rows);
  addSchedule(rows);
}

}  // namespace mesk::test::ledger
