package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeObject;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** The home of shared schedules. */
public class MDSharedNamedScheduleType extends FakeObject {
    public MDSharedNamedScheduleType(Context context, PARLException exception) {
        super(context, exception);
    }

    public MDSharedNamedSchedule retrieve(Context context, long scheduleID, PARLException exception) {
        return Script.call(this, "retrieve", context, scheduleID, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Script.call(this, "retrieveList", context, exception).or(null);
    }

    public void delete(Context context, long scheduleID, PARLException exception) {
        Script.call(this, "delete", context, scheduleID, exception);
    }
}
