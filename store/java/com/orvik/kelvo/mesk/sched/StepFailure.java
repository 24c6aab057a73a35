package com.orvik.kelvo.mesk.sched;

/** Why a step, or one try of it, failed: a job's return code and words without passwords. */
final class StepFailure extends Exception {
    static final int PARAMETERS = 1;
    static final int SOURCE = 2;
    static final int TARGET = 3;

    private static final long serialVersionUID = 1L;

    private final int jobRC;

    StepFailure(int jobRC, String message) {
        super(message);
        this.jobRC = jobRC;
    }

    int jobRC() {
        return jobRC;
    }
}
