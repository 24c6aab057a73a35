package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import java.util.Collection;

/** Finds, lists and deletes tasks. */
public final class MDTaskType {
    /** A home. */
    public MDTaskType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The task with this key; null and NOT_FOUND when there is none. */
    public MDTask retrieve(Context context, long taskID, int suffix, PARLException exception) {
        return Operation.read(context, exception, null,
            database -> database.find(MDTask::new, "WHERE task_id = ? AND suffix = ?", taskID, suffix));
    }

    /** All tasks, by key; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDTask::new, "ORDER BY task_id, suffix"));
    }

    /** All tasks with this task ID, by suffix; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, long taskID, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDTask::new, "WHERE task_id = ? ORDER BY suffix", taskID));
    }

    /** Deletes the task as it stands, see {@link MDTask#delete}. */
    public void delete(Context context, long taskID, int suffix, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(MDTask::new,
            "WHERE task_id = ? AND suffix = ?", taskID, suffix));
    }
}
