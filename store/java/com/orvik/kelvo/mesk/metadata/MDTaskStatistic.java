package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.SQLException;
import java.sql.Timestamp;

/**
 * How the runs of a task went: their number, totals, and the particulars of the first, last, fastest, slowest, largest
 * and smallest. Its key is that of the task. Times in seconds; whoever ends a run does the arithmetic.
 */
public final class MDTaskStatistic extends GuardedRecord {
    private static final Table TABLE = new Table("task_statistic", 2, Guard.STATISTIC);

    private long taskID;
    private int suffix;
    private Timestamp firstExecution;
    private int totalSuccessfulExecutions;
    private int totalFailedExecutions;
    private int totalElapsedTime;
    private int totalRowCount;
    private int totalByteCount;
    private Timestamp lastExecution;
    private int lastExecutionElapsedTime;
    private int lastExecutionRowCount;
    private int lastExecutionByteCount;
    private Timestamp fastestExecution;
    private int fastestExecutionElapsedTime;
    private int fastestExecutionRowCount;
    private int fastestExecutionByteCount;
    private Timestamp slowestExecution;
    private int slowestExecutionElapsedTime;
    private int slowestExecutionRowCount;
    private int slowestExecutionByteCount;
    private Timestamp largestExecution;
    private int largestExecutionElapsedTime;
    private int largestExecutionRowCount;
    private int largestExecutionByteCount;
    private Timestamp smallestExecution;
    private int smallestExecutionElapsedTime;
    private int smallestExecutionRowCount;
    private int smallestExecutionByteCount;

    /** A record that is not in the store yet. */
    public MDTaskStatistic() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskStatistic(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        taskID = columns.number("task_id", taskID);
        suffix = columns.integer("suffix", suffix);
        firstExecution = columns.instant("first_execution", firstExecution);
        totalSuccessfulExecutions = columns.integer("total_successful_executions", totalSuccessfulExecutions);
        totalFailedExecutions = columns.integer("total_failed_executions", totalFailedExecutions);
        totalElapsedTime = columns.integer("total_elapsed_time", totalElapsedTime);
        totalRowCount = columns.integer("total_row_count", totalRowCount);
        totalByteCount = columns.integer("total_byte_count", totalByteCount);
        lastExecution = columns.instant("last_execution", lastExecution);
        lastExecutionElapsedTime = columns.integer("last_execution_elapsed_time", lastExecutionElapsedTime);
        lastExecutionRowCount = columns.integer("last_execution_row_count", lastExecutionRowCount);
        lastExecutionByteCount = columns.integer("last_execution_byte_count", lastExecutionByteCount);
        fastestExecution = columns.instant("fastest_execution", fastestExecution);
        fastestExecutionElapsedTime = columns.integer("fastest_execution_elapsed_time", fastestExecutionElapsedTime);
        fastestExecutionRowCount = columns.integer("fastest_execution_row_count", fastestExecutionRowCount);
        fastestExecutionByteCount = columns.integer("fastest_execution_byte_count", fastestExecutionByteCount);
        slowestExecution = columns.instant("slowest_execution", slowestExecution);
        slowestExecutionElapsedTime = columns.integer("slowest_execution_elapsed_time", slowestExecutionElapsedTime);
        slowestExecutionRowCount = columns.integer("slowest_execution_row_count", slowestExecutionRowCount);
        slowestExecutionByteCount = columns.integer("slowest_execution_byte_count", slowestExecutionByteCount);
        largestExecution = columns.instant("largest_execution", largestExecution);
        largestExecutionElapsedTime = columns.integer("largest_execution_elapsed_time", largestExecutionElapsedTime);
        largestExecutionRowCount = columns.integer("largest_execution_row_count", largestExecutionRowCount);
        largestExecutionByteCount = columns.integer("largest_execution_byte_count", largestExecutionByteCount);
        smallestExecution = columns.instant("smallest_execution", smallestExecution);
        smallestExecutionElapsedTime = columns.integer("smallest_execution_elapsed_time", smallestExecutionElapsedTime);
        smallestExecutionRowCount = columns.integer("smallest_execution_row_count", smallestExecutionRowCount);
        smallestExecutionByteCount = columns.integer("smallest_execution_byte_count", smallestExecutionByteCount);
    }

