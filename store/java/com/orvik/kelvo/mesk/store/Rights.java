package com.orvik.kelvo.mesk.store;

import java.sql.SQLException;
import java.util.List;

/** The rights of users and groups on records. A right that is held is a row; one that is not held is none. */
public final class Rights {
    public static final int READ = 0;
    public static final int UPDATE = 1;
    public static final int EXECUTE = 2;

    /** Kinds of records that rights are held on. */
    public static final int TASK = 1;
    public static final int EXECUTION = 2;
    public static final int HISTORY = 3;
    public static final int RESULT = 4;
    public static final int STATISTIC = 5;

    /** One record: its kind and key; the suffix is 0 for kinds that have none. */
    public record Subject(int kind, long id, int suffix) {
    }

    private static final String[] TABLES = {"task", "task_exec", "task_history"};
    private static final String[] NAMES = {"read", "update", "execute"};
    private static final String OF_SUBJECT = " object_kind = ? AND object_id = ? AND object_suffix = ?";

    private Rights() {
    }

    /** What people call a right. */
    static String name(int right) {
        return NAMES[right];
    }

    /** Whether a user has the right by himself, by a group or as superuser, on the record or on the task it is of. */
    public static boolean userHas(Database database, Stored record, String user, int right) throws SQLException {
        return Principals.isSuperuser(database, user) || Access.has(database, record, Principals.USER, user, right);
    }

    /** Whether a group has the right, on the record or on the task it is of. */
    public static boolean groupHas(Database database, Stored record, String group, int right) throws SQLException {
        return Access.has(database, record, Principals.GROUP, group, right);
    }

    /** Gives a right to a user or group whom the store knows, or takes it away. */
    public static void set(Database database, Subject subject, int kind, String name, int right, boolean allowed)
        throws SQLException, StoreException {
        if (!allowed) {
            database.sql().update("DELETE FROM permission WHERE" + OF_SUBJECT
                + " AND principal_kind = ? AND principal_name = ? AND permission = ?",
                subject.kind(), subject.id(), subject.suffix(), kind, name, right);
        } else if (!holds(database, subject, kind, name, right)) {
            Principals.requireKnown(database, kind, name);
            database.sql().update("INSERT INTO permission (object_kind, object_id, object_suffix, principal_kind,"
                + " principal_name, permission) VALUES (?, ?, ?, ?, ?, ?)",
                subject.kind(), subject.id(), subject.suffix(), kind, name, right);
        }
    }

    /** Gives a user all rights; one whom the store does not know gets none. */
    public static void giveAll(Database database, Subject subject, String user) throws SQLException, StoreException {
        if (Principals.exists(database, Principals.USER, user)) {
            for (int right = READ; right <= EXECUTE; right++) {
                set(database, subject, Principals.USER, user, right, true);
            }
        }
    }

    /** Names of the users or groups that were given a right on the record, in order. */
    public static List<String> holders(Database database, Subject subject, int kind, int right)
        throws SQLException, StoreException {
        requireRight(right);
        return database.sql().list("SELECT principal_name FROM permission WHERE" + OF_SUBJECT
            + " AND principal_kind = ? AND permission = ? ORDER BY principal_name", row -> row.getString(1),
            subject.kind(), subject.id(), subject.suffix(), kind, right);
    }

    /** Names of the tasks that the session's user has a right on, in order. */
    public static List<String> tasksWith(Database database, int right) throws SQLException, StoreException {
        requireRight(right);
        String tasks = "SELECT task_name FROM task";
        return database.access().isUnlimited()
            ? database.sql().list(tasks + " ORDER BY task_name", row -> row.getString(1))
            : database.sql().list(Guard.FOR_USER + tasks + " WHERE " + Guard.TASK.holding(right)
                + " ORDER BY task_name", row -> row.getString(1), database.access().user());
    }

    /** How many records of a kind there are, readable or not. */
    public static int count(Database database, int kind) throws SQLException, StoreException {
        if (kind < TASK || kind > HISTORY) {
            throw new StoreException(StoreCodes.INVALID, "kind: 1 task, 2 execution, 3 run; not " + kind);
        }
        return database.sql().first("SELECT count(*) FROM " + TABLES[kind - TASK], row -> row.getInt(1));
    }

    public static void forget(Database database, Subject subject) throws SQLException {
        database.sql().update("DELETE FROM permission WHERE" + OF_SUBJECT,
            subject.kind(), subject.id(), subject.suffix());
    }

    private static void requireRight(int right) throws StoreException {
        if (right < READ || right > EXECUTE) {
            throw new StoreException(StoreCodes.INVALID, "permission: 0 read, 1 update, 2 execute; not " + right);
        }
    }

    private static boolean holds(Database database, Subject subject, int kind, String name, int right)
        throws SQLException {
        return database.sql().exists("SELECT 1 FROM permission WHERE" + OF_SUBJECT
            + " AND principal_kind = ? AND principal_name = ? AND permission = ?",
            subject.kind(), subject.id(), subject.suffix(), kind, name, right);
    }
}
