package com.orvik.kelvo.mesk.store;

import java.util.Set;

/**
 * What the rows of a table ask of a user: one condition on the row for each thing that is done with it. A condition is
 * SQL over the row and over two queries that stand before every statement with one: `me`, the user as the store knows
 * him (no row for a stranger), and `mine`, the rights that were given to him or to a group of his. So lists are
 * filtered where they are read, and a change is judged by the row as it stands, before and after, whatever the object
 * says. Of superusers nothing is asked.
 */
public final class Guard {
    /** A condition, and the name of the right that one who fails it lacks; null where administrators pass. */
    record Condition(String sql, String right) {
    }

    private static final String GIVEN = "SELECT p.object_kind, p.object_id, p.object_suffix, p.permission FROM me";

    /** Stands before a statement whose conditions are about the user of its first parameter. */
    static final String FOR_USER = "WITH me AS (SELECT name, admin FROM principal WHERE kind = 0 AND name = ?),"
        + " mine AS (" + GIVEN + " JOIN permission p ON p.principal_kind = 0 AND p.principal_name = me.name"
        + " UNION ALL " + GIVEN + " JOIN membership m ON m.user_name = me.name"
        + " JOIN permission p ON p.principal_kind = 1 AND p.principal_name = m.group_name) ";

    /** The same for the group of the first parameter. */
    static final String FOR_GROUP = "WITH me AS (SELECT name, 0 AS admin FROM principal WHERE kind = 1 AND name = ?),"
        + " mine AS (" + GIVEN + " JOIN permission p ON p.principal_kind = 1 AND p.principal_name = me.name) ";

    private static final String READ = "0";
    private static final String UPDATE = "1";
    private static final String EXECUTE = "2";
    private static final String EITHER = "1, 2";
    private static final String ANY = "{}";

    private static final String KNOWN = "EXISTS (SELECT 1 FROM me)";
    private static final String ADMINISTRATOR = "EXISTS (SELECT 1 FROM me WHERE admin = 1)";
    private static final Condition ADMINISTRATORS = new Condition(ADMINISTRATOR, null);

    /** Rows that everybody whom the store knows may read, and administrators change. */
    public static final Guard ADMINISTERED = new Guard(null, null, reading(KNOWN), ADMINISTRATORS, ADMINISTRATORS,
        ADMINISTRATORS);

    /** A task. Who may run it may also keep account in it of its runs. */
    public static final Guard TASK = new Guard("task", onTask("task", ANY), reading(onTask("task", READ)),
        ADMINISTRATORS, updating(onTask("task", UPDATE)), updating(onTask("task", UPDATE)))
        .orOnly(onTask("task", EXECUTE), "state", "running_status", "number_of_executions", "next_start",
            "current_start_date_time", "last_start", "last_end", "last_duration", "last_return_code", "last_success",
            "last_execution_user_id", "last_execution_results");

    /** An execution. Who may run the task but not change it runs it as the user whom the task names. */
    public static final Guard EXECUTION = new Guard("execution", execution(ANY), reading(execution(READ)),
        running(either(onTask("task_exec", EXECUTE) + " AND " + either("NOT EXISTS (SELECT 1 FROM task t"
            + " WHERE t.task_id = task_exec.task_id AND t.suffix = task_exec.suffix"
            + " AND coalesce(t.user_id, '') <> coalesce(task_exec.user_id, ''))", onTask("task_exec", UPDATE)),
            "task_exec.started_by_run_now = 0 AND " + onTask("task_exec", UPDATE))),
        running(onTask("task_exec", UPDATE)), running(execution(EITHER)))
        .orAllBut(execution(EITHER), "task_id", "suffix", "user_id");

    /** The history of a run. */
    public static final Guard HISTORY = new Guard("run", history(ANY), reading(history(READ)),
        running(onTask("task_history", EXECUTE)), running(onTask("task_history", EITHER)), updating(history(UPDATE)))
        .orAllBut(history(EITHER), "task_id", "suffix");

    /** A result. One that no history has yet is anybody's who may run some task. */
    public static final Guard RESULT = new Guard("result", result(ANY), reading(result(READ)),
        running(either(resultOfTask(EXECUTE), "task_result.task_history_id IS NULL AND " + onSome(EXECUTE))),
        running(either(resultOfTask(EITHER), "task_result.task_history_id IS NULL AND " + onSome(EXECUTE))),
        updating(result(UPDATE)))
        .orAllBut(result(EITHER), "task_history_id");

