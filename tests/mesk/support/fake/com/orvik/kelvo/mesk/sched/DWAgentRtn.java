package com.orvik.kelvo.mesk.sched;

import com.orvik.kelvo.mesk.fake.Script;

/** The outcome of a run of the fake agent. */
public class DWAgentRtn {
    private int jobRC;
    private int jobState;
    private int rowsMoved;
    private int bytesMoved;
    private int editionNumber;
    private int retryCount;

    public DWAgentRtn() {
        Script.construct(this);
    }

    void fill(int code, int state, int rows, int bytes, int edition, int retries) {
        jobRC = code;
        jobState = state;
        rowsMoved = rows;
        bytesMoved = bytes;
        editionNumber = edition;
        retryCount = retries;
    }

    @Override
    public String toString() {
        return "DWAgentRtn";
    }

    public int getJobRC() {
        Script.property(this, "getJobRC");
        return jobRC;
    }

    public int getJobState() {
        Script.property(this, "getJobState");
        return jobState;
    }

    public int getRowsMoved() {
        Script.property(this, "getRowsMoved");
        return rowsMoved;
    }

    public int getBytesMoved() {
        Script.property(this, "getBytesMoved");
        return bytesMoved;
    }

    public int getEditionNumber() {
        Script.property(this, "getEditionNumber");
        return editionNumber;
    }

    public int getRetryCount() {
        Script.property(this, "getRetryCount");
        return retryCount;
    }
}
