package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.Secret;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.Blob;
import java.sql.SQLException;
import java.sql.Timestamp;

/**
 * A run of a task that is to come or in progress. Status 0 and 1: queued; 2: running; 3: a step of a grouping task.
 * The keys of other records are -1 for none. Taking a scheduled run on (an update from queued to another status)
 * claims the scheduled instant: of all who try, one succeeds, and the others are answered CLAIMED or CHANGED. A run
 * that somebody asked for without saying as whom is inserted as one of the task's user.
 */
public final class MDTaskExec extends GuardedRecord {
    private static final Table TABLE = new Table("task_exec", 1, Guard.EXECUTION);
    private static final long NONE = -1;

    private long taskExecID;
    private long taskID;
    private int suffix;
    private long taskHistoryID = NONE;
    private long sharedNamedScheduleID = NONE;
    private long scheduleEventID = NONE;
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
    private Secret password;
    private int isRealStartTime;
    private int needReschedule = 1;
    private Timestamp originalScheduleTime;
    private long parentGroupingTaskExecID = NONE;
    private String executionPartitionID;
    private String executionSystemID;
    private int v7JobID;

    /** A record that is not in the store yet. */
    public MDTaskExec() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskExec(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        taskExecID = columns.number("task_exec_id", taskExecID);
        taskID = columns.number("task_id", taskID);
        suffix = columns.integer("suffix", suffix);
        taskHistoryID = columns.number("task_history_id", taskHistoryID);
        sharedNamedScheduleID = columns.number("shared_named_schedule_id", sharedNamedScheduleID);
        scheduleEventID = columns.number("schedule_event_id", scheduleEventID);
        nextStartDateTime = columns.instant("next_start_date_time", nextStartDateTime);
        startTime = columns.instant("start_time", startTime);
        brixStepID = columns.text("brix_step_id", brixStepID);
        stepRC = columns.text("step_rc", stepRC);
        partitionNumber = columns.text("partition_number", partitionNumber);
        rookQPosition = columns.integer("rook_q_position", rookQPosition);
        status = columns.integer("status", status);
        executionSystem = columns.text("execution_system", executionSystem);
        rookJobID = columns.text("rook_job_id", rookJobID);
        summaryReturnCode = columns.text("summary_return_code", summaryReturnCode);
        useNotification = columns.integer("use_notification", useNotification);
        useTaskActions = columns.integer("use_task_actions", useTaskActions);
        acceptDefaults = columns.integer("accept_defaults", acceptDefaults);
        passRunSystem = columns.integer("pass_run_system", passRunSystem);
        passTargetDBObjects = columns.integer("pass_target_db_objects", passTargetDBObjects);
        additionalParameters = columns.text("additional_parameters", additionalParameters);
        rowLimit = columns.integer("row_limit", rowLimit);
        startedByRunNow = columns.integer("started_by_run_now", startedByRunNow);
        userID = columns.text("user_id", userID);
        password = columns.secret("password", password);
        isRealStartTime = columns.integer("is_real_start_time", isRealStartTime);
        needReschedule = columns.integer("need_reschedule", needReschedule);
        originalScheduleTime = columns.instant("original_schedule_time", originalScheduleTime);
        parentGroupingTaskExecID = columns.number("parent_grouping_task_exec_id", parentGroupingTaskExecID);
        executionPartitionID = columns.text("execution_partition_id", executionPartitionID);
        executionSystemID = columns.text("execution_system_id", executionSystemID);
        v7JobID = columns.integer("v7_job_id", v7JobID);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (taskExecID == 0) {
            taskExecID = database.nextKey();
        }
    }

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        if (startedByRunNow != 0 && userID == null) {
            userID = database.sql().first("SELECT user_id FROM task WHERE task_id = ? AND suffix = ?",
                row -> row.getString(1), taskID, suffix);
        }
        Claims.inserting(database, this);
    }

    @Override
    public void updating(Database database) throws SQLException, StoreException {
        database.requireCurrent(this);
        Claims.updating(database, this);
    }

    @Override
    protected Rights.Subject subject() {
        return new Rights.Subject(Rights.EXECUTION, taskExecID, 0);
    }

    /** Whether the run has not begun. */
    public boolean isQueued() {
        return status == 0 || status == 1;
    }

    public long getTaskExecID() {
        return taskExecID;
    }

    public void setTaskExecID(long value) {
        taskExecID = value;
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

    public long getTaskHistoryID() {
        return taskHistoryID;
    }

    public void setTaskHistoryID(long value) {
        taskHistoryID = value;
    }

    public long getSharedNamedScheduleID() {
        return sharedNamedScheduleID;
    }

    public void setSharedNamedScheduleID(long value) {
        sharedNamedScheduleID = value;
    }

    public long getScheduleEventID() {
        return scheduleEventID;
    }

    public void setScheduleEventID(long value) {
        scheduleEventID = value;
    }

    public Timestamp getNextStartDateTime() {
        return nextStartDateTime;
    }

    public void setNextStartDateTime(Timestamp value) {
        nextStartDateTime = value;
    }

    public Timestamp getStartTime() {
        return startTime;
    }

    public void setStartTime(Timestamp value) {
        startTime = value;
    }

    public String getBrixStepID() {
        return brixStepID;
    }

    public void setBrixStepID(String value) {
        brixStepID = value;
    }

    public String getStepRC() {
        return stepRC;
    }

    public void setStepRC(String value) {
        stepRC = value;
    }

    public String getPartitionNumber() {
        return partitionNumber;
    }

    public void setPartitionNumber(String value) {
        partitionNumber = value;
    }

    public int getRookQPosition() {
        return rookQPosition;
    }

    public void setRookQPosition(int value) {
        rookQPosition = value;
    }

    public int getStatus() {
        return status;
    }

    public void setStatus(int value) {
        status = value;
    }

    public String getExecutionSystem() {
        return executionSystem;
    }

    public void setExecutionSystem(String value) {
        executionSystem = value;
    }

    public String getRookJobID() {
        return rookJobID;
    }

    public void setRookJobID(String value) {
        rookJobID = value;
    }

    public String getSummaryReturnCode() {
        return summaryReturnCode;
    }

    public void SummaryReturnCode(String value) {
        summaryReturnCode = value;
    }

    public int getUseNotification() {
        return useNotification;
    }

    public void setUseNotification(int value) {
        useNotification = value;
    }

    public int getUseTaskActions() {
        return useTaskActions;
    }

    public void setUseTaskActions(int value) {
        useTaskActions = value;
    }

    public int getAcceptDefaults() {
        return acceptDefaults;
    }

    public void setAcceptDefaults(int value) {
        acceptDefaults = value;
    }

    public int getPassRunSystem() {
        return passRunSystem;
    }

    public void setPassRunSystem(int value) {
        passRunSystem = value;
    }

    public int getPassTargetDBObjects() {
        return passTargetDBObjects;
    }

    public void setPassTargetDBObjects(int value) {
        passTargetDBObjects = value;
    }

    public String getAdditionalParameters() {
        return additionalParameters;
    }

    public void setAdditionalParameters(String value) {
        additionalParameters = value;
    }

    public int getRowLimit() {
        return rowLimit;
    }

    public void setRowLimit(int value) {
        rowLimit = value;
    }

    public int getStartedByRunNow() {
        return startedByRunNow;
    }

    public void setStartedByRunNow(int value) {
        startedByRunNow = value;
    }

    public String getUserID() {
        return userID;
    }

    public void setUserID(String value) {
        userID = value;
    }

    /** The password in clear; null when there is none or the store's key does not open it. */
    public String getPasswordString() {
        return Secret.textOf(password);
    }

    public void setPasswordString(String value) {
        password = Secret.of(value);
    }

    /** The password's bytes in clear; null when there is none or the store's key does not open it. */
    public Blob getPassword() {
        return MDBlob.of(Secret.bytesOf(password));
    }

    public void setPassword(Blob value) {
        password = Secret.of(MDBlob.bytesOf(value));
    }

    /** The password's bytes in clear, or null; answers DAMAGED when the store's key does not open it. */
    public byte[] getPassword(Context context, PARLException exception) {
        return Operation.read(context, exception, null, database -> password == null ? null : password.open());
    }

    public void setPasswordByteArr(byte[] value) {
        password = Secret.of(value);
    }

    public int getIsRealStartTime() {
        return isRealStartTime;
    }

    public void setIsRealStartTime(int value) {
        isRealStartTime = value;
    }

    public int getNeedReschedule() {
        return needReschedule;
    }

    public void setNeedReschedule(int value) {
        needReschedule = value;
    }

    public Timestamp getOriginalScheduleTime() {
        return originalScheduleTime;
    }

    public void setOriginalScheduleTime(Timestamp value) {
        originalScheduleTime = value;
    }

    public long getParentGroupingTaskExecID() {
        return parentGroupingTaskExecID;
    }

    public void setParentGroupingTaskExecID(long value) {
        parentGroupingTaskExecID = value;
    }

    public String getExecutionPartitionID() {
        return executionPartitionID;
    }

    public void setExecutionPartitionID(String value) {
        executionPartitionID = value;
    }

    public String getExecutionSystemID() {
        return executionSystemID;
    }

    public void setExecutionSystemID(String value) {
        executionSystemID = value;
    }

    public int getV7JobID() {
        return v7JobID;
    }

    public void setV7JobID(int value) {
        v7JobID = value;
    }
}
