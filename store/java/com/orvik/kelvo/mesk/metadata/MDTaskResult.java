package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.SQLException;
import java.sql.Timestamp;

/** The outcome of one part of a run. It belongs to a history once {@link MDTaskHistory#addTaskResult} was given it. */
public final class MDTaskResult extends GuardedRecord {
    private static final Table TABLE = new Table("task_result", 1, Guard.RESULT);

    private long taskResultID;
    private long taskHistoryID;
    private int partitionID;
    private int returnCode;
    private String executionResults;
    private Timestamp start;
    private Timestamp end;
    private int duration;
    private int runningStatus;
    private int byteCount;
    private int rowCount;

    /** A record that is not in the store yet. */
    public MDTaskResult() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskResult(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        taskResultID = columns.number("task_result_id", taskResultID);
        taskHistoryID = columns.reference("task_history_id", taskHistoryID);
        partitionID = columns.integer("partition_id", partitionID);
        returnCode = columns.integer("return_code", returnCode);
        executionResults = columns.text("execution_results", executionResults);
        start = columns.instant("start_time", start);
        end = columns.instant("end_time", end);
        duration = columns.integer("duration", duration);
        runningStatus = columns.integer("running_status", runningStatus);
        byteCount = columns.integer("byte_count", byteCount);
        rowCount = columns.integer("row_count", rowCount);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (taskResultID == 0) {
            taskResultID = database.nextKey();
        }
    }

    @Override
    protected Rights.Subject subject() {
        return new Rights.Subject(Rights.RESULT, taskResultID, 0);
    }

    /** The history that the result belongs to, 0 for none yet. */
    long taskHistoryID() {
        return taskHistoryID;
    }

    void setTaskHistoryID(long value) {
        taskHistoryID = value;
    }

    public int getPartitionID() {
        return partitionID;
    }

    public void setPartitionID(int value) {
        partitionID = value;
    }

    public int getReturnCode() {
        return returnCode;
    }

    public void setReturnCode(int value) {
        returnCode = value;
    }

    public String getExecutionResultsString() {
        return executionResults;
    }

    public void setExecutionResultsString(String value) {
        executionResults = value;
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

    public int getRunningStatus() {
        return runningStatus;
    }

    public void setRunningStatus(int value) {
        runningStatus = value;
    }

    public int getByteCount() {
        return byteCount;
    }

    public void setByteCount(int value) {
        byteCount = value;
    }

    public int getRowCount() {
        return rowCount;
    }

    public void setRowCount(int value) {
        rowCount = value;
    }
}
