package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** A shared schedule of the fake store. */
public class MDSharedNamedSchedule extends FakeRecord {
    private long scheduleID;
    private String sharedScheduleName;
    private String description;

    public MDSharedNamedSchedule(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDSharedNamedSchedule#" + scheduleID;
    }

    public long getScheduleID() {
        Script.property(this, "getScheduleID");
        return scheduleID;
    }

    public void setScheduleID(long value) {
        Script.property(this, "setScheduleID", value);
        scheduleID = value;
    }

    public String getSharedScheduleName() {
        Script.property(this, "getSharedScheduleName");
        return sharedScheduleName;
    }

    public void setSharedScheduleName(String value) {
        Script.property(this, "setSharedScheduleName", value);
        sharedScheduleName = value;
    }

    public String getDescription() {
        Script.property(this, "getDescription");
        return description;
    }

    public void setDescription(String value) {
        Script.property(this, "setDescription", value);
        description = value;
    }

    public Collection<?> retrieveScheduleEventList(Context context, PARLException exception) {
        return Script.call(this, "retrieveScheduleEventList", context, exception).or(null);
    }

    public void addScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Script.call(this, "addScheduleEvent", context, event, exception);
    }

    public void removeScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Script.call(this, "removeScheduleEvent", context, event, exception);
    }
}
