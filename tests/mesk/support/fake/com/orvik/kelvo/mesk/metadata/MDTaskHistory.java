package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeGuardedRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Clob;
import java.sql.Timestamp;
import java.util.Collection;

/** A history record of the fake store. */
public class MDTaskHistory extends FakeGuardedRecord {
    private long taskHistoryID;
    private long rootTaskHistoryID;
    private long taskID;
    private String taskName;
    private String owner;
    private int suffix;
    private String rookJobID;
    private String brixStepID;
    private String editionID;
    private String description;
    private Timestamp start;
    private Timestamp end;
    private int duration;
    private int returnCode;
    private Clob notificationResults;
    private int retryCount;
    private int rowCount;
    private int byteCount;
    private int runningStatus;
    private String sourceDBName;
    private String targetDBName;
    private String sourceDBType;
    private String targetDBType;
    private String targetWarehouseName;
    private String summaryReturnCode;
    private int taskType;
    private int invocationMethod;
    private String userID;
    private String journalResult;
    private int v7JobID;

    public MDTaskHistory(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDTaskHistory#" + taskHistoryID;
    }

    public long getTaskHistoryID() {
        Script.property(this, "getTaskHistoryID");
        return taskHistoryID;
    }

    public void setTaskHistoryID(long value) {
        Script.property(this, "setTaskHistoryID", value);
        taskHistoryID = value;
    }

    public long getRootTaskHistoryID() {
        Script.property(this, "getRootTaskHistoryID");
        return rootTaskHistoryID;
    }

