package com.orvik.kelvo.mesk.sched;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.store.Template;

/**
 * Runs a step of the warehouse: copies the rows of a query from one database into a table of another, all or none of
 * them, and again when that fails. Drivers are those on the class path. It neither reads nor writes the store.
 */
public final class DWAgentClient {
    private static final int DONE = 1;
    private static final int FAILED = 2;

    /** How the client waits between two tries. */
    interface Pause {
        void seconds(int seconds) throws InterruptedException;
    }

    private final String task;
    private final String source;
    private final String query;
    private final String target;
    private final String table;
    private final String options;
    private Pause pause = seconds -> Thread.sleep(seconds * 1000L);
    private String message;

    /** A client without a step: running it answers that the parameters are wrong. */
    public DWAgentClient() {
        this(null, null, null, null, null, null, null);
    }

    /**
     * A client for a step of `task`.
     *
     * @param source the JDBC URL of the database to read
     * @param query what to read there; its labels name columns of the table, whatever their case
     * @param target the JDBC URL of the database to write
     * @param table the table to fill, named as the database keeps it
     * @param options in the syntax of java.util.Properties, null for none: mode (append, replace), batch (rows, 1 to
     *     100000, usually 1000), retries and retryIntervalSeconds (usually 0), sourceUser, sourcePasswordFile,
     *     targetUser, targetPasswordFile (the password is the first line)
     */
    public DWAgentClient(Context context, MDTask task, String source, String query, String target, String table,
        String options) {
        this.task = task == null || task.getTaskName() == null ? "step" : task.getTaskName();
        this.source = source;
        this.query = query;
        this.target = target;
        this.table = table;
        this.options = options;
    }

    /** Another way to wait. */
    void pauseBy(Pause other) {
        pause = other;
    }

    /**
     * Runs the step, fills `outcome`, which may be null, and answers its JobRC. `id` is the run that this is part of,
     * `n` the edition that it is to produce. Throws nothing.
     */
    public int run(long id, int n, DWAgentRtn outcome) {
        int retries = 0;
        int jobRC = 0;
        StepCopy copy = null;
        message = null;
        try {
            StepParameters parameters = StepParameters.of(source, query, target, table, options);
            for (boolean again = true; again;) {
                copy = new StepCopy(parameters);
                try {
                    copy.run();
                    jobRC = 0;
                    again = false;
                } catch (StepFailure failure) {
                    jobRC = fail(id, failure);
                    again = retries < parameters.retries() && waited(parameters.retryIntervalSeconds());
                    retries += again ? 1 : 0;
                }
            }
        } catch (StepFailure wrong) {
            jobRC = fail(id, wrong);
        }
        if (jobRC == 0) {
            message = null;
        }
        if (outcome != null) {
            if (jobRC == 0) {
                outcome.fill(jobRC, DONE, clamped(copy.rows()), clamped(copy.bytes()), n, retries);
            } else {
                outcome.fill(jobRC, FAILED, 0, 0, 0, retries);
            }
        }
        return jobRC;
    }

    /** Why the last run failed, on one line without passwords; null when it did not. */
    public String getMessage() {
        return message;
    }

    private int fail(long id, StepFailure failure) {
        String where = switch (failure.jobRC()) {
            case StepFailure.SOURCE -> "source: ";
            case StepFailure.TARGET -> "target: ";
            default -> "";
        };
        message = Template.oneLine(task + ", run " + id + ": " + where + failure.getMessage());
        return failure.jobRC();
    }

    private boolean waited(int seconds) {
        try {
            pause.seconds(seconds);
            return true;
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
            return false;
        }
    }

    private static int clamped(long count) {
        return (int) Math.min(count, Integer.MAX_VALUE);
    }
}
