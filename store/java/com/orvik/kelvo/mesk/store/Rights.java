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

    private static final String OF_SUBJECT = " object_kind = ? AND object_id = ? AND object_suffix = ?";

    private Rights() {
    }

    public static boolean userHas(Database database, Subject subject, String user, int right) throws SQLException {
        return Principals.isSuperuser(database, user)
            || database.sql().exists("SELECT 1 FROM permission WHERE" + OF_SUBJECT
                + " AND permission = ? AND (principal_kind = 0 AND principal_name = ? OR principal_kind = 1"
                + " AND principal_name IN (SELECT group_name FROM membership WHERE user_name = ?))",
                subject.kind(), subject.id(), subject.suffix(), right, user, user);
    }

    public static boolean groupHas(Database database, Subject subject, String group, int right) throws SQLException {
        return holds(database, subject, Principals.GROUP, group, right);
    }

    public static void set(Database database, Subject subject, int kind, String name, int right, boolean allowed)
        throws SQLException {
        if (!allowed) {
            database.sql().update("DELETE FROM permission WHERE" + OF_SUBJECT
                + " AND principal_kind = ? AND principal_name = ? AND permission = ?",
                subject.kind(), subject.id(), subject.suffix(), kind, name, right);
        } else if (!holds(database, subject, kind, name, right)) {
            database.sql().update("INSERT INTO permission (object_kind, object_id, object_suffix, principal_kind,"
                + " principal_name, permission) VALUES (?, ?, ?, ?, ?, ?)",
                subject.kind(), subject.id(), subject.suffix(), kind, name, right);
        }
    }

    /** Names of the users or groups that were given a right on the record, in order. */
    public static List<String> holders(Database database, Subject subject, int kind, int right)
        throws SQLException, StoreException {
        if (right < READ || right > EXECUTE) {
            throw new StoreException(StoreCodes.INVALID, "permission: 0 read, 1 update, 2 execute; not " + right);
        }
        return database.sql().list("SELECT principal_name FROM permission WHERE" + OF_SUBJECT
            + " AND principal_kind = ? AND permission = ? ORDER BY principal_name", row -> row.getString(1),
            subject.kind(), subject.id(), subject.suffix(), kind, right);
    }

    public static void forget(Database database, Subject subject) throws SQLException {
        database.sql().update("DELETE FROM permission WHERE" + OF_SUBJECT,
            subject.kind(), subject.id(), subject.suffix());
    }

    private static boolean holds(Database database, Subject subject, int kind, String name, int right)
        throws SQLException {
        return database.sql().exists("SELECT 1 FROM permission WHERE" + OF_SUBJECT
            + " AND principal_kind = ? AND principal_name = ? AND permission = ?",
            subject.kind(), subject.id(), subject.suffix(), kind, name, right);
    }
}
