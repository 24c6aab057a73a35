package com.orvik.kelvo.mesk.sched;

import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;

/** The table that a step fills. Its name is as the database keeps it, with a schema before a dot. */
final class TargetTable {
    private record Column(String name, int type) {
    }

    private final Connection connection;
    private final String name;
    private final String quote;
    private final Map<String, Column> columns = new HashMap<>();
    private final List<Column> filled = new ArrayList<>();

    /** The columns are looked up; fails when there is no such table. */
    TargetTable(Connection connection, String name) throws SQLException {
        this.connection = connection;
        String mark = connection.getMetaData().getIdentifierQuoteString();
        this.quote = mark == null ? "" : mark.strip();
        List<String> parts = new ArrayList<>();
        for (String part : name.split("\\.", -1)) {
            parts.add(quoted(part));
        }
        this.name = String.join(".", parts);
        try (PreparedStatement all = connection.prepareStatement("SELECT * FROM " + this.name + " WHERE 1 = 0");
            ResultSet none = all.executeQuery()) {
            ResultSetMetaData known = none.getMetaData();
            for (int i = 1; i <= known.getColumnCount(); i++) {
                columns.put(fold(known.getColumnName(i)), new Column(known.getColumnName(i), known.getColumnType(i)));
            }
        }
    }

    /** Takes the columns to fill from the labels of a query, whatever their case. */
    void fill(ResultSetMetaData query) throws SQLException, StepFailure {
        for (int i = 1; i <= query.getColumnCount(); i++) {
            String label = query.getColumnLabel(i);
            Column column = columns.get(fold(label));
            if (column == null) {
                throw new StepFailure(StepFailure.TARGET, "the table " + name + " has no column " + label);
            }
            if (filled.contains(column)) {
                throw new StepFailure(StepFailure.SOURCE, "the query has two columns " + label);
            }
            filled.add(column);
        }
    }

    int width() {
        return filled.size();
    }

    void clear() throws SQLException {
        try (Statement statement = connection.createStatement()) {
            statement.executeUpdate("DELETE FROM " + name);
        }
    }

    PreparedStatement insertion() throws SQLException {
        List<String> names = new ArrayList<>();
        List<String> marks = new ArrayList<>();
        for (Column column : filled) {
            names.add(quoted(column.name()));
            marks.add("?");
        }
        return connection.prepareStatement("INSERT INTO " + name + " (" + String.join(", ", names) + ") VALUES ("
            + String.join(", ", marks) + ")");
    }

    /** Binds a value as what its column holds, which may differ from what the source calls it. */
    void bind(PreparedStatement insertion, int column, Object value) throws SQLException {
        if (value == null) {
            insertion.setObject(column, null);
        } else {
            insertion.setObject(column, value, filled.get(column - 1).type());
        }
    }

    private String quoted(String identifier) {
        return quote.isEmpty() ? identifier : quote + identifier.replace(quote, quote + quote) + quote;
    }

    private static String fold(String label) {
        return label.toLowerCase(Locale.ROOT);
    }
}
