package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.Sql;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.List;

/**
 * What hangs together with a task: its rules and shared schedules, its actions, steps and success codes, and the queued
 * executions of task and rule. A queued execution goes when its rule no longer applies to its task, but for a retry,
 * whose run has begun; a rule applies to the tasks that have it themselves and to those that use a shared schedule that
 * has it.
 */
public final class TaskRelations {
    static final Relation RULES = new Relation("task_schedule_event", Relation.TASK, Relation.RULE);
    static final Relation SCHEDULES = new Relation("task_shared_schedule", Relation.TASK, Relation.SCHEDULE);
    static final Relation SCHEDULE_RULES = new Relation("shared_schedule_event", Relation.SCHEDULE, Relation.RULE);
    static final Relation MEMBERS = new Relation("task_group_member", Relation.TASK, Relation.TASK,
        "member_task_id", "member_suffix");
    static final Relation CODE_SETS = new Relation("task_success_code_set", Relation.TASK, Relation.CODE_SET);
    static final Relation TARGETS = new Relation("follow_on_task", Relation.FOLLOW_ON, Relation.TASK);

    private static final String OF_PARENT = "WHERE parent_task_id = ? AND parent_suffix = ? ORDER BY position";
    private static final String QUEUED = " status IN (0, 1)";
    /** A queued execution that has a history is a run that goes on: it waits for its retry. */
    private static final String PENDING = QUEUED + " AND task_history_id = -1";
    private static final int FAILED = 3;
    private static final String NO_LONGER_APPLIES = " AND NOT EXISTS (SELECT 1 FROM task_schedule_event r"
        + " WHERE r.task_id = task_exec.task_id AND r.suffix = task_exec.suffix"
        + " AND r.schedule_event_id = task_exec.schedule_event_id)"
        + " AND NOT EXISTS (SELECT 1 FROM task_shared_schedule u JOIN shared_schedule_event r"
        + " ON r.shared_named_schedule_id = u.shared_named_schedule_id WHERE u.task_id = task_exec.task_id"
        + " AND u.suffix = task_exec.suffix AND r.schedule_event_id = task_exec.schedule_event_id)";

    private TaskRelations() {
    }

    /** The key of a task that was handed in; INVALID for null. */
    static Object[] keyOf(MDTask task) throws StoreException {
        if (task == null) {
            throw new StoreException(StoreCodes.INVALID, "no task was given");
        }
        return Relation.key(task.getTaskID(), task.getSuffix());
    }

    /** The argument; INVALID for null. */
    static <T> T required(T argument) throws StoreException {
        if (argument == null) {
            throw new StoreException(StoreCodes.INVALID, "no record was given");
        }
        return argument;
    }

    // Rules and shared schedules

    static void removeRule(Database database, long taskID, int suffix, long eventID)
        throws SQLException, StoreException {
        RULES.remove(database, Relation.key(taskID, suffix), Relation.key(eventID));
        forgetPending(database, "task_id = ? AND suffix = ? AND schedule_event_id = ?" + NO_LONGER_APPLIES, taskID,
            suffix, eventID);
    }

    /** Makes the task use a shared schedule, behind the others; EXISTS when it does. */
    public static void addSchedule(Database database, long taskID, int suffix, long scheduleID)
        throws SQLException, StoreException {
        SCHEDULES.add(database, Relation.key(taskID, suffix), Relation.key(scheduleID));
    }

    /** The task no longer uses a shared schedule; what its rules queued for the task goes. */
    public static void removeSchedule(Database database, long taskID, int suffix, long scheduleID)
        throws SQLException, StoreException {
        SCHEDULES.remove(database, Relation.key(taskID, suffix), Relation.key(scheduleID));
        forgetPending(database, "task_id = ? AND suffix = ? AND schedule_event_id IN (SELECT schedule_event_id"
            + " FROM shared_schedule_event WHERE shared_named_schedule_id = ?)" + NO_LONGER_APPLIES, taskID, suffix,
            scheduleID);
    }

