package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.Sql;
import com.orvik.kelvo.mesk.store.StoreException;
import java.nio.charset.StandardCharsets;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.sql.SQLException;
import java.sql.Timestamp;
import java.util.LinkedHashSet;
import java.util.List;

/**
 * Keeps definitions of tasks with the histories of their runs. Runs of one unchanged definition share one snapshot, so
 * that snapshots grow with the changes of a task and not with its runs.
 */
final class Snapshots {
    private Snapshots() {
    }

    /** The key of the snapshot of the history's task as it stands now, 0 when there is no such task. */
    static long take(Database database, MDTaskHistory history) throws SQLException, StoreException {
        long taskID = history.getTaskID();
        int suffix = history.getSuffix();
        List<MDTask> tasks = database.list(MDTask::new, "WHERE task_id = ? AND suffix = ?", taskID, suffix);
        if (tasks.isEmpty()) {
            return 0;
        }
        MDTaskSnapshot snapshot = of(database, tasks.get(0), history);
        byte[] digest = digest(snapshot);
        List<MDTaskSnapshot> equal = database.list(MDTaskSnapshot::new,
            "WHERE task_id = ? AND suffix = ? AND digest = ?", taskID, suffix, digest);
        if (equal.isEmpty()) {
            snapshot.digest(digest);
            snapshot.setLatestSnapshot(1);
            database.insert(snapshot);
            return snapshot.snapshotID();
        }
        MDTaskSnapshot known = equal.get(0);
        if (known.getLatestSnapshot() == 0) {
            noneIsLatest(database, taskID, suffix);
            database.sql().update("UPDATE task_snapshot SET latest_snapshot = 1, version = version + 1"
                + " WHERE task_snapshot_id = ?", known.snapshotID());
        }
        return known.snapshotID();
    }

    /** Before another snapshot of the task becomes the latest. */
    static void noneIsLatest(Database database, long taskID, int suffix) throws SQLException {
        database.sql().update("UPDATE task_snapshot SET latest_snapshot = 0, version = version + 1"
            + " WHERE task_id = ? AND suffix = ? AND latest_snapshot <> 0", taskID, suffix);
    }

    /** Before a history goes: the rights on its results, the results, and what its follow-on actions did. */
    static void forgetDetails(Database database, long historyID) throws SQLException {
        database.sql().update("DELETE FROM permission WHERE object_kind = " + Rights.RESULT + " AND object_id IN"
            + " (SELECT task_result_id FROM task_result WHERE task_history_id = ?)", historyID);
        database.sql().update("DELETE FROM task_result WHERE task_history_id = ?", historyID);
        database.sql().update("DELETE FROM follow_on_fired WHERE task_history_id = ?", historyID);
    }

    /** As {@link #prune}, for each task that has a history or claim of that age, or is gone and has snapshots. */
    static void pruneAll(Database database, Timestamp before) throws SQLException {
        List<long[]> tasks = database.sql().list("SELECT task_id, suffix FROM task_history WHERE start_time < ?"
            + " UNION SELECT task_id, suffix FROM run_claim WHERE instant_ms < ?"
            + " UNION SELECT s.task_id, s.suffix FROM task_snapshot s WHERE NOT EXISTS (SELECT 1 FROM task t"
            + " WHERE t.task_id = s.task_id AND t.suffix = s.suffix)",
            row -> new long[] {row.getLong(1), row.getLong(2)}, before, before);
        for (long[] task : tasks) {
            prune(database, task[0], (int) task[1], before);
        }
    }

