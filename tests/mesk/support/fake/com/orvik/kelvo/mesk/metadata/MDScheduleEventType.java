package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeObject;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** The home of schedule rules. */
public class MDScheduleEventType extends FakeObject {
    public MDScheduleEventType(Context context, PARLException exception) {
        super(context, exception);
    }

    public MDScheduleEvent retrieve(Context context, long scheduleEventID, PARLException exception) {
        return Script.call(this, "retrieve", context, scheduleEventID, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Script.call(this, "retrieveList", context, exception).or(null);
    }

    public void delete(Context context, long scheduleEventID, PARLException exception) {
        Script.call(this, "delete", context, scheduleEventID, exception);
    }
}
