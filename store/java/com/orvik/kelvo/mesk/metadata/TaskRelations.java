package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.Sql;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.SQLException;
import java.util.List;

/** What hangs together with a task: its rules, and the queued executions of task and rule. */
final class TaskRelations {
    private static final String QUEUED = " status IN (0, 1)";

    private TaskRelations() {
    }

    static void addRule(Database database, long taskID, int suffix, long eventID) throws SQLException, StoreException {
        Sql sql = database.sql();
        if (!sql.exists("SELECT 1 FROM task WHERE task_id = ? AND suffix = ?", taskID, suffix)) {
            throw new StoreException(StoreCodes.NOT_FOUND, "the task is not in the store");
        }
        if (!sql.exists("SELECT 1 FROM schedule_event WHERE schedule_event_id = ?", eventID)) {
            throw new StoreException(StoreCodes.NOT_FOUND, "the schedule rule is not in the store");
        }
        if (sql.exists("SELECT 1 FROM task_schedule_event WHERE task_id = ? AND suffix = ?"
            + " AND schedule_event_id = ?", taskID, suffix, eventID)) {
            throw new StoreException(StoreCodes.EXISTS, "the task has this schedule rule");
        }
        int position = sql.first("SELECT coalesce(max(position), 0) + 1 FROM task_schedule_event"
            + " WHERE task_id = ? AND suffix = ?", row -> row.getInt(1), taskID, suffix);
        sql.update("INSERT INTO task_schedule_event (task_id, suffix, schedule_event_id, position)"
            + " VALUES (?, ?, ?, ?)", taskID, suffix, eventID, position);
    }

    static void removeRule(Database database, long taskID, int suffix, long eventID)
        throws SQLException, StoreException {
        int removed = database.sql().update("DELETE FROM task_schedule_event WHERE task_id = ? AND suffix = ?"
            + " AND schedule_event_id = ?", taskID, suffix, eventID);
        if (removed == 0) {
            throw new StoreException(StoreCodes.NOT_FOUND, "the task does not have this schedule rule");
        }
        forgetQueued(database, "task_id = ? AND suffix = ? AND schedule_event_id = ?", taskID, suffix, eventID);
    }

    static List<MDScheduleEvent> rules(Database database, long taskID, int suffix) throws SQLException {
        return database.list(MDScheduleEvent::new, "JOIN task_schedule_event USING (schedule_event_id)"
            + " WHERE task_id = ? AND suffix = ? ORDER BY position", taskID, suffix);
    }

    /** Before a rule goes: no task has it any more, and what it queued does not run. */
    static void forgetRule(Database database, long eventID) throws SQLException {
        database.sql().update("DELETE FROM task_schedule_event WHERE schedule_event_id = ?", eventID);
        forgetQueued(database, "schedule_event_id = ?", eventID);
    }

    /** Before a task goes: refuses while it runs; takes away the rules that no other task has, and what is queued. */
    static void end(Database database, long taskID, int suffix) throws SQLException, StoreException {
        Sql sql = database.sql();
        if (sql.exists("SELECT 1 FROM task_exec WHERE task_id = ? AND suffix = ? AND NOT" + QUEUED, taskID, suffix)) {
            throw new StoreException(StoreCodes.IN_USE, "a run of the task is in progress");
        }
        List<Long> rules = sql.list("SELECT schedule_event_id FROM task_schedule_event WHERE task_id = ?"
            + " AND suffix = ?", row -> row.getLong(1), taskID, suffix);
        sql.update("DELETE FROM task_schedule_event WHERE task_id = ? AND suffix = ?", taskID, suffix);
        for (Long rule : rules) {
            sql.update("DELETE FROM schedule_event WHERE schedule_event_id = ? AND schedule_event_id NOT IN"
                + " (SELECT schedule_event_id FROM task_schedule_event)", rule);
        }
        forgetQueued(database, "task_id = ? AND suffix = ?", taskID, suffix);
    }

    private static void forgetQueued(Database database, String which, Object... parameters) throws SQLException {
        String queued = " FROM task_exec WHERE " + which + " AND" + QUEUED;
        database.sql().update("DELETE FROM permission WHERE object_kind = " + Rights.EXECUTION
            + " AND object_id IN (SELECT task_exec_id" + queued + ")", parameters);
        database.sql().update("DELETE" + queued, parameters);
    }
}
