// Every property of every record: the store has its accessors, and what goes in comes back.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>

#include <memory>
#include <type_traits>

#include "StoreFixture.h"

namespace mesk::test {
namespace {

/// Sets a property to a value that no other one has, and gets it back.
class Touch {
 public:
  explicit Touch(ThreadContext& ctx) : ctx_(ctx) {}

  int properties() const { return n_; }

  template <class W, class R, class V>
  void operator()(W& record, R (W::*get)(ThreadContext&) const, void (W::*set)(ThreadContext&, V)) {
    give(record, set);
    EXPECT_EQ(show((record.*get)(ctx_)), expected<V>()) << "property " << n_ << " of " << typeid(W).name();
  }

  template <class W, class R>
  void operator()(W& record, R (W::*get)(ThreadContext&) const) {
    ++n_;
    show((record.*get)(ctx_));
  }

  template <class W, class V>
  void operator()(W& record, void (W::*set)(ThreadContext&, V)) {
    give(record, set);
  }

 private:
  static constexpr long long kDay = 86400000;

  template <class W, class V>
  void give(W& record, void (W::*set)(ThreadContext&, V)) {
    ++n_;
    if constexpr (std::is_arithmetic_v<V>) {
      (record.*set)(ctx_, static_cast<V>(n_));
    } else if constexpr (std::is_same_v<V, const char*>) {
      (record.*set)(ctx_, std::to_string(n_).c_str());
    } else if constexpr (std::is_same_v<V, jbyteArray>) {
      (record.*set)(ctx_, nullptr);
    } else if constexpr (std::is_same_v<V, Blob*>) {
      const std::string text = std::to_string(n_);
      Blob value(ctx_, text.data(), static_cast<int>(text.size()));
      (record.*set)(ctx_, &value);
    } else if constexpr (std::is_same_v<V, Clob*>) {
      const LocalRef<jstring> text(ctx_.env, ctx_.env->NewStringUTF(std::to_string(n_).c_str()));
      Clob value(ctx_, text.get());
      (record.*set)(ctx_, &value);
    } else {
      std::remove_pointer_t<V> value(ctx_, n_ * kDay);
      (record.*set)(ctx_, &value);
    }
  }

  template <class V>
  std::string expected() const {
    return std::to_string(std::is_base_of_v<Date, std::remove_pointer_t<V>> ? n_ * kDay : n_);
  }

  std::string show(long long value) const { return std::to_string(value); }
  std::string show(char* value) const { return taken(value); }
  std::string show(Clob* value) const {
    const std::unique_ptr<Clob> clob(value);
    return clob == nullptr ? "(null)" : taken(clob->getString(ctx_));
  }
  std::string show(Blob* value) const {
    const std::unique_ptr<Blob> blob(value);
    if (blob == nullptr) return "(null)";
    signed char* const bytes = blob->getAllBytes(ctx_);
    std::string result(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(blob->length(ctx_)));
    ::operator delete(bytes);
    return result;
  }

  template <class D>
  std::string show(D* value) const {
    const std::unique_ptr<D> date(value);
    return date == nullptr ? "(null)" : std::to_string(date->getTime(ctx_));
  }

