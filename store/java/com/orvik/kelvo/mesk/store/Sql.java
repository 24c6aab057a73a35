package com.orvik.kelvo.mesk.store;

import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/**
 * The one place that prepares, binds, executes, maps and closes. Statements are kept prepared for the life of the
 * connection; all their texts are constants of the store, so there are few of them. A result is read to its end before
 * anything else runs, so no statement is used while its result is open.
 */
public final class Sql {
    /** Makes an object of the current row. */
    public interface Mapper<T> {
        T map(ResultSet row) throws SQLException;
    }

    /** Binds parameters. */
    interface Binder {
        void bind(PreparedStatement statement) throws SQLException;
    }

    private final Connection connection;
    private final Map<String, PreparedStatement> prepared = new HashMap<>();

    Sql(Connection connection) {
        this.connection = connection;
    }

    /** Runs a statement without parameters or result that is not worth keeping: of a script, or of a transaction. */
    void execute(String text) throws SQLException {
        try (Statement statement = connection.createStatement()) {
            statement.execute(text);
        }
    }

    /** Changes rows and answers how many. */
    public int update(String text, Object... parameters) throws SQLException {
        PreparedStatement statement = prepare(text);
        bind(statement, parameters);
        return statement.executeUpdate();
    }

    /** Changes rows, with parameters that bind themselves, and answers how many. */
    int update(String text, Binder binder) throws SQLException {
        PreparedStatement statement = prepare(text);
        binder.bind(statement);
        return statement.executeUpdate();
    }

    /** All rows, mapped, in their order. */
    public <T> List<T> list(String text, Mapper<T> mapper, Object... parameters) throws SQLException {
        PreparedStatement statement = prepare(text);
        bind(statement, parameters);
        return read(statement, mapper);
    }

    /** The first row, mapped, or null when there is none. */
    public <T> T first(String text, Mapper<T> mapper, Object... parameters) throws SQLException {
        List<T> rows = list(text, mapper, parameters);
        return rows.isEmpty() ? null : rows.get(0);
    }

    /** As {@link #list}, with parameters that bind themselves. */
    <T> List<T> list(String text, Mapper<T> mapper, Binder binder) throws SQLException {
        PreparedStatement statement = prepare(text);
        binder.bind(statement);
        return read(statement, mapper);
    }

    /** Whether the query finds a row. */
    public boolean exists(String text, Object... parameters) throws SQLException {
        PreparedStatement statement = prepare(text);
        bind(statement, parameters);
        try (ResultSet rows = statement.executeQuery()) {
            return rows.next();
        }
    }

    /** Closes what was prepared. */
    void close() throws SQLException {
        for (PreparedStatement statement : prepared.values()) {
            statement.close();
        }
        prepared.clear();
    }

    private static <T> List<T> read(PreparedStatement statement, Mapper<T> mapper) throws SQLException {
        List<T> result = new ArrayList<>();
        try (ResultSet rows = statement.executeQuery()) {
            while (rows.next()) {
                result.add(mapper.map(rows));
            }
        }
        return result;
    }

    private PreparedStatement prepare(String text) throws SQLException {
        PreparedStatement statement = prepared.get(text);
        if (statement == null) {
            statement = connection.prepareStatement(text);
            prepared.put(text, statement);
        }
        return statement;
    }

    private static void bind(PreparedStatement statement, Object... parameters) throws SQLException {
        for (int i = 0; i < parameters.length; i++) {
            Object value = parameters[i];
            if (value instanceof Timestamp) {
                statement.setLong(i + 1, ((Timestamp) value).getTime());
            } else if (value instanceof Boolean) {
                statement.setInt(i + 1, ((Boolean) value) ? 1 : 0);
            } else {
                statement.setObject(i + 1, value);
            }
        }
    }
}
