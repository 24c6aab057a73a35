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

    /** Before a history goes: the rights on its results, and the results. */
    static void forgetResults(Database database, long historyID) throws SQLException {
        database.sql().update("DELETE FROM permission WHERE object_kind = " + Rights.RESULT + " AND object_id IN"
            + " (SELECT task_result_id FROM task_result WHERE task_history_id = ?)", historyID);
        database.sql().update("DELETE FROM task_result WHERE task_history_id = ?", historyID);
    }

    /** As {@link #prune}, for each task that has a history of that age. */
    static void pruneAll(Database database, Timestamp before) throws SQLException {
        List<long[]> tasks = database.sql().list("SELECT DISTINCT task_id, suffix FROM task_history WHERE start_time < ?",
            row -> new long[] {row.getLong(1), row.getLong(2)}, before);
        for (long[] task : tasks) {
            prune(database, task[0], (int) task[1], before);
        }
    }

    /**
     * Takes away the finished histories of a task that started before an instant, with their results, rights and
     * claims, claims as old that never got a history, and the snapshots that no history has any more. A run that goes
     * on or waits for a retry keeps all.
     */
    static void prune(Database database, long taskID, int suffix, Timestamp before) throws SQLException {
        Sql sql = database.sql();
        String old = "SELECT task_history_id FROM task_history WHERE task_id = ? AND suffix = ? AND start_time < ?"
            + " AND running_status NOT IN (1, 6)";
        sql.update("DELETE FROM permission WHERE object_kind = " + Rights.RESULT + " AND object_id IN"
            + " (SELECT task_result_id FROM task_result WHERE task_history_id IN (" + old + "))",
            taskID, suffix, before);
        sql.update("DELETE FROM permission WHERE object_kind = " + Rights.HISTORY + " AND object_id IN (" + old + ")",
            taskID, suffix, before);
        sql.update("DELETE FROM task_result WHERE task_history_id IN (" + old + ")", taskID, suffix, before);
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
        snapshot.setScheduleIDs(scheduleIDs(database, task));
        snapshot.setInvocationType(history.getInvocationMethod());
        return snapshot;
    }

    private static String scheduleIDs(Database database, MDTask task) throws SQLException {
        StringBuilder list = new StringBuilder();
        for (MDScheduleEvent rule : TaskRelations.rules(database, task.getTaskID(), task.getSuffix())) {
            list.append(list.length() == 0 ? "" : ",").append(rule.getScheduleEventID());
        }
        return list.length() == 0 ? null : list.toString();
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
        for (Object property : properties) {
            String value = property == null ? "" : property.toString();
            text.append(property == null ? -1 : value.length()).append(':').append(value);
        }
        try {
            return MessageDigest.getInstance("SHA-256").digest(text.toString().getBytes(StandardCharsets.UTF_8));
        } catch (NoSuchAlgorithmException impossible) {
            throw new AssertionError(impossible);
        }
    }
}
