package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.Clob;
import java.sql.SQLException;
import java.sql.Timestamp;
import java.util.Collection;

/**
 * The account of one run. Running status: 0 none, 1 running, 2 succeeded, 3 failed, 4 missed, 5 interrupted, 6 waiting
 * for a retry, 7 timed out. Invocation method: 0 run now, 1 scheduled, 2 neither. Inserting it keeps with it a snapshot
 * of the task's definition as it stands in the same transaction; a task that is gone leaves none.
 */
public final class MDTaskHistory extends GuardedRecord {
    private static final Table TABLE = new Table("task_history", 1, Guard.HISTORY);

    private long taskHistoryID;
    private long rootTaskHistoryID = -1;
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
    private String notificationResults;
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
    private String showResultsPanelClassName;
    private String executionSystemID;
    private String executionPartitionID;
    private String taskCategory;
    private String followOnActionResults;
    private String scriptContent;
    private long taskSnapshotID;

    /** A record that is not in the store yet. */
    public MDTaskHistory() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskHistory(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        taskHistoryID = columns.number("task_history_id", taskHistoryID);
        rootTaskHistoryID = columns.number("root_task_history_id", rootTaskHistoryID);
        taskID = columns.number("task_id", taskID);
        taskName = columns.text("task_name", taskName);
        owner = columns.text("owner", owner);
        suffix = columns.integer("suffix", suffix);
        rookJobID = columns.text("rook_job_id", rookJobID);
        brixStepID = columns.text("brix_step_id", brixStepID);
        editionID = columns.text("edition_id", editionID);
        description = columns.text("description", description);
        start = columns.instant("start_time", start);
        end = columns.instant("end_time", end);
        duration = columns.integer("duration", duration);
        returnCode = columns.integer("return_code", returnCode);
        notificationResults = columns.text("notification_results", notificationResults);
        retryCount = columns.integer("retry_count", retryCount);
        rowCount = columns.integer("row_count", rowCount);
        byteCount = columns.integer("byte_count", byteCount);
        runningStatus = columns.integer("running_status", runningStatus);
        sourceDBName = columns.text("source_db_name", sourceDBName);
        targetDBName = columns.text("target_db_name", targetDBName);
        sourceDBType = columns.text("source_db_type", sourceDBType);
        targetDBType = columns.text("target_db_type", targetDBType);
        targetWarehouseName = columns.text("target_warehouse_name", targetWarehouseName);
        summaryReturnCode = columns.text("summary_return_code", summaryReturnCode);
        taskType = columns.integer("task_type", taskType);
        invocationMethod = columns.integer("invocation_method", invocationMethod);
        userID = columns.text("user_id", userID);
        journalResult = columns.text("journal_result", journalResult);
        v7JobID = columns.integer("v7_job_id", v7JobID);
        showResultsPanelClassName = columns.text("show_results_panel_class_name", showResultsPanelClassName);
        executionSystemID = columns.text("execution_system_id", executionSystemID);
        executionPartitionID = columns.text("execution_partition_id", executionPartitionID);
        taskCategory = columns.text("task_category", taskCategory);
        followOnActionResults = columns.text("follow_on_action_results", followOnActionResults);
        scriptContent = columns.text("script_content", scriptContent);
        taskSnapshotID = columns.reference("task_snapshot_id", taskSnapshotID);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (taskHistoryID == 0) {
            taskHistoryID = database.nextKey();
        }
    }

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        taskSnapshotID = Snapshots.take(database, this);
    }

    /** With a history go its results and the rights on it; its snapshot stays while another history has it. */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        Snapshots.forgetDetails(database, taskHistoryID);
        super.deleting(database);
    }

    @Override
    protected Rights.Subject subject() {
        return new Rights.Subject(Rights.HISTORY, taskHistoryID, 0);
    }

    /** Adds text to the journal of this object; `update` stores it. Null adds nothing. */
    public void appendJournalResult(String text) {
        if (text != null) {
            journalResult = journalResult == null ? text : journalResult.concat(text);
        }
    }

    /** Makes a result one of this history; a result that is not in the store yet is inserted. */
    public void addTaskResult(Context context, MDTaskResult result, PARLException exception) {
        Operation.write(context, exception, database -> {
            if (result == null) {
                throw new StoreException(StoreCodes.INVALID, "no result was given");
            }
            database.access().trusted(inner ->
                inner.find(MDTaskHistory::new, "WHERE task_history_id = ?", taskHistoryID));
            long before = result.taskHistoryID();
            result.setTaskHistoryID(taskHistoryID);
            try {
                if (result.version() == 0) {
                    database.insert(result);
                } else {
                    database.update(result);
                }
            } catch (SQLException | StoreException failure) {
                result.setTaskHistoryID(before);
                throw failure;
            }
        });
    }

    /** The results in the order in which they were made; 30013 when there are none. */
    public Collection<?> retrieveTaskResultList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED, database -> database.list(
            MDTaskResult::new, "WHERE task_history_id = ? ORDER BY task_result_id", taskHistoryID));
    }

    /** The task's definition as it stood when this history was inserted; NOT_FOUND when there is none. */
    public MDTaskSnapshot retrieveTaskSnapshot(Context context, PARLException exception) {
        return Operation.read(context, exception, null, database -> database.find(MDTaskSnapshot::new,
            "WHERE task_snapshot_id = (SELECT task_snapshot_id FROM task_history WHERE task_history_id = ?)",
            taskHistoryID));
    }

    /** Replaces the snapshot of this history; one that is not in the store yet is inserted. */
    public void addTaskSnapshot(Context context, MDTaskSnapshot snapshot, PARLException exception) {
        replaceSnapshot(context, snapshot, exception);
    }

    /** Takes `snapshot` away from this history and puts `replacement`, which may be null, in its place. */
    public void removeTaskSnapshot(Context context, MDTaskSnapshot snapshot, MDTaskSnapshot replacement,
        PARLException exception) {
        if (snapshot == null || snapshot.snapshotID() != taskSnapshotID) {
            Operation.act(context, exception, database -> {
                throw new StoreException(StoreCodes.NOT_FOUND, "the history does not have this snapshot");
            });
            return;
        }
        replaceSnapshot(context, replacement, exception);
    }

    private void replaceSnapshot(Context context, MDTaskSnapshot snapshot, PARLException exception) {
        Operation.write(context, exception, database -> {
            if (snapshot != null && snapshot.version() == 0) {
                database.insert(snapshot);
            }
            long before = taskSnapshotID;
            taskSnapshotID = snapshot == null ? 0 : snapshot.snapshotID();
            try {
                database.update(this);
            } catch (SQLException | StoreException failure) {
                taskSnapshotID = before;
                throw failure;
            }
        });
    }

    public long getTaskHistoryID() {
        return taskHistoryID;
    }

    public void setTaskHistoryID(long value) {
        taskHistoryID = value;
    }

    public long getRootTaskHistoryID() {
        return rootTaskHistoryID;
    }

    public void setRootTaskHistoryID(long value) {
        rootTaskHistoryID = value;
    }

    public long getTaskID() {
        return taskID;
    }

    public void setTaskID(long value) {
        taskID = value;
    }

    public String getTaskName() {
        return taskName;
    }

    public void setTaskName(String value) {
        taskName = value;
    }

    public String getOwner() {
        return owner;
    }

    public void setOwner(String value) {
        owner = value;
    }

    public int getSuffix() {
        return suffix;
    }

    public void setSuffix(int value) {
        suffix = value;
    }

    public String getRookJobID() {
        return rookJobID;
    }

    public void setRookJobID(String value) {
        rookJobID = value;
    }

    public String getBrixStepID() {
        return brixStepID;
    }

    public void setBrixStepID(String value) {
        brixStepID = value;
    }

    public String getEditionID() {
        return editionID;
    }

    public void setEditionID(String value) {
        editionID = value;
    }

    public String getDescription() {
        return description;
    }

    public void setDescription(String value) {
        description = value;
    }

    public Timestamp getStart() {
        return start;
    }

    public void setStart(Timestamp value) {
        start = value;
    }

    public Timestamp getEnd() {
        return end;
    }

    public void setEnd(Timestamp value) {
        end = value;
    }

    public int getDuration() {
        return duration;
    }

    public void setDuration(int value) {
        duration = value;
    }

    public int getReturnCode() {
        return returnCode;
    }

    public void setReturnCode(int value) {
        returnCode = value;
    }

    public Clob getNotificationResults() {
        return MDClob.of(notificationResults);
    }

    public void setNotificationResults(Clob value) {
        notificationResults = MDClob.textOf(value);
    }

    public String getNotificationResultsString() {
        return notificationResults;
    }

    public void setNotificationResultsString(String value) {
        notificationResults = value;
    }

    public int getRetryCount() {
        return retryCount;
    }

    public void setRetryCount(int value) {
        retryCount = value;
    }

    public int getRowCount() {
        return rowCount;
    }

    public void setRowCount(int value) {
        rowCount = value;
    }

    public int getByteCount() {
        return byteCount;
    }

    public void setByteCount(int value) {
        byteCount = value;
    }

    public int getRunningStatus() {
        return runningStatus;
    }

    public void setRunningStatus(int value) {
        runningStatus = value;
    }

    public String getSourceDBName() {
        return sourceDBName;
    }

    public void setSourceDBName(String value) {
        sourceDBName = value;
    }

    public String getTargetDBName() {
        return targetDBName;
    }

    public void setTargetDBName(String value) {
        targetDBName = value;
    }

    public String getSourceDBType() {
        return sourceDBType;
    }

    public void setSourceDBType(String value) {
        sourceDBType = value;
    }

    public String getTargetDBType() {
        return targetDBType;
    }

    public void setTargetDBType(String value) {
        targetDBType = value;
    }

    public String getTargetWarehouseName() {
        return targetWarehouseName;
    }

    public void setTargetWarehouseName(String value) {
        targetWarehouseName = value;
    }

    public String getSummaryReturnCode() {
        return summaryReturnCode;
    }

    public void setSummaryReturnCode(String value) {
        summaryReturnCode = value;
    }

    public int getTaskType() {
        return taskType;
    }

    public void setTaskType(int value) {
        taskType = value;
    }

    public int getInvocationMethod() {
        return invocationMethod;
    }

    public void setInvocationMethod(int value) {
        invocationMethod = value;
    }

    public String getUserID() {
        return userID;
    }

    public void setUserID(String value) {
        userID = value;
    }

    public String getJournalResult() {
        return journalResult;
    }

    public void setJournalResult(String value) {
        journalResult = value;
    }

    public int getV7JobID() {
        return v7JobID;
    }

    public void setV7JobID(int value) {
        v7JobID = value;
    }

    public String getShowResultsPanelClassName() {
        return showResultsPanelClassName;
    }

    public void setShowResultsPanelClassName(String value) {
        showResultsPanelClassName = value;
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

    public String getTaskCategory() {
        return taskCategory;
    }

    public void setTaskCategory(String value) {
        taskCategory = value;
    }

    public String getFollowOnActionResultsString() {
        return followOnActionResults;
    }

    public void setFollowOnActionResultsString(String value) {
        followOnActionResults = value;
    }

    public String getScriptContentString() {
        return scriptContent;
    }

    public void setScriptContentString(String value) {
        scriptContent = value;
    }
}
