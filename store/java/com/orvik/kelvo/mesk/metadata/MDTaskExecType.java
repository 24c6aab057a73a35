package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import java.util.Collection;

/** Finds, lists and deletes pending and running executions. */
public final class MDTaskExecType {
    /** A home. */
    public MDTaskExecType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskExecType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The execution with this key; null and NOT_FOUND when there is none. */
    public MDTaskExec retrieve(Context context, long taskExecID, PARLException exception) {
        return Operation.read(context, exception, null,
            database -> database.find(MDTaskExec::new, "WHERE task_exec_id = ?", taskExecID));
    }

    /** All executions by next start, then key; those without a next start first. 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDTaskExec::new, "ORDER BY next_start_date_time, task_exec_id"));
    }

    /** Deletes the execution as it stands. */
    public void delete(Context context, long taskExecID, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(MDTaskExec::new,
            "WHERE task_exec_id = ?", taskExecID));
    }
}
