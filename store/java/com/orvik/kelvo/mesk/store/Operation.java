package com.orvik.kelvo.mesk.store;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.List;

/**
 * Runs the body of a public operation of the store. Native code calls these operations and never asks for a pending
 * Java exception, so whatever goes wrong, errors of the virtual machine included, ends in the exception object.
 */
public final class Operation {
    /** A body that answers something. */
    public interface Work<T> {
        T run(Database database) throws SQLException, StoreException;
    }

    /** A body that answers nothing. */
    public interface Action {
        void run(Database database) throws SQLException, StoreException;
    }

    private Operation() {
    }

    /** Reads: sees the session's own unit of work, or else the latest committed state. `otherwise` after a failure. */
    public static <T> T read(Context context, PARLException exception, T otherwise, Work<T> work) {
        if (context == null) {
            return refuse(exception, otherwise);
        }
        synchronized (context) {
            try {
                T result = work.run(context.database());
                fill(exception, StoreCodes.OK, null, null);
                return result;
            } catch (Throwable failure) {
                return report(context, exception, failure, otherwise);
            }
        }
    }

    /** Reads a list; an empty one answers the code `nothing` and is returned all the same. Null after a failure. */
    public static <T> ArrayList<T> readList(Context context, PARLException exception, int nothing,
        Work<List<T>> work) {
        ArrayList<T> result = read(context, exception, null, database -> new ArrayList<>(work.run(database)));
        if (result != null && result.isEmpty()) {
            fill(exception, nothing, "there is nothing to list", null);
        }
        return result;
    }

    /** Writes: begins a unit of work if none has begun; a body that fails leaves nothing written. */
    public static <T> T write(Context context, PARLException exception, T otherwise, Work<T> work) {
        return read(context, exception, otherwise, database -> database.write(work));
    }

    /** As {@link #write(Context, PARLException, Object, Work)} for a body without an answer. */
    public static void write(Context context, PARLException exception, Action action) {
        read(context, exception, null, database -> database.write(inner -> {
            action.run(inner);
            return null;
        }));
    }

    /** As {@link #read} for a body without an answer. */
    public static void act(Context context, PARLException exception, Action action) {
        read(context, exception, null, database -> {
            action.run(database);
            return null;
        });
    }

    /** What a constructor does: reports whether the context can be used. */
    public static void check(Context context, PARLException exception) {
        act(context, exception, database -> { });
    }

    /** Reports a failure outside any session. */
    public static void fail(PARLException exception, Throwable failure) {
        report(null, exception, failure, null);
    }

    /** Puts an outcome into the exception object, which may be null. */
    public static void fill(PARLException exception, int code, String message, Throwable cause) {
        if (exception != null) {
            exception.fill(code, message, cause);
        }
    }

    private static <T> T refuse(PARLException exception, T otherwise) {
        fill(exception, StoreCodes.NOT_CONNECTED, "there is no session", null);
        return otherwise;
    }

    private static <T> T report(Context context, PARLException exception, Throwable failure, T otherwise) {
        if (failure instanceof SQLException && failure.getCause() instanceof StoreException) {
            return report(context, exception, failure.getCause(), otherwise);
        }
        if (failure instanceof StoreException) {
            StoreException known = (StoreException) failure;
            fill(exception, known.code(), known.getMessage(), known.getCause());
        } else if (failure instanceof SQLException) {
            int code = StoreCodes.SQL_ERROR;
            try {
                code = context == null ? code : context.database().dialect().code((SQLException) failure);
            } catch (StoreException closed) {
                code = StoreCodes.NOT_CONNECTED;
            }
            fill(exception, code, failure.getMessage(), failure);
        } else {
            fill(exception, StoreCodes.INTERNAL, String.valueOf(failure), failure);
        }
        return otherwise;
    }
}
