// Executions and the queue of them; the steps of grouping tasks; a task's next start.
#include <mesk/ledger/NextTime.h>
#include <mesk/ledger/StandardError.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecList.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

namespace mesk::test::ledger {

/// Two references, a latch of a byte, and 32 bits.
template <>
inline constexpr std::size_t kWrapperBytes<MDTaskExec> = 24;

namespace {

constexpr long long kExecID = 0x500000009;
constexpr long long kTaskID = 0x600000007;
constexpr int kSuffix = 2;

const std::string kExecClass = std::string(kMetadata) + "MDTaskExec";
const std::string kTaskClass = std::string(kMetadata) + "MDTask";
const std::string kEventClass = std::string(kMetadata) + "MDScheduleEvent";
const std::string kTimestampClass = "java/sql/Timestamp";
const std::string kTimestampType = "Ljava/sql/Timestamp;";

const Records kInsertRecords = {.log = 0x10080144, .keys = {"getTaskID", "getTaskExecID"}};

// Executions.

/// What a new record is set to.
void setDefaults(Prescription& p, const Wrapper& exec) {
  setIntProperty(p, exec, "setIsRealStartTime", 0);
  setIntProperty(p, exec, "setNeedReschedule", 1);
  setIntProperty(p, exec, "setStartedByRunNow", 0);
  setLongProperty(p, exec, "setTaskHistoryID", -1);
}

Wrapper newExec(Prescription& p, int& rc, int& sqlCode) {
  const Wrapper made = createdBy(p, kExecClass, rc, sqlCode);
  if (rc == 0) setDefaults(p, made);
  return made;
}

/// A store operation of a record; its code.
int stored(Prescription& p, const Wrapper& target, const std::string& method, const Records& records, int& sqlCode) {
  if (records.trace != 0) p.traceEntry(records.trace);
  const int rc = storeVoid(p, target, method, storeMethod("", "V"), sqlCode);
  logFailure(p, target, records, rc, sqlCode);
  if (records.trace != 0) p.traceExit(records.trace, rc);
  return rc;
}

long long referenceID(Prescription& p, const Wrapper& exec) {
  long long key = 0;
  int unused = 0;
  storeCall(p, exec, "getReferenceID", storeMethod("", "J"), unused, [&](const Wrapper& exception) {
    key = p.callLong(exec.object, "getReferenceID", "context", exception.object);
  });
  return key;
}

/// The password as Java's own array; its code is nobody's.
Ref passwordOf(Prescription& p, const Wrapper& exec) {
  Ref bytes;
  const Wrapper exception = p.exceptionObject();
  if (exec.live() && exception.live() && p.getMethod(exec.objectClass, "getPassword", storeMethod("", "[B"))) {
    bytes = p.callObject(exec.object, "getPassword", "context", exception.object);
  }
  p.destroy(exception);
  return bytes;
}

bool queued(Prescription& p, const Wrapper& exec) {
  const int status = intProperty(p, exec, "getStatus");
  return status == 0 || status == 1;
}

void copyInt(Prescription& p, const Wrapper& to, const Wrapper& from, const std::string& property) {
  setIntProperty(p, to, "set" + property, intProperty(p, from, "get" + property));
}

void copyLong(Prescription& p, const Wrapper& to, const Wrapper& from, const std::string& property) {
  setLongProperty(p, to, "set" + property, longProperty(p, from, "get" + property));
}

/// Texts and times only when they are there. Texts are ASCII.
void copyText(Prescription& p, const Wrapper& to, const Wrapper& from, const std::string& property,
              const std::string& setter = "") {
  const std::string text = textProperty(p, from, "get" + property);
  if (text == "null") return;
  setTextProperty(p, to, setter.empty() ? "set" + property : setter, text.substr(1, text.size() - 2));
}

void copyTime(Prescription& p, const Wrapper& to, const Wrapper& from, const std::string& property) {
  const auto time = objectProperty(p, from, "get" + property, kTimestampType);
  if (!time) return;
  setObjectProperty(p, to, "set" + property, kTimestampType, time->object);
  p.destroy(*time);
}

void copied(Prescription& p, const Wrapper& to, const Wrapper& from) {
  if (to.object.empty() || from.object.empty()) return;
  copyLong(p, to, from, "TaskExecID");
  copyLong(p, to, from, "TaskID");
  copyInt(p, to, from, "Suffix");
  copyInt(p, to, from, "V7JobID");
  copyLong(p, to, from, "SharedNamedScheduleID");
  copyLong(p, to, from, "ScheduleEventID");
  copyInt(p, to, from, "StartedByRunNow");
  copyTime(p, to, from, "NextStartDateTime");
  copyTime(p, to, from, "StartTime");
  copyText(p, to, from, "BrixStepID");
  copyText(p, to, from, "StepRC");
  copyText(p, to, from, "PartitionNumber");
  copyInt(p, to, from, "RookQPosition");
  copyInt(p, to, from, "Status");
  copyText(p, to, from, "ExecutionSystem");
  copyText(p, to, from, "RookJobID");
  copyText(p, to, from, "SummaryReturnCode", "SummaryReturnCode");
  copyText(p, to, from, "UserID");
  const Ref password = passwordOf(p, from);
  setObjectProperty(p, to, "setPasswordByteArr", "[B", password);
  if (!password.empty()) p.deleteLocalRef(password);
}

/// So many calls of the store go well, and the next does not. None: all have the setting's code.
void failAfter(int goodCodes, Row& row) {
  if (goodCodes == 0) return;
  for (int i = 0; i < goodCodes; ++i) row.answers.add("getRC", 0LL);
  row.answers.add("getRC", 4711LL);
  row.answers.add("getNestedSQLCode", -803LL);
}

/// What Java answers of a record that is copied.
void answerAsExec(Answers& answers, bool full) {
  answers.add("getTaskExecID", kExecID);
  answers.add("getTaskID", kTaskID);
  answers.add("getSuffix", static_cast<long long>(kSuffix));
  answers.add("getV7JobID", 11LL);
  answers.add("getSharedNamedScheduleID", 12LL);
  answers.add("getScheduleEventID", 13LL);
  answers.add("getStartedByRunNow", 1LL);
  answers.add("getRookQPosition", 14LL);
  answers.add("getStatus", 1LL);
  if (!full) return;
  answers.add("getNextStartDateTime", Object{kTimestampClass});
  answers.add("getStartTime", Object{kTimestampClass});
  for (const char* const property :
       {"BrixStepID", "StepRC", "PartitionNumber", "ExecutionSystem", "RookJobID", "SummaryReturnCode", "UserID"}) {
    answers.add(std::string("get") + property, Text{std::string("a ") + property});
  }
  answers.add("getPassword", Bytes{5});
}

void addProperties(ClassRows<MDTaskExec>& exec) {
  exec.get("getTaskExecID", &MDTaskExec::getTaskExecID);
  exec.set("setTaskExecID", &MDTaskExec::setTaskExecID);
  exec.get("getTaskID", &MDTaskExec::getTaskID);
  exec.set("setTaskID", &MDTaskExec::setTaskID);
  exec.get("getSuffix", &MDTaskExec::getSuffix);
  exec.set("setSuffix", &MDTaskExec::setSuffix);
  exec.get("getTaskHistoryID", &MDTaskExec::getTaskHistoryID);
  exec.set("setTaskHistoryID", &MDTaskExec::setTaskHistoryID);
  exec.get("getSharedNamedScheduleID", &MDTaskExec::getSharedNamedScheduleID);
  exec.set("setSharedNamedScheduleID", &MDTaskExec::setSharedNamedScheduleID);
  exec.get("getScheduleEventID", &MDTaskExec::getScheduleEventID);
  exec.set("setScheduleEventID", &MDTaskExec::setScheduleEventID);
  exec.get("getNextStartDateTime", &MDTaskExec::getNextStartDateTime);
  exec.set("setNextStartDateTime", &MDTaskExec::setNextStartDateTime);
  exec.get("getStartTime", &MDTaskExec::getStartTime);
  exec.set("setStartTime", &MDTaskExec::setStartTime);
  exec.get("getBrixStepID", &MDTaskExec::getBrixStepID);
  exec.set("setBrixStepID", &MDTaskExec::setBrixStepID);
  exec.get("getStepRC", &MDTaskExec::getStepRC);
  exec.set("setStepRC", &MDTaskExec::setStepRC);
  exec.get("getPartitionNumber", &MDTaskExec::getPartitionNumber);
  exec.set("setPartitionNumber", &MDTaskExec::setPartitionNumber);
  exec.get("getRookQPosition", &MDTaskExec::getRookQPosition);
  exec.set("setRookQPosition", &MDTaskExec::setRookQPosition);
  exec.get("getStatus", &MDTaskExec::getStatus);
  exec.set("setStatus", &MDTaskExec::setStatus);
  exec.get("getExecutionSystem", &MDTaskExec::getExecutionSystem);
  exec.set("setExecutionSystem", &MDTaskExec::setExecutionSystem);
  exec.get("getRookJobID", &MDTaskExec::getRookJobID);
  exec.set("setRookJobID", &MDTaskExec::setRookJobID);
  exec.get("getUseNotification", &MDTaskExec::getUseNotification);
  exec.set("setUseNotification", &MDTaskExec::setUseNotification);
  exec.get("getUseTaskActions", &MDTaskExec::getUseTaskActions);
  exec.set("setUseTaskActions", &MDTaskExec::setUseTaskActions);
  exec.get("getAcceptDefaults", &MDTaskExec::getAcceptDefaults);
  exec.set("setAcceptDefaults", &MDTaskExec::setAcceptDefaults);
  exec.get("getPassRunSystem", &MDTaskExec::getPassRunSystem);
  exec.set("setPassRunSystem", &MDTaskExec::setPassRunSystem);
  exec.get("getPassTargetDBObjects", &MDTaskExec::getPassTargetDBObjects);
  exec.set("setPassTargetDBObjects", &MDTaskExec::setPassTargetDBObjects);
  exec.get("getAdditionalParameters", &MDTaskExec::getAdditionalParameters);
  exec.set("setAdditionalParameters", &MDTaskExec::setAdditionalParameters);
  exec.get("getRowLimit", &MDTaskExec::getRowLimit);
  exec.set("setRowLimit", &MDTaskExec::setRowLimit);
  exec.get("getStartedByRunNow", &MDTaskExec::getStartedByRunNow);
  exec.set("setStartedByRunNow", &MDTaskExec::setStartedByRunNow);
  exec.get("getUserID", &MDTaskExec::getUserID);
  exec.set("setUserID", &MDTaskExec::setUserID);
  exec.get("getPasswordString", &MDTaskExec::getPasswordString);
  exec.set("setPasswordString", &MDTaskExec::setPasswordString);
  exec.get("getIsRealStartTime", &MDTaskExec::getIsRealStartTime);
  exec.set("setIsRealStartTime", &MDTaskExec::setIsRealStartTime);
  exec.get("getNeedReschedule", &MDTaskExec::getNeedReschedule);
  exec.set("setNeedReschedule", &MDTaskExec::setNeedReschedule);
  exec.get("getOriginalScheduleTime", &MDTaskExec::getOriginalScheduleTime);
  exec.set("setOriginalScheduleTime", &MDTaskExec::setOriginalScheduleTime);
  exec.get("getParentGroupingTaskExecID", &MDTaskExec::getParentGroupingTaskExecID);
  exec.set("setParentGroupingTaskExecID", &MDTaskExec::setParentGroupingTaskExecID);
  exec.set("setExecutionPartitionID", &MDTaskExec::setExecutionPartitionID);
  exec.set("setExecutionSystemID", &MDTaskExec::setExecutionSystemID);
  exec.get("getV7JobID", &MDTaskExec::getV7JobID);
  exec.set("setV7JobID", &MDTaskExec::setV7JobID);
  exec.get("getSummaryReturnCode", &MDTaskExec::getSummaryReturnCode);
  exec.set("setSummaryReturnCode", &MDTaskExec::setSummaryReturnCode, "SummaryReturnCode");
  exec.get("getPassword", static_cast<Blob* (MDTaskExec::*)(ThreadContext&) const>(&MDTaskExec::getPassword));
  exec.set("setPassword", &MDTaskExec::setPassword);
}

void addRights(ClassRows<MDTaskExec>& exec) {
  exec.asks<MDUser>("getReadPermission", &MDTaskExec::getReadPermission, "MDUser");
  exec.asks<MDGroup>("getReadPermission", &MDTaskExec::getReadPermission, "MDGroup");
  exec.grants<MDUser>("setReadPermission", &MDTaskExec::setReadPermission, "MDUser");
  exec.grants<MDGroup>("setReadPermission", &MDTaskExec::setReadPermission, "MDGroup");
  exec.asks<MDUser>("getUpdatePermission", &MDTaskExec::getUpdatePermission, "MDUser");
  exec.asks<MDGroup>("getUpdatePermission", &MDTaskExec::getUpdatePermission, "MDGroup");
  exec.grants<MDUser>("setUpdatePermission", &MDTaskExec::setUpdatePermission, "MDUser");
  exec.grants<MDGroup>("setUpdatePermission", &MDTaskExec::setUpdatePermission, "MDGroup");
  exec.asks<MDUser>("getExecutePermission", &MDTaskExec::getExecutePermission, "MDUser");
  exec.asks<MDGroup>("getExecutePermission", &MDTaskExec::getExecutePermission, "MDGroup");
  exec.grants<MDUser>("setExecutePermission", &MDTaskExec::setExecutePermission, "MDUser");
  exec.grants<MDGroup>("setExecutePermission", &MDTaskExec::setExecutePermission, "MDGroup");
}

/// The latch of the record itself, which stands behind its references.
void addOwnLatch(ClassRows<MDTaskExec>& exec) {
  for (const bool held : {false, true}) {
    for (const bool locks : {true, false}) {
      const auto operation = locks ? &MDTaskExec::lock : &MDTaskExec::unlock;
      exec.add({symbolOf(locks ? "lock" : "unlock", operation), held ? "held" : "free",
                [operation, held, locks](Run& run) {
                  auto& target = run.target<MDTaskExec>(kExecClass);
                  const auto* const latch = reinterpret_cast<const OSSLatch*>(&target) + sizeof(MDObject);
                  run.know(latch, "own latch");
                  if (held) target.lock();
                  run.record([&] { (target.*operation)(); });
                  run.say(*latch == 0 ? "free" : "held");
                  target.unlock();
                },
                [held, locks](Prescription& p) {
                  if (locks) {
                    p.line(std::string("ossWin32Lock8ExchangeInternal own latch") + (held ? " held" : ""));
                    if (held) p.line("ossLockGetConflict own latch");
                  } else {
                    p.line("ossWin32Lock8ReleaseInternal own latch");
                  }
                  p.result(locks ? "held" : "free");
                }});
    }
  }
}

void addKeys(ClassRows<MDTaskExec>& exec) {
  Row& row = exec.add({symbolOf("getReferenceID", &MDTaskExec::getReferenceID), "",
                       [](Run& run) {
                         auto& target = run.target<MDTaskExec>(kExecClass);
                         const jobject context = run.context();
                         long long key = 77;
                         run.record([&] { key = target.getReferenceID(run.ctx, context); });
                         run.answer(key);
                       },
                       [](Prescription& p) { p.result(says::answer(referenceID(p, p.target()))); }});
  row.answers.add("getReferenceID", 0x123456789ALL);
  row.reports = true;
  row.states = kEveryState;
}

/// The stored password goes both ways as Java's own array.
void addPasswords(ClassRows<MDTaskExec>& exec) {
  constexpr auto kGetPassword =
      static_cast<jbyteArray (MDTaskExec::*)(ThreadContext&, jobject) const>(&MDTaskExec::getPassword);
  for (const bool null : {false, true}) {
    Row& get = exec.add({symbolOf("getPassword", kGetPassword), null ? "null" : "bytes",
                         [](Run& run) {
                           const auto& target = run.target<MDTaskExec>(kExecClass);
                           const jobject context = run.context();
                           jbyteArray bytes = nullptr;
                           run.record([&] { bytes = target.getPassword(run.ctx, context); });
                           run.givesLocal(bytes);
                         },
                         [](Prescription& p) { p.result(says::givesReference(passwordOf(p, p.target()))); }});
    if (!null) get.answers.add("getPassword", Bytes{3});
    get.states = kEveryState;
    get.reports = true;

    Row& set = exec.add({symbolOf("setPasswordByteArr", &MDTaskExec::setPasswordByteArr), null ? "null" : "bytes",
                         [null](Run& run) {
                           auto& target = run.target<MDTaskExec>(kExecClass);
                           const jbyteArray bytes = null ? nullptr : run.bytes(3, "bytes");
                           run.record([&] { target.setPasswordByteArr(run.ctx, bytes); });
                         },
                         [null](Prescription& p) {
                           setObjectProperty(p, p.target(), "setPasswordByteArr", "[B", null ? "" : "bytes");
                         }});
    set.states = kEveryState;
  }
}

/// A question that the record answers by itself, from what Java answers to `getter`.
void addDecision(ClassRows<MDTaskExec>& exec, const std::string& name,
                 int (MDTaskExec::*question)(ThreadContext&) const, const std::string& getter,
                 const std::vector<long long>& values, int (*decide)(Prescription&)) {
  for (const long long value : values) {
    for (const bool scheduled : {true, false}) {
      Row& row = exec.add({symbolOf(name, question), std::to_string(value) + (scheduled ? " scheduled" : ""),
                           [question](Run& run) {
                             const auto& target = run.target<MDTaskExec>(kExecClass);
                             int answer = 77;
                             run.record([&] { answer = (target.*question)(run.ctx); });
                             run.answer(answer);
                           },
                           [decide](Prescription& p) { p.result(says::answer(decide(p))); }});
      row.answers.add(getter, value);
      if (scheduled) row.answers.add("getOriginalScheduleTime", Object{kTimestampClass});
      row.states = kEveryState;
    }
  }
}

void addDecisions(ClassRows<MDTaskExec>& exec) {
  addDecision(exec, "isQueued", &MDTaskExec::isQueued, "getStatus", {-1, 0, 1, 2, 3},
              [](Prescription& p) { return queued(p, p.target()) ? 1 : 0; });
  addDecision(exec, "isRunNowTask", &MDTaskExec::isRunNowTask, "getStartedByRunNow", {-1, 0, 1, 2},
              [](Prescription& p) { return intProperty(p, p.target(), "getStartedByRunNow") == 1 ? 1 : 0; });
  addDecision(exec, "getInvocationMethod", &MDTaskExec::getInvocationMethod, "getStartedByRunNow", {0, 1, 2},
              [](Prescription& p) {
                if (intProperty(p, p.target(), "getStartedByRunNow") == 1) return 0;
                const auto time = objectProperty(p, p.target(), "getOriginalScheduleTime", kTimestampType);
                if (time) p.destroy(*time);
                return time ? 1 : 2;
              });
}

void addCopy(ClassRows<MDTaskExec>& exec) {
  for (const State from : kEveryState) {
    for (const bool full : {true, false}) {
      Row& row = exec.add({symbolOf("copy", &MDTaskExec::copy), std::string(nameOfState(from)) + (full ? " full" : ""),
                           [from](Run& run) {
                             auto& target = run.target<MDTaskExec>(kExecClass);
                             auto& source = run.wrapper<MDTaskExec>(kExecClass, "source", from);
                             const jobject context = run.context();
                             run.record([&] { target.copy(run.ctx, &source, context); });
                           },
                           [from](Prescription& p) { copied(p, p.target(), wrapperIn(from, "source")); }});
      answerAsExec(row.answers, full);
      row.states = kEveryState;
    }
  }
  Row& none = exec.add({symbolOf("copy", &MDTaskExec::copy), "of nothing",
                        [](Run& run) {
                          auto& target = run.target<MDTaskExec>(kExecClass);
                          const jobject context = run.context();
                          run.record([&] { target.copy(run.ctx, nullptr, context); });
                        },
                        [](Prescription&) {}});
  none.states = kEveryState;
}

// The next time of an execution's rule.

/// A task by its key, through a home of its own.
Ref retrievedTask(Prescription& p, long long taskID, int suffix, int& rc, int& sqlCode) {
  const Wrapper home = createdBy(p, kTaskClass + "Type", rc, sqlCode);
  Ref task;
  if (rc == 0) {
    task = ClassRows<MDTaskType>::retrieved(p, home, "retrieve", kTaskClass, false, rc, sqlCode, taskID, suffix);
  }
  ClassRows<MDTaskType>::logKeys(p, {.log = 0x10080142}, rc, sqlCode, taskID);
  p.destroy(home);
  return task;
}

/// A date of the rule as text, by a formatter of its own.
std::string dateText(Prescription& p, const Wrapper& rule, const char* property, const char* type,
                     const char* pattern) {
  const auto date = objectProperty(p, rule, property, type);
  if (!date) return "null";
  const Wrapper format = newFormat(p, pattern);
  const std::string text = formatted(p, format, *date);
  p.destroy(format);
  p.destroy(*date);
  return text;
}

/// The rule's start as a timestamp.
std::optional<Wrapper> startOf(Prescription& p, const Wrapper& rule) {
  const std::string day = dateText(p, rule, "getStartDate", "Ljava/sql/Date;", "yyyyMMdd");
  const std::string time = dateText(p, rule, "getStartTime", "Ljava/sql/Time;", "HHmmss");
  if (day == "null" || time == "null") return std::nullopt;
  const Wrapper format = newFormat(p, "yyyyMMddHHmmss");
  const long long millis = parsed(p, format, day.substr(1, day.size() - 2) + time.substr(1, time.size() - 2));
  p.destroy(format);
  if (!p.allocate(16)) return std::nullopt;
  return newObjectOf(p, kTimestampClass, "(J)V", millis);
}

std::string nextOfRule(Prescription& p, const Rule& rule, const Wrapper& event, bool fromGiven) {
  if (intProperty(p, event, "getRecurring") == 0) return "null";
  if (fromGiven) return nextTime(p, rule, event, {"from", "from.class"});
  const bool fromRule = intProperty(p, p.target(), "getStatus") != 0;
  const auto base =
      fromRule ? startOf(p, event) : objectProperty(p, p.target(), "getOriginalScheduleTime", kTimestampType);
  if (!base) return "null";
  std::string next = "null";
  if (base->live()) {
    Rule counted = rule;
    counted.allowReference = fromRule ? 1 : 0;
    next = nextTime(p, counted, event, *base);
  }
  p.destroy(*base);
  return next;
}

std::string nextScheduleTime(Prescription& p, const Rule& rule, State home, bool fromGiven) {
  const Wrapper target = p.target();
  if (target.object.empty()) return "null";
  int rc = 0;
  int sqlCode = 0;
  const long long taskID = longProperty(p, target, "getTaskID");
  const int suffix = intProperty(p, target, "getSuffix");
  const Ref task = retrievedTask(p, taskID, suffix, rc, sqlCode);
  if (task.empty()) return "null";
  const Wrapper wrapped = p.wrap(task);
  intProperty(p, wrapped, "getScheduleEnable");
  p.destroy(wrapped);
  p.deleteLocalRef(task);

  const long long eventID = longProperty(p, target, "getScheduleEventID");
  const Ref found = ClassRows<MDScheduleEventType>::retrieved(p, wrapperIn(home, "home"), "retrieve", kEventClass,
                                                              false, rc, sqlCode, eventID);
  if (found.empty()) return "null";
  const Wrapper event = p.wrap(found);
  const std::string next = nextOfRule(p, rule, event, fromGiven);
  p.destroy(event);
  p.deleteLocalRef(found);
  return next;
}

struct NextCase {
  const char* name;
  Rule rule = {.name = ""};
  bool fromGiven = false;
  int status = 0;
  bool original = true;  ///< the record has an original schedule time
  int goodCodes = 0;     ///< how many calls of the store go well before one fails; 0 for the setting's code in all
  State home = State::live;
  bool found = true;  ///< the store has what is asked for
};

const NextCase kNextCases[] = {
    {.name = "from a given time", .fromGiven = true},
    {.name = "from the original time"},
    {.name = "without an original time", .original = false},
    {.name = "from the rule", .status = 1},
    {.name = "from a rule without a day", .rule = {.name = "", .startDate = nullptr}, .status = 3},
    {.name = "from a rule without a time", .rule = {.name = "", .startTime = nullptr}, .status = 3},
    {.name = "of a rule for once", .rule = {.name = "", .recurring = 0}},
    {.name = "of a home that is dead", .home = State::dead},
    {.name = "of no task", .found = false},
    {.name = "of a task that is refused", .goodCodes = 1},
    {.name = "of a rule that is refused", .goodCodes = 2},
};

void addNextScheduleTime(ClassRows<MDTaskExec>& exec) {
  for (const NextCase& next : kNextCases) {
    Row& row =
        exec.add({symbolOf("getNextScheduleTime", &MDTaskExec::getNextScheduleTime), next.name,
                  [next](Run& run) {
                    auto& target = run.target<MDTaskExec>(kExecClass);
                    auto& home = run.wrapper<MDScheduleEventType>(kEventClass + "Type", "home", next.home);
                    auto& unused = run.wrapper<SCTimestamp>(kTimestampClass, "unused");
                    SCTimestamp* const from =
                        next.fromGiven ? &run.wrapper<SCTimestamp>(kTimestampClass, "from") : nullptr;
                    const jobject context = run.context();
                    SCTimestamp* time = nullptr;
                    run.record([&] { time = target.getNextScheduleTime(run.ctx, context, &home, &unused, from); });
                    run.gives(time);
                  },
                  [next](Prescription& p) {
                    p.result(says::gives(nextScheduleTime(p, next.rule, next.home, next.fromGiven)));
                  }});
    failAfter(next.goodCodes, row);
    row.answers.add("getTaskID", kTaskID);
    row.answers.add("getSuffix", static_cast<long long>(kSuffix));
    row.answers.add("getStatus", static_cast<long long>(next.status));
    if (next.original) row.answers.add("getOriginalScheduleTime", Object{kTimestampClass});
    row.answers.add("retrieve", next.found ? Answer(Object{kTaskClass}) : Answer(Nothing{}));
    row.answers.add("retrieve", Object{kEventClass});
    if (!next.fromGiven && next.status != 0) {
      for (const char* const text : {next.rule.startDate, next.rule.startTime}) {
        if (text != nullptr) row.answers.add("format", Text{text});
      }
    }
    answerAs(next.rule, row.answers);
    row.reports = next.goodCodes == 0;
    row.states = kEveryState;
  }
}

void addExec(Rows& rows) {
  ClassRows<MDTaskExec> exec(rows, kExecClass);
  exec.wrapsFirst();
  exec.creates(setDefaults);
  exec.persistsAll(kInsertRecords, {.log = 0x10080145, .keys = kInsertRecords.keys},
                   {.log = 0x10080146, .keys = kInsertRecords.keys});
  exec.locks(MDTaskExec::lockAllData, &MDTaskExec::lockAll, &MDTaskExec::unlockAll, &MDTaskExec::freeLock);
  addProperties(exec);
  addRights(exec);
  addOwnLatch(exec);
  addKeys(exec);
  addPasswords(exec);
  addDecisions(exec);
  addCopy(exec);
  addNextScheduleTime(exec);
}

void addExecHome(Rows& rows) {
  ClassRows<MDTaskExecType> home(rows, kExecClass + "Type");
  home.wrapsFirst();
  home.creates();
  home.retrieves("retrieve", &MDTaskExecType::retrieve, "MDTaskExec", false, {}, kExecID);
  home.lists<MDTaskExec>("retrieveList", &MDTaskExecType::retrieveList, "MDTaskExec", 30013, collectionElements,
                         {.log = 0x10080147, .trace = 0x1AE80132});
  home.deletes(&MDTaskExecType::deleteIt, kExecID);
}

// The queue.

/// A queue in an operation, the one of the process or one of its own. Its entries are "one", "two" and so on, and it
/// gives them back at its end.
class Filled {
 public:
  Filled(Run& run, int count, bool single = false) : owned_(single ? instance() : new MDTaskExecList), run_(run) {
    for (int i = 0; i < count; ++i) {
      names_.emplace_back(kNames[i]);
      entries_.push_back(&run.wrapper<MDTaskExec>(kExecClass, kNames[i]));
    }
    list.createFromArr(entries_.data(), count, 0);
    run.know(&list, single ? "queue latch" : "latch");  // its first field
  }
  ~Filled() {
    list.iterateStart(0);
    while (list.next(0) != nullptr) list.remove(0);
  }
  Filled(const Filled&) = delete;
  Filled& operator=(const Filled&) = delete;

