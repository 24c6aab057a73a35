package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeGuardedRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Blob;
import java.sql.Clob;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.Collection;

/** A task of the fake store. */
public class MDTask extends FakeGuardedRecord {
    private long taskID;
    private String taskName;
    private String description;
    private int taskType;
    private String taskCategory;
    private int suffix;
    private int state;
    private int runningStatus;
    private int numberOfExecutions;
    private String owner;
    private String modifier;
    private Timestamp modified;
    private String userID;
    private String passwordString;
    private Blob password;
    private byte[] passwordBytes;
    private String systemID;
    private String kelvoInstance;
    private String executionSystemID;
    private String executionPartitionID;
    private String targetDBObjects;
    private int passRunSystem;
    private int passTargetDBObjects;
    private String commandProcessor;
    private int processorType;
    private String statementTerminationChar;
    private String workingDir;
    private String fileExtension;
    private String additionalParameters;
    private String defaultParameters;
    private Clob scriptContent;
    private String scriptContentString;
    private Blob dialogTaskProfile;
    private String brixStepID;
    private String className;
    private String showProgressClassName;
    private String showResultClassName;
    private int retryCount;
    private int retryInterval;
    private int stopAtStepFailure;
    private int scheduleEnable;
    private int notificationEnable;
    private int followOnTaskEnable;
    private Timestamp nextStart;
    private Timestamp currentStartDateTime;
    private Timestamp lastStart;
    private Timestamp lastEnd;
    private int lastDuration;
    private int lastReturnCode;
    private int lastSuccess;
    private String lastExecutionUserID;
    private Clob lastExecutionResults;

    public MDTask(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDTask#" + taskID;
    }

    public long getTaskID() {
        Script.property(this, "getTaskID");
        return taskID;
    }

    public void setTaskID(long value) {
        Script.property(this, "setTaskID", value);
        taskID = value;
    }

    public String getTaskName() {
        Script.property(this, "getTaskName");
        return taskName;
    }

    public void setTaskName(String value) {
        Script.property(this, "setTaskName", value);
        taskName = value;
    }

    public String getDescription() {
        Script.property(this, "getDescription");
        return description;
    }

    public void setDescription(String value) {
        Script.property(this, "setDescription", value);
        description = value;
    }

    public int getTaskType() {
        Script.property(this, "getTaskType");
        return taskType;
    }

    public void setTaskType(int value) {
        Script.property(this, "setTaskType", value);
        taskType = value;
    }

    public String getTaskCategory() {
        Script.property(this, "getTaskCategory");
        return taskCategory;
    }

    public void setTaskCategory(String value) {
        Script.property(this, "setTaskCategory", value);
        taskCategory = value;
    }

    public int getSuffix() {
        Script.property(this, "getSuffix");
        return suffix;
    }

    public void setSuffix(int value) {
        Script.property(this, "setSuffix", value);
        suffix = value;
    }

    public int getState() {
        Script.property(this, "getState");
        return state;
    }

    public void setState(int value) {
        Script.property(this, "setState", value);
        state = value;
    }

    public int getRunningStatus() {
        Script.property(this, "getRunningStatus");
        return runningStatus;
    }

    public void setRunningStatus(int value) {
        Script.property(this, "setRunningStatus", value);
        runningStatus = value;
    }

    public int getNumberOfExecutions() {
        Script.property(this, "getNumberOfExecutions");
        return numberOfExecutions;
    }

    public void setNumberOfExecutions(int value) {
        Script.property(this, "setNumberOfExecutions", value);
        numberOfExecutions = value;
    }

    public String getOwner() {
        Script.property(this, "getOwner");
        return owner;
    }

    public void setOwner(String value) {
        Script.property(this, "setOwner", value);
        owner = value;
    }

    public String getModifier() {
        Script.property(this, "getModifier");
        return modifier;
    }

    public void setModifier(String value) {
        Script.property(this, "setModifier", value);
        modifier = value;
    }

    public Timestamp getModified() {
        Script.property(this, "getModified");
        return modified;
    }

    public void setModified(Timestamp value) {
        Script.property(this, "setModified", value);
        modified = value;
    }

    public String getUserID() {
        Script.property(this, "getUserID");
        return userID;
    }

    public void setUserID(String value) {
        Script.property(this, "setUserID", value);
        userID = value;
    }

    public String getPasswordString() {
        Script.property(this, "getPasswordString");
        return passwordString;
    }

