package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeGuardedRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Timestamp;

/** A statistic of the fake store. */
public class MDTaskStatistic extends FakeGuardedRecord {
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

    public MDTaskStatistic(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDTaskStatistic#" + taskID;
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

    public Timestamp getFirstExecution() {
        Script.property(this, "getFirstExecution");
        return firstExecution;
    }

    public void setFirstExecution(Timestamp value) {
        Script.property(this, "setFirstExecution", value);
        firstExecution = value;
    }

    public int getTotalSuccessfulExecutions() {
        Script.property(this, "getTotalSuccessfulExecutions");
        return totalSuccessfulExecutions;
    }

    public void setTotalSuccessfulExecutions(int value) {
        Script.property(this, "setTotalSuccessfulExecutions", value);
        totalSuccessfulExecutions = value;
    }

    public int getTotalFailedExecutions() {
        Script.property(this, "getTotalFailedExecutions");
        return totalFailedExecutions;
    }

    public void setTotalFailedExecutions(int value) {
        Script.property(this, "setTotalFailedExecutions", value);
        totalFailedExecutions = value;
    }

    public int getTotalElapsedTime() {
        Script.property(this, "getTotalElapsedTime");
        return totalElapsedTime;
    }

    public void setTotalElapsedTime(int value) {
        Script.property(this, "setTotalElapsedTime", value);
        totalElapsedTime = value;
    }

    public int getTotalRowCount() {
        Script.property(this, "getTotalRowCount");
        return totalRowCount;
    }

    public void setTotalRowCount(int value) {
        Script.property(this, "setTotalRowCount", value);
        totalRowCount = value;
    }

    public int getTotalByteCount() {
        Script.property(this, "getTotalByteCount");
        return totalByteCount;
    }

    public void setTotalByteCount(int value) {
        Script.property(this, "setTotalByteCount", value);
        totalByteCount = value;
    }

    public Timestamp getLastExecution() {
        Script.property(this, "getLastExecution");
        return lastExecution;
    }

    public void setLastExecution(Timestamp value) {
        Script.property(this, "setLastExecution", value);
        lastExecution = value;
    }

    public int getLastExecutionElapsedTime() {
        Script.property(this, "getLastExecutionElapsedTime");
        return lastExecutionElapsedTime;
    }

    public void setLastExecutionElapsedTime(int value) {
        Script.property(this, "setLastExecutionElapsedTime", value);
        lastExecutionElapsedTime = value;
    }

    public int getLastExecutionRowCount() {
        Script.property(this, "getLastExecutionRowCount");
        return lastExecutionRowCount;
    }

    public void setLastExecutionRowCount(int value) {
        Script.property(this, "setLastExecutionRowCount", value);
        lastExecutionRowCount = value;
    }

    public int getLastExecutionByteCount() {
        Script.property(this, "getLastExecutionByteCount");
        return lastExecutionByteCount;
    }

    public void setLastExecutionByteCount(int value) {
        Script.property(this, "setLastExecutionByteCount", value);
        lastExecutionByteCount = value;
    }

    public Timestamp getFastestExecution() {
        Script.property(this, "getFastestExecution");
        return fastestExecution;
    }

    public void setFastestExecution(Timestamp value) {
        Script.property(this, "setFastestExecution", value);
        fastestExecution = value;
    }

    public int getFastestExecutionElapsedTime() {
        Script.property(this, "getFastestExecutionElapsedTime");
        return fastestExecutionElapsedTime;
    }

    public void setFastestExecutionElapsedTime(int value) {
        Script.property(this, "setFastestExecutionElapsedTime", value);
        fastestExecutionElapsedTime = value;
    }

    public int getFastestExecutionRowCount() {
        Script.property(this, "getFastestExecutionRowCount");
        return fastestExecutionRowCount;
    }

    public void setFastestExecutionRowCount(int value) {
        Script.property(this, "setFastestExecutionRowCount", value);
        fastestExecutionRowCount = value;
    }

    public int getFastestExecutionByteCount() {
        Script.property(this, "getFastestExecutionByteCount");
        return fastestExecutionByteCount;
    }

    public void setFastestExecutionByteCount(int value) {
        Script.property(this, "setFastestExecutionByteCount", value);
        fastestExecutionByteCount = value;
    }

    public Timestamp getSlowestExecution() {
        Script.property(this, "getSlowestExecution");
        return slowestExecution;
    }

    public void setSlowestExecution(Timestamp value) {
        Script.property(this, "setSlowestExecution", value);
        slowestExecution = value;
    }

    public int getSlowestExecutionElapsedTime() {
        Script.property(this, "getSlowestExecutionElapsedTime");
        return slowestExecutionElapsedTime;
    }

    public void setSlowestExecutionElapsedTime(int value) {
        Script.property(this, "setSlowestExecutionElapsedTime", value);
        slowestExecutionElapsedTime = value;
    }

    public int getSlowestExecutionRowCount() {
        Script.property(this, "getSlowestExecutionRowCount");
        return slowestExecutionRowCount;
    }

    public void setSlowestExecutionRowCount(int value) {
        Script.property(this, "setSlowestExecutionRowCount", value);
        slowestExecutionRowCount = value;
    }

    public int getSlowestExecutionByteCount() {
        Script.property(this, "getSlowestExecutionByteCount");
        return slowestExecutionByteCount;
    }

    public void setSlowestExecutionByteCount(int value) {
        Script.property(this, "setSlowestExecutionByteCount", value);
        slowestExecutionByteCount = value;
    }

    public Timestamp getLargestExecution() {
        Script.property(this, "getLargestExecution");
        return largestExecution;
    }

    public void setLargestExecution(Timestamp value) {
        Script.property(this, "setLargestExecution", value);
        largestExecution = value;
    }

    public int getLargestExecutionElapsedTime() {
        Script.property(this, "getLargestExecutionElapsedTime");
        return largestExecutionElapsedTime;
    }

    public void setLargestExecutionElapsedTime(int value) {
        Script.property(this, "setLargestExecutionElapsedTime", value);
        largestExecutionElapsedTime = value;
    }

    public int getLargestExecutionRowCount() {
        Script.property(this, "getLargestExecutionRowCount");
        return largestExecutionRowCount;
    }

    public void setLargestExecutionRowCount(int value) {
        Script.property(this, "setLargestExecutionRowCount", value);
        largestExecutionRowCount = value;
    }

    public int getLargestExecutionByteCount() {
        Script.property(this, "getLargestExecutionByteCount");
        return largestExecutionByteCount;
    }

    public void setLargestExecutionByteCount(int value) {
        Script.property(this, "setLargestExecutionByteCount", value);
        largestExecutionByteCount = value;
    }

    public Timestamp getSmallestExecution() {
        Script.property(this, "getSmallestExecution");
        return smallestExecution;
    }

    public void setSmallestExecution(Timestamp value) {
        Script.property(this, "setSmallestExecution", value);
        smallestExecution = value;
    }

    public int getSmallestExecutionElapsedTime() {
        Script.property(this, "getSmallestExecutionElapsedTime");
        return smallestExecutionElapsedTime;
    }

    public void setSmallestExecutionElapsedTime(int value) {
        Script.property(this, "setSmallestExecutionElapsedTime", value);
        smallestExecutionElapsedTime = value;
    }

    public int getSmallestExecutionRowCount() {
        Script.property(this, "getSmallestExecutionRowCount");
        return smallestExecutionRowCount;
    }

    public void setSmallestExecutionRowCount(int value) {
        Script.property(this, "setSmallestExecutionRowCount", value);
        smallestExecutionRowCount = value;
    }

    public int getSmallestExecutionByteCount() {
        Script.property(this, "getSmallestExecutionByteCount");
        return smallestExecutionByteCount;
    }

    public void setSmallestExecutionByteCount(int value) {
        Script.property(this, "setSmallestExecutionByteCount", value);
        smallestExecutionByteCount = value;
    }
}
