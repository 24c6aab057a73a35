package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Record;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.SQLException;
import java.util.Collection;

/** A named set of schedule rules that several tasks use. Its rules apply to each of them. Its name is unique. */
public final class MDSharedNamedSchedule extends Record {
    private static final Table TABLE = new Table("shared_named_schedule", 1);

    private long scheduleID;
    private String sharedScheduleName;
    private String description;

    /** A record that is not in the store yet. */
    public MDSharedNamedSchedule() {
    }

    /** The same, reporting whether the session can be used. */
    public MDSharedNamedSchedule(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        scheduleID = columns.number("shared_named_schedule_id", scheduleID);
        sharedScheduleName = columns.text("shared_schedule_name", sharedScheduleName);
        description = columns.text("description", description);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (scheduleID == 0) {
            scheduleID = database.nextKey();
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

    /** A schedule that a task uses stays: IN_USE. With a schedule go its rules that nobody else has. */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        TaskRelations.endSchedule(database, scheduleID);
    }

    private void validate() throws StoreException {
        if (sharedScheduleName == null || sharedScheduleName.isEmpty()) {
            throw new StoreException(StoreCodes.INVALID, "SharedScheduleName: a shared schedule needs a name");
        }
    }

    /** Adds a rule, which is in the store, behind the schedule's others; EXISTS when the schedule has it. */
    public void addScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Operation.write(context, exception, database ->
            TaskRelations.addScheduleRule(database, scheduleID, TaskRelations.required(event).getScheduleEventID()));
    }

    /** Takes a rule away, with what it queued for tasks that it no longer applies to. The rule itself stays. */
    public void removeScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Operation.write(context, exception, database ->
            TaskRelations.removeScheduleRule(database, scheduleID, TaskRelations.required(event).getScheduleEventID()));
    }

    /** The rules in the order in which they were added; 30013 when there are none. */
    public Collection<?> retrieveScheduleEventList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> TaskRelations.SCHEDULE_RULES.list(database, MDScheduleEvent::new, scheduleID));
    }

    public long getScheduleID() {
        return scheduleID;
    }

    public void setScheduleID(long value) {
        scheduleID = value;
    }

    public String getSharedScheduleName() {
        return sharedScheduleName;
    }

    public void setSharedScheduleName(String value) {
        sharedScheduleName = value;
    }

    public String getDescription() {
        return description;
    }

    public void setDescription(String value) {
        description = value;
    }
}
