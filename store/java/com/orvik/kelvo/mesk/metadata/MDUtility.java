package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Principals;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.SQLException;

/** Sessions and their units of work. */
public final class MDUtility {
    public MDUtility() {
    }

    /**
     * Begins a session with the store `url`: a JDBC URL ("jdbc:sqlite:/path/file.mesk") or the path of a file. A file
     * that does not exist becomes a new store, and `user` its superuser and administrator. `schema` may be null.
     * A null `user` is the user of the operating system. SQLite asks for no password: the owner of the file and root
     * may work for anybody, others for themselves only: NOT_AUTHORISED.
     * The URL's option `mesk.durability=off` gives up that commits survive a crash of the machine; for simulations.
     * Null after a failure.
     */
    public static Context connectMD(String url, String schema, String user, String password, PARLException exception) {
        try {
            String name = Principals.fold(user == null || user.isEmpty() ? Principals.caller() : user);
            Database database = Database.connect(url, schema, user, password, name);
            Operation.fill(exception, StoreCodes.OK, null, null);
            return new Context(database, name);
        } catch (Throwable failure) {
            Operation.fail(exception, failure);
            return null;
        }
    }

    /** Ends a session: what was not committed is rolled back. */
    public static void disconnectMD(Context context, PARLException exception) {
        try {
            if (context == null) {
                throw new StoreException(StoreCodes.NOT_CONNECTED, "there is no session");
            }
            context.close();
            Operation.fill(exception, StoreCodes.OK, null, null);
        } catch (Throwable failure) {
            Operation.fail(exception, failure);
        }
    }

    /** On: each operation is durable when it returns. Off, as a session begins: units of work last until commit. */
    public static void setAutoCommit(Context context, boolean on, PARLException exception) {
        Operation.act(context, exception, database -> database.setAutoCommit(on));
    }

    /** Takes back all since the last commit, and the versions that records remember with it. */
    public static void rollback(Context context, PARLException exception) {
        Operation.act(context, exception, Database::rollback);
    }

    /** Makes all since the last commit durable; success when there is nothing. After a failure all is rolled back. */
    public static void commit(Context context, PARLException exception) {
        Operation.act(context, exception, Database::commit);
    }

    /**
     * Says that the scheduler named `scheduler` works on the store (the first four are those of `connectMD`). IN_USE
     * while another one is marked; a scheduler that crashed finds its own mark and goes on with it. For superusers.
     */
    public static void markedByScheduler(String url, String schema, String user, String password, String scheduler,
        PARLException exception) {
        inSession(url, schema, user, password, exception, database -> {
            if (scheduler == null || scheduler.isEmpty()) {
                throw new StoreException(StoreCodes.INVALID, "a scheduler needs a name");
            }
            database.access().requireSuperuser();
            String marked = marked(database);
            if (marked == null) {
                database.sql().update("INSERT INTO scheduler_mark (id, scheduler) VALUES (1, ?)", scheduler);
            } else if (!marked.equals(scheduler)) {
                throw new StoreException(StoreCodes.IN_USE, "the scheduler " + marked + " works on this store");
            }
        });
    }

    /** Takes the mark of this scheduler away; NOT_FOUND when the store does not bear it. For superusers. */
    public static void unmarkedByScheduler(String url, String schema, String user, String password, String scheduler,
        PARLException exception) {
        inSession(url, schema, user, password, exception, database -> {
            database.access().requireSuperuser();
            if (database.sql().update("DELETE FROM scheduler_mark WHERE scheduler = ?", scheduler) == 0) {
                throw new StoreException(StoreCodes.NOT_FOUND, "the scheduler " + scheduler + " has no mark");
            }
        });
    }

    /** The database's own code of the failure beneath an outcome, 0 when there is none. */
    public static int getNestedSQLCode(PARLException exception) {
        SQLException nested = nested(exception);
        return nested == null ? 0 : nested.getErrorCode();
    }

    /** The SQL state beneath an outcome when it is a number, else 0. */
    public static int getNestedIntSQLState(PARLException exception) {
        SQLException nested = nested(exception);
        String state = nested == null ? null : nested.getSQLState();
        if (state == null) {
            return 0;
        }
        try {
            return Integer.parseInt(state);
        } catch (NumberFormatException letters) {
            return 0;
        }
    }

    private static String marked(Database database) throws SQLException {
        return database.sql().first("SELECT scheduler FROM scheduler_mark WHERE id = 1", row -> row.getString(1));
    }

    /** Runs a body in a session and a transaction of its own; the first failure is the outcome. */
    private static void inSession(String url, String schema, String user, String password, PARLException exception,
        Operation.Action action) {
        Context context = connectMD(url, schema, user, password, exception);
        if (context == null) {
            return;
        }
        PARLException outcome = new PARLException(StoreCodes.OK, null);
        Operation.write(context, outcome, action);
        if (outcome.getRC() == StoreCodes.OK) {
            commit(context, outcome);
        }
        disconnectMD(context, new PARLException(StoreCodes.OK, null));
        Operation.fill(exception, outcome.getRC(), outcome.getMessage(), outcome.getCause());
    }

    private static SQLException nested(PARLException exception) {
        Throwable cause = exception == null ? null : exception.getCause();
        while (cause != null && !(cause instanceof SQLException)) {
            cause = cause.getCause();
        }
        return (SQLException) cause;
    }
}
