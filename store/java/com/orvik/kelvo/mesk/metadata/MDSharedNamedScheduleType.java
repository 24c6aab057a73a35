package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import java.util.Collection;

/** Finds, lists and deletes shared named schedules. */
public final class MDSharedNamedScheduleType {
    /** A home. */
    public MDSharedNamedScheduleType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDSharedNamedScheduleType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The schedule with this key; null and NOT_FOUND when there is none. */
    public MDSharedNamedSchedule retrieve(Context context, long scheduleID, PARLException exception) {
        return Operation.read(context, exception, null,
            database -> database.find(MDSharedNamedSchedule::new, "WHERE shared_named_schedule_id = ?", scheduleID));
    }

    /** All schedules, by name; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDSharedNamedSchedule::new, "ORDER BY shared_schedule_name"));
    }

    /** Deletes the schedule as it stands, see {@link MDSharedNamedSchedule#delete}. */
    public void delete(Context context, long scheduleID, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(MDSharedNamedSchedule::new,
            "WHERE shared_named_schedule_id = ?", scheduleID));
    }
}
