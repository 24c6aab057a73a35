package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import java.util.Collection;

/** Finds, lists and deletes schedule rules. */
public final class MDScheduleEventType {
    /** A home. */
    public MDScheduleEventType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDScheduleEventType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The rule with this key; null and NOT_FOUND when there is none. */
    public MDScheduleEvent retrieve(Context context, long scheduleEventID, PARLException exception) {
        return Operation.read(context, exception, null,
            database -> database.find(MDScheduleEvent::new, "WHERE schedule_event_id = ?", scheduleEventID));
    }

    /** All rules, by key; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDScheduleEvent::new, "ORDER BY schedule_event_id"));
    }

    /** Deletes the rule as it stands, see {@link MDScheduleEvent#delete}. */
    public void delete(Context context, long scheduleEventID, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(MDScheduleEvent::new,
            "WHERE schedule_event_id = ?", scheduleEventID));
    }
}
