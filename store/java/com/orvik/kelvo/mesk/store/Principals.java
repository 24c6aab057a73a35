package com.orvik.kelvo.mesk.store;

import java.sql.SQLException;
import java.util.Locale;

/** Users and groups as the store knows them: by name, in capitals. */
public final class Principals {
    public static final int USER = 0;
    public static final int GROUP = 1;

    private Principals() {
    }

    /** The user of the operating system. */
    public static String caller() {
        return OsUser.current().name();
    }

    /** The name as it is kept; null for null. */
    public static String fold(String name) {
        return name == null ? null : name.toUpperCase(Locale.ROOT);
    }

    /** The name as it is kept; fails for a principal without one. */
    public static String required(String name) throws StoreException {
        if (name == null || name.isEmpty()) {
            throw new StoreException(StoreCodes.INVALID, "a user or group needs a name");
        }
        return fold(name);
    }

    public static boolean isSuperuser(Database database, String user) throws SQLException {
        return database.sql().exists("SELECT 1 FROM principal WHERE kind = 0 AND name = ? AND superuser = 1", user);
    }

    public static boolean isAdmin(Database database, String user) throws SQLException {
        return database.sql().exists("SELECT 1 FROM principal WHERE kind = 0 AND name = ? AND admin = 1", user);
    }

    /** Fails with NOT_FOUND for a user or group whom the store does not know. */
    public static void requireKnown(Database database, int kind, String name) throws SQLException, StoreException {
        if (!exists(database, kind, name)) {
            throw new StoreException(StoreCodes.NOT_FOUND, "there is no " + (kind == USER ? "user " : "group ") + name);
        }
    }

    public static boolean exists(Database database, int kind, String name) throws SQLException {
        return database.sql().exists("SELECT 1 FROM principal WHERE kind = ? AND name = ?", kind, name);
    }
}
