package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeGuardedRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Timestamp;

/** The result of one part of an execution. */
public class MDTaskResult extends FakeGuardedRecord {
    private int partitionID;
    private int returnCode;
    private String executionResultsString;
    private Timestamp start;
    private Timestamp end;
    private int duration;
    private int runningStatus;
    private int byteCount;
    private int rowCount;

    public MDTaskResult(Context context, PARLException exception) {
        super(context, exception);
    }

    public int getPartitionID() {
        Script.property(this, "getPartitionID");
        return partitionID;
    }

    public void setPartitionID(int value) {
        Script.property(this, "setPartitionID", value);
        partitionID = value;
    }

    public int getReturnCode() {
        Script.property(this, "getReturnCode");
        return returnCode;
    }

    public void setReturnCode(int value) {
        Script.property(this, "setReturnCode", value);
        returnCode = value;
    }

    public String getExecutionResultsString() {
        Script.property(this, "getExecutionResultsString");
        return executionResultsString;
    }

    public void setExecutionResultsString(String value) {
        Script.property(this, "setExecutionResultsString", value);
        executionResultsString = value;
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

    public int getRunningStatus() {
        Script.property(this, "getRunningStatus");
        return runningStatus;
    }

    public void setRunningStatus(int value) {
        Script.property(this, "setRunningStatus", value);
        runningStatus = value;
    }

    public int getByteCount() {
        Script.property(this, "getByteCount");
        return byteCount;
    }

    public void setByteCount(int value) {
        Script.property(this, "setByteCount", value);
        byteCount = value;
    }

    public int getRowCount() {
        Script.property(this, "getRowCount");
        return rowCount;
    }

    public void setRowCount(int value) {
        Script.property(this, "setRowCount", value);
        rowCount = value;
    }
}
