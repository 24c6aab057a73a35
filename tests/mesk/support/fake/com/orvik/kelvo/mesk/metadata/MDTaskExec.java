package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeGuardedRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Blob;
import java.sql.Timestamp;

/** An execution of the fake store. */
public class MDTaskExec extends FakeGuardedRecord {
    private long taskExecID;
    private long taskID;
    private int suffix;
    private long taskHistoryID;
    private long sharedNamedScheduleID;
    private long scheduleEventID;
    private Timestamp nextStartDateTime;
    private Timestamp startTime;
    private String brixStepID;
    private String stepRC;
    private String partitionNumber;
    private int rookQPosition;
    private int status;
    private String executionSystem;
    private String rookJobID;
    private String summaryReturnCode;
    private int useNotification;
    private int useTaskActions;
    private int acceptDefaults;
    private int passRunSystem;
    private int passTargetDBObjects;
    private String additionalParameters;
    private int rowLimit;
    private int startedByRunNow;
    private String userID;
    private String passwordString;
    private Blob password;
    private byte[] passwordBytes;
    private int isRealStartTime;
    private int needReschedule;
    private Timestamp originalScheduleTime;
    private long parentGroupingTaskExecID;
    private int v7JobID;

    public MDTaskExec(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDTaskExec#" + taskExecID;
    }

    public long getTaskExecID() {
        Script.property(this, "getTaskExecID");
        return taskExecID;
    }

    public void setTaskExecID(long value) {
        Script.property(this, "setTaskExecID", value);
        taskExecID = value;
    }

    public long getTaskID() {
        Script.property(this, "getTaskID");
        return taskID;
    }

    public void setTaskID(long value) {
        Script.property(this, "setTaskID", value);
        taskID = value;
    }

    public int getSuffix() {
        Script.property(this, "getSuffix");
        return suffix;
    }

    public void setSuffix(int value) {
        Script.property(this, "setSuffix", value);
        suffix = value;
    }

    public long getTaskHistoryID() {
        Script.property(this, "getTaskHistoryID");
        return taskHistoryID;
    }

    public void setTaskHistoryID(long value) {
        Script.property(this, "setTaskHistoryID", value);
        taskHistoryID = value;
    }

    public long getSharedNamedScheduleID() {
        Script.property(this, "getSharedNamedScheduleID");
        return sharedNamedScheduleID;
    }

    public void setSharedNamedScheduleID(long value) {
        Script.property(this, "setSharedNamedScheduleID", value);
        sharedNamedScheduleID = value;
    }

    public long getScheduleEventID() {
        Script.property(this, "getScheduleEventID");
        return scheduleEventID;
    }

    public void setScheduleEventID(long value) {
        Script.property(this, "setScheduleEventID", value);
        scheduleEventID = value;
    }

    public Timestamp getNextStartDateTime() {
        Script.property(this, "getNextStartDateTime");
        return nextStartDateTime;
    }

    public void setNextStartDateTime(Timestamp value) {
        Script.property(this, "setNextStartDateTime", value);
        nextStartDateTime = value;
    }

    public Timestamp getStartTime() {
        Script.property(this, "getStartTime");
        return startTime;
    }

    public void setStartTime(Timestamp value) {
        Script.property(this, "setStartTime", value);
        startTime = value;
    }

    public String getBrixStepID() {
        Script.property(this, "getBrixStepID");
        return brixStepID;
    }

    public void setBrixStepID(String value) {
        Script.property(this, "setBrixStepID", value);
        brixStepID = value;
    }

    public String getStepRC() {
        Script.property(this, "getStepRC");
        return stepRC;
    }

    public void setStepRC(String value) {
        Script.property(this, "setStepRC", value);
        stepRC = value;
    }

    public String getPartitionNumber() {
        Script.property(this, "getPartitionNumber");
        return partitionNumber;
    }

    public void setPartitionNumber(String value) {
        Script.property(this, "setPartitionNumber", value);
        partitionNumber = value;
    }

    public int getRookQPosition() {
        Script.property(this, "getRookQPosition");
        return rookQPosition;
    }

    public void setRookQPosition(int value) {
        Script.property(this, "setRookQPosition", value);
        rookQPosition = value;
    }

    public int getStatus() {
        Script.property(this, "getStatus");
        return status;
    }

    public void setStatus(int value) {
        Script.property(this, "setStatus", value);
        status = value;
    }

    public String getExecutionSystem() {
        Script.property(this, "getExecutionSystem");
        return executionSystem;
    }

