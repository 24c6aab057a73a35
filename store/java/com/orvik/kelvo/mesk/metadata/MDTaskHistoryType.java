package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.Timestamp;
import java.util.Collection;

/** Finds and lists histories, and prunes them. */
public final class MDTaskHistoryType {
    private static final long EVERY_TASK = -1;

    /** A home. */
    public MDTaskHistoryType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskHistoryType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The history with this key; null and NOT_FOUND when there is none. */
    public MDTaskHistory retrieve(Context context, long taskHistoryID, PARLException exception) {
        return Operation.read(context, exception, null,
            database -> database.find(MDTaskHistory::new, "WHERE task_history_id = ?", taskHistoryID));
    }

    /** The history of the run of a task that started at this millisecond, the last one if several did. */
    public MDTaskHistory retrieve(Context context, long taskID, int suffix, Timestamp start, PARLException exception) {
        return Operation.read(context, exception, null, database -> database.find(MDTaskHistory::new,
            "WHERE task_id = ? AND suffix = ? AND start_time = ? ORDER BY task_history_id DESC",
            taskID, suffix, start));
    }

    /** All histories, the last started first; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED, database -> database.list(
            MDTaskHistory::new, "ORDER BY start_time DESC, task_history_id DESC"));
    }

    /** The histories of all tasks with this task ID, the last started first; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, long taskID, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED, database -> database.list(
            MDTaskHistory::new, "WHERE task_id = ? ORDER BY start_time DESC, task_history_id DESC", taskID));
    }

    /**
     * Prunes: deletes the histories of the task that started strictly before an instant and are finished, with their
     * results and claims and the snapshots that no history has any more. A run in progress or waiting for a retry
     * (running status 1 or 6) stays. The task ID -1 stands for every task, those that are deleted included, whatever
     * the suffix, and is for superusers; a task's needs the right to update it. Finding nothing to delete is success; a
     * null instant is INVALID.
     */
    public void delete(Context context, long taskID, int suffix, Timestamp before, PARLException exception) {
        Operation.write(context, exception, database -> {
            if (before == null) {
                throw new StoreException(StoreCodes.INVALID, "no instant was given");
            }
            if (taskID == EVERY_TASK) {
                database.access().requireSuperuser();
                Snapshots.pruneAll(database, before);
            } else {
                database.access().require(Rights.UPDATE, taskID, suffix);
                Snapshots.prune(database, taskID, suffix, before);
            }
        });
    }
}
