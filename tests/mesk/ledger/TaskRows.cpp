// MDTask as a record: its properties, its store operations, its latch.
#include <mesk/ledger/Patterns.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>

namespace mesk::test::ledger {
namespace {

constexpr const char* kTask = "com/orvik/kelvo/mesk/metadata/MDTask";
constexpr const char* kHome = "com/orvik/kelvo/mesk/metadata/MDTaskType";

void addProperties(ClassRows<MDTask>& task) {
  task.get("getTaskID", &MDTask::getTaskID);
  task.set("setTaskID", &MDTask::setTaskID);
  task.get("getTaskName", &MDTask::getTaskName);
  task.set("setTaskName", &MDTask::setTaskName);
  task.get("getDescription", &MDTask::getDescription);
  task.set("setDescription", &MDTask::setDescription);
  task.get("getTaskType", &MDTask::getTaskType);
  task.set("setTaskType", &MDTask::setTaskType);
  task.get("getTaskCategory", &MDTask::getTaskCategory);
  task.set("setTaskCategory", &MDTask::setTaskCategory);
  task.get("getSuffix", &MDTask::getSuffix);
  task.set("setSuffix", &MDTask::setSuffix);
  task.get("getState", &MDTask::getState);
  task.set("setState", &MDTask::setState);
  task.get("getRunningStatus", &MDTask::getRunningStatus);
  task.set("setRunningStatus", &MDTask::setRunningStatus);
  task.get("getNumberOfExecutions", &MDTask::getNumberOfExecutions);
  task.set("setNumberOfExecutions", &MDTask::setNumberOfExecutions);
  task.get("getOwner", &MDTask::getOwner);
  task.set("setOwner", &MDTask::setOwner);
  task.get("getModifier", &MDTask::getModifier);
  task.set("setModifier", &MDTask::setModifier);
  task.get("getModified", &MDTask::getModified);
  task.set("setModified", &MDTask::setModified);
  task.get("getUserID", &MDTask::getUserID);
  task.set("setUserID", &MDTask::setUserID);
  task.get("getPasswordString", &MDTask::getPasswordString);
  task.set("setPasswordString", &MDTask::setPasswordString);
  task.get("getPassword", static_cast<Blob* (MDTask::*)(ThreadContext&) const>(&MDTask::getPassword));
  task.set("setPassword", &MDTask::setPassword);
  task.get("getSystemID", &MDTask::getSystemID);
  task.set("setSystemID", &MDTask::setSystemID);
  task.get("getKelvoInstance", &MDTask::getKelvoInstance);
  task.set("setKelvoInstance", &MDTask::setKelvoInstance);
  task.get("getExecutionSystemID", &MDTask::getExecutionSystemID);
  task.set("setExecutionSystemID", &MDTask::setExecutionSystemID);
  task.get("getExecutionPartitionID", &MDTask::getExecutionPartitionID);
  task.set("setExecutionPartitionID", &MDTask::setExecutionPartitionID);
  task.get("getTargetDBObjects", &MDTask::getTargetDBObjects);
  task.set("setTargetDBObjects", &MDTask::setTargetDBObjects);
  task.get("getPassRunSystem", &MDTask::getPassRunSystem);
  task.set("setPassRunSystem", &MDTask::setPassRunSystem);
  task.get("getPassTargetDBObjects", &MDTask::getPassTargetDBObjects, "getPassTargetDBObj");
  task.set("setPassTargetDBObjects", &MDTask::setPassTargetDBObjects, "setPassTargetDBObj");
  task.get("getCommandProcessor", &MDTask::getCommandProcessor);
  task.set("setCommandProcessor", &MDTask::setCommandProcessor);
  task.get("getProcessorType", &MDTask::getProcessorType);
  task.get("getStatementTerminationChar", &MDTask::getStatementTerminationChar);
  task.set("setStatementTerminationChar", &MDTask::setStatementTerminationChar);
  task.get("getWorkingDir", &MDTask::getWorkingDir);
  task.set("setWorkingDir", &MDTask::setWorkingDir);
  task.get("getFileExtension", &MDTask::getFileExtension);
  task.set("setFileExtension", &MDTask::setFileExtension);
  task.get("getAdditionalParameters", &MDTask::getAdditionalParameters);
  task.set("setAdditionalParameters", &MDTask::setAdditionalParameters);
  task.get("getDefaultParameters", &MDTask::getDefaultParameters);
  task.set("setDefaultParameters", &MDTask::setDefaultParameters);
  task.get("getScriptContent", &MDTask::getScriptContent);
  task.set("setScriptContent", &MDTask::setScriptContent);
  task.get("getScriptContentString", &MDTask::getScriptContentString);
  task.set("setScriptContentString", &MDTask::setScriptContentString);
  task.get("getDialogTaskProfile", &MDTask::getDialogTaskProfile);
  task.set("setDialogTaskProfile", &MDTask::setDialogTaskProfile);
  task.get("getBrixStepID", &MDTask::getBrixStepID);
  task.set("setBrixStepID", &MDTask::setBrixStepID);
  task.get("getClassName", &MDTask::getClassName);
  task.set("setClassName", &MDTask::setClassName);
  task.get("getShowProgressClassName", &MDTask::getShowProgressClassName);
  task.set("setShowProgressClassName", &MDTask::setShowProgressClassName);
  task.get("getShowResultClassName", &MDTask::getShowResultClassName);
  task.set("setShowResultClassName", &MDTask::setShowResultClassName);
  task.set("setGeneratedBy", &MDTask::setGeneratedBy);
  task.set("setGeneratedAt", &MDTask::setGeneratedAt);
  task.get("getRetryCount", &MDTask::getRetryCount);
  task.set("setRetryCount", &MDTask::setRetryCount);
  task.get("getRetryInterval", &MDTask::getRetryInterval);
  task.set("setRetryInterval", &MDTask::setRetryInterval);
  task.get("getStopAtStepFailure", &MDTask::getStopAtStepFailure);
  task.set("setStopAtStepFailure", &MDTask::setStopAtStepFailure);
  task.get("getScheduleEnable", &MDTask::getScheduleEnable);
  task.set("setScheduleEnable", &MDTask::setScheduleEnable);
  task.get("getNotificationEnable", &MDTask::getNotificationEnable);
  task.set("setNotificationEnable", &MDTask::setNotificationEnable);
  task.get("getFollowOnTaskEnable", &MDTask::getFollowOnTaskEnable);
  task.set("setFollowOnTaskEnable", &MDTask::setFollowOnTaskEnable);
  task.get("getNextStart", &MDTask::getNextStart);
  task.set("setNextStart", &MDTask::setNextStart);
  task.get("getCurrentStartDateTime", &MDTask::getCurrentStartDateTime);
  task.set("setCurrentStartDateTime", &MDTask::setCurrentStartDateTime);
  task.get("getLastStart", &MDTask::getLastStart);
  task.set("setLastStart", &MDTask::setLastStart);
  task.get("getLastEnd", &MDTask::getLastEnd);
  task.set("setLastEnd", &MDTask::setLastEnd);
  task.get("getLastDuration", &MDTask::getLastDuration);
  task.set("setLastDuration", &MDTask::setLastDuration);
  task.get("getLastReturnCode", &MDTask::getLastReturnCode);
  task.set("setLastReturnCode", &MDTask::setLastReturnCode);
  task.get("getLastSuccess", &MDTask::getLastSuccess);
  task.set("setLastSuccess", &MDTask::setLastSuccess);
  task.get("getLastExecutionUserID", &MDTask::getLastExecutionUserID);
  task.set("setLastExecutionUserID", &MDTask::setLastExecutionUserID);
  task.get("getLastExecutionResults", &MDTask::getLastExecutionResults);
  task.set("setLastExecutionResults", &MDTask::setLastExecutionResults);
  task.set("setLastExecutionResultsString", &MDTask::setLastExecutionResultsString);
}

/// The stored password goes both ways as Java's own array.
void addPasswords(ClassRows<MDTask>& task) {
  constexpr auto kGetPassword =
      static_cast<jbyteArray (MDTask::*)(ThreadContext&, jobject) const>(&MDTask::getPassword);
  for (const bool found : {true, false}) {
    Row& row = task.add({symbolOf("getPassword", kGetPassword), found ? "bytes" : "null",
                         [](Run& run) {
                           const MDTask& target = run.target<MDTask>(kTask);
                           const jobject context = run.context();
                           jbyteArray bytes = nullptr;
                           run.record([&] { bytes = target.getPassword(run.ctx, context); });
                           run.givesLocal(bytes);
                         },
                         [](Prescription& p) {
                           const Wrapper target = p.target();
                           const Wrapper exception = p.exceptionObject();
                           Ref bytes;
                           if (target.live() && exception.live() &&
                               p.getMethod(target.objectClass, "getPassword", storeMethod("", "[B"))) {
                             bytes = p.callObject(target.object, "getPassword", "context", exception.object);
                           }
                           p.destroy(exception);
                           p.result(says::givesReference(bytes));
                         }});
    if (found) row.answers.add("getPassword", Bytes{3});
    row.states = kEveryState;
  }
  for (const bool null : {false, true}) {
    Row& row = task.add({symbolOf("setPasswordByteArr", &MDTask::setPasswordByteArr), null ? "null" : "bytes",
                         [null](Run& run) {
                           MDTask& target = run.target<MDTask>(kTask);
                           const jbyteArray bytes = null ? nullptr : run.bytes(3, "bytes");
                           run.record([&] { target.setPasswordByteArr(run.ctx, bytes); });
                         },
                         [null](Prescription& p) {
                           const Wrapper target = p.target();
                           if (target.live() && p.getMethod(target.objectClass, "setPasswordByteArr", "([B)V")) {
                             p.callVoid(target.object, "setPasswordByteArr", null ? Ref() : Ref("bytes"));
                           }
                         }});
    row.states = kEveryState;
  }
}

void addCategoriesName(ClassRows<MDTask>& task) {
  for (const Answer& name : {Answer(Text{"Gr\xC3\xBCn"}), Answer(Text{""}), Answer(Nothing{})}) {
    Row& row = task.add({symbolOf("getFormattedTaskCategoriesName", &MDTask::getFormattedTaskCategoriesName), "",
                         [](Run& run) {
                           const MDTask& target = run.target<MDTask>(kTask);
                           const jobject context = run.context();
                           char* text = nullptr;
                           run.record([&] { text = target.getFormattedTaskCategoriesName(run.ctx, context); });
                           run.gives(text);
                         },
                         [](Prescription& p) {
                           const Wrapper target = p.target();
                           Ref text;
                           if (target.live() && p.getMethod(target.objectClass, "getFormattedTaskCategoriesName",
                                                            std::string("(") + kContext + ")" + kString)) {
                             text = p.callObject(target.object, "getFormattedTaskCategoriesName", "context");
                           }
                           p.result(says::gives(p.stringFromJava(text)));
                         }});
    row.answers.add("getFormattedTaskCategoriesName", name);
    row.states = kEveryState;
  }
}

/// A count that is read, changed and written back.
void addExecutionCount(ClassRows<MDTask>& task) {
  struct Change {
    const char* name;
    void (MDTask::*operation)(ThreadContext&);
    int (*apply)(int);
  };
  const Change changes[] = {
      {"incrNumberOfExecutions", &MDTask::incrNumberOfExecutions, [](int count) { return count > 0 ? count + 1 : 1; }},
      {"decrNumberOfExecutions", &MDTask::decrNumberOfExecutions, [](int count) { return count > 1 ? count - 1 : 0; }}};
  for (const Change& change : changes) {
    for (const long long count : {-5LL, 0LL, 1LL, 3LL}) {
      Row& row = task.add({symbolOf(change.name, change.operation), std::to_string(count),
                           [change](Run& run) {
                             MDTask& target = run.target<MDTask>(kTask);
                             run.record([&] { (target.*change.operation)(run.ctx); });
                           },
                           [change](Prescription& p) {
                             const Wrapper target = p.target();
                             const int changed = change.apply(intProperty(p, target, "getNumberOfExecutions"));
                             if (target.live() && p.getMethod(target.objectClass, "setNumberOfExecutions", "(I)V")) {
                               p.callVoid(target.object, "setNumberOfExecutions", changed);
                             }
                           }});
      row.answers.add("getNumberOfExecutions", count);
      row.states = kEveryState;
    }
  }
}

/// Called on live wrappers only.
void addFinalize(ClassRows<MDTask>& task) {
  task.add({symbolOf("finalize", &MDTask::finalize), "",
            [](Run& run) {
              MDTask& target = run.target<MDTask>(kTask);
              run.record([&] { target.finalize(run.ctx); });
            },
            [](Prescription& p) {
              if (p.getMethod("target.class", "finalize", "()V")) p.callVoid("target", "finalize");
            }});
}

/// A home of its own, then as the home's `retrieve`; both failures are logged.
void addRetrieveTask(ClassRows<MDTaskType>& home) {
  constexpr long long kTaskID = 0x7000000012;
  for (const int codesOfHome : {0, 1, 2}) {
    Row& row =
        home.add({staticSymbol<MDTaskType>("retrieveTask", &MDTaskType::retrieveTask),
                  "after " + std::to_string(codesOfHome) + " good codes",
                  [](Run& run) {
                    const jobject context = run.context();
                    int rc = 77;
                    int sqlCode = 78;
                    jobject task = context;
                    run.record([&] { task = MDTaskType::retrieveTask(run.ctx, context, kTaskID, 3, rc, sqlCode); });
                    run.codes(rc, sqlCode);
                    run.givesLocal(task);
                  },
                  [](Prescription& p) {
                    int rc = -300;
                    int sqlCode = 0;
                    const Wrapper made = createdBy(p, kHome, rc, sqlCode);
                    Ref task;
                    if (rc == 0) {
                      task =
                          ClassRows<MDTaskType>::retrieved(p, made, "retrieve", kTask, false, rc, sqlCode, kTaskID, 3);
                    }
                    ClassRows<MDTaskType>::logKeys(p, {.log = 0x10080142}, rc, sqlCode, kTaskID);
                    p.destroy(made);
                    p.result(says::codes(rc, sqlCode));
                    p.result(says::givesReference(task));
                  }});
    for (int i = 0; i < codesOfHome; ++i) row.answers.add("getRC", 0LL);
    if (codesOfHome == 1) row.answers.add("getRC", 30012LL);
    row.answers.add("retrieve", Object{kTask});
    row.reports = true;
  }
}

}  // namespace

void addTaskRows(Rows& rows) {
  ClassRows<MDTask> task(rows, kTask);
  task.wrapsSecond();
  task.creates();
  task.persistsAll({.log = 0x10080140, .keys = {"getTaskID"}},
                   {.log = 0x10080141, .trace = 0x1AE80100, .keys = {"getTaskID"}},
                   {.log = 0x10080143, .trace = 0x1AE80101, .keys = {"getTaskID"}});
  task.handsOutKeys();
  task.locks(MDTask::lockAllData, &MDTask::lockAll, &MDTask::unlockAll, &MDTask::freeLock);
  addProperties(task);
  addPasswords(task);
  addCategoriesName(task);
  addExecutionCount(task);
  addFinalize(task);

  ClassRows<MDTaskType> home(rows, kHome);
  home.wrapsSecond();
  home.creates();
  home.retrieves("retrieve", &MDTaskType::retrieve, "MDTask", false, {.log = 0x10080142}, 0x7000000012LL, 3);
  home.lists<MDTask>("retrieveList", &MDTaskType::retrieveList, "MDTask", 0, arrayElements);
  home.deletes(&MDTaskType::deleteIt, 0x7000000012LL, 3);
  addRetrieveTask(home);
}

}  // namespace mesk::test::ledger
