package com.orvik.kelvo.mesk.store;

import java.io.IOException;
import java.io.InputStream;
import java.nio.charset.StandardCharsets;
import java.sql.SQLException;

/**
 * The tables of the store. Scripts 001.sql, 002.sql, ... each bring a store from the version below to theirs; a store
 * remembers its version. All that are missing run in one transaction when a session begins, so a store is never seen
 * halfway between two versions.
 */
final class Schema {
    /** The number of the last script. */
    static final int LATEST = 2;

    /** What a database holds: any table at all, and the store's own. */
    record Found(boolean anything, boolean store) {
    }

    private Schema() {
    }

    /** Makes or upgrades the tables. `creator` becomes superuser and administrator of a new store. */
    static void install(Database database, String creator) throws SQLException, StoreException {
        if (version(database) == LATEST) {
            return;
        }
        database.write(inner -> {
            int version = version(inner);
            for (int next = version + 1; next <= LATEST; next++) {
                run(inner, next);
            }
            if (version == 0) {
                inner.sql().update("INSERT INTO principal (kind, name, superuser, admin, version)"
                    + " VALUES (?, ?, 1, 1, 1)", Principals.USER, creator);
            }
            inner.sql().update("UPDATE store_schema SET version = ?", LATEST);
            return null;
        });
        database.commit();
    }

    /** The version of the store, 0 for an empty database. Fails for newer stores and for other databases. */
    private static int version(Database database) throws SQLException, StoreException {
        Found found = database.dialect().found(database.sql());
        if (!found.store()) {
            if (found.anything()) {
                throw new StoreException(StoreCodes.NOT_A_STORE, "the database belongs to something else");
            }
            return 0;
        }
        Integer version = database.sql().first("SELECT version FROM store_schema", row -> row.getInt(1));
        if (version == null) {
            throw new StoreException(StoreCodes.DAMAGED, "the store does not say which version it is");
        }
        if (version > LATEST) {
            throw new StoreException(StoreCodes.STORE_TOO_NEW,
                "the store has version " + version + ", this release knows versions up to " + LATEST);
        }
        return version;
    }

    /** Runs one script: statements that end with a semicolon at the end of a line; whole lines of comment. */
    private static void run(Database database, int number) throws SQLException, StoreException {
        String digits = Integer.toString(number);
        String name = database.dialect().scripts() + "000".substring(digits.length()) + digits + ".sql";
        StringBuilder statement = new StringBuilder();
        for (String line : text(name).split("\n")) {
            if (line.startsWith("--")) {
                continue;
            }
            statement.append(line).append('\n');
            if (line.endsWith(";")) {
                database.sql().execute(statement.toString());
                statement.setLength(0);
            }
        }
    }

    private static String text(String name) throws StoreException {
        try (InputStream stream = Schema.class.getResourceAsStream(name)) {
            if (stream == null) {
                throw new StoreException(StoreCodes.INTERNAL, "the jar lacks " + name);
            }
            return new String(stream.readAllBytes(), StandardCharsets.UTF_8);
        } catch (IOException failure) {
            throw new StoreException(StoreCodes.INTERNAL, "cannot read " + name, failure);
        }
    }
}