    public void setPasswordString(String value) {
        Script.property(this, "setPasswordString", value);
        passwordString = value;
    }

    public Blob getPassword() {
        Script.property(this, "getPassword");
        return password;
    }

    public void setPassword(Blob value) {
        Script.property(this, "setPassword", value);
        password = value;
    }

    public String getSystemID() {
        Script.property(this, "getSystemID");
        return systemID;
    }

    public void setSystemID(String value) {
        Script.property(this, "setSystemID", value);
        systemID = value;
    }

    public String getKelvoInstance() {
        Script.property(this, "getKelvoInstance");
        return kelvoInstance;
    }

    public void setKelvoInstance(String value) {
        Script.property(this, "setKelvoInstance", value);
        kelvoInstance = value;
    }

    public String getExecutionSystemID() {
        Script.property(this, "getExecutionSystemID");
        return executionSystemID;
    }

    public void setExecutionSystemID(String value) {
        Script.property(this, "setExecutionSystemID", value);
        executionSystemID = value;
    }

    public String getExecutionPartitionID() {
        Script.property(this, "getExecutionPartitionID");
        return executionPartitionID;
    }

    public void setExecutionPartitionID(String value) {
        Script.property(this, "setExecutionPartitionID", value);
        executionPartitionID = value;
    }

    public String getTargetDBObjects() {
        Script.property(this, "getTargetDBObjects");
        return targetDBObjects;
    }

    public void setTargetDBObjects(String value) {
        Script.property(this, "setTargetDBObjects", value);
        targetDBObjects = value;
    }

    public int getPassRunSystem() {
        Script.property(this, "getPassRunSystem");
        return passRunSystem;
    }

    public void setPassRunSystem(int value) {
        Script.property(this, "setPassRunSystem", value);
        passRunSystem = value;
    }

    public int getPassTargetDBObj() {
        Script.property(this, "getPassTargetDBObj");
        return passTargetDBObjects;
    }

    public void setPassTargetDBObj(int value) {
        Script.property(this, "setPassTargetDBObj", value);
        passTargetDBObjects = value;
    }

    public String getCommandProcessor() {
        Script.property(this, "getCommandProcessor");
        return commandProcessor;
    }

    public void setCommandProcessor(String value) {
        Script.property(this, "setCommandProcessor", value);
        commandProcessor = value;
    }

    public int getProcessorType() {
        Script.property(this, "getProcessorType");
        return processorType;
    }

    public String getStatementTerminationChar() {
        Script.property(this, "getStatementTerminationChar");
        return statementTerminationChar;
    }

    public void setStatementTerminationChar(String value) {
        Script.property(this, "setStatementTerminationChar", value);
        statementTerminationChar = value;
    }

    public String getWorkingDir() {
        Script.property(this, "getWorkingDir");
        return workingDir;
    }

    public void setWorkingDir(String value) {
        Script.property(this, "setWorkingDir", value);
        workingDir = value;
    }

    public String getFileExtension() {
        Script.property(this, "getFileExtension");
        return fileExtension;
    }

    public void setFileExtension(String value) {
        Script.property(this, "setFileExtension", value);
        fileExtension = value;
    }

    public String getAdditionalParameters() {
        Script.property(this, "getAdditionalParameters");
        return additionalParameters;
    }

    public void setAdditionalParameters(String value) {
        Script.property(this, "setAdditionalParameters", value);
        additionalParameters = value;
    }

    public String getDefaultParameters() {
        Script.property(this, "getDefaultParameters");
        return defaultParameters;
    }

    public void setDefaultParameters(String value) {
        Script.property(this, "setDefaultParameters", value);
        defaultParameters = value;
    }

    public Clob getScriptContent() {
        Script.property(this, "getScriptContent");
        return scriptContent;
    }

    public void setScriptContent(Clob value) {
        Script.property(this, "setScriptContent", value);
        scriptContent = value;
    }

    public String getScriptContentString() {
        Script.property(this, "getScriptContentString");
        return scriptContentString;
    }

    public void setScriptContentString(String value) {
        Script.property(this, "setScriptContentString", value);
        scriptContentString = value;
    }

    public Blob getDialogTaskProfile() {
        Script.property(this, "getDialogTaskProfile");
        return dialogTaskProfile;
    }

    public void setDialogTaskProfile(Blob value) {
        Script.property(this, "setDialogTaskProfile", value);
        dialogTaskProfile = value;
    }

