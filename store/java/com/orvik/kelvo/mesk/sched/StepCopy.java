package com.orvik.kelvo.mesk.sched;

import java.nio.charset.StandardCharsets;
import java.sql.Blob;
import java.sql.Clob;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.SQLXML;
import java.sql.Statement;

/**
 * One try of a step. All that it writes is one transaction of the target; rows are read as a stream. A step within one
 * database has one connection: its query is then kept in a table of the connection's own first, so that it neither
 * sees the rows that the step writes nor misses those that it replaces.
 */
final class StepCopy {
    private static final String KEPT_QUERY = "mesk_step";
    private static final int BYTES_OF_OTHERS = 8;

    private final StepParameters parameters;
    private final boolean within;
    /** Who is at work, and so to blame: the job's return code if this fails. */
    private int atWork = StepFailure.SOURCE;
    private long rows;
    private long bytes;

    StepCopy(StepParameters parameters) {
        this.parameters = parameters;
        this.within = parameters.source().isSameAs(parameters.target());
    }

    long rows() {
        return rows;
    }

    long bytes() {
        return bytes;
    }

    /** Copies and commits; after a failure the target is as it was. */
    void run() throws StepFailure {
        Connection source = null;
        Connection target = null;
        try {
            source = parameters.source().open(within);
            atWork = StepFailure.TARGET;
            target = within ? source : parameters.target().open(true);
            copy(source, target);
        } catch (StepFailure failure) {
            throw new StepFailure(failure.jobRC(), hide(failure.getMessage()));
        } catch (SQLException | RuntimeException | Error failure) {
            throw new StepFailure(atWork, hide(reason(failure)));
        } finally {
            close(target);
            if (source != target) {
                close(source);
            }
        }
    }

    private void copy(Connection source, Connection target) throws SQLException, StepFailure {
        // Before the transaction: one that begins with reading may be refused to write, when others wrote meanwhile.
        TargetTable table = new TargetTable(target, parameters.table());
        target.setAutoCommit(false);
        atWork = StepFailure.SOURCE;
        String query = parameters.query();
        if (within) {
            keepQuery(source);
            query = "SELECT * FROM " + KEPT_QUERY;
        } else {
            source.setAutoCommit(false);
        }
        try (Statement statement = source.createStatement()) {
            statement.setFetchSize(parameters.batch());
            try (ResultSet result = statement.executeQuery(query)) {
                table.fill(result.getMetaData());
                atWork = StepFailure.TARGET;
                copy(result, table);
                atWork = StepFailure.SOURCE;
            }
        }
        if (!within) {
            source.rollback();
        }
        atWork = StepFailure.TARGET;
        target.commit();
    }

    private void copy(ResultSet result, TargetTable table) throws SQLException {
        if (parameters.replace()) {
            table.clear();
        }
        Object[] values = new Object[table.width()];
        int waiting = 0;
        try (PreparedStatement insertion = table.insertion()) {
            while (read(result, values)) {
                for (int i = 0; i < values.length; i++) {
                    table.bind(insertion, i + 1, values[i]);
                    bytes += size(values[i]);
                }
                insertion.addBatch();
                rows++;
                if (++waiting == parameters.batch()) {
                    insertion.executeBatch();
                    waiting = 0;
                }
            }
            if (waiting > 0) {
                insertion.executeBatch();
            }
        }
    }

    private boolean read(ResultSet result, Object[] values) throws SQLException {
        atWork = StepFailure.SOURCE;
        boolean more = result.next();
        for (int i = 0; more && i < values.length; i++) {
            values[i] = plain(result.getObject(i + 1));
        }
        atWork = StepFailure.TARGET;
        return more;
    }

    private void keepQuery(Connection connection) throws SQLException {
        try (Statement statement = connection.createStatement()) {
            statement.executeUpdate("CREATE TEMPORARY TABLE " + KEPT_QUERY + " AS\n"
                + parameters.query().replaceAll("[\\s;]+$", ""));
        }
    }

    /** A value that does not live in its connection. */
    private static Object plain(Object value) throws SQLException {
        if (value instanceof Clob clob) {
            return clob.getSubString(1, (int) Math.min(clob.length(), Integer.MAX_VALUE));
        }
        if (value instanceof Blob blob) {
            return blob.getBytes(1, (int) Math.min(blob.length(), Integer.MAX_VALUE));
        }
        return value instanceof SQLXML xml ? xml.getString() : value;
    }

    private static long size(Object value) {
        if (value instanceof String text) {
            return text.getBytes(StandardCharsets.UTF_8).length;
        }
        if (value instanceof byte[] binary) {
            return binary.length;
        }
        return value == null ? 0 : BYTES_OF_OTHERS;
    }

    /** A failure of a batch is told by the one beneath it. */
    private static String reason(Throwable failure) {
        SQLException beneath = failure instanceof SQLException known ? known.getNextException() : null;
        return String.valueOf((beneath == null ? failure : beneath).getMessage());
    }

    private String hide(String message) {
        return parameters.source().hide(parameters.target().hide(message));
    }

    /** Rolls back what was not committed. What was, stays, so a failure here changes nothing. */
    private static void close(Connection connection) {
        if (connection == null) {
            return;
        }
        try (connection) {
            if (!connection.getAutoCommit()) {
                connection.rollback();
            }
        } catch (SQLException | RuntimeException broken) {
            // The database ends the transaction of a connection that is gone.
        }
    }
}
