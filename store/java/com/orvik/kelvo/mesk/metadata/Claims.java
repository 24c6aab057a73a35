package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.SQLException;

/**
 * At most one run of each scheduled instant. Taking on a run that a rule asked for puts a row under (task, suffix,
 * rule, instant) into the same transaction as the run's new status; the second row of an instant is refused. The claim
 * stays when the run is done and goes with its history.
 */
final class Claims {
    private static final long NONE = -1;

    private Claims() {
    }

    /** A run that is stored as already taken on claims its instant at once. */
    static void inserting(Database database, MDTaskExec run) throws SQLException, StoreException {
        if (isScheduledRun(run)) {
            claim(database, run);
        }
    }

    /**
     * A run claims when it leaves the queue, moves to another instant, or gets its first history. A run that was
     * queued again for a retry under the same history has its claim already.
     */
    static void updating(Database database, MDTaskExec run) throws SQLException, StoreException {
        if (!isScheduledRun(run)) {
            return;
        }
        MDTaskExec before = database.find(MDTaskExec::new, "WHERE task_exec_id = ?", run.getTaskExecID());
        boolean sameInstant = run.getOriginalScheduleTime().equals(before.getOriginalScheduleTime())
            && run.getScheduleEventID() == before.getScheduleEventID();
        boolean firstHistory = before.getTaskHistoryID() == NONE && run.getTaskHistoryID() != NONE;
        if (before.isQueued() || !sameInstant || firstHistory) {
            boolean retry = before.isQueued() && run.getTaskHistoryID() == before.getTaskHistoryID();
            if (!(retry && holds(database, run)) && !(firstHistory && complete(database, run))) {
                claim(database, run);
            }
        }
    }

    private static boolean isScheduledRun(MDTaskExec run) {
        return !run.isQueued() && run.getScheduleEventID() != NONE && run.getOriginalScheduleTime() != null;
    }

    /** Whether this very run, with its history, is the one that claimed the instant. */
    private static boolean holds(Database database, MDTaskExec run) throws SQLException {
        return run.getTaskHistoryID() != NONE && database.sql().exists("SELECT 1 FROM run_claim WHERE task_id = ?"
            + " AND suffix = ? AND schedule_event_id = ? AND instant_ms = ? AND task_exec_id = ?"
            + " AND task_history_id = ?", run.getTaskID(), run.getSuffix(), run.getScheduleEventID(),
            run.getOriginalScheduleTime(), run.getTaskExecID(), run.getTaskHistoryID());
    }

    /** Puts the history of this very run into the claim that it made without one; false when there is none. */
    private static boolean complete(Database database, MDTaskExec run) throws SQLException {
        return database.sql().update("UPDATE run_claim SET task_history_id = ? WHERE task_id = ? AND suffix = ?"
            + " AND schedule_event_id = ? AND instant_ms = ? AND task_exec_id = ? AND task_history_id = " + NONE,
            run.getTaskHistoryID(), run.getTaskID(), run.getSuffix(), run.getScheduleEventID(),
            run.getOriginalScheduleTime(), run.getTaskExecID()) == 1;
    }

    private static void claim(Database database, MDTaskExec run) throws SQLException, StoreException {
        try {
            database.sql().update("INSERT INTO run_claim (task_id, suffix, schedule_event_id, instant_ms, task_exec_id,"
                + " task_history_id) VALUES (?, ?, ?, ?, ?, ?)", run.getTaskID(), run.getSuffix(),
                run.getScheduleEventID(), run.getOriginalScheduleTime(), run.getTaskExecID(), run.getTaskHistoryID());
        } catch (SQLException failure) {
            if (database.isDuplicate(failure)) {
                throw new StoreException(StoreCodes.CLAIMED, "the scheduled instant has its run already", failure);
            }
            throw failure;
        }
    }
}
