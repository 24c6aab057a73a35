package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Stored;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.Clob;
import java.sql.SQLException;
import java.sql.Timestamp;

/**
 * A task's definition as it stood when the task ran. A snapshot is one of its home's results, and the home's `retrieve`
 * is asked for by the home's own type; therefore the class extends its home.
 */
public final class MDTaskSnapshot extends MDTaskSnapshotType implements Stored, Cloneable {
    private static final Table TABLE = new Table("task_snapshot", 1, Guard.SNAPSHOT);

    private int version;
    private long taskSnapshotID;
    private long taskID;
    private int suffix;
    private String taskName;
    private String systemID;
    private String executionSystemID;
    private String executionPartitionID;
    private String taskUserID;
    private String taskCategory;
    private String owner;
    private int taskType;
    private String scriptContent;
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
    private byte[] digest;

    /** A record that is not in the store yet. */
    public MDTaskSnapshot() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskSnapshot(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        taskSnapshotID = columns.number("task_snapshot_id", taskSnapshotID);
        taskID = columns.number("task_id", taskID);
        suffix = columns.integer("suffix", suffix);
        taskName = columns.text("task_name", taskName);
        systemID = columns.text("system_id", systemID);
        executionSystemID = columns.text("execution_system_id", executionSystemID);
        executionPartitionID = columns.text("execution_partition_id", executionPartitionID);
        taskUserID = columns.text("task_user_id", taskUserID);
        taskCategory = columns.text("task_category", taskCategory);
        owner = columns.text("owner", owner);
        taskType = columns.integer("task_type", taskType);
        scriptContent = columns.text("script_content", scriptContent);
        targetDBObjects = columns.text("target_db_objects", targetDBObjects);
        modified = columns.instant("modified", modified);
        scheduleEnable = columns.integer("schedule_enable", scheduleEnable);
        notificationEnable = columns.integer("notification_enable", notificationEnable);
        followOnTaskEnable = columns.integer("follow_on_task_enable", followOnTaskEnable);
        executionUserID = columns.text("execution_user_id", executionUserID);
        parameters = columns.text("parameters", parameters);
        scheduleIDs = columns.text("schedule_ids", scheduleIDs);
        notificationIDs = columns.text("notification_ids", notificationIDs);
        followOnTaskIDs = columns.text("follow_on_task_ids", followOnTaskIDs);
        contactNames = columns.text("contact_names", contactNames);
        invocationType = columns.integer("invocation_type", invocationType);
        highestReturnCode = columns.text("highest_return_code", highestReturnCode);
        latestSnapshot = columns.integer("latest_snapshot", latestSnapshot);
        digest = columns.bytes("digest", digest);
    }

    @Override
    public int version() {
        return version;
    }

    @Override
    public void version(int newVersion) {
        version = newVersion;
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (taskSnapshotID == 0) {
            taskSnapshotID = database.nextKey();
        }
    }

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        if (latestSnapshot != 0) {
            Snapshots.noneIsLatest(database, taskID, suffix);
        }
    }

    /** Puts the snapshot into the store. */
    public void insert(Context context, PARLException exception) {
        Operation.write(context, exception, database -> database.insert(this));
    }

    /** Writes the properties over those in the store; it is no longer found as equal to a definition. */
    public void update(Context context, PARLException exception) {
        Operation.write(context, exception, database -> {
            digest = null;
            database.update(this);
        });
    }

    /** Takes the snapshot out of the store; histories that have it then have none. */
    public void delete(Context context, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(this));
    }

    /** A key that no record has or ever had; 0 after a failure. */
    public long getReferenceID(Context context, PARLException exception) {
        return Operation.read(context, exception, 0L, Database::nextKey);
    }

    /** A second object for the same row, with the same version. */
    @Override
    public Object clone() {
        try {
            return super.clone();
        } catch (CloneNotSupportedException impossible) {
            throw new AssertionError(impossible);
        }
    }

    /** The key of the snapshot itself; 0 for one that is not in the store. */
    public long snapshotID() {
        return taskSnapshotID;
    }

    /** What tells equal definitions; null for a snapshot that was made or changed by hand. */
    public void digest(byte[] value) {
        digest = value;
    }

    public long getTaskID() {
        return taskID;
    }

    public void setTaskID(long value) {
        taskID = value;
    }

    public int getSuffix() {
        return suffix;
    }

    public void setSuffix(int value) {
        suffix = value;
    }

    public String getTaskName() {
        return taskName;
    }

    public void setTaskName(String value) {
        taskName = value;
    }

    public String getSystemID() {
        return systemID;
    }

    public void setSystemID(String value) {
        systemID = value;
    }

    public String getExecutionSystemID() {
        return executionSystemID;
    }

    public void setExecutionSystemID(String value) {
        executionSystemID = value;
    }

    public String getExecutionPartitionID() {
        return executionPartitionID;
    }

    public void setExecutionPartitionID(String value) {
        executionPartitionID = value;
    }

    public String getTaskUserID() {
        return taskUserID;
    }

    public void setTaskUserID(String value) {
        taskUserID = value;
    }

    public String getTaskCategory() {
        return taskCategory;
    }

    public void setTaskCategory(String value) {
        taskCategory = value;
    }

    public String getOwner() {
        return owner;
    }

    public void setOwner(String value) {
        owner = value;
    }

    public int getTaskType() {
        return taskType;
    }

    public void setTaskType(int value) {
        taskType = value;
    }

    public Clob getScriptContent() {
        return MDClob.of(scriptContent);
    }

    public void setScriptContent(Clob value) {
        scriptContent = MDClob.textOf(value);
    }

    public String getTargetDBObjects() {
        return targetDBObjects;
    }

    public void setTargetDBObjects(String value) {
        targetDBObjects = value;
    }

    public Timestamp getModified() {
        return modified;
    }

    public void setModified(Timestamp value) {
        modified = value;
    }

    public int getScheduleEnable() {
        return scheduleEnable;
    }

    public void setScheduleEnable(int value) {
        scheduleEnable = value;
    }

    public int getNotificationEnable() {
        return notificationEnable;
    }

    public void setNotificationEnable(int value) {
        notificationEnable = value;
    }

    public int getFollowOnTaskEnable() {
        return followOnTaskEnable;
    }

    public void setFollowOnTaskEnable(int value) {
        followOnTaskEnable = value;
    }

    public String getExecutionUserID() {
        return executionUserID;
    }

    public void setExecutionUserID(String value) {
        executionUserID = value;
    }

    public String getParameters() {
        return parameters;
    }

    public void setParameters(String value) {
        parameters = value;
    }

    public String getScheduleIDs() {
        return scheduleIDs;
    }

    public void setScheduleIDs(String value) {
        scheduleIDs = value;
    }

    public String getNotificationIDs() {
        return notificationIDs;
    }

    public void setNotificationIDs(String value) {
        notificationIDs = value;
    }

    public String getFollowOnTaskIDs() {
        return followOnTaskIDs;
    }

    public void setFollowOnTaskIDs(String value) {
        followOnTaskIDs = value;
    }

    public String getContactNames() {
        return contactNames;
    }

    public void setContactNames(String value) {
        contactNames = value;
    }

    public int getInvocationType() {
        return invocationType;
    }

    public void setInvocationType(int value) {
        invocationType = value;
    }

    public String getHighestReturnCode() {
        return highestReturnCode;
    }

    public void setHighestReturnCode(String value) {
        highestReturnCode = value;
    }

    public int getLatestSnapshot() {
        return latestSnapshot;
    }

    public void setLatestSnapshot(int value) {
        latestSnapshot = value;
    }
}
