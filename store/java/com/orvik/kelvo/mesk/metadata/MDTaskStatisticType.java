package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import java.util.Collection;

/** Finds, lists and deletes the statistics of tasks. */
public final class MDTaskStatisticType {
    /** A home. */
    public MDTaskStatisticType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTaskStatisticType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The statistic of this task; null and NOT_FOUND when there is none. */
    public MDTaskStatistic retrieve(Context context, long taskID, int suffix, PARLException exception) {
        return Operation.read(context, exception, null, database -> database.find(MDTaskStatistic::new,
            "WHERE task_id = ? AND suffix = ?", taskID, suffix));
    }

    /** All statistics, by key; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDTaskStatistic::new, "ORDER BY task_id, suffix"));
    }

    /** Deletes the statistic as it stands, see {@link MDTaskStatistic#delete}. */
    public void delete(Context context, long taskID, int suffix, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(MDTaskStatistic::new,
            "WHERE task_id = ? AND suffix = ?", taskID, suffix));
    }
}