    /** The statistic of a task. */
    public static final Guard STATISTIC = new Guard("statistic", statistic(ANY), reading(statistic(READ)),
        running(onTask("task_statistic", EXECUTE)), running(statistic(EITHER)), updating(statistic(UPDATE)));

    /** A snapshot of a task. Who may read the history of a run may read the snapshot that it has. */
    public static final Guard SNAPSHOT = new Guard("snapshot", null,
        reading(either(onTask("task_snapshot", READ), "task_snapshot.task_snapshot_id IN (SELECT h.task_snapshot_id"
            + " FROM task_history h WHERE h.task_history_id IN " + keys(Rights.HISTORY, READ) + ")")),
        running(onTask("task_snapshot", EITHER)), running(onTask("task_snapshot", EITHER)),
        updating(onTask("task_snapshot", UPDATE)));

    /** A schedule rule: of tasks, of shared schedules, or of none yet. */
    public static final Guard RULE = new Guard("schedule rule", null,
        reading(KNOWN + " AND " + either("EXISTS (SELECT 1 FROM shared_schedule_event s"
            + " WHERE s.schedule_event_id = schedule_event.schedule_event_id)",
            readThrough("task_schedule_event", "schedule_event", "schedule_event_id"))),
        updating(changesSome()), updating(changesRule()), updating(changesRule()));

    /** Success codes: of tasks, or of none yet. */
    public static final Guard SUCCESS_CODES = new Guard("set of success codes", null,
        reading(KNOWN + " AND "
            + either(readThrough("task_success_code_set", "success_code_set", "success_code_set_id"))),
        updating(changesSome()), updating(changedThrough("success_code_set")),
        updating(changedThrough("success_code_set")));

    /** One of the conditions of a set of success codes. */
    public static final Guard SUCCESS_CODE = new Guard("success code", null,
        reading(KNOWN + " AND " + either(readThrough("task_success_code_set", "code_condition",
            "success_code_set_id"))),
        updating(changedThrough("code_condition")), updating(changedThrough("code_condition")),
        updating(changedThrough("code_condition")));

    /** An action at the end of a task that acts on others, each of which the user may start or switch himself. */
    public static final Guard FOLLOW_ON = new Guard("follow-on action", null,
        reading(readByParent("follow_on_action")),
        updating(changedByParent("follow_on_action") + " AND " + actsOnAllowed()),
        updating(changedByParent("follow_on_action") + " AND " + actsOnAllowed()),
        updating(changedByParent("follow_on_action")));

    /** An action at the end of a task that tells people. */
    public static final Guard NOTIFICATION = new Guard("notification action", null,
        reading(readByParent("notification_action")), updating(changedByParent("notification_action")),
        updating(changedByParent("notification_action")), updating(changedByParent("notification_action")));

    private final String noun;
    private final String covered;
    private final Condition read;
    private final Condition insert;
    private final Condition update;
    private final Condition delete;
    private Condition fewer;
    private boolean only;
    private Set<String> columns = Set.of();

    private Guard(String noun, String covered, Condition read, Condition insert, Condition update, Condition delete) {
        this.noun = noun;
        this.covered = covered;
        this.read = read;
        this.insert = insert;
        this.update = update;
        this.delete = delete;
    }

    /** Who meets the condition, but not that of an update, may update these columns. */
    private Guard orOnly(String condition, String... names) {
        fewer = updating(condition);
        only = true;
        columns = Set.of(names);
        return this;
    }

    /** Who meets the condition, but not that of an update, may update all columns but these. */
    private Guard orAllBut(String condition, String... names) {
        fewer = updating(condition);
        columns = Set.of(names);
        return this;
    }

    /** What people call such a row. */
    String noun(Table table) {
        return noun == null ? table.name().replace('_', ' ') : noun;
    }

    /** The condition that a user or group has a right on the row, by itself or by what it belongs to. */
    String holding(int right) {
        return covered.replace(ANY, Integer.toString(right));
    }

    Condition read() {
        return read;
    }

    Condition insert() {
        return insert;
    }

    Condition update() {
        return update;
    }

    Condition delete() {
        return delete;
    }

    /** The condition under which the columns that {@link #mayChange} tells can be updated, or null. */
    Condition fewer() {
        return fewer;
    }

