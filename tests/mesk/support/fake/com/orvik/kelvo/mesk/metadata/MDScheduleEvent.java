package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Date;
import java.sql.Time;

/** A schedule rule of the fake store. */
public class MDScheduleEvent extends FakeRecord {
    private long scheduleEventID;
    private Date startDate;
    private Time startTime;
    private Date endDate;
    private int intervalType;
    private int intervalUnit;
    private int detail;
    private int recurring;

    public MDScheduleEvent(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDScheduleEvent#" + scheduleEventID;
    }

    public long getScheduleEventID() {
        Script.property(this, "getScheduleEventID");
        return scheduleEventID;
    }

    public void setScheduleEventID(long value) {
        Script.property(this, "setScheduleEventID", value);
        scheduleEventID = value;
    }

    public Date getStartDate() {
        Script.property(this, "getStartDate");
        return startDate;
    }

    public void setStartDate(Date value) {
        Script.property(this, "setStartDate", value);
        startDate = value;
    }

    public Time getStartTime() {
        Script.property(this, "getStartTime");
        return startTime;
    }

    public void setStartTime(Time value) {
        Script.property(this, "setStartTime", value);
        startTime = value;
    }

    public Date getEndDate() {
        Script.property(this, "getEndDate");
        return endDate;
    }

    public void setEndDate(Date value) {
        Script.property(this, "setEndDate", value);
        endDate = value;
    }

    public int getIntervalType() {
        Script.property(this, "getIntervalType");
        return intervalType;
    }

    public void setIntervalType(int value) {
        Script.property(this, "setIntervalType", value);
        intervalType = value;
    }

    public int getIntervalUnit() {
        Script.property(this, "getIntervalUnit");
        return intervalUnit;
    }

    public void setIntervalUnit(int value) {
        Script.property(this, "setIntervalUnit", value);
        intervalUnit = value;
    }

    public int getDetail() {
        Script.property(this, "getDetail");
        return detail;
    }

    public void setDetail(int value) {
        Script.property(this, "setDetail", value);
        detail = value;
    }

    public int getRecurring() {
        Script.property(this, "getRecurring");
        return recurring;
    }

    public void setRecurring(int value) {
        Script.property(this, "setRecurring", value);
        recurring = value;
    }
}