  ThreadContext& ctx_;
  int n_ = 0;
};

void touch(Touch& touch, MDTask& record) {
  touch(record, &MDTask::getTaskID, &MDTask::setTaskID);
  touch(record, &MDTask::getSuffix, &MDTask::setSuffix);
  touch(record, &MDTask::getTaskName, &MDTask::setTaskName);
  touch(record, &MDTask::getDescription, &MDTask::setDescription);
  touch(record, &MDTask::getTaskType, &MDTask::setTaskType);
  touch(record, &MDTask::getTaskCategory, &MDTask::setTaskCategory);
  touch(record, &MDTask::getOwner, &MDTask::setOwner);
  touch(record, &MDTask::getModifier, &MDTask::setModifier);
  touch(record, &MDTask::getModified, &MDTask::setModified);
  touch(record, &MDTask::getState, &MDTask::setState);
  touch(record, &MDTask::getRunningStatus, &MDTask::setRunningStatus);
  touch(record, &MDTask::getNumberOfExecutions, &MDTask::setNumberOfExecutions);
  touch(record, &MDTask::getNextStart, &MDTask::setNextStart);
  touch(record, &MDTask::getCurrentStartDateTime, &MDTask::setCurrentStartDateTime);
  touch(record, &MDTask::getLastStart, &MDTask::setLastStart);
  touch(record, &MDTask::getLastEnd, &MDTask::setLastEnd);
  touch(record, &MDTask::getLastDuration, &MDTask::setLastDuration);
  touch(record, &MDTask::getLastReturnCode, &MDTask::setLastReturnCode);
  touch(record, &MDTask::getLastSuccess, &MDTask::setLastSuccess);
  touch(record, &MDTask::getLastExecutionUserID, &MDTask::setLastExecutionUserID);
  touch(record, &MDTask::getLastExecutionResults, &MDTask::setLastExecutionResults);
  touch(record, &MDTask::getScriptContent, &MDTask::setScriptContent);
  touch(record, &MDTask::getScriptContentString, &MDTask::setScriptContentString);
  touch(record, &MDTask::getCommandProcessor, &MDTask::setCommandProcessor);
  touch(record, &MDTask::getProcessorType);
  touch(record, &MDTask::getStatementTerminationChar, &MDTask::setStatementTerminationChar);
  touch(record, &MDTask::getWorkingDir, &MDTask::setWorkingDir);
  touch(record, &MDTask::getFileExtension, &MDTask::setFileExtension);
  touch(record, &MDTask::getAdditionalParameters, &MDTask::setAdditionalParameters);
  touch(record, &MDTask::getDefaultParameters, &MDTask::setDefaultParameters);
  touch(record, &MDTask::getDialogTaskProfile, &MDTask::setDialogTaskProfile);
  touch(record, &MDTask::getBrixStepID, &MDTask::setBrixStepID);
  touch(record, &MDTask::getClassName, &MDTask::setClassName);
  touch(record, &MDTask::getShowProgressClassName, &MDTask::setShowProgressClassName);
  touch(record, &MDTask::getShowResultClassName, &MDTask::setShowResultClassName);
  touch(record, &MDTask::getUserID, &MDTask::setUserID);
  touch(record, &MDTask::getPasswordString, &MDTask::setPasswordString);
  touch(record, &MDTask::getPassword, &MDTask::setPassword);
  touch(record, &MDTask::getSystemID, &MDTask::setSystemID);
  touch(record, &MDTask::getKelvoInstance, &MDTask::setKelvoInstance);
  touch(record, &MDTask::getExecutionSystemID, &MDTask::setExecutionSystemID);
  touch(record, &MDTask::getExecutionPartitionID, &MDTask::setExecutionPartitionID);
  touch(record, &MDTask::getTargetDBObjects, &MDTask::setTargetDBObjects);
  touch(record, &MDTask::getPassRunSystem, &MDTask::setPassRunSystem);
  touch(record, &MDTask::getPassTargetDBObjects, &MDTask::setPassTargetDBObjects);
  touch(record, &MDTask::getRetryCount, &MDTask::setRetryCount);
  touch(record, &MDTask::getRetryInterval, &MDTask::setRetryInterval);
  touch(record, &MDTask::getStopAtStepFailure, &MDTask::setStopAtStepFailure);
  touch(record, &MDTask::getScheduleEnable, &MDTask::setScheduleEnable);
  touch(record, &MDTask::getNotificationEnable, &MDTask::setNotificationEnable);
  touch(record, &MDTask::getFollowOnTaskEnable, &MDTask::setFollowOnTaskEnable);
  touch(record, &MDTask::setGeneratedBy);
  touch(record, &MDTask::setGeneratedAt);
  touch(record, &MDTask::setLastExecutionResultsString);
  touch(record, &MDTask::setPasswordByteArr);
}

void touch(Touch& touch, MDScheduleEvent& record) {
  touch(record, &MDScheduleEvent::getScheduleEventID, &MDScheduleEvent::setScheduleEventID);
  touch(record, &MDScheduleEvent::getStartDate, &MDScheduleEvent::setStartDate);
  touch(record, &MDScheduleEvent::getStartTime, &MDScheduleEvent::setStartTime);
  touch(record, &MDScheduleEvent::getEndDate, &MDScheduleEvent::setEndDate);
  touch(record, &MDScheduleEvent::getIntervalType, &MDScheduleEvent::setIntervalType);
  touch(record, &MDScheduleEvent::getIntervalUnit, &MDScheduleEvent::setIntervalUnit);
  touch(record, &MDScheduleEvent::getDetail, &MDScheduleEvent::setDetail);
  touch(record, &MDScheduleEvent::getRecurring, &MDScheduleEvent::setRecurring);
}

void touch(Touch& touch, MDTaskExec& record) {
  touch(record, &MDTaskExec::getTaskExecID, &MDTaskExec::setTaskExecID);
  touch(record, &MDTaskExec::getTaskID, &MDTaskExec::setTaskID);
  touch(record, &MDTaskExec::getSuffix, &MDTaskExec::setSuffix);
  touch(record, &MDTaskExec::getTaskHistoryID, &MDTaskExec::setTaskHistoryID);
  touch(record, &MDTaskExec::getSharedNamedScheduleID, &MDTaskExec::setSharedNamedScheduleID);
  touch(record, &MDTaskExec::getScheduleEventID, &MDTaskExec::setScheduleEventID);
  touch(record, &MDTaskExec::getParentGroupingTaskExecID, &MDTaskExec::setParentGroupingTaskExecID);
  touch(record, &MDTaskExec::getNextStartDateTime, &MDTaskExec::setNextStartDateTime);
  touch(record, &MDTaskExec::getStartTime, &MDTaskExec::setStartTime);
  touch(record, &MDTaskExec::getOriginalScheduleTime, &MDTaskExec::setOriginalScheduleTime);
  touch(record, &MDTaskExec::getIsRealStartTime, &MDTaskExec::setIsRealStartTime);
  touch(record, &MDTaskExec::getNeedReschedule, &MDTaskExec::setNeedReschedule);
  touch(record, &MDTaskExec::getStatus, &MDTaskExec::setStatus);
  touch(record, &MDTaskExec::getBrixStepID, &MDTaskExec::setBrixStepID);
  touch(record, &MDTaskExec::getStepRC, &MDTaskExec::setStepRC);
  touch(record, &MDTaskExec::getPartitionNumber, &MDTaskExec::setPartitionNumber);
  touch(record, &MDTaskExec::getRookQPosition, &MDTaskExec::setRookQPosition);
  touch(record, &MDTaskExec::getRookJobID, &MDTaskExec::setRookJobID);
  touch(record, &MDTaskExec::getV7JobID, &MDTaskExec::setV7JobID);
  touch(record, &MDTaskExec::getExecutionSystem, &MDTaskExec::setExecutionSystem);
  touch(record, &MDTaskExec::getSummaryReturnCode, &MDTaskExec::setSummaryReturnCode);
  touch(record, &MDTaskExec::getStartedByRunNow, &MDTaskExec::setStartedByRunNow);
  touch(record, &MDTaskExec::getUseNotification, &MDTaskExec::setUseNotification);
  touch(record, &MDTaskExec::getUseTaskActions, &MDTaskExec::setUseTaskActions);
  touch(record, &MDTaskExec::getAcceptDefaults, &MDTaskExec::setAcceptDefaults);
  touch(record, &MDTaskExec::getPassRunSystem, &MDTaskExec::setPassRunSystem);
  touch(record, &MDTaskExec::getPassTargetDBObjects, &MDTaskExec::setPassTargetDBObjects);
  touch(record, &MDTaskExec::getAdditionalParameters, &MDTaskExec::setAdditionalParameters);
  touch(record, &MDTaskExec::getRowLimit, &MDTaskExec::setRowLimit);
  touch(record, &MDTaskExec::getUserID, &MDTaskExec::setUserID);
  touch(record, &MDTaskExec::getPasswordString, &MDTaskExec::setPasswordString);
  touch(record, &MDTaskExec::getPassword, &MDTaskExec::setPassword);
  touch(record, &MDTaskExec::setExecutionPartitionID);
  touch(record, &MDTaskExec::setExecutionSystemID);
  touch(record, &MDTaskExec::setPasswordByteArr);
}

void touch(Touch& touch, MDTaskHistory& record) {
  touch(record, &MDTaskHistory::getTaskHistoryID, &MDTaskHistory::setTaskHistoryID);
  touch(record, &MDTaskHistory::getRootTaskHistoryID, &MDTaskHistory::setRootTaskHistoryID);
  touch(record, &MDTaskHistory::getTaskID, &MDTaskHistory::setTaskID);
  touch(record, &MDTaskHistory::getSuffix, &MDTaskHistory::setSuffix);
  touch(record, &MDTaskHistory::getTaskName, &MDTaskHistory::setTaskName);
  touch(record, &MDTaskHistory::getTaskType, &MDTaskHistory::setTaskType);
  touch(record, &MDTaskHistory::getOwner, &MDTaskHistory::setOwner);
  touch(record, &MDTaskHistory::getDescription, &MDTaskHistory::setDescription);
  touch(record, &MDTaskHistory::getUserID, &MDTaskHistory::setUserID);
  touch(record, &MDTaskHistory::getInvocationMethod, &MDTaskHistory::setInvocationMethod);
  touch(record, &MDTaskHistory::getRookJobID, &MDTaskHistory::setRookJobID);
  touch(record, &MDTaskHistory::getV7JobID, &MDTaskHistory::setV7JobID);
  touch(record, &MDTaskHistory::getBrixStepID, &MDTaskHistory::setBrixStepID);
  touch(record, &MDTaskHistory::getEditionID, &MDTaskHistory::setEditionID);
  touch(record, &MDTaskHistory::getStart, &MDTaskHistory::setStart);
  touch(record, &MDTaskHistory::getEnd, &MDTaskHistory::setEnd);
  touch(record, &MDTaskHistory::getDuration, &MDTaskHistory::setDuration);
  touch(record, &MDTaskHistory::getRunningStatus, &MDTaskHistory::setRunningStatus);
  touch(record, &MDTaskHistory::getReturnCode, &MDTaskHistory::setReturnCode);
  touch(record, &MDTaskHistory::getSummaryReturnCode, &MDTaskHistory::setSummaryReturnCode);
  touch(record, &MDTaskHistory::getRetryCount, &MDTaskHistory::setRetryCount);
  touch(record, &MDTaskHistory::getRowCount, &MDTaskHistory::setRowCount);
  touch(record, &MDTaskHistory::getByteCount, &MDTaskHistory::setByteCount);
  touch(record, &MDTaskHistory::getJournalResult, &MDTaskHistory::setJournalResult);
  touch(record, &MDTaskHistory::getNotificationResults, &MDTaskHistory::setNotificationResults);
  touch(record, &MDTaskHistory::getSourceDBName, &MDTaskHistory::setSourceDBName);
  touch(record, &MDTaskHistory::getSourceDBType, &MDTaskHistory::setSourceDBType);
  touch(record, &MDTaskHistory::getTargetDBName, &MDTaskHistory::setTargetDBName);
  touch(record, &MDTaskHistory::getTargetDBType, &MDTaskHistory::setTargetDBType);
  touch(record, &MDTaskHistory::getTargetWarehouseName, &MDTaskHistory::setTargetWarehouseName);
  touch(record, &MDTaskHistory::setTaskCategory);
  touch(record, &MDTaskHistory::setExecutionSystemID);
  touch(record, &MDTaskHistory::setExecutionPartitionID);
  touch(record, &MDTaskHistory::setScriptContentString);
  touch(record, &MDTaskHistory::setNotificationResultsString);
  touch(record, &MDTaskHistory::setFollowOnActionResultsString);
  touch(record, &MDTaskHistory::setShowResultsPanelClassName);
}

void touch(Touch& touch, MDTaskResult& record) {
  touch(record, &MDTaskResult::getPartitionID, &MDTaskResult::setPartitionID);
  touch(record, &MDTaskResult::getReturnCode, &MDTaskResult::setReturnCode);
  touch(record, &MDTaskResult::getExecutionResultsString, &MDTaskResult::setExecutionResultsString);
  touch(record, &MDTaskResult::getStart, &MDTaskResult::setStart);
  touch(record, &MDTaskResult::getEnd, &MDTaskResult::setEnd);
  touch(record, &MDTaskResult::getDuration, &MDTaskResult::setDuration);
  touch(record, &MDTaskResult::getRunningStatus, &MDTaskResult::setRunningStatus);
  touch(record, &MDTaskResult::getByteCount, &MDTaskResult::setByteCount);
  touch(record, &MDTaskResult::getRowCount, &MDTaskResult::setRowCount);
}

void touch(Touch& touch, MDTaskSnapshot& record) {
  touch(record, &MDTaskSnapshot::getTaskID, &MDTaskSnapshot::setTaskID);
  touch(record, &MDTaskSnapshot::getTaskName, &MDTaskSnapshot::setTaskName);
  touch(record, &MDTaskSnapshot::getSuffix, &MDTaskSnapshot::setSuffix);
  touch(record, &MDTaskSnapshot::getSystemID, &MDTaskSnapshot::setSystemID);
  touch(record, &MDTaskSnapshot::getExecutionSystemID, &MDTaskSnapshot::setExecutionSystemID);
  touch(record, &MDTaskSnapshot::getExecutionPartitionID, &MDTaskSnapshot::setExecutionPartitionID);
  touch(record, &MDTaskSnapshot::getTaskUserID, &MDTaskSnapshot::setTaskUserID);
  touch(record, &MDTaskSnapshot::getTaskCategory, &MDTaskSnapshot::setTaskCategory);
  touch(record, &MDTaskSnapshot::getOwner, &MDTaskSnapshot::setOwner);
  touch(record, &MDTaskSnapshot::getTaskType, &MDTaskSnapshot::setTaskType);
  touch(record, &MDTaskSnapshot::getScriptContent, &MDTaskSnapshot::setScriptContent);
  touch(record, &MDTaskSnapshot::getTargetDBObjects, &MDTaskSnapshot::setTargetDBObjects);
  touch(record, &MDTaskSnapshot::getModified, &MDTaskSnapshot::setModified);
  touch(record, &MDTaskSnapshot::getScheduleEnable, &MDTaskSnapshot::setScheduleEnable);
  touch(record, &MDTaskSnapshot::getNotificationEnable, &MDTaskSnapshot::setNotificationEnable);
  touch(record, &MDTaskSnapshot::getFollowOnTaskEnable, &MDTaskSnapshot::setFollowOnTaskEnable);
  touch(record, &MDTaskSnapshot::getExecutionUserID, &MDTaskSnapshot::setExecutionUserID);
  touch(record, &MDTaskSnapshot::getParameters, &MDTaskSnapshot::setParameters);
  touch(record, &MDTaskSnapshot::getScheduleIDs, &MDTaskSnapshot::setScheduleIDs);
  touch(record, &MDTaskSnapshot::getNotificationIDs, &MDTaskSnapshot::setNotificationIDs);
  touch(record, &MDTaskSnapshot::getFollowOnTaskIDs, &MDTaskSnapshot::setFollowOnTaskIDs);
  touch(record, &MDTaskSnapshot::getContactNames, &MDTaskSnapshot::setContactNames);
  touch(record, &MDTaskSnapshot::getInvocationType, &MDTaskSnapshot::setInvocationType);
  touch(record, &MDTaskSnapshot::getHighestReturnCode, &MDTaskSnapshot::setHighestReturnCode);
  touch(record, &MDTaskSnapshot::getLatestSnapshot, &MDTaskSnapshot::setLatestSnapshot);
}

void touch(Touch& touch, MDSharedNamedSchedule& record) {
  touch(record, &MDSharedNamedSchedule::getSharedScheduleName, &MDSharedNamedSchedule::setSharedScheduleName);
  touch(record, &MDSharedNamedSchedule::getDescription, &MDSharedNamedSchedule::setDescription);
  touch(record, &MDSharedNamedSchedule::getScheduleID, &MDSharedNamedSchedule::setScheduleID);
}

void touch(Touch& touch, MDFollowOnAction& record) {
  touch(record, &MDFollowOnAction::getFollowOnActionID, &MDFollowOnAction::setFollowOnActionID);
  touch(record, &MDFollowOnAction::getParentTaskID, &MDFollowOnAction::setParentTaskID);
  touch(record, &MDFollowOnAction::getParentSuffix, &MDFollowOnAction::setParentSuffix);
  touch(record, &MDFollowOnAction::getAction, &MDFollowOnAction::setAction);
  touch(record, &MDFollowOnAction::getFollowOnCondition, &MDFollowOnAction::setFollowOnCondition);
}

void touch(Touch& touch, MDNotificationAction& record) {
  touch(record, &MDNotificationAction::getNotificationActionID, &MDNotificationAction::setNotificationActionID);
  touch(record, &MDNotificationAction::getParentTaskID, &MDNotificationAction::setParentTaskID);
  touch(record, &MDNotificationAction::getParentSuffix, &MDNotificationAction::setParentSuffix);
  touch(record, &MDNotificationAction::getNotificationCondition, &MDNotificationAction::setNotificationCondition);
  touch(record, &MDNotificationAction::getMessageType, &MDNotificationAction::setMessageType);
  touch(record, &MDNotificationAction::getUseEmailMessage, &MDNotificationAction::setUseEmailMessage);
  touch(record, &MDNotificationAction::getSubject, &MDNotificationAction::setSubject);
  touch(record, &MDNotificationAction::getEmailMessage, &MDNotificationAction::setEmailMessage);
  touch(record, &MDNotificationAction::getEmailMessageString, &MDNotificationAction::setEmailMessageString);
  touch(record, &MDNotificationAction::getPagerMessage, &MDNotificationAction::setPagerMessage);
  touch(record, &MDNotificationAction::getPagerSubject);
  touch(record, &MDNotificationAction::getPagerMessageString);
  touch(record, &MDNotificationAction::getJournalMessageString);
  touch(record, &MDNotificationAction::getSender);
}

void touch(Touch& touch, MDTaskStatistic& record) {
  touch(record, &MDTaskStatistic::getTaskID, &MDTaskStatistic::setTaskID);
  touch(record, &MDTaskStatistic::getSuffix, &MDTaskStatistic::setSuffix);
  touch(record, &MDTaskStatistic::getFirstExecution, &MDTaskStatistic::setFirstExecution);
  touch(record, &MDTaskStatistic::getTotalSuccessfulExecutions, &MDTaskStatistic::setTotalSuccessfulExecutions);
  touch(record, &MDTaskStatistic::getTotalFailedExecutions, &MDTaskStatistic::setTotalFailedExecutions);
  touch(record, &MDTaskStatistic::getTotalElapsedTime, &MDTaskStatistic::setTotalElapsedTime);
  touch(record, &MDTaskStatistic::getTotalRowCount, &MDTaskStatistic::setTotalRowCount);
  touch(record, &MDTaskStatistic::getTotalByteCount, &MDTaskStatistic::setTotalByteCount);
  touch(record, &MDTaskStatistic::getLastExecution, &MDTaskStatistic::setLastExecution);
  touch(record, &MDTaskStatistic::getLastExecutionElapsedTime, &MDTaskStatistic::setLastExecutionElapsedTime);
  touch(record, &MDTaskStatistic::getLastExecutionRowCount, &MDTaskStatistic::setLastExecutionRowCount);
  touch(record, &MDTaskStatistic::getLastExecutionByteCount, &MDTaskStatistic::setLastExecutionByteCount);
  touch(record, &MDTaskStatistic::getFastestExecution, &MDTaskStatistic::setFastestExecution);
  touch(record, &MDTaskStatistic::getFastestExecutionElapsedTime, &MDTaskStatistic::setFastestExecutionElapsedTime);
  touch(record, &MDTaskStatistic::getFastestExecutionRowCount, &MDTaskStatistic::setFastestExecutionRowCount);
  touch(record, &MDTaskStatistic::getFastestExecutionByteCount, &MDTaskStatistic::setFastestExecutionByteCount);
  touch(record, &MDTaskStatistic::getSlowestExecution, &MDTaskStatistic::setSlowestExecution);
  touch(record, &MDTaskStatistic::getSlowestExecutionElapsedTime, &MDTaskStatistic::setSlowestExecutionElapsedTime);
  touch(record, &MDTaskStatistic::getSlowestExecutionRowCount, &MDTaskStatistic::setSlowestExecutionRowCount);
  touch(record, &MDTaskStatistic::getSlowestExecutionByteCount, &MDTaskStatistic::setSlowestExecutionByteCount);
  touch(record, &MDTaskStatistic::getLargestExecution, &MDTaskStatistic::setLargestExecution);
  touch(record, &MDTaskStatistic::getLargestExecutionElapsedTime, &MDTaskStatistic::setLargestExecutionElapsedTime);
  touch(record, &MDTaskStatistic::getLargestExecutionRowCount, &MDTaskStatistic::setLargestExecutionRowCount);
  touch(record, &MDTaskStatistic::getLargestExecutionByteCount, &MDTaskStatistic::setLargestExecutionByteCount);
  touch(record, &MDTaskStatistic::getSmallestExecution, &MDTaskStatistic::setSmallestExecution);
  touch(record, &MDTaskStatistic::getSmallestExecutionElapsedTime, &MDTaskStatistic::setSmallestExecutionElapsedTime);
  touch(record, &MDTaskStatistic::getSmallestExecutionRowCount, &MDTaskStatistic::setSmallestExecutionRowCount);
  touch(record, &MDTaskStatistic::getSmallestExecutionByteCount, &MDTaskStatistic::setSmallestExecutionByteCount);
}

class AccessorsTest : public StoreTest {
 protected:
  /// Makes a record and touches each of its properties.
  template <class Record>
  void touchAll(int properties) {
    const jobject session = connect();
    Record record(ctx, session, rc, sqlCode);
    ASSERT_EQ(rc, 0);
    Touch each(ctx);
    touch(each, record);
    EXPECT_EQ(each.properties(), properties);
  }
};

TEST_F(AccessorsTest, OfATaskAreThere) { touchAll<MDTask>(55); }
TEST_F(AccessorsTest, OfAScheduleRuleAreThere) { touchAll<MDScheduleEvent>(8); }
TEST_F(AccessorsTest, OfAnExecutionAreThere) { touchAll<MDTaskExec>(35); }
TEST_F(AccessorsTest, OfAHistoryAreThere) { touchAll<MDTaskHistory>(37); }
TEST_F(AccessorsTest, OfAResultAreThere) { touchAll<MDTaskResult>(9); }
TEST_F(AccessorsTest, OfASnapshotAreThere) { touchAll<MDTaskSnapshot>(25); }
TEST_F(AccessorsTest, OfASharedScheduleAreThere) { touchAll<MDSharedNamedSchedule>(3); }
TEST_F(AccessorsTest, OfAFollowOnActionAreThere) { touchAll<MDFollowOnAction>(5); }
TEST_F(AccessorsTest, OfANotificationActionAreThere) { touchAll<MDNotificationAction>(14); }
TEST_F(AccessorsTest, OfAStatisticAreThere) { touchAll<MDTaskStatistic>(28); }

}  // namespace
}  // namespace mesk::test
