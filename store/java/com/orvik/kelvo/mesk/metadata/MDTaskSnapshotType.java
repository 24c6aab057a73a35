package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.util.Collection;

/** Finds, lists and deletes snapshots of task definitions. */
public class MDTaskSnapshotType {
    /** A home. */
    public MDTaskSnapshotType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskSnapshotType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /**
     * The latest snapshot of a task; null and NOT_FOUND when there is none. The result is a {@link MDTaskSnapshot};
     * callers look the method up by this declared type.
     */
    public MDTaskSnapshotType retrieve(Context context, long taskID, int suffix, PARLException exception) {
        return Operation.read(context, exception, null, database -> database.find(MDTaskSnapshot::new,
            "WHERE task_id = ? AND suffix = ? ORDER BY latest_snapshot DESC, task_snapshot_id DESC LIMIT 1",
            taskID, suffix));
    }

    /** The snapshots of all tasks with this task ID, the latest first; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, long taskID, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDTaskSnapshot::new,
                "WHERE task_id = ? ORDER BY latest_snapshot DESC, task_snapshot_id DESC", taskID));
    }

    /** The snapshot that was made last of all; null and NOT_FOUND when there is none. */
    public MDTaskSnapshot retrieveLatestSnapshot(Context context, PARLException exception) {
        return Operation.read(context, exception, null,
            database -> database.find(MDTaskSnapshot::new, "ORDER BY task_snapshot_id DESC LIMIT 1"));
    }

    /** Deletes the snapshots of a task; histories that have one then have none. NOT_FOUND when there are none. */
    public void delete(Context context, long taskID, int suffix, PARLException exception) {
        Operation.write(context, exception, database -> {
            database.access().require(Rights.UPDATE, taskID, suffix);
            if (database.sql().update("DELETE FROM task_snapshot WHERE task_id = ? AND suffix = ?",
                    taskID, suffix) == 0) {
                throw new StoreException(StoreCodes.NOT_FOUND, "the task has no snapshot");
            }
        });
    }
}