    public String getBrixStepID() {
        Script.property(this, "getBrixStepID");
        return brixStepID;
    }

    public void setBrixStepID(String value) {
        Script.property(this, "setBrixStepID", value);
        brixStepID = value;
    }

    public String getClassName() {
        Script.property(this, "getClassName");
        return className;
    }

    public void setClassName(String value) {
        Script.property(this, "setClassName", value);
        className = value;
    }

    public String getShowProgressClassName() {
        Script.property(this, "getShowProgressClassName");
        return showProgressClassName;
    }

    public void setShowProgressClassName(String value) {
        Script.property(this, "setShowProgressClassName", value);
        showProgressClassName = value;
    }

    public String getShowResultClassName() {
        Script.property(this, "getShowResultClassName");
        return showResultClassName;
    }

    public void setShowResultClassName(String value) {
        Script.property(this, "setShowResultClassName", value);
        showResultClassName = value;
    }

    public void setGeneratedBy(String value) {
        Script.property(this, "setGeneratedBy", value);
    }

    public void setGeneratedAt(Timestamp value) {
        Script.property(this, "setGeneratedAt", value);
    }

    public int getRetryCount() {
        Script.property(this, "getRetryCount");
        return retryCount;
    }

    public void setRetryCount(int value) {
        Script.property(this, "setRetryCount", value);
        retryCount = value;
    }

    public int getRetryInterval() {
        Script.property(this, "getRetryInterval");
        return retryInterval;
    }

    public void setRetryInterval(int value) {
        Script.property(this, "setRetryInterval", value);
        retryInterval = value;
    }

    public int getStopAtStepFailure() {
        Script.property(this, "getStopAtStepFailure");
        return stopAtStepFailure;
    }

    public void setStopAtStepFailure(int value) {
        Script.property(this, "setStopAtStepFailure", value);
        stopAtStepFailure = value;
    }

    public int getScheduleEnable() {
        Script.property(this, "getScheduleEnable");
        return scheduleEnable;
    }

    public void setScheduleEnable(int value) {
        Script.property(this, "setScheduleEnable", value);
        scheduleEnable = value;
    }

    public int getNotificationEnable() {
        Script.property(this, "getNotificationEnable");
        return notificationEnable;
    }

    public void setNotificationEnable(int value) {
        Script.property(this, "setNotificationEnable", value);
        notificationEnable = value;
    }

    public int getFollowOnTaskEnable() {
        Script.property(this, "getFollowOnTaskEnable");
        return followOnTaskEnable;
    }

    public void setFollowOnTaskEnable(int value) {
        Script.property(this, "setFollowOnTaskEnable", value);
        followOnTaskEnable = value;
    }

    public Timestamp getNextStart() {
        Script.property(this, "getNextStart");
        return nextStart;
    }

    public void setNextStart(Timestamp value) {
        Script.property(this, "setNextStart", value);
        nextStart = value;
    }

    public Timestamp getCurrentStartDateTime() {
        Script.property(this, "getCurrentStartDateTime");
        return currentStartDateTime;
    }

    public void setCurrentStartDateTime(Timestamp value) {
        Script.property(this, "setCurrentStartDateTime", value);
        currentStartDateTime = value;
    }

    public Timestamp getLastStart() {
        Script.property(this, "getLastStart");
        return lastStart;
    }

    public void setLastStart(Timestamp value) {
        Script.property(this, "setLastStart", value);
        lastStart = value;
    }

    public Timestamp getLastEnd() {
        Script.property(this, "getLastEnd");
        return lastEnd;
    }

    public void setLastEnd(Timestamp value) {
        Script.property(this, "setLastEnd", value);
        lastEnd = value;
    }

    public int getLastDuration() {
        Script.property(this, "getLastDuration");
        return lastDuration;
    }

    public void setLastDuration(int value) {
        Script.property(this, "setLastDuration", value);
        lastDuration = value;
    }

    public int getLastReturnCode() {
        Script.property(this, "getLastReturnCode");
        return lastReturnCode;
    }

    public void setLastReturnCode(int value) {
        Script.property(this, "setLastReturnCode", value);
        lastReturnCode = value;
    }

    public int getLastSuccess() {
        Script.property(this, "getLastSuccess");
        return lastSuccess;
    }

    public void setLastSuccess(int value) {
        Script.property(this, "setLastSuccess", value);
        lastSuccess = value;
    }