    /** Adds a rule behind the others of a shared schedule; EXISTS when the schedule has it. */
    public static void addScheduleRule(Database database, long scheduleID, long eventID)
        throws SQLException, StoreException {
        SCHEDULE_RULES.add(database, Relation.key(scheduleID), Relation.key(eventID));
    }

    /** Takes a rule away from a shared schedule, with what it queued; NOT_FOUND when the schedule does not have it. */
    public static void removeScheduleRule(Database database, long scheduleID, long eventID)
        throws SQLException, StoreException {
        SCHEDULE_RULES.remove(database, Relation.key(scheduleID), Relation.key(eventID));
        forgetPending(database, "schedule_event_id = ?" + NO_LONGER_APPLIES, eventID);
    }

    /** Before a rule goes: no task or schedule has it any more, and what it queued does not run. */
    static void forgetRule(Database database, long eventID) throws SQLException {
        database.sql().update("DELETE FROM task_schedule_event WHERE schedule_event_id = ?", eventID);
        database.sql().update("DELETE FROM shared_schedule_event WHERE schedule_event_id = ?", eventID);
        forgetPending(database, "schedule_event_id = ?", eventID);
    }

    /** Before a shared schedule goes: refuses while a task uses it; takes away its rules that nobody else has. */
    static void endSchedule(Database database, long scheduleID) throws SQLException, StoreException {
        String user = database.sql().first("SELECT t.task_name FROM task_shared_schedule u JOIN task t"
            + " ON t.task_id = u.task_id AND t.suffix = u.suffix WHERE u.shared_named_schedule_id = ?"
            + " ORDER BY t.task_name", row -> row.getString(1), scheduleID);
        if (user != null) {
            throw new StoreException(StoreCodes.IN_USE,
                Relation.SCHEDULE.of(database, scheduleID) + " is used by the task '" + user + "'");
        }
        List<MDScheduleEvent> rules = SCHEDULE_RULES.list(database, MDScheduleEvent::new, scheduleID);
        SCHEDULE_RULES.clear(database, Relation.key(scheduleID));
        deleteUnused(database, rules);
    }

    /** Deletes those of the rules that neither a task nor a shared schedule has, with what they queued. */
    private static void deleteUnused(Database database, List<MDScheduleEvent> rules)
        throws SQLException, StoreException {
        for (MDScheduleEvent rule : rules) {
            long eventID = rule.getScheduleEventID();
            if (!database.sql().exists("SELECT 1 FROM task_schedule_event WHERE schedule_event_id = ? UNION ALL"
                + " SELECT 1 FROM shared_schedule_event WHERE schedule_event_id = ?", eventID, eventID)) {
                database.delete(rule);
            }
        }
    }

    // Steps, success codes, follow-on actions

    /**
     * Makes these tasks the steps of a group, in this order. No group contains itself, nor by way of its steps. Who
     * changes a group must be allowed to execute its steps.
     */
    public static void setMembers(Database database, long taskID, int suffix, long[] memberIDs, int[] memberSuffixes)
        throws SQLException, StoreException {
        if (memberIDs == null || memberSuffixes == null || memberIDs.length != memberSuffixes.length) {
            throw new StoreException(StoreCodes.INVALID, "each step needs a task ID and a suffix");
        }
        List<Object[]> members = new ArrayList<>();
        for (int i = 0; i < memberIDs.length; i++) {
            members.add(Relation.key(memberIDs[i], memberSuffixes[i]));
        }
        MEMBERS.replace(database, Relation.key(taskID, suffix), members);
        for (int i = 0; i < memberIDs.length; i++) {
            database.access().require(Rights.EXECUTE, memberIDs[i], memberSuffixes[i]);
        }
        if (database.sql().exists("WITH RECURSIVE inside (task_id, suffix) AS (SELECT member_task_id, member_suffix"
            + " FROM task_group_member WHERE task_id = ? AND suffix = ? UNION SELECT g.member_task_id, g.member_suffix"
            + " FROM task_group_member g JOIN inside i ON i.task_id = g.task_id AND i.suffix = g.suffix)"
            + " SELECT 1 FROM inside WHERE task_id = ? AND suffix = ?", taskID, suffix, taskID, suffix)) {
            throw new StoreException(StoreCodes.INVALID,
                Relation.TASK.of(database, taskID, suffix) + " would be a step of itself");
        }
    }