  /// One more that is not in the queue.
  void another(const char* name) {
    names_.emplace_back(name);
    entries_.push_back(&run_.wrapper<MDTaskExec>(kExecClass, name));
    others.push_back(entries_.back());
  }

  std::string nameOf(const MDTaskExec* entry) const {
    const auto found = std::find(entries_.begin(), entries_.end(), entry);
    return entry == nullptr ? "none" : names_.at(static_cast<std::size_t>(found - entries_.begin()));
  }

  /// All of it, by name.
  std::string order() const {
    std::string all;
    list.iterateStart(0);
    while (const MDTaskExec* const entry = list.next(0)) all += " " + nameOf(entry);
    return all;
  }

  static constexpr const char* kNames[] = {"one", "two", "three"};

 private:
  static MDTaskExecList* instance() {
    const StandardError unheard;
    return MDTaskExecList::getInstance();
  }

  std::unique_ptr<MDTaskExecList> owned_;
  Run& run_;
  std::vector<std::string> names_;
  std::vector<MDTaskExec*> entries_;

 public:
  MDTaskExecList& list = *owned_;
  std::vector<MDTaskExec*> others;
};

using Names = std::vector<std::string>;

Wrapper entry(const std::string& name) { return wrapperIn(State::live, name); }

Names namesOf(int count) { return {Filled::kNames, Filled::kNames + count}; }

std::string joined(const Names& names) {
  std::string all;
  for (const std::string& name : names) all += " " + name;
  return all;
}

/// An operation of the queue, played with the latch left alone, taken, and held by somebody else. `prepare` comes
/// before; `operation` is called with the last argument and says what it gave, `prescribe` says the same.
struct QueueOperation {
  std::string symbol;
  std::string variant;
  int entries = 0;
  std::function<std::string(Filled&, int)> operation;
  std::function<std::string(Prescription&)> prescribe;
  std::function<void(Filled&)> prepare = nullptr;
  std::function<void(Answers&)> answers = nullptr;
  bool latched = true;  ///< takes the latch
  bool reports = false;
};

void add(Rows& rows, const QueueOperation& o) {
  struct Latching {
    const char* name;
    int lock;
  };
  for (const Latching& latching : {Latching{"unlatched", 0}, Latching{"latched", 1}, Latching{"waiting", -1}}) {
    const bool takes = o.latched && latching.lock != 0;
    const bool waits = latching.lock < 0;
    rows.push_back({o.symbol, o.variant + latching.name,
                    [o, waits, lock = latching.lock](Run& run) {
                      Filled queue(run, o.entries);
                      if (o.prepare) o.prepare(queue);
                      if (waits) queue.list.LLlock(1);
                      std::string gave;
                      run.record([&] { gave = o.operation(queue, lock); });
                      run.say(gave);
                      if (waits) queue.list.LLunlock(1);
                    },
                    [o, takes, waits](Prescription& p) {
                      if (takes) {
                        p.line(std::string("ossWin32Lock8ExchangeInternal latch") + (waits ? " held" : ""));
                        if (waits) p.line("ossLockGetConflict latch");
                      }
                      const std::string gives = o.prescribe(p);
                      if (takes) p.line("ossWin32Lock8ReleaseInternal latch");
                      p.result(gives);
                    }});
    if (o.answers) o.answers(rows.back().answers);
    rows.back().reports = o.reports;
  }
}

// What lookups and the ordering do, entry by entry.

std::string firstScheduled(Prescription& p, const Names& names) {
  constexpr std::uint32_t kTrace = 0x1AE80124;
  p.traceEntry(kTrace);
  p.attach();
  for (const std::string& name : names) {
    if (!queued(p, entry(name))) continue;
    p.traceExit(kTrace, 1);
    return name;
  }
  p.traceExit(kTrace, 0);
  return "none";
}

bool belongs(Prescription& p, const std::string& name) {
  return longProperty(p, entry(name), "getTaskID") == kTaskID && intProperty(p, entry(name), "getSuffix") == kSuffix;
}

std::string searchQueued(Prescription& p, const Names& names, long long taskID, int suffix) {
  p.attach();
  for (const std::string& name : names) {
    if (longProperty(p, entry(name), "getTaskID") == taskID && intProperty(p, entry(name), "getSuffix") == suffix &&
        queued(p, entry(name))) {
      return name;
    }
  }
  return "none";
}

long long maximum(Prescription& p, const Names& names) {
  long long largest = -1;
  for (const std::string& name : names) largest = std::max(largest, longProperty(p, entry(name), "getTaskExecID"));
  return largest;
}

/// Links `name` by its start. False when there is no memory for it.
bool linkByStart(Prescription& p, Names& names, const std::string& name, std::uint32_t trace) {
  auto place = names.begin();
  for (; place != names.end(); ++place) {
    const auto start = objectProperty(p, entry(*place), "getNextStartDateTime", kTimestampType);
    const auto own = objectProperty(p, entry(name), "getNextStartDateTime", kTimestampType);
    int order = -1;
    if (start && own) {
      order = 0;
      if (start->live() && p.getMethod(start->objectClass, "compareTo", "(Ljava/util/Date;)I")) {
        order = p.callInt(start->object, "compareTo", own->object);
      }
    }
    if (own) p.destroy(*own);
    if (start) p.destroy(*start);
    if (order >= 0) break;
  }
  if (!p.allocate(24)) {
    p.traceError(trace, 10, static_cast<std::int32_t>(names.size()));
    return false;
  }
  names.insert(place, name);
  return true;
}

/// Links without looking; what is in the queue then.
std::string linked(Prescription& p, int before, const Names& added, std::uint32_t trace, bool ahead) {
  p.traceEntry(trace);
  Names result;
  std::int32_t size = before;
  for (const std::string& name : added) {
    if (p.allocate(24)) {
      result.push_back(name);
      ++size;
    } else {
      p.traceError(trace, 10, size);
    }
  }
  p.traceExit(trace, 0);
  const Names old = namesOf(before);
  result.insert(ahead ? result.end() : result.begin(), old.begin(), old.end());
  return joined(result);
}

void answerStarts(Answers& answers, const std::vector<bool>& there, const std::vector<long long>& orders) {
  for (const bool has : there) {
    answers.add("getNextStartDateTime", has ? Answer(Object{kTimestampClass}) : Answer(Nothing{}));
  }
  for (const long long order : orders) answers.add("compareTo", order);
}

using List = MDTaskExecList;

void addFilling(Rows& rows) {
  const auto twoMore = [](Filled& queue) {
    queue.another("new one");
    queue.another("new two");
  };
  for (const int count : {-1, 0, 2}) {
    add(rows, {.symbol = symbolOf("createFromArr", &List::createFromArr),
               .variant = std::to_string(count),
               .entries = 2,
               .operation =
                   [count](Filled& queue, int lock) {
                     queue.list.createFromArr(queue.others.data(), count, lock);
                     return queue.order();
                   },
               .prescribe =
                   [count](Prescription& p) {
                     return linked(p, 2, count < 1 ? Names{} : Names{"new one", "new two"}, 0x1AE80120, true);
                   },
               .prepare = twoMore});
  }
  for (const bool ahead : {true, false}) {
    add(rows, {.symbol = symbolOf("add", &List::add),
               .variant = ahead ? "ahead" : "at the end",
               .entries = 2,
               .operation =
                   [](Filled& queue, int lock) {
                     queue.list.add(queue.others[0], lock);
                     return queue.order();
                   },
               .prescribe = [ahead](Prescription& p) { return linked(p, 2, {"new one"}, 0x1AE80121, ahead); },
               .prepare =
                   [twoMore, ahead](Filled& queue) {
                     twoMore(queue);
                     if (ahead) queue.list.iterateStart(0);
                   }});
  }
}

/// A new entry among as many as there are orders: what the entries' starts and their comparisons say.
void addInsert(Rows& rows, const std::string& variant, int entries, const std::vector<bool>& starts,
               const std::vector<long long>& orders, const std::vector<long long>& statuses) {
  add(rows, {.symbol = symbolOf("insert", &List::insert),
             .variant = variant,
             .entries = entries,
             .operation =
                 [](Filled& queue, int lock) {
                   const int first = queue.list.insert(queue.others[0], lock);
                   return std::to_string(first) + queue.order();
                 },
             .prescribe =
                 [entries](Prescription& p) {
                   constexpr std::uint32_t kTrace = 0x1AE80122;
                   Names names = namesOf(entries);
                   p.traceEntry(kTrace);
                   p.attach();
                   linkByStart(p, names, "new", kTrace);
                   const int first = firstScheduled(p, names) == "new" ? 1 : 0;
                   p.traceExit(kTrace, first);
                   return std::to_string(first) + joined(names);
                 },
             .prepare = [](Filled& queue) { queue.another("new"); },
             .answers =
                 [starts, orders, statuses](Answers& answers) {
                   answerStarts(answers, starts, orders);
                   for (const long long status : statuses) answers.add("getStatus", status);
                 }});
}

void addSort(Rows& rows, const std::string& variant, int entries, const std::vector<long long>& orders) {
  add(rows, {.symbol = symbolOf("sort", &List::sort),
             .variant = variant,
             .entries = entries,
             .operation =
                 [](Filled& queue, int lock) {
                   queue.list.sort(lock);
                   return queue.order();
                 },
             .prescribe =
                 [entries](Prescription& p) {
                   constexpr std::uint32_t kTrace = 0x1AE80123;
                   Names names = namesOf(entries);
                   p.traceEntry(kTrace);
                   p.attach();
                   for (std::size_t at = 0; at < names.size();) {
                     const std::string moved = names[at];
                     const std::string next = at + 1 < names.size() ? names[at + 1] : "";
                     names.erase(names.begin() + static_cast<std::ptrdiff_t>(at));
                     linkByStart(p, names, moved, kTrace);
                     p.traceData(kTrace, 20, firstScheduled(p, names) == "none" ? 0 : 1);
                     at = static_cast<std::size_t>(std::find(names.begin(), names.end(), next) - names.begin());
                   }
                   p.traceExit(kTrace, 0);
                   return joined(names);
                 },
             .answers = [orders](Answers& answers) { answerStarts(answers, {true}, orders); }});
}

void addOrdering(Rows& rows) {
  addInsert(rows, "into nothing", 0, {true}, {}, {0});
  addInsert(rows, "ahead", 2, {true}, {0}, {1});
  addInsert(rows, "between", 2, {true}, {-1, 1}, {3, 1});
  addInsert(rows, "behind", 2, {true}, {-1}, {3, 3, 1});
  addInsert(rows, "without a start", 2, {true, false}, {0}, {0});
  addInsert(rows, "behind those without", 2, {false, true, false, true}, {0}, {2});
  add(rows, {.symbol = symbolOf("insert", &List::insert),
             .variant = "of nothing",
             .entries = 1,
             .operation = [](Filled& queue, int lock) { return std::to_string(queue.list.insert(nullptr, lock)); },
             .prescribe =
                 [](Prescription& p) {
                   p.traceEntry(0x1AE80122);
                   p.traceExit(0x1AE80122, 0);
                   return std::string("0");
                 }});
  addSort(rows, "of none", 0, {});
  addSort(rows, "of one", 1, {});
  addSort(rows, "of equals", 3, {0});
  addSort(rows, "of three", 3, {-1, 1, -1, -1, 1, 0});
}

/// A lookup among no entries and among three.
void addLookup(Rows& rows, const std::string& symbol, const std::string& variant,
               const std::function<std::string(Filled&, int)>& operation,
               const std::function<std::string(Prescription&, const Names&)>& prescribe,
               const std::function<void(Answers&)>& answers) {
  for (const int entries : {0, 3}) {
    add(rows, {.symbol = symbol,
               .variant = variant + " among " + std::to_string(entries) + " ",
               .entries = entries,
               .operation = operation,
               .prescribe = [prescribe, entries](Prescription& p) { return prescribe(p, namesOf(entries)); },
               .answers = answers});
  }
}

std::function<void(Answers&)> inTurn(const std::string& method, const std::vector<long long>& values) {
  return [method, values](Answers& answers) {
    for (const long long value : values) answers.add(method, value);
  };
}

void addStatusLookups(Rows& rows) {
  for (const auto& statuses : std::vector<std::vector<long long>>{{3, 1, 0}, {0}, {3}}) {
    const std::string variant = std::to_string(statuses.size()) + " " + std::to_string(statuses[0]);
    addLookup(
        rows, symbolOf("firstScheduled", &List::firstScheduled), variant,
        [](Filled& queue, int lock) { return queue.nameOf(queue.list.firstScheduled(lock)); }, firstScheduled,
        inTurn("getStatus", statuses));
    addLookup(
        rows, symbolOf("hasRunningJob", &List::hasRunningJob), variant,
        [](Filled& queue, int lock) { return std::to_string(queue.list.hasRunningJob(lock)); },
        [](Prescription& p, const Names& names) {
          p.attach();
          const bool running =
              std::any_of(names.begin(), names.end(), [&](const std::string& name) { return !queued(p, entry(name)); });
          return std::string(running ? "1" : "0");
        },
        inTurn("getStatus", statuses));
    for (const long long id : {kExecID, 1LL}) {
      addLookup(
          rows, symbolOf("isFirst", &List::isFirst), variant + " " + std::to_string(id),
          [id](Filled& queue, int lock) { return std::to_string(queue.list.isFirst(id, lock)); },
          [id](Prescription& p, const Names& names) {
            p.attach();
            const std::string first = firstScheduled(p, names);
            return std::string(first != "none" && longProperty(p, entry(first), "getTaskExecID") == id ? "1" : "0");
          },
          [statuses](Answers& answers) {
            inTurn("getStatus", statuses)(answers);
            answers.add("getTaskExecID", kExecID);
          });
    }
  }
}

void addSearches(Rows& rows) {
  using ByID = MDTaskExec* (List::*)(long long, int);
  using ByJob = MDTaskExec* (List::*)(const char*, int);
  for (const auto& ids : std::vector<std::vector<long long>>{{1, kExecID, kExecID}, {2}}) {
    addLookup(
        rows, symbolOf("search", ByID(&List::search)), std::to_string(ids.size()),
        [](Filled& queue, int lock) { return queue.nameOf(queue.list.search(kExecID, lock)); },
        [](Prescription& p, const Names& names) {
          p.attach();
          for (const std::string& name : names) {
            if (longProperty(p, entry(name), "getTaskExecID") == kExecID) return name;
          }
          return std::string("none");
        },
        inTurn("getTaskExecID", ids));
  }
  for (const char* const job : {"JOB7", "job7", static_cast<const char*>(nullptr)}) {
    addLookup(
        rows, symbolOf("search", ByJob(&List::search)), job == nullptr ? "null" : job,
        [job](Filled& queue, int lock) { return queue.nameOf(queue.list.search(job, lock)); },
        [job](Prescription& p, const Names& names) {
          if (job == nullptr) return std::string("none");
          p.attach();
          for (const std::string& name : names) {
            if (textProperty(p, entry(name), "getRookJobID") == quoted(job)) return name;
          }
          return std::string("none");
        },
        [](Answers& answers) {
          answers.add("getRookJobID", Nothing{});
          answers.add("getRookJobID", Text{"JOB77"});
          answers.add("getRookJobID", Text{"JOB7"});
        });
  }
  const auto ofTask = [](Answers& answers) {
    for (const long long id : {kTaskID, 1LL, kTaskID}) answers.add("getTaskID", id);
    answers.add("getSuffix", static_cast<long long>(kSuffix));
    answers.add("getStatus", 3LL);
    answers.add("getStatus", 1LL);
    answers.add("getTaskExecID", 8LL);
    answers.add("getTaskExecID", kExecID);
    answers.add("getSharedNamedScheduleID", 12LL);
    answers.add("getScheduleEventID", 13LL);
  };
  addLookup(
      rows, symbolOf("searchQueued", &List::searchQueued), "",
      [](Filled& queue, int lock) { return queue.nameOf(queue.list.searchQueued(kTaskID, kSuffix, lock)); },
      [](Prescription& p, const Names& names) { return searchQueued(p, names, kTaskID, kSuffix); }, ofTask);
  for (const long long n : {-1LL, 0LL, 1LL, 2LL, 3LL}) {
    addLookup(
        rows, symbolOf("existNth", &List::existNth), std::to_string(n),
        [n](Filled& queue, int lock) { return std::to_string(queue.list.existNth(kTaskID, kSuffix, n, lock)); },
        [n](Prescription& p, const Names& names) {
          p.attach();
          long long left = n;
          for (const std::string& name : names) {
            if (!belongs(p, name) || --left > 0) continue;
            return std::to_string(longProperty(p, entry(name), "getTaskExecID"));
          }
          return std::string("-1");
        },
        ofTask);
  }
  for (const long long rule : {13LL, 14LL}) {
    addLookup(
        rows, symbolOf("exist", &List::exist), std::to_string(rule),
        [rule](Filled& queue, int lock) { return std::to_string(queue.list.exist(kTaskID, kSuffix, 12, rule, lock)); },
        [rule](Prescription& p, const Names& names) {
          p.attach();
          long long last = -1;
          for (const std::string& name : names) {
            if (belongs(p, name) && longProperty(p, entry(name), "getSharedNamedScheduleID") == 12 &&
                longProperty(p, entry(name), "getScheduleEventID") == rule) {
              last = longProperty(p, entry(name), "getTaskExecID");
            }
          }
          return std::to_string(last);
        },
        ofTask);
  }
  addLookup(
      rows, symbolOf("getMax", &List::getMax), "",
      [](Filled& queue, int lock) { return std::to_string(queue.list.getMax(lock)); },
      [](Prescription& p, const Names& names) {
        p.attach();
        return std::to_string(maximum(p, names));
      },
      inTurn("getTaskExecID", {-9, kExecID, 4}));
}

/// What moves about in the queue asks nobody.
void addWalking(Rows& rows) {
  struct Step {
    std::string symbol;
    std::function<std::string(Filled&, int)> operation;
    const char* ofNone;
    const char* ofTwo;  ///< with the cursor on the second
    bool latched = true;
  };
  const Step steps[] = {
      {symbolOf("next", &List::next), [](Filled& q, int lock) { return q.nameOf(q.list.next(lock)); }, "none", "two"},
      {symbolOf("prev", &List::prev), [](Filled& q, int lock) { return q.nameOf(q.list.prev(lock)); }, "none", "two"},
      {symbolOf("hasNext", &List::hasNext), [](Filled& q, int lock) { return std::to_string(q.list.hasNext(lock)); },
       "0", "1"},
      {symbolOf("hasPrev", &List::hasPrev), [](Filled& q, int lock) { return std::to_string(q.list.hasPrev(lock)); },
       "0", "1"},
      {symbolOf("iterateStart", &List::iterateStart),
       [](Filled& q, int lock) {
         q.list.iterateStart(lock);
         return q.nameOf(q.list.next(0));
       },
       "none", "one"},
      {symbolOf("size", &List::size), [](Filled& q, int lock) { return std::to_string(q.list.size(lock)); }, "0", "2",
       false}};
  for (const Step& step : steps) {
    for (const int entries : {0, 2}) {
      add(rows,
          {.symbol = step.symbol,
           .variant = std::to_string(entries),
           .entries = entries,
           .operation = step.operation,
           .prescribe = [given = std::string(entries == 0 ? step.ofNone : step.ofTwo)](Prescription&) { return given; },
           .prepare =
               [](Filled& queue) {
                 queue.list.iterateStart(0);
                 queue.list.next(0);
               },
           .latched = step.latched});
    }
  }
  const auto latch = [](void (List::*operation)(int)) {
    return [operation](Filled& queue, int lock) {
      (queue.list.*operation)(lock);
      const bool held = *reinterpret_cast<const OSSLatch*>(&queue.list) != 0;
      return std::string(held ? "held" : "free");
    };
  };
  for (const bool held : {false, true}) {
    for (const int lock : {0, 1, -1}) {
      for (const bool locks : {true, false}) {
        const auto operation = latch(locks ? &List::LLlock : &List::LLunlock);
        rows.push_back({symbolOf(locks ? "LLlock" : "LLunlock", locks ? &List::LLlock : &List::LLunlock),
                        std::to_string(lock) + (held ? " held" : " free"),
                        [operation, held, lock](Run& run) {
                          Filled queue(run, 0);
                          if (held) queue.list.LLlock(1);
                          std::string gave;
                          run.record([&] { gave = operation(queue, lock); });
                          run.say(gave);
                          queue.list.LLunlock(1);
                        },
                        [held, lock, locks](Prescription& p) {
                          if (lock != 0 && locks) {
                            p.line(std::string("ossWin32Lock8ExchangeInternal latch") + (held ? " held" : ""));
                            if (held) p.line("ossLockGetConflict latch");
                          }
                          if (lock != 0 && !locks) p.line("ossWin32Lock8ReleaseInternal latch");
                          p.result(lock == 0 ? (held ? "held" : "free") : locks ? "held" : "free");
                        }});
      }
    }
  }
}

void addTakingOut(Rows& rows) {
  for (const bool current : {true, false}) {
    add(rows, {.symbol = symbolOf("remove", &List::remove),
               .variant = current ? "current" : "none",
               .entries = 2,
               .operation =
                   [](Filled& queue, int lock) {
                     const std::string removed = queue.nameOf(queue.list.remove(lock));
                     return removed + ":" + queue.order();
                   },
               .prescribe =
                   [current](Prescription& p) {
                     p.traceEntry(0x1AE80125);
                     p.traceExit(0x1AE80125, current ? 1 : 0);
                     return std::string(current ? "one: two" : "none: one two");
                   },
               .prepare =
                   [current](Filled& queue) {
                     queue.list.iterateStart(0);
                     if (current) queue.list.next(0);
                   }});
  }
  addLookup(
      rows, symbolOf("deleteIt", &List::deleteIt), "",
      [](Filled& queue, int lock) {
        const std::string removed = queue.nameOf(queue.list.deleteIt(kExecID, lock));
        return removed + ":" + queue.order();
      },
      [](Prescription& p, const Names& names) {
        p.traceEntry(0x1AE80126);
        p.attach();
        Names left = names;
        std::string removed = "none";
        for (auto name = left.begin(); name != left.end(); ++name) {
          if (longProperty(p, entry(*name), "getTaskExecID") != kExecID) continue;
          removed = *name;
          left.erase(name);
          break;
        }
        p.traceExit(0x1AE80126, removed == "none" ? 0 : 1);
        return removed + ":" + joined(left);
      },
      inTurn("getTaskExecID", {1, kExecID, kExecID}));
}

/// As many entries as there are names, in `list`, which deletes them.
void give(Run& run, MDTaskExecList& list, const Names& names) {
  for (const std::string& name : names) list.add(run.released<MDTaskExec>(kExecClass, name), 0);
  run.know(&list, "latch");
}

/// What deletes the entries, and the list itself.
void addDeleting(Rows& rows) {
  for (const int count : {0, 2}) {
    for (const int lock : {0, 1}) {
      rows.push_back({symbolOf("deleteAll", &List::deleteAll), std::to_string(count) + " " + std::to_string(lock),
                      [count, lock](Run& run) {
                        MDTaskExecList list;
                        give(run, list, namesOf(count));
                        run.record([&] { list.deleteAll(lock); });
                        run.answer(list.size(0) + list.hasNext(0));
                      },
                      [count, lock](Prescription& p) {
                        if (lock != 0) p.line("ossWin32Lock8ExchangeInternal latch");
                        p.traceEntry(0x1AE80127);
                        for (const std::string& name : namesOf(count)) p.destroy(entry(name));
                        p.traceExit(0x1AE80127, 0);
                        if (lock != 0) p.line("ossWin32Lock8ReleaseInternal latch");
                        p.result(says::answer(0));
                      }});
    }
    for (const bool held : {false, true}) {
      rows.push_back({"mesk::MDTaskExecList::~MDTaskExecList()", std::to_string(count) + (held ? " held" : " free"),
                      [count, held](Run& run) {
                        auto* const list = new MDTaskExecList;
                        give(run, *list, namesOf(count));
                        if (held) list->LLlock(1);
                        run.record([&] { delete list; });
                      },
                      [count, held](Prescription& p) {
                        p.line(std::string("ossWin32Lock8ExchangeInternal latch") + (held ? " held" : ""));
                        if (held) p.line("ossLockGetConflict latch");
                        for (const std::string& name : namesOf(count)) p.destroy(entry(name));
                        p.line("ossWin32Lock8ReleaseInternal latch");
                        p.line("delete latch");
                      }});
    }
  }
  // A latch that is just made has no name yet.
  rows.push_back({"mesk::MDTaskExecList::MDTaskExecList()", "",
                  [](Run& run) {
                    std::unique_ptr<MDTaskExecList> list;
                    run.record([&] { list.reset(new MDTaskExecList); });
                    run.answer(list->size(0) + list->hasNext(0) + list->hasPrev(0));
                  },
                  [](Prescription& p) {
                    p.line("ossWin32Lock8ExchangeInternal ?");
                    p.line("ossWin32Lock8ReleaseInternal ?");
                    p.result(says::answer(0));
                  }});
  for (const bool there : {false, true}) {
    rows.push_back({staticSymbol<List>("getInstance", &List::getInstance), there ? "again" : "for the first time",
                    [there](Run& run) {
                      std::unique_ptr<MDTaskExecList> list;
                      if (there) {
                        const StandardError unheard;
                        list.reset(MDTaskExecList::getInstance());
                      }
                      MDTaskExecList* got = nullptr;
                      {
                        const StandardError taken;
                        run.record([&] { got = MDTaskExecList::getInstance(); });
                        run.say(taken.text());
                      }
                      run.say(got == nullptr ? "none" : !there || got == list.get() ? "the list" : "another");
                      if (!there) list.reset(got);
                    },
                    [there](Prescription& p) {
                      bool made = there;
                      if (!there) {
                        made = p.allocate(72);
                        if (made) p.line("ossWin32Lock8ExchangeInternal ?");
                        if (made) p.line("ossWin32Lock8ReleaseInternal ?");
                      }
                      p.result(there ? "" : "Get a new theInstance\n");
                      p.result(made ? "the list" : "none");
                    }});
  }
}

// The queue and the store.

long long newKey(Prescription& p) {
  p.attach();
  int rc = 0;
  int sqlCode = 0;
  const Wrapper temporary = newExec(p, rc, sqlCode);
  const long long key = rc == 0 ? referenceID(p, temporary) : -1;
  p.destroy(temporary);
  return key < 1 ? -1 : key;
}

void addNewKey(Rows& rows) {
  for (const long long key : {0x123456789ALL, 1LL, 0LL, -5LL}) {
    for (const int lock : {0, 1}) {
      rows.push_back({symbolOf("getNewJobID", &List::getNewJobID), std::to_string(key) + " " + std::to_string(lock),
                      [lock](Run& run) {
                        Filled queue(run, 1);
                        const jobject context = run.context();
                        long long got = 77;
                        run.record([&] { got = queue.list.getNewJobID(context, lock); });
                        run.answer(got);
                      },
                      [lock](Prescription& p) {
                        if (lock != 0) p.line("ossWin32Lock8ExchangeInternal latch");
                        p.traceEntry(0x1AE80128);
                        const long long got = newKey(p);
                        p.traceExit(0x1AE80128, got == -1 ? -1 : 0);
                        if (lock != 0) p.line("ossWin32Lock8ReleaseInternal latch");
                        p.result(says::answer(got));
                      }});
      rows.back().answers.add("getReferenceID", key);
      rows.back().reports = true;
    }
  }
}

/// The follow-up of "previous" that starts at "start"; what the caller gets.
std::string nextExec(Prescription& p, const Wrapper& previous, const Wrapper& start) {
  constexpr std::uint32_t kTrace = 0x1AE80129;
  p.traceEntry(kTrace);
  const auto failed = [&](std::uint32_t probe, int code) {
    p.traceError(kTrace, probe, code);
    p.traceExit(kTrace, -1);
    return std::string("null");
  };
  if (previous.object.empty() || start.object.empty()) return failed(20, -300);
  const long long key = newKey(p);
  if (key == -1) return failed(30, -1);
  if (!p.allocate(24)) return failed(40, -300);
  int rc = 0;
  int sqlCode = 0;
  const Wrapper made = newExec(p, rc, sqlCode);
  std::uint32_t probe = 40;
  if (rc == 0) {
    copied(p, made, previous);
    setLongProperty(p, made, "setTaskExecID", key);
    setObjectProperty(p, made, "setNextStartDateTime", kTimestampType, start.object);
    setIntProperty(p, made, "setStatus", 1);
    rc = stored(p, made, "insert", kInsertRecords, sqlCode);
    probe = 50;
  }
  if (rc != 0) {
    failed(probe, rc);
    p.destroy(made);
    return "null";
  }
  p.traceExit(kTrace, 0);
  return "wrapper " + show(made.object) + " " + show(made.objectClass);
}

struct NextExecCase {
  const char* name;
  int goodCodes = 0;  ///< how many calls of the store go well before one fails; 0 for the setting's code in all
  State previous = State::live;
  State start = State::live;
  bool null = false;  ///< no previous and no start at all
  long long key = 0x123456789ALL;
  int lock = 1;
};

const NextExecCase kNextExecCases[] = {
    {.name = "with the latch"},
    {.name = "without the latch", .lock = 0},
    {.name = "of a dead one", .previous = State::dead},
    {.name = "of one without an object", .previous = State::withoutObject},
    {.name = "of one without a class", .previous = State::withoutClass},
    {.name = "at a dead time", .start = State::dead},
    {.name = "of nothing", .null = true},
    {.name = "without a key", .key = 0},
    {.name = "whose record is refused", .goodCodes = 2},
    {.name = "that is not inserted", .goodCodes = 3},
};

void addNextExec(Rows& rows) {
  for (const NextExecCase& next : kNextExecCases) {
    rows.push_back({symbolOf("insertNextExec", &List::insertNextExec), next.name,
                    [next](Run& run) {
                      Filled queue(run, 0);
                      auto& previous = run.wrapper<MDTaskExec>(kExecClass, "previous", next.previous);
                      auto& start = run.wrapper<SCTimestamp>(kTimestampClass, "start", next.start);
                      const jobject context = run.context();
                      MDTaskExec* made = nullptr;
                      run.record([&] {
                        made = queue.list.insertNextExec(run.ctx, context, next.null ? nullptr : &previous,
                                                         next.null ? nullptr : &start, next.lock);
                      });
                      run.gives(made);
                    },
                    [next](Prescription& p) {
                      if (next.lock != 0) p.line("ossWin32Lock8ExchangeInternal latch");
                      const std::string made = nextExec(p, next.null ? Wrapper() : wrapperIn(next.previous, "previous"),
                                                        next.null ? Wrapper() : wrapperIn(next.start, "start"));
                      if (next.lock != 0) p.line("ossWin32Lock8ReleaseInternal latch");
                      p.result(says::gives(made));
                    }});
    Row& row = rows.back();
    failAfter(next.goodCodes, row);
    row.answers.add("getReferenceID", next.key);
    answerAsExec(row.answers, true);
    row.reports = next.goodCodes == 0;
  }
}

// Printing.

std::string printed(Prescription& p, const std::string& name) {
  p.attach();
  // Numbers are shown by their low 32 bits.
  const auto id = [&](const char* getter) {
    return static_cast<long>(static_cast<std::int32_t>(longProperty(p, entry(name), getter)));
  };
  const long exec = id("getTaskExecID");
  const long task = id("getTaskID");
  const long rule = id("getScheduleEventID");
  std::string text = "null";
  const auto start = objectProperty(p, entry(name), "getNextStartDateTime", kTimestampType);
  if (start) {
    const Wrapper format = newFormat(p, "yyyyMMddHHmmss");
    text = formatted(p, format, *start);
    p.destroy(format);
    p.destroy(*start);
  }
  char line[200];
  std::snprintf(line, sizeof line, "TaskExecID=%2ld; TaskID=%2ld; SchedID=%2ld; start timestamp: %s\n", exec, task,
                rule, text == "null" ? "none" : text.substr(1, text.size() - 2).c_str());
  return line;
}

void addPrinting(Rows& rows) {
  const auto answers = [](Answers& a) {
    for (const long long id : {kExecID, 3LL}) a.add("getTaskExecID", id);
    a.add("getTaskID", kTaskID);
    a.add("getScheduleEventID", -1LL);
    a.add("getNextStartDateTime", Object{kTimestampClass});
    a.add("getNextStartDateTime", Nothing{});
    a.add("format", Text{"20900615103015"});
  };
  addLookup(
      rows, symbolOf("print", &List::print), "",
      [](Filled& queue, int lock) {
        const StandardError taken;
        queue.list.print(lock);
        return taken.text();
      },
      [](Prescription& p, const Names& names) {
        p.attach();
        std::string text = "The current contents in the list is (size=" + std::to_string(names.size()) + ")--->\n";
        for (const std::string& name : names) text += printed(p, name);
        return text + "The maximum taskExecID is " + std::to_string(maximum(p, names)) + "\n";
      },
      answers);

  for (const bool started : {true, false}) {
    rows.push_back({symbolOf("print", &TaskExecNode::print), started ? "with a start" : "without a start",
                    [](Run& run) {
                      auto& exec = run.wrapper<MDTaskExec>(kExecClass, "one");
                      const TaskExecNode node(&exec);
                      const StandardError taken;
                      run.record([&] { node.print(); });
                      run.say(taken.text());
                    },
                    [](Prescription& p) { p.result(printed(p, "one")); }});
    if (!started) rows.back().answers.add("getNextStartDateTime", Nothing{});
    answers(rows.back().answers);
  }
  for (const bool of : {false, true}) {
    rows.push_back({of ? constructorSymbol<TaskExecNode, MDTaskExec*>() : constructorSymbol<TaskExecNode>(), "",
                    [of](Run& run) {
                      auto& exec = run.wrapper<MDTaskExec>(kExecClass, "one");
                      std::unique_ptr<TaskExecNode> node;
                      run.record([&] { node.reset(of ? new TaskExecNode(&exec) : new TaskExecNode); });
                      run.answer(node->exec == (of ? &exec : nullptr) ? 1 : 0);
                      run.answer(node->prev == nullptr && node->next == nullptr ? 1 : 0);
                    },
                    [](Prescription& p) {
                      p.result(says::answer(1));
                      p.result(says::answer(1));
                    }});
  }
}

void addQueue(Rows& rows) {
  addFilling(rows);
  addOrdering(rows);
  addStatusLookups(rows);
  addSearches(rows);
  addWalking(rows);
  addTakingOut(rows);
  addDeleting(rows);
  addNewKey(rows);
  addNextExec(rows);
  addPrinting(rows);
}

// Steps of grouping tasks, and a task's next start.

constexpr int kNoQueue = -1;

/// `entries` are those of the queue, if there is one.
int nextStartUpdated(Prescription& p, const Wrapper& task, int entries) {
  constexpr std::uint32_t kTrace = 0x1AE80131;
  p.traceEntry(kTrace);
  if (entries == kNoQueue) {
    p.traceExit(kTrace, -1);
    return -1;
  }
  const long long taskID = longProperty(p, task, "getTaskID");
  const int suffix = intProperty(p, task, "getSuffix");
  p.line("ossWin32Lock8ExchangeInternal queue latch");
  const std::string found = searchQueued(p, namesOf(entries), taskID, suffix);
  p.line("ossWin32Lock8ReleaseInternal queue latch");
  std::optional<Wrapper> start;
  if (found != "none") start = objectProperty(p, entry(found), "getNextStartDateTime", kTimestampType);
  setObjectProperty(p, task, "setNextStart", kTimestampType, start ? start->object : "");
  if (intProperty(p, task, "getState") != 2 || intProperty(p, task, "getNumberOfExecutions") == 0) {
    setObjectProperty(p, task, "setCurrentStartDateTime", kTimestampType, "");
    setIntProperty(p, task, "setState", start ? 1 : 0);
  }
  p.traceExit(kTrace, 0);
  if (start) p.destroy(*start);
  return 0;
}

void addNextStart(Rows& rows) {
  struct NextStartCase {
    const char* name;
    int entries = 3;
    long long state = 1;
    long long executions = 0;
    long long status = 0;
    bool started = true;
  };
  const NextStartCase cases[] = {
      {.name = "without a queue", .entries = kNoQueue},
      {.name = "of an empty queue", .entries = 0},
      {.name = "scheduled"},
      {.name = "of an entry without a start", .started = false},
      {.name = "of running entries only", .status = 3},
      {.name = "that runs", .state = 2, .executions = 2},
      {.name = "that runs no more", .state = 2},
      {.name = "of executions but not running", .state = 1, .executions = 2},
  };
  for (const NextStartCase& c : cases) {
    rows.push_back({symbolOf("updateTaskNextStart", &MDTask::updateTaskNextStart), c.name,
                    [c](Run& run) {
                      std::optional<Filled> queue;
                      if (c.entries != kNoQueue) queue.emplace(run, c.entries, true);
                      auto& target = run.target<MDTask>(kTaskClass);
                      const jobject context = run.context();
                      int answer = 77;
                      run.record([&] { answer = target.updateTaskNextStart(run.ctx, context); });
                      run.answer(answer);
                    },
                    [c](Prescription& p) { p.result(says::answer(nextStartUpdated(p, p.target(), c.entries))); }});
    Row& row = rows.back();
    for (const long long id : {kTaskID, 1LL, kTaskID}) row.answers.add("getTaskID", id);
    for (const long long suffix : {2LL, 1LL, 2LL}) row.answers.add("getSuffix", suffix);
    row.answers.add("getStatus", c.status);
    row.answers.add("getState", c.state);
    row.answers.add("getNumberOfExecutions", c.executions);
    if (c.started) row.answers.add("getNextStartDateTime", Object{kTimestampClass});
    row.states = kEveryState;
  }
}

struct StepCase {
  const char* name;
  bool hasParent = true;
  State parent = State::live;
  bool started = true;  ///< a start is given
  const char* password = nullptr;
  long long runNow = 1;
  bool full = true;   ///< the parent has user, password and parameters
  int entries = 0;    ///< of the queue
  int goodCodes = 0;  ///< how many calls of the store go well before one fails; 0 for the setting's code in all
  bool found = true;  ///< the store has the task
};

const StepCase kStepCases[] = {
    {.name = "of a run-now parent"},
    {.name = "of a scheduled parent", .runNow = 0},
    {.name = "with a password", .password = "s3cr3t"},
    {.name = "with an empty password", .password = ""},
    {.name = "of a parent without anything", .full = false},
    {.name = "of a dead parent", .parent = State::dead},
    {.name = "without a parent", .hasParent = false, .password = "s3cr3t"},
    {.name = "without a start", .hasParent = false, .started = false, .entries = 1},
    {.name = "without a queue", .hasParent = false, .entries = kNoQueue},
    {.name = "of a missing task", .hasParent = false, .found = false},
    {.name = "whose record is refused", .hasParent = false, .goodCodes = 1},
    {.name = "whose task is refused", .hasParent = false, .goodCodes = 2},
    {.name = "whose task is not updated", .hasParent = false, .goodCodes = 3},
    {.name = "that is not committed", .hasParent = false, .goodCodes = 4},
};

void inherited(Prescription& p, const Wrapper& step, const Wrapper& parent, const char* password) {
  copyText(p, step, parent, "UserID");
  if (password != nullptr) {
    setTextProperty(p, step, "setPasswordString", password);
  } else if (const Ref bytes = passwordOf(p, parent); !bytes.empty()) {
    setObjectProperty(p, step, "setPasswordByteArr", "[B", bytes);
    p.deleteLocalRef(bytes);
  }
  if (intProperty(p, parent, "getStartedByRunNow") != 1) return;
  copyInt(p, step, parent, "UseNotification");
  copyInt(p, step, parent, "UseTaskActions");
  copyInt(p, step, parent, "AcceptDefaults");
  copyInt(p, step, parent, "PassRunSystem");
  copyInt(p, step, parent, "PassTargetDBObjects");
  copyText(p, step, parent, "AdditionalParameters");
  copyInt(p, step, parent, "RowLimit");
}

/// Under the latch of all tasks.
int markedRunning(Prescription& p, const StepCase& c, const Wrapper& home, int& sqlCode) {
  p.line("ossWin32Lock8ExchangeInternal tasks' latch");
  int rc = 0;
  const Ref found =
      ClassRows<MDTaskType>::retrieved(p, home, "retrieve", kTaskClass, false, rc, sqlCode, kTaskID, kSuffix);
  ClassRows<MDTaskType>::logKeys(p, {.log = 0x10080142}, rc, sqlCode, kTaskID);
  if (!found.empty()) {
    const Wrapper task = p.wrap(found);
    setIntProperty(p, task, "setState", 2);
    nextStartUpdated(p, task, c.entries);
    rc = stored(p, task, "update", {.log = 0x10080141, .trace = 0x1AE80100, .keys = {"getTaskID"}}, sqlCode);
    if (rc == 0) rc = committed(p, sqlCode);
    p.destroy(task);
    p.deleteLocalRef(found);
  }
  p.line("ossWin32Lock8ReleaseInternal tasks' latch");
  return rc;
}

/// The code; `made` becomes what the caller gets.
int newStep(Prescription& p, const StepCase& c, int& sqlCode, std::string& made) {
  constexpr std::uint32_t kTrace = 0x1AE80130;
  p.traceEntry(kTrace);
  int rc = 0;
  made = "null";
  const Wrapper home = createdBy(p, kTaskClass + "Type", rc, sqlCode);
  if (rc == 0) {
    if (p.allocate(24)) {
      const Wrapper step = newExec(p, rc, sqlCode);
      made = "wrapper " + show(step.object) + " " + show(step.objectClass);
      if (rc == 0) {
        const Wrapper parent = wrapperIn(c.parent, "parent");
        const Ref start = c.started ? "start" : "";
        setLongProperty(p, step, "setTaskExecID", kExecID);
        setLongProperty(p, step, "setTaskID", kTaskID);
        setIntProperty(p, step, "setSuffix", kSuffix);
        setIntProperty(p, step, "setV7JobID", static_cast<std::int32_t>(kExecID));
        setLongProperty(p, step, "setScheduleEventID", -1);
        if (c.hasParent) copyInt(p, step, parent, "StartedByRunNow");
        setIntProperty(p, step, "setNeedReschedule", 0);
        setIntProperty(p, step, "setStatus", 3);
        if (c.hasParent) inherited(p, step, parent, c.password);
        setObjectProperty(p, step, "setNextStartDateTime", kTimestampType, start);
        setObjectProperty(p, step, "setStartTime", kTimestampType, start);
        setIntProperty(p, step, "setIsRealStartTime", 0);
        rc = markedRunning(p, c, home, sqlCode);
      }
    } else {
      rc = -300;
    }
  }
  p.traceExit(kTrace, rc);
  p.destroy(home);
  return rc;
}

void addNewStep(Rows& rows) {
  for (const StepCase& c : kStepCases) {
    rows.push_back({staticSymbol<MDTaskExec>("newStep", &MDTaskExec::newStep), c.name,
                    [c](Run& run) {
                      std::optional<Filled> queue;
                      if (c.entries != kNoQueue) queue.emplace(run, c.entries, true);
                      auto& parent = run.wrapper<MDTaskExec>(kExecClass, "parent", c.parent);
                      auto& start = run.wrapper<SCTimestamp>(kTimestampClass, "start");
                      const jobject context = run.context();
                      MDTask::unlockAll('E');
                      run.know(MDTask::lockAllData, "tasks' latch");
                      MDTaskExec* step = &parent;
                      int rc = 77;
                      int sqlCode = 78;
                      run.record([&] {
                        rc = MDTaskExec::newStep(run.ctx, context, kExecID, kTaskID, kSuffix,
                                                 c.started ? &start : nullptr, c.hasParent ? &parent : nullptr, step,
                                                 sqlCode, c.password);
                      });
                      run.codes(rc, sqlCode);
                      run.gives(step);
                      run.say(*MDTask::lockAllData == 0 ? "free" : "held");
                      MDTask::freeLock();
                    },
                    [c](Prescription& p) {
                      int sqlCode = 0;
                      std::string made;
                      const int rc = newStep(p, c, sqlCode, made);
                      p.result(says::codes(rc, sqlCode));
                      p.result(says::gives(made));
                      p.result("free");
                    }});
    Row& row = rows.back();
    failAfter(c.goodCodes, row);
    row.answers.add("getStartedByRunNow", c.runNow);
    if (c.full) {
      row.answers.add("getUserID", Text{"joe"});
      row.answers.add("getPassword", Bytes{5});
      row.answers.add("getAdditionalParameters", Text{"-v"});
    }
    for (const char* const option :
         {"UseNotification", "UseTaskActions", "AcceptDefaults", "PassRunSystem", "PassTargetDBObjects", "RowLimit"}) {
      row.answers.add(std::string("get") + option, 4LL);
    }
    row.answers.add("retrieve", c.found ? Answer(Object{kTaskClass}) : Answer(Nothing{}));
    row.answers.add("getTaskID", kTaskID);
    row.answers.add("getSuffix", static_cast<long long>(kSuffix));
    row.answers.add("getState", 2LL);
    row.answers.add("getNextStartDateTime", Object{kTimestampClass});
    row.reports = c.goodCodes == 0;
  }
}

}  // namespace

void addQueueRows(Rows& rows) {
  addExec(rows);
  addExecHome(rows);
  addQueue(rows);
  addNextStart(rows);
  addNewStep(rows);
}

}  // namespace mesk::test::ledger