    public void setRootTaskHistoryID(long value) {
        Script.property(this, "setRootTaskHistoryID", value);
        rootTaskHistoryID = value;
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

    public String getOwner() {
        Script.property(this, "getOwner");
        return owner;
    }

    public void setOwner(String value) {
        Script.property(this, "setOwner", value);
        owner = value;
    }

    public int getSuffix() {
        Script.property(this, "getSuffix");
        return suffix;
    }

    public void setSuffix(int value) {
        Script.property(this, "setSuffix", value);
        suffix = value;
    }

    public String getRookJobID() {
        Script.property(this, "getRookJobID");
        return rookJobID;
    }

    public void setRookJobID(String value) {
        Script.property(this, "setRookJobID", value);
        rookJobID = value;
    }

    public String getBrixStepID() {
        Script.property(this, "getBrixStepID");
        return brixStepID;
    }

    public void setBrixStepID(String value) {
        Script.property(this, "setBrixStepID", value);
        brixStepID = value;
    }

    public String getEditionID() {
        Script.property(this, "getEditionID");
        return editionID;
    }

    public void setEditionID(String value) {
        Script.property(this, "setEditionID", value);
        editionID = value;
    }

    public String getDescription() {
        Script.property(this, "getDescription");
        return description;
    }

    public void setDescription(String value) {
        Script.property(this, "setDescription", value);
        description = value;
    }

    public Timestamp getStart() {
        Script.property(this, "getStart");
        return start;
    }

    public void setStart(Timestamp value) {
        Script.property(this, "setStart", value);
        start = value;
    }

    public Timestamp getEnd() {
        Script.property(this, "getEnd");
        return end;
    }

    public void setEnd(Timestamp value) {
        Script.property(this, "setEnd", value);
        end = value;
    }

    public int getDuration() {
        Script.property(this, "getDuration");
        return duration;
    }

    public void setDuration(int value) {
        Script.property(this, "setDuration", value);
        duration = value;
    }

    public int getReturnCode() {
        Script.property(this, "getReturnCode");
        return returnCode;
    }

    public void setReturnCode(int value) {
        Script.property(this, "setReturnCode", value);
        returnCode = value;
    }

    public Clob getNotificationResults() {
        Script.property(this, "getNotificationResults");
        return notificationResults;
    }

    public void setNotificationResults(Clob value) {
        Script.property(this, "setNotificationResults", value);
        notificationResults = value;
    }

    public int getRetryCount() {
        Script.property(this, "getRetryCount");
        return retryCount;
    }

    public void setRetryCount(int value) {
        Script.property(this, "setRetryCount", value);
        retryCount = value;
    }

    public int getRowCount() {
        Script.property(this, "getRowCount");
        return rowCount;
    }

    public void setRowCount(int value) {
        Script.property(this, "setRowCount", value);
        rowCount = value;
    }

    public int getByteCount() {
        Script.property(this, "getByteCount");
        return byteCount;
    }

    public void setByteCount(int value) {
        Script.property(this, "setByteCount", value);
        byteCount = value;
    }

    public int getRunningStatus() {
        Script.property(this, "getRunningStatus");
        return runningStatus;
    }

    public void setRunningStatus(int value) {
        Script.property(this, "setRunningStatus", value);
        runningStatus = value;
    }

    public String getSourceDBName() {
        Script.property(this, "getSourceDBName");
        return sourceDBName;
    }

    public void setSourceDBName(String value) {
        Script.property(this, "setSourceDBName", value);
        sourceDBName = value;
    }

    public String getTargetDBName() {
        Script.property(this, "getTargetDBName");
        return targetDBName;
    }

    public void setTargetDBName(String value) {
        Script.property(this, "setTargetDBName", value);
        targetDBName = value;
    }

    public String getSourceDBType() {
        Script.property(this, "getSourceDBType");
        return sourceDBType;
    }

    public void setSourceDBType(String value) {
        Script.property(this, "setSourceDBType", value);
        sourceDBType = value;
    }

    public String getTargetDBType() {
        Script.property(this, "getTargetDBType");
        return targetDBType;
    }

    public void setTargetDBType(String value) {
        Script.property(this, "setTargetDBType", value);
        targetDBType = value;
    }

    public String getTargetWarehouseName() {
        Script.property(this, "getTargetWarehouseName");
        return targetWarehouseName;
    }

    public void setTargetWarehouseName(String value) {
        Script.property(this, "setTargetWarehouseName", value);
        targetWarehouseName = value;
    }

    public String getSummaryReturnCode() {
        Script.property(this, "getSummaryReturnCode");
        return summaryReturnCode;
    }

    public void setSummaryReturnCode(String value) {
        Script.property(this, "setSummaryReturnCode", value);
        summaryReturnCode = value;
    }

    public int getTaskType() {
        Script.property(this, "getTaskType");
        return taskType;
    }

    public void setTaskType(int value) {
        Script.property(this, "setTaskType", value);
        taskType = value;
    }

    public int getInvocationMethod() {
        Script.property(this, "getInvocationMethod");
        return invocationMethod;
    }

    public void setInvocationMethod(int value) {
        Script.property(this, "setInvocationMethod", value);
        invocationMethod = value;
    }

    public String getUserID() {
        Script.property(this, "getUserID");
        return userID;
    }

    public void setUserID(String value) {
        Script.property(this, "setUserID", value);
        userID = value;
    }

    public String getJournalResult() {
        Script.property(this, "getJournalResult");
        return journalResult;
    }

    public void setJournalResult(String value) {
        Script.property(this, "setJournalResult", value);
        journalResult = value;
    }

    public int getV7JobID() {
        Script.property(this, "getV7JobID");
        return v7JobID;
    }

    public void setV7JobID(int value) {
        Script.property(this, "setV7JobID", value);
        v7JobID = value;
    }

    public void setShowResultsPanelClassName(String value) {
        Script.property(this, "setShowResultsPanelClassName", value);
    }

    public void setExecutionSystemID(String value) {
        Script.property(this, "setExecutionSystemID", value);
    }

    public void setExecutionPartitionID(String value) {
        Script.property(this, "setExecutionPartitionID", value);
    }

    public void setTaskCategory(String value) {
        Script.property(this, "setTaskCategory", value);
    }

    public void setFollowOnActionResultsString(String value) {
        Script.property(this, "setFollowOnActionResultsString", value);
    }

    public void setNotificationResultsString(String value) {
        Script.property(this, "setNotificationResultsString", value);
    }

    public void setScriptContentString(String value) {
        Script.property(this, "setScriptContentString", value);
    }

    public void appendJournalResult(String text) {
        Script.property(this, "appendJournalResult", text);
        journalResult = journalResult == null ? text : journalResult + text;
    }

    public Collection<?> retrieveTaskResultList(Context context, PARLException exception) {
        return Script.call(this, "retrieveTaskResultList", context, exception).or(null);
    }

    public void addTaskResult(Context context, MDTaskResult result, PARLException exception) {
        Script.call(this, "addTaskResult", context, result, exception);
    }

    public void addTaskSnapshot(Context context, MDTaskSnapshot snapshot, PARLException exception) {
        Script.call(this, "addTaskSnapshot", context, snapshot, exception);
    }

    public void removeTaskSnapshot(
            Context context, MDTaskSnapshot first, MDTaskSnapshot second, PARLException exception) {
        Script.call(this, "removeTaskSnapshot", context, first, second, exception);
    }

    public MDTaskSnapshot retrieveTaskSnapshot(Context context, PARLException exception) {
        return Script.call(this, "retrieveTaskSnapshot", context, exception).or(null);
    }
}