    public String getLastExecutionUserID() {
        Script.property(this, "getLastExecutionUserID");
        return lastExecutionUserID;
    }

    public void setLastExecutionUserID(String value) {
        Script.property(this, "setLastExecutionUserID", value);
        lastExecutionUserID = value;
    }

    public Clob getLastExecutionResults() {
        Script.property(this, "getLastExecutionResults");
        return lastExecutionResults;
    }

    public void setLastExecutionResults(Clob value) {
        Script.property(this, "setLastExecutionResults", value);
        lastExecutionResults = value;
    }

    public void setLastExecutionResultsString(String value) {
        Script.property(this, "setLastExecutionResultsString", value);
    }

    /** A programmed result, else the bytes of {@code setPasswordByteArr}. */
    public byte[] getPassword(Context context, PARLException exception) {
        return Script.call(this, "getPassword", context, exception).or(passwordBytes);
    }

    public void setPasswordByteArr(byte[] value) {
        Script.property(this, "setPasswordByteArr", value);
        passwordBytes = value;
    }

    public String getFormattedTaskCategoriesName(Context context) {
        return Script.call(this, "getFormattedTaskCategoriesName", context).or(null);
    }

    /** Called by the library; the JVM's own call is not worth a record. */
    @Override
    @SuppressWarnings("deprecation")
    public void finalize() {
        if (!Thread.currentThread().getName().equals("Finalizer")) {
            Script.call(this, "finalize");
        }
    }

    public void addScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Script.call(this, "addScheduleEvent", context, event, exception);
    }

    public void removeScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Script.call(this, "removeScheduleEvent", context, event, exception);
    }

    public Collection<?> retrieveScheduleEventList(Context context, PARLException exception) {
        return Script.call(this, "retrieveScheduleEventList", context, exception).or(null);
    }

    public void addSharedNamedSchedule(Context context, MDSharedNamedSchedule schedule, PARLException exception) {
        Script.call(this, "addSharedNamedSchedule", context, schedule, exception);
    }

    public void removeSharedNamedSchedule(Context context, MDSharedNamedSchedule schedule, PARLException exception) {
        Script.call(this, "removeSharedNamedSchedule", context, schedule, exception);
    }

    public void addFollowOnAction(Context context, MDFollowOnAction action, PARLException exception) {
        Script.call(this, "addFollowOnAction", context, action, exception);
    }

    public void removeFollowOnAction(Context context, MDFollowOnAction action, PARLException exception) {
        Script.call(this, "removeFollowOnAction", context, action, exception);
    }

    public void addNotificationAction(Context context, MDNotificationAction action, PARLException exception) {
        Script.call(this, "addNotificationAction", context, action, exception);
    }

    public void removeNotificationAction(Context context, MDNotificationAction action, PARLException exception) {
        Script.call(this, "removeNotificationAction", context, action, exception);
    }

    public Collection<?> retrieveSharedNamedScheduleList(Context context, PARLException exception) {
        return Script.call(this, "retrieveSharedNamedScheduleList", context, exception).or(null);
    }

    public Collection<?> retrieveFollowOnActionList(Context context, PARLException exception) {
        return Script.call(this, "retrieveFollowOnActionList", context, exception).or(null);
    }

    public Collection<?> retrieveNotificationActionList(Context context, PARLException exception) {
        return Script.call(this, "retrieveNotificationActionList", context, exception).or(null);
    }

    public Collection<?> retrieveTaskGroupMemberList(Context context, PARLException exception) {
        return Script.call(this, "retrieveTaskGroupMemberList", context, exception).or(null);
    }

    public Collection<?> retrievePredecessorTaskWithExecActionList(Context context, PARLException exception) {
        return Script.call(this, "retrievePredecessorTaskWithExecActionList", context, exception).or(null);
    }

    public Collection<?> retrieveSuccessCodeSetList(Context context, PARLException exception) {
        return Script.call(this, "retrieveSuccessCodeSetList", context, exception).or(null);
    }

    public ArrayList<?> getUsersWithPermission(Context context, int permission, PARLException exception) {
        return Script.call(this, "getUsersWithPermission", context, permission, exception).or(null);
    }

    public ArrayList<?> getGroupsWithPermission(Context context, int permission, PARLException exception) {
        return Script.call(this, "getGroupsWithPermission", context, permission, exception).or(null);
    }
}