    /** Makes one set of these conditions the task's success codes; none leaves it without. */
    public static void setSuccessCodes(Database database, long taskID, int suffix, int[] codes, String[] conditions)
        throws SQLException, StoreException {
        if (codes == null || conditions == null || codes.length != conditions.length) {
            throw new StoreException(StoreCodes.INVALID, "each success code needs a condition");
        }
        Relation.TASK.require(database, taskID, suffix);
        endCodeSets(database, taskID, suffix);
        if (codes.length == 0) {
            return;
        }
        MDSuccessCodeSet set = new MDSuccessCodeSet();
        database.insert(set);
        for (int i = 0; i < codes.length; i++) {
            MDCodeCondition condition = new MDCodeCondition();
            condition.setSuccessCodeSetID(set.getSuccessCodeSetID());
            condition.setCode(codes[i]);
            condition.setCondition(conditions[i]);
            database.insert(condition);
        }
        CODE_SETS.add(database, Relation.key(taskID, suffix), Relation.key(set.getSuccessCodeSetID()));
    }

    /** Before a set of success codes goes: its conditions, and its place in tasks. */
    static void forgetCodeSet(Database database, long setID) throws SQLException {
        database.sql().update("DELETE FROM task_success_code_set WHERE success_code_set_id = ?", setID);
        database.sql().update("DELETE FROM code_condition WHERE success_code_set_id = ?", setID);
    }

    /** Takes the task's success codes away; sets that no other task has are deleted. */
    private static void endCodeSets(Database database, long taskID, int suffix) throws SQLException, StoreException {
        List<MDSuccessCodeSet> sets = CODE_SETS.list(database, MDSuccessCodeSet::new, taskID, suffix);
        CODE_SETS.clear(database, Relation.key(taskID, suffix));
        for (MDSuccessCodeSet set : sets) {
            if (!database.sql().exists("SELECT 1 FROM task_success_code_set WHERE success_code_set_id = ?",
                set.getSuccessCodeSetID())) {
                database.delete(set);
            }
        }
    }

    static List<MDFollowOnAction> followOns(Database database, long taskID, int suffix) throws SQLException {
        return database.list(MDFollowOnAction::new, OF_PARENT, taskID, suffix);
    }

    static List<MDNotificationAction> notifications(Database database, long taskID, int suffix) throws SQLException {
        return database.list(MDNotificationAction::new, OF_PARENT, taskID, suffix);
    }

    /** The tasks whose end runs this task. */
    static List<MDTask> predecessors(Database database, long taskID, int suffix) throws SQLException {
        return database.list(MDTask::new, "JOIN (SELECT DISTINCT a.parent_task_id AS task_id, a.parent_suffix AS suffix"
            + " FROM follow_on_task f JOIN follow_on_action a ON a.follow_on_action_id = f.follow_on_action_id"
            + " WHERE f.task_id = ? AND f.suffix = ? AND a.action = 1) parents USING (task_id, suffix)"
            + " ORDER BY task_id, suffix", taskID, suffix);
    }

    /** Records that an action of a run acted on a task, once only: EXISTS. The execution is -1 for none. */
    public static void recordFollowOn(Database database, long historyID, long actionID, long taskID, int suffix,
        long execID) throws SQLException, StoreException {
        Sql sql = database.sql();
        if (sql.exists("SELECT 1 FROM follow_on_fired WHERE task_history_id = ? AND follow_on_action_id = ?"
            + " AND task_id = ? AND suffix = ?", historyID, actionID, taskID, suffix)) {
            throw new StoreException(StoreCodes.EXISTS, "the follow-on action " + actionID + " of the run " + historyID
                + " has acted on " + Relation.TASK.of(database, taskID, suffix));
        }
        sql.update("INSERT INTO follow_on_fired (task_history_id, follow_on_action_id, task_id, suffix, task_exec_id)"
            + " VALUES (?, ?, ?, ?, ?)", historyID, actionID, taskID, suffix, execID);
    }