    @Override
    protected Rights.Subject subject() {
        return new Rights.Subject(Rights.STATISTIC, taskID, suffix);
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

    public Timestamp getFirstExecution() {
        return firstExecution;
    }

    public void setFirstExecution(Timestamp value) {
        firstExecution = value;
    }

    public int getTotalSuccessfulExecutions() {
        return totalSuccessfulExecutions;
    }

    public void setTotalSuccessfulExecutions(int value) {
        totalSuccessfulExecutions = value;
    }

    public int getTotalFailedExecutions() {
        return totalFailedExecutions;
    }

    public void setTotalFailedExecutions(int value) {
        totalFailedExecutions = value;
    }

    public int getTotalElapsedTime() {
        return totalElapsedTime;
    }

    public void setTotalElapsedTime(int value) {
        totalElapsedTime = value;
    }

    public int getTotalRowCount() {
        return totalRowCount;
    }

    public void setTotalRowCount(int value) {
        totalRowCount = value;
    }

    public int getTotalByteCount() {
        return totalByteCount;
    }

    public void setTotalByteCount(int value) {
        totalByteCount = value;
    }

    public Timestamp getLastExecution() {
        return lastExecution;
    }

    public void setLastExecution(Timestamp value) {
        lastExecution = value;
    }

    public int getLastExecutionElapsedTime() {
        return lastExecutionElapsedTime;
    }

    public void setLastExecutionElapsedTime(int value) {
        lastExecutionElapsedTime = value;
    }

    public int getLastExecutionRowCount() {
        return lastExecutionRowCount;
    }

    public void setLastExecutionRowCount(int value) {
        lastExecutionRowCount = value;
    }

    public int getLastExecutionByteCount() {
        return lastExecutionByteCount;
    }

    public void setLastExecutionByteCount(int value) {
        lastExecutionByteCount = value;
    }

    public Timestamp getFastestExecution() {
        return fastestExecution;
    }

    public void setFastestExecution(Timestamp value) {
        fastestExecution = value;
    }

    public int getFastestExecutionElapsedTime() {
        return fastestExecutionElapsedTime;
    }

    public void setFastestExecutionElapsedTime(int value) {
        fastestExecutionElapsedTime = value;
    }

    public int getFastestExecutionRowCount() {
        return fastestExecutionRowCount;
    }

    public void setFastestExecutionRowCount(int value) {
        fastestExecutionRowCount = value;
    }

    public int getFastestExecutionByteCount() {
        return fastestExecutionByteCount;
    }

    public void setFastestExecutionByteCount(int value) {
        fastestExecutionByteCount = value;
    }

    public Timestamp getSlowestExecution() {
        return slowestExecution;
    }

    public void setSlowestExecution(Timestamp value) {
        slowestExecution = value;
    }

    public int getSlowestExecutionElapsedTime() {
        return slowestExecutionElapsedTime;
    }

    public void setSlowestExecutionElapsedTime(int value) {
        slowestExecutionElapsedTime = value;
    }

    public int getSlowestExecutionRowCount() {
        return slowestExecutionRowCount;
    }

    public void setSlowestExecutionRowCount(int value) {
        slowestExecutionRowCount = value;
    }

    public int getSlowestExecutionByteCount() {
        return slowestExecutionByteCount;
    }

    public void setSlowestExecutionByteCount(int value) {
        slowestExecutionByteCount = value;
    }

    public Timestamp getLargestExecution() {
        return largestExecution;
    }

    public void setLargestExecution(Timestamp value) {
        largestExecution = value;
    }

    public int getLargestExecutionElapsedTime() {
        return largestExecutionElapsedTime;
    }

    public void setLargestExecutionElapsedTime(int value) {
        largestExecutionElapsedTime = value;
    }

    public int getLargestExecutionRowCount() {
        return largestExecutionRowCount;
    }

    public void setLargestExecutionRowCount(int value) {
        largestExecutionRowCount = value;
    }

    public int getLargestExecutionByteCount() {
        return largestExecutionByteCount;
    }

    public void setLargestExecutionByteCount(int value) {
        largestExecutionByteCount = value;
    }

    public Timestamp getSmallestExecution() {
        return smallestExecution;
    }

    public void setSmallestExecution(Timestamp value) {
        smallestExecution = value;
    }

    public int getSmallestExecutionElapsedTime() {
        return smallestExecutionElapsedTime;
    }

    public void setSmallestExecutionElapsedTime(int value) {
        smallestExecutionElapsedTime = value;
    }

    public int getSmallestExecutionRowCount() {
        return smallestExecutionRowCount;
    }

    public void setSmallestExecutionRowCount(int value) {
        smallestExecutionRowCount = value;
    }

    public int getSmallestExecutionByteCount() {
        return smallestExecutionByteCount;
    }

    public void setSmallestExecutionByteCount(int value) {
        smallestExecutionByteCount = value;
    }
}