    /**
     * Takes away the finished histories of a task that started before an instant, with their results, rights and
     * claims, claims as old that never got a history, and the snapshots that no history has any more. A run that goes
     * on or waits for a retry keeps all, and a group's keeps the histories of its steps, which say how far it is.
     */
    static void prune(Database database, long taskID, int suffix, Timestamp before) throws SQLException {
        Sql sql = database.sql();
        String old = "SELECT task_history_id FROM task_history WHERE task_id = ? AND suffix = ? AND start_time < ?"
            + " AND running_status NOT IN (1, 6) AND root_task_history_id NOT IN"
            + " (SELECT task_history_id FROM task_history WHERE running_status IN (1, 6))";
        sql.update("DELETE FROM permission WHERE object_kind = " + Rights.RESULT + " AND object_id IN"
            + " (SELECT task_result_id FROM task_result WHERE task_history_id IN (" + old + "))",
            taskID, suffix, before);
        sql.update("DELETE FROM permission WHERE object_kind = " + Rights.HISTORY + " AND object_id IN (" + old + ")",
            taskID, suffix, before);
        sql.update("DELETE FROM task_result WHERE task_history_id IN (" + old + ")", taskID, suffix, before);
        sql.update("DELETE FROM follow_on_fired WHERE task_history_id IN (" + old + ")", taskID, suffix, before);
        sql.update("DELETE FROM run_claim WHERE task_history_id IN (" + old + ")", taskID, suffix, before);
        sql.update("DELETE FROM task_history WHERE task_history_id IN (" + old + ")", taskID, suffix, before);
        sql.update("DELETE FROM run_claim WHERE task_id = ? AND suffix = ? AND instant_ms < ?"
            + " AND task_history_id NOT IN (SELECT task_history_id FROM task_history)"
            + " AND task_exec_id NOT IN (SELECT task_exec_id FROM task_exec)", taskID, suffix, before);
        sql.update("DELETE FROM task_snapshot WHERE task_id = ? AND suffix = ? AND NOT EXISTS (SELECT 1"
            + " FROM task_history h WHERE h.task_snapshot_id = task_snapshot.task_snapshot_id) AND (latest_snapshot = 0"
            + " OR NOT EXISTS (SELECT 1 FROM task t WHERE t.task_id = task_snapshot.task_id"
            + " AND t.suffix = task_snapshot.suffix))", taskID, suffix);
    }

    private static MDTaskSnapshot of(Database database, MDTask task, MDTaskHistory history) throws SQLException {
        MDTaskSnapshot snapshot = new MDTaskSnapshot();
        snapshot.setTaskID(task.getTaskID());
        snapshot.setSuffix(task.getSuffix());
        snapshot.setTaskName(task.getTaskName());
        snapshot.setSystemID(task.getSystemID());
        snapshot.setExecutionSystemID(task.getExecutionSystemID());
        snapshot.setExecutionPartitionID(task.getExecutionPartitionID());
        snapshot.setTaskUserID(task.getUserID());
        snapshot.setTaskCategory(task.getTaskCategory());
        snapshot.setOwner(task.getOwner());
        snapshot.setTaskType(task.getTaskType());
        snapshot.setScriptContent(task.getScriptContent());
        snapshot.setTargetDBObjects(task.getTargetDBObjects());
        snapshot.setModified(task.getModified());
        snapshot.setScheduleEnable(task.getScheduleEnable());
        snapshot.setNotificationEnable(task.getNotificationEnable());
        snapshot.setFollowOnTaskEnable(task.getFollowOnTaskEnable());
        snapshot.setExecutionUserID(history.getUserID());
        snapshot.setParameters(task.getDefaultParameters());
        snapshot.setScheduleIDs(scheduleIDs(database, task.getTaskID(), task.getSuffix()));
        snapshot.setFollowOnTaskIDs(followOnTaskIDs(database, task.getTaskID(), task.getSuffix()));
        snapshot.setNotificationIDs(notificationIDs(database, task.getTaskID(), task.getSuffix()));
        if (snapshot.getNotificationIDs() != null) {
            snapshot.setContactNames(contactNames(database, task.getTaskID(), task.getSuffix()));
        }
        snapshot.setInvocationType(history.getInvocationMethod());
        return snapshot;
    }

    /** The rules that apply to the task: its own, then those of the shared schedules that it uses. */
    private static String scheduleIDs(Database database, long taskID, int suffix) throws SQLException {
        return texts(database, ",", "SELECT schedule_event_id FROM (SELECT 0 AS schedule, position AS place,"
            + " schedule_event_id FROM task_schedule_event WHERE task_id = ? AND suffix = ? UNION ALL"
            + " SELECT u.position, r.position, r.schedule_event_id FROM task_shared_schedule u JOIN"
            + " shared_schedule_event r ON r.shared_named_schedule_id = u.shared_named_schedule_id"
            + " WHERE u.task_id = ? AND u.suffix = ?) rules ORDER BY schedule, place", taskID, suffix, taskID, suffix);
    }