    // The end of a task

    /**
     * Before a task goes: refuses while it runs, is a step of a group, or another task's action acts on it. Takes away
     * what is only the task's, and what is queued. A run that waited for a retry has failed.
     */
    static void end(Database database, long taskID, int suffix) throws SQLException, StoreException {
        Object[] key = Relation.key(taskID, suffix);
        Sql sql = database.sql();
        if (sql.exists("SELECT 1 FROM task_exec WHERE task_id = ? AND suffix = ? AND NOT" + QUEUED, key)) {
            throw new StoreException(StoreCodes.IN_USE,
                "a run of " + Relation.TASK.of(database, key) + " is in progress");
        }
        refuse(database, key, " is a step of the task ", "SELECT t.task_name FROM task_group_member g JOIN task t"
            + " ON t.task_id = g.task_id AND t.suffix = g.suffix WHERE g.member_task_id = ? AND g.member_suffix = ?"
            + " ORDER BY t.task_name", key);
        refuse(database, key, " is acted on by a follow-on action of the task ", "SELECT t.task_name"
            + " FROM follow_on_task f JOIN follow_on_action a ON a.follow_on_action_id = f.follow_on_action_id"
            + " JOIN task t ON t.task_id = a.parent_task_id AND t.suffix = a.parent_suffix"
            + " WHERE f.task_id = ? AND f.suffix = ? AND NOT (t.task_id = ? AND t.suffix = ?) ORDER BY t.task_name",
            taskID, suffix, taskID, suffix);
        List<MDScheduleEvent> rules = RULES.list(database, MDScheduleEvent::new, key);
        RULES.clear(database, key);
        SCHEDULES.clear(database, key);
        MEMBERS.clear(database, key);
        deleteUnused(database, rules);
        endCodeSets(database, taskID, suffix);
        endActions(database, taskID, suffix);
        sql.update("DELETE FROM task_statistic WHERE task_id = ? AND suffix = ?", key);
        Rights.forget(database, new Rights.Subject(Rights.STATISTIC, taskID, suffix));
        sql.update("UPDATE task_history SET running_status = " + FAILED + ", version = version + 1"
            + " WHERE running_status IN (1, 6) AND task_history_id IN (SELECT task_history_id FROM task_exec"
            + " WHERE task_id = ? AND suffix = ?)", key);
        forget(database, "task_id = ? AND suffix = ? AND" + QUEUED, key);
    }

    private static void endActions(Database database, long taskID, int suffix) throws SQLException, StoreException {
        database.sql().update("DELETE FROM follow_on_task WHERE task_id = ? AND suffix = ?", taskID, suffix);
        for (MDFollowOnAction action : followOns(database, taskID, suffix)) {
            database.delete(action);
        }
        for (MDNotificationAction action : notifications(database, taskID, suffix)) {
            database.delete(action);
        }
    }

    /** Refuses with IN_USE when the query finds the name of a task that needs this one. */
    private static void refuse(Database database, Object[] key, String because, String query, Object... parameters)
        throws SQLException, StoreException {
        String other = database.sql().first(query, row -> row.getString(1), parameters);
        if (other != null) {
            throw new StoreException(StoreCodes.IN_USE, Relation.TASK.of(database, key) + because + "'" + other + "'");
        }
    }

    private static void forgetPending(Database database, String which, Object... parameters) throws SQLException {
        forget(database, which + " AND" + PENDING, parameters);
    }

    private static void forget(Database database, String which, Object... parameters) throws SQLException {
        String queued = " FROM task_exec WHERE " + which;
        database.sql().update("DELETE FROM permission WHERE object_kind = " + Rights.EXECUTION
            + " AND object_id IN (SELECT task_exec_id" + queued + ")", parameters);
        database.sql().update("DELETE" + queued, parameters);
    }
}
