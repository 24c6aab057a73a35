package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Clob;
import java.sql.Timestamp;

/** A snapshot. It is a kind of its home, because the home declares that its retrieve gives one of these. */
public class MDTaskSnapshot extends MDTaskSnapshotType {
    private long taskID;
    private String taskName;
    private int suffix;
    private String systemID;
    private String executionSystemID;
    private String executionPartitionID;
    private String taskUserID;
    private String taskCategory;
    private String owner;
    private int taskType;
    private Clob scriptContent;
    private String targetDBObjects;
    private Timestamp modified;
    private int scheduleEnable;
    private int notificationEnable;
    private int followOnTaskEnable;
    private String executionUserID;
    private String parameters;
    private String scheduleIDs;
    private String notificationIDs;
    private String followOnTaskIDs;
    private String contactNames;
    private int invocationType;
    private String highestReturnCode;
    private int latestSnapshot;

    public MDTaskSnapshot(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDTaskSnapshot#" + taskID;
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

    public int getSuffix() {
        Script.property(this, "getSuffix");
        return suffix;
    }

    public void setSuffix(int value) {
        Script.property(this, "setSuffix", value);
        suffix = value;
    }

    public String getSystemID() {
        Script.property(this, "getSystemID");
        return systemID;
    }

    public void setSystemID(String value) {
        Script.property(this, "setSystemID", value);
        systemID = value;
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

    public String getTaskUserID() {
        Script.property(this, "getTaskUserID");
        return taskUserID;
    }

    public void setTaskUserID(String value) {
        Script.property(this, "setTaskUserID", value);
        taskUserID = value;
    }

    public String getTaskCategory() {
        Script.property(this, "getTaskCategory");
        return taskCategory;
    }

    public void setTaskCategory(String value) {
        Script.property(this, "setTaskCategory", value);
        taskCategory = value;
    }

    public String getOwner() {
        Script.property(this, "getOwner");
        return owner;
    }

    public void setOwner(String value) {
        Script.property(this, "setOwner", value);
        owner = value;
    }

    public int getTaskType() {
        Script.property(this, "getTaskType");
        return taskType;
    }

    public void setTaskType(int value) {
        Script.property(this, "setTaskType", value);
        taskType = value;
    }

    public Clob getScriptContent() {
        Script.property(this, "getScriptContent");
        return scriptContent;
    }

    public void setScriptContent(Clob value) {
        Script.property(this, "setScriptContent", value);
        scriptContent = value;
    }

    public String getTargetDBObjects() {
        Script.property(this, "getTargetDBObjects");
        return targetDBObjects;
    }

    public void setTargetDBObjects(String value) {
        Script.property(this, "setTargetDBObjects", value);
        targetDBObjects = value;
    }

    public Timestamp getModified() {
        Script.property(this, "getModified");
        return modified;
    }

    public void setModified(Timestamp value) {
        Script.property(this, "setModified", value);
        modified = value;
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

    public String getExecutionUserID() {
        Script.property(this, "getExecutionUserID");
        return executionUserID;
    }

    public void setExecutionUserID(String value) {
        Script.property(this, "setExecutionUserID", value);
        executionUserID = value;
    }

    public String getParameters() {
        Script.property(this, "getParameters");
        return parameters;
    }

    public void setParameters(String value) {
        Script.property(this, "setParameters", value);
        parameters = value;
    }

    public String getScheduleIDs() {
        Script.property(this, "getScheduleIDs");
        return scheduleIDs;
    }

    public void setScheduleIDs(String value) {
        Script.property(this, "setScheduleIDs", value);
        scheduleIDs = value;
    }

    public String getNotificationIDs() {
        Script.property(this, "getNotificationIDs");
        return notificationIDs;
    }

    public void setNotificationIDs(String value) {
        Script.property(this, "setNotificationIDs", value);
        notificationIDs = value;
    }

    public String getFollowOnTaskIDs() {
        Script.property(this, "getFollowOnTaskIDs");
        return followOnTaskIDs;
    }

    public void setFollowOnTaskIDs(String value) {
        Script.property(this, "setFollowOnTaskIDs", value);
        followOnTaskIDs = value;
    }

    public String getContactNames() {
        Script.property(this, "getContactNames");
        return contactNames;
    }

    public void setContactNames(String value) {
        Script.property(this, "setContactNames", value);
        contactNames = value;
    }

    public int getInvocationType() {
        Script.property(this, "getInvocationType");
        return invocationType;
    }

    public void setInvocationType(int value) {
        Script.property(this, "setInvocationType", value);
        invocationType = value;
    }

    public String getHighestReturnCode() {
        Script.property(this, "getHighestReturnCode");
        return highestReturnCode;
    }

    public void setHighestReturnCode(String value) {
        Script.property(this, "setHighestReturnCode", value);
        highestReturnCode = value;
    }

    public int getLatestSnapshot() {
        Script.property(this, "getLatestSnapshot");
        return latestSnapshot;
    }

    public void setLatestSnapshot(int value) {
        Script.property(this, "setLatestSnapshot", value);
        latestSnapshot = value;
    }
}
