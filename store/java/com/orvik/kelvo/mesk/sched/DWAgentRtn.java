package com.orvik.kelvo.mesk.sched;

/** The outcome of one run of {@link DWAgentClient}. */
public final class DWAgentRtn {
    private int jobRC;
    private int jobState;
    private int rowsMoved;
    private int bytesMoved;
    private int editionNumber;
    private int retryCount;

    public DWAgentRtn() {
    }

    void fill(int newJobRC, int newJobState, int newRows, int newBytes, int newEdition, int newRetries) {
        jobRC = newJobRC;
        jobState = newJobState;
        rowsMoved = newRows;
        bytesMoved = newBytes;
        editionNumber = newEdition;
        retryCount = newRetries;
    }

    /** 0 done, 1 the parameters are wrong, 2 the source failed, 3 the target failed. */
    public int getJobRC() {
        return jobRC;
    }

    /** 1 done, 2 failed and rolled back; 0 before a run. */
    public int getJobState() {
        return jobState;
    }

    /** The rows that were copied, 2147483647 for more; 0 after a failure. */
    public int getRowsMoved() {
        return rowsMoved;
    }

    /** The bytes that the copied values take, 2147483647 for more; 0 after a failure. */
    public int getBytesMoved() {
        return bytesMoved;
    }

    /** The edition that the run was asked for once its rows are committed; 0 after a failure. */
    public int getEditionNumber() {
        return editionNumber;
    }

    /** How often the step was tried again. */
    public int getRetryCount() {
        return retryCount;
    }
}
