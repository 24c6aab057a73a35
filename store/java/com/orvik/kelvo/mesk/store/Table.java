package com.orvik.kelvo.mesk.store;

import java.sql.SQLException;
import java.util.List;

/** The statements of one table, made once from the column names of its records. */
public final class Table {
    private final String name;
    private final int keys;
    private final Guard guard;
    private volatile Statements statements;

    /** The texts, and the number of columns that are not key columns. */
    record Statements(int others, String insert, String update, String delete, String select, String readable,
        String match) {
    }

    /** A table whose first `keys` columns are its primary key, which everybody reads and administrators change. */
    public Table(String name, int keys) {
        this(name, keys, Guard.ADMINISTERED);
    }

    /** A table whose first `keys` columns are its primary key, and what its rows ask of users. */
    public Table(String name, int keys, Guard guard) {
        this.name = name;
        this.keys = keys;
        this.guard = guard;
    }

    public String name() {
        return name;
    }

    int keys() {
        return keys;
    }

    Guard guard() {
        return guard;
    }

    /** The statements, made from any record of the table. */
    Statements statements(Stored record) throws SQLException {
        Statements made = statements;
        if (made == null) {
            ColumnNames walk = new ColumnNames();
            record.columns(walk);
            made = make(walk.names);
            statements = made;
        }
        return made;
    }

    private Statements make(List<String> names) {
        StringBuilder list = new StringBuilder();
        StringBuilder marks = new StringBuilder();
        StringBuilder changes = new StringBuilder();
        StringBuilder match = new StringBuilder();
        for (int i = keys; i < names.size(); i++) {
            list.append(names.get(i)).append(", ");
            marks.append("?, ");
            changes.append(names.get(i)).append(" = ?, ");
        }
        for (int i = 0; i < keys; i++) {
            list.append(names.get(i)).append(", ");
            marks.append("?, ");
            match.append(i == 0 ? " WHERE " : " AND ").append(names.get(i)).append(" = ?");
        }
        String all = String.join(", ", names);
        return new Statements(names.size() - keys,
            "INSERT INTO " + name + " (" + list + "version) VALUES (" + marks + "1)",
            "UPDATE " + name + " SET " + changes + "version = version + 1" + match + " AND version = ?",
            "DELETE FROM " + name + match + " AND version = ?",
            "SELECT " + all + ", version FROM " + name + " ",
            Guard.FOR_USER + "SELECT " + all + ", version FROM (SELECT * FROM " + name + " WHERE " + guard.read().sql()
                + ") AS " + name + " ",
            match.toString());
    }
}