    boolean mayChange(Set<String> changed) {
        for (String column : changed) {
            if (columns.contains(column) != only) {
                return false;
            }
        }
        return true;
    }

    private static Condition reading(String sql) {
        return new Condition(sql, Rights.name(Rights.READ));
    }

    private static Condition updating(String sql) {
        return new Condition(sql, Rights.name(Rights.UPDATE));
    }

    private static Condition running(String sql) {
        return new Condition(sql, Rights.name(Rights.EXECUTE));
    }

    private static String either(String... conditions) {
        return "(" + String.join(" OR ", conditions) + ")";
    }

    /** The keys of the records of a kind that some right of these was given on. */
    private static String keys(int kind, String rights) {
        return "(SELECT object_id FROM mine WHERE object_kind = " + kind + " AND permission IN (" + rights + "))";
    }

    private static String tasks(String rights) {
        return "(SELECT object_id, object_suffix FROM mine WHERE object_kind = " + Rights.TASK + " AND permission IN ("
            + rights + "))";
    }

    private static String onTask(String table, String rights) {
        return "(" + table + ".task_id, " + table + ".suffix) IN " + tasks(rights);
    }

    private static String onSome(String rights) {
        return "EXISTS " + tasks(rights);
    }

    private static String execution(String rights) {
        return either("task_exec.task_exec_id IN " + keys(Rights.EXECUTION, rights), onTask("task_exec", rights));
    }

    private static String history(String rights) {
        return either("task_history.task_history_id IN " + keys(Rights.HISTORY, rights),
            onTask("task_history", rights));
    }

    private static String resultOfTask(String rights) {
        return "EXISTS (SELECT 1 FROM task_history h WHERE h.task_history_id = task_result.task_history_id AND "
            + onTask("h", rights) + ")";
    }

    private static String result(String rights) {
        return either("task_result.task_result_id IN " + keys(Rights.RESULT, rights),
            "task_result.task_history_id IN " + keys(Rights.HISTORY, rights), resultOfTask(rights));
    }

    private static String statistic(String rights) {
        return either(onTask("task_statistic", rights), "(task_statistic.task_id, task_statistic.suffix) IN (SELECT"
            + " object_id, object_suffix FROM mine WHERE object_kind = " + Rights.STATISTIC + " AND permission IN ("
            + rights + "))");
    }

    private static String changesSome() {
        return either(ADMINISTRATOR, onSome(UPDATE));
    }

    /** Rows that tasks have by a table of links: unused, or one of the tasks can be read. */
    private static String readThrough(String links, String table, String column) {
        String linked = "EXISTS (SELECT 1 FROM " + links + " l WHERE l." + column + " = " + table + "." + column;
        return "NOT " + linked + ") OR " + linked + " AND " + onTask("l", READ) + ")";
    }

    private static String allTasksOf(String links, String table, String column) {
        return changesSome() + " AND NOT EXISTS (SELECT 1 FROM " + links + " l WHERE l." + column + " = " + table + "."
            + column + " AND NOT " + onTask("l", UPDATE) + ")";
    }

    private static String changesRule() {
        return allTasksOf("task_schedule_event", "schedule_event", "schedule_event_id") + " AND "
            + either(ADMINISTRATOR, "NOT EXISTS (SELECT 1 FROM shared_schedule_event s"
                + " WHERE s.schedule_event_id = schedule_event.schedule_event_id)");
    }

    private static String changedThrough(String table) {
        return allTasksOf("task_success_code_set", table, "success_code_set_id");
    }

    private static String byParent(String table, String rights) {
        return "(" + table + ".parent_task_id, " + table + ".parent_suffix) IN " + tasks(rights);
    }

    private static String readByParent(String table) {
        return KNOWN + " AND " + either(table + ".parent_task_id IS NULL", byParent(table, READ));
    }

    private static String changedByParent(String table) {
        return either(table + ".parent_task_id IS NULL AND " + changesSome(), byParent(table, UPDATE));
    }

    private static String actsOnAllowed() {
        return "NOT EXISTS (SELECT 1 FROM follow_on_task f"
            + " WHERE f.follow_on_action_id = follow_on_action.follow_on_action_id AND NOT "
            + either("follow_on_action.action = 1 AND " + onTask("f", EXECUTE),
                "follow_on_action.action <> 1 AND " + onTask("f", UPDATE)) + ")";
    }
}
