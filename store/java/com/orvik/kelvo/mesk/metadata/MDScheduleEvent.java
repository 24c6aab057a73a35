package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Record;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.Date;
import java.sql.SQLException;
import java.sql.Time;

/**
 * A schedule rule: from a day and a time of day, every so many units, until an optional last day. Interval types:
 * 0 minutes, 1 hours, 2 days, 3 weeks, 4 months on a day, 5 months on an n-th weekday, 6 years.
 */
public final class MDScheduleEvent extends Record {
    private static final Table TABLE = new Table("schedule_event", 1, Guard.RULE);
    private static final int[] LARGEST_UNIT = {1000, 24, 31, 52, 12, 12, 10};

    private long scheduleEventID;
    private Date startDate;
    private Time startTime;
    private Date endDate;
    private int intervalType;
    private int intervalUnit = 1;
    private int detail;
    private int recurring;

    /** A record that is not in the store yet. */
    public MDScheduleEvent() {
    }

    /** The same, reporting whether the session can be used. */
    public MDScheduleEvent(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        scheduleEventID = columns.number("schedule_event_id", scheduleEventID);
        startDate = columns.day("start_date", startDate);
        startTime = columns.timeOfDay("start_time", startTime);
        endDate = columns.day("end_date", endDate);
        intervalType = columns.integer("interval_type", intervalType);
        intervalUnit = columns.integer("interval_unit", intervalUnit);
        detail = columns.integer("detail", detail);
        recurring = columns.integer("recurring", recurring);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (scheduleEventID == 0) {
            scheduleEventID = database.nextKey();
        }
    }

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        validate();
    }

    @Override
    public void updating(Database database) throws SQLException, StoreException {
        validate();
    }

    /** With a rule go its place in tasks and the queued executions that it made. */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        TaskRelations.forgetRule(database, scheduleEventID);
    }

    private void validate() throws StoreException {
        require(startDate != null, "StartDate: a rule needs a first day");
        require(startTime != null, "StartTime: a rule needs a time of day");
        require(intervalType >= 0 && intervalType < LARGEST_UNIT.length, "IntervalType: 0 to 6");
        require(intervalUnit >= 1 && intervalUnit <= LARGEST_UNIT[intervalType],
            "IntervalUnit: 1 to " + LARGEST_UNIT[intervalType] + " for this interval type");
        require(recurring == 0 || recurring == 1, "Recurring: 0 or 1");
        require(detail >= smallestDetail() && detail <= largestDetail(),
            "Detail: " + smallestDetail() + " to " + largestDetail() + " for this interval type");
        require(isFourDigitYear(startDate) && (endDate == null || isFourDigitYear(endDate)),
            "StartDate, EndDate: years 1 to 9999");
    }

    private int smallestDetail() {
        return intervalType == 4 || intervalType == 5 ? 1 : 0;
    }

    private int largestDetail() {
        return intervalType == 3 ? 7 : intervalType == 4 ? 31 : 42;
    }

    /** Whether the text form of the day is read back as the same day. */
    private static boolean isFourDigitYear(Date day) {
        String text = day.toString();
        return text.length() == 10 && Date.valueOf(text).toString().equals(text);
    }

    private static void require(boolean holds, String message) throws StoreException {
        if (!holds) {
            throw new StoreException(StoreCodes.INVALID, message);
        }
    }

    public long getScheduleEventID() {
        return scheduleEventID;
    }

    public void setScheduleEventID(long value) {
        scheduleEventID = value;
    }

    public Date getStartDate() {
        return startDate;
    }

    public void setStartDate(Date value) {
        startDate = value;
    }

    public Time getStartTime() {
        return startTime;
    }

    public void setStartTime(Time value) {
        startTime = value;
    }

    public Date getEndDate() {
        return endDate;
    }

    public void setEndDate(Date value) {
        endDate = value;
    }

    public int getIntervalType() {
        return intervalType;
    }

    public void setIntervalType(int value) {
        intervalType = value;
    }

    public int getIntervalUnit() {
        return intervalUnit;
    }

    public void setIntervalUnit(int value) {
        intervalUnit = value;
    }

    public int getDetail() {
        return detail;
    }

    public void setDetail(int value) {
        detail = value;
    }

    public int getRecurring() {
        return recurring;
    }

    public void setRecurring(int value) {
        recurring = value;
    }
}