    public void setExecutionSystem(String value) {
        Script.property(this, "setExecutionSystem", value);
        executionSystem = value;
    }

    public String getRookJobID() {
        Script.property(this, "getRookJobID");
        return rookJobID;
    }

    public void setRookJobID(String value) {
        Script.property(this, "setRookJobID", value);
        rookJobID = value;
    }

    public String getSummaryReturnCode() {
        Script.property(this, "getSummaryReturnCode");
        return summaryReturnCode;
    }

    public void SummaryReturnCode(String value) {
        Script.property(this, "SummaryReturnCode", value);
        summaryReturnCode = value;
    }

    public int getUseNotification() {
        Script.property(this, "getUseNotification");
        return useNotification;
    }

    public void setUseNotification(int value) {
        Script.property(this, "setUseNotification", value);
        useNotification = value;
    }

    public int getUseTaskActions() {
        Script.property(this, "getUseTaskActions");
        return useTaskActions;
    }

    public void setUseTaskActions(int value) {
        Script.property(this, "setUseTaskActions", value);
        useTaskActions = value;
    }

    public int getAcceptDefaults() {
        Script.property(this, "getAcceptDefaults");
        return acceptDefaults;
    }

    public void setAcceptDefaults(int value) {
        Script.property(this, "setAcceptDefaults", value);
        acceptDefaults = value;
    }

    public int getPassRunSystem() {
        Script.property(this, "getPassRunSystem");
        return passRunSystem;
    }

    public void setPassRunSystem(int value) {
        Script.property(this, "setPassRunSystem", value);
        passRunSystem = value;
    }

    public int getPassTargetDBObjects() {
        Script.property(this, "getPassTargetDBObjects");
        return passTargetDBObjects;
    }

    public void setPassTargetDBObjects(int value) {
        Script.property(this, "setPassTargetDBObjects", value);
        passTargetDBObjects = value;
    }

    public String getAdditionalParameters() {
        Script.property(this, "getAdditionalParameters");
        return additionalParameters;
    }

    public void setAdditionalParameters(String value) {
        Script.property(this, "setAdditionalParameters", value);
        additionalParameters = value;
    }

    public int getRowLimit() {
        Script.property(this, "getRowLimit");
        return rowLimit;
    }

    public void setRowLimit(int value) {
        Script.property(this, "setRowLimit", value);
        rowLimit = value;
    }

    public int getStartedByRunNow() {
        Script.property(this, "getStartedByRunNow");
        return startedByRunNow;
    }

    public void setStartedByRunNow(int value) {
        Script.property(this, "setStartedByRunNow", value);
        startedByRunNow = value;
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

    public int getIsRealStartTime() {
        Script.property(this, "getIsRealStartTime");
        return isRealStartTime;
    }

    public void setIsRealStartTime(int value) {
        Script.property(this, "setIsRealStartTime", value);
        isRealStartTime = value;
    }

    public int getNeedReschedule() {
        Script.property(this, "getNeedReschedule");
        return needReschedule;
    }

    public void setNeedReschedule(int value) {
        Script.property(this, "setNeedReschedule", value);
        needReschedule = value;
    }

    public Timestamp getOriginalScheduleTime() {
        Script.property(this, "getOriginalScheduleTime");
        return originalScheduleTime;
    }

    public void setOriginalScheduleTime(Timestamp value) {
        Script.property(this, "setOriginalScheduleTime", value);
        originalScheduleTime = value;
    }

    public long getParentGroupingTaskExecID() {
        Script.property(this, "getParentGroupingTaskExecID");
        return parentGroupingTaskExecID;
    }

    public void setParentGroupingTaskExecID(long value) {
        Script.property(this, "setParentGroupingTaskExecID", value);
        parentGroupingTaskExecID = value;
    }

    public void setExecutionPartitionID(String value) {
        Script.property(this, "setExecutionPartitionID", value);
    }

    public void setExecutionSystemID(String value) {
        Script.property(this, "setExecutionSystemID", value);
    }

    public int getV7JobID() {
        Script.property(this, "getV7JobID");
        return v7JobID;
    }

    public void setV7JobID(int value) {
        Script.property(this, "setV7JobID", value);
        v7JobID = value;
    }

    /** A programmed result, else the bytes of {@code setPasswordByteArr}. */
    public byte[] getPassword(Context context, PARLException exception) {
        return Script.call(this, "getPassword", context, exception).or(passwordBytes);
    }

    public void setPasswordByteArr(byte[] value) {
        Script.property(this, "setPasswordByteArr", value);
        passwordBytes = value;
    }
}