    /** The tasks that the task's follow-on actions act on; behind a point the suffix of those that have one. */
    private static String followOnTaskIDs(Database database, long taskID, int suffix) throws SQLException {
        return texts(database, ",", "SELECT CASE f.suffix WHEN 0 THEN CAST(f.task_id AS TEXT)"
            + " ELSE CAST(f.task_id AS TEXT) || '.' || CAST(f.suffix AS TEXT) END FROM follow_on_action a"
            + " JOIN follow_on_task f ON f.follow_on_action_id = a.follow_on_action_id"
            + " WHERE a.parent_task_id = ? AND a.parent_suffix = ? ORDER BY a.position, f.position", taskID, suffix);
    }

    private static String notificationIDs(Database database, long taskID, int suffix) throws SQLException {
        return texts(database, ",", "SELECT notification_action_id FROM notification_action WHERE parent_task_id = ?"
            + " AND parent_suffix = ? ORDER BY position", taskID, suffix);
    }

    /** The contacts that the task's notification actions tell, and their contact groups. */
    private static String contactNames(Database database, long taskID, int suffix) throws SQLException {
        return texts(database, ", ", "SELECT name FROM (SELECT a.position AS place, 0 AS kind, c.position AS within,"
            + " c.contact_name AS name FROM notification_action a JOIN notification_contact c"
            + " ON c.notification_action_id = a.notification_action_id WHERE a.parent_task_id = ?"
            + " AND a.parent_suffix = ? UNION ALL SELECT a.position, 1, g.position, g.contact_group_name"
            + " FROM notification_action a JOIN notification_contact_group g"
            + " ON g.notification_action_id = a.notification_action_id WHERE a.parent_task_id = ?"
            + " AND a.parent_suffix = ?) told ORDER BY place, kind, within", taskID, suffix, taskID, suffix);
    }

    /** The texts of a column, each once, in their order; null when there are none. */
    private static String texts(Database database, String separator, String query, Object... parameters)
        throws SQLException {
        List<String> all = database.sql().list(query, row -> row.getString(1), parameters);
        return all.isEmpty() ? null : String.join(separator, new LinkedHashSet<>(all));
    }

    /** Equal for equal definitions: each property stands with its length, so that none runs into the next. */
    private static byte[] digest(MDTaskSnapshot snapshot) {
        StringBuilder text = new StringBuilder();
        Object[] properties = {snapshot.getTaskName(), snapshot.getSystemID(), snapshot.getExecutionSystemID(),
            snapshot.getExecutionPartitionID(), snapshot.getTaskUserID(), snapshot.getTaskCategory(),
            snapshot.getOwner(), snapshot.getTaskType(), MDClob.textOf(snapshot.getScriptContent()),
            snapshot.getTargetDBObjects(), snapshot.getModified() == null ? null : snapshot.getModified().getTime(),
            snapshot.getScheduleEnable(), snapshot.getNotificationEnable(), snapshot.getFollowOnTaskEnable(),
            snapshot.getExecutionUserID(), snapshot.getParameters(), snapshot.getScheduleIDs(),
            snapshot.getInvocationType()};
        append(text, properties);
        // Only where there are any: a definition without has the digest that it had before these were kept.
        Object[] related = {snapshot.getFollowOnTaskIDs(), snapshot.getNotificationIDs(), snapshot.getContactNames()};
        if (related[0] != null || related[1] != null) {
            append(text, related);
        }
        try {
            return MessageDigest.getInstance("SHA-256").digest(text.toString().getBytes(StandardCharsets.UTF_8));
        } catch (NoSuchAlgorithmException impossible) {
            throw new AssertionError(impossible);
        }
    }

    private static void append(StringBuilder text, Object... properties) {
        for (Object property : properties) {
            String value = property == null ? "" : property.toString();
            text.append(property == null ? -1 : value.length()).append(':').append(value);
        }
    }
}
