package com.orvik.kelvo.common.parl.api;

import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;

/**
 * One session with a store: a connection, its unit of work, and the user it works for. Made by
 * {@link com.orvik.kelvo.mesk.metadata.MDUtility#connectMD}. Any thread may use it; operations of one context run one
 * after the other.
 */
public final class Context {
    private final String user;
    private Database database;

    /** A session of `user` (in capitals) on an open database, which the context closes. */
    public Context(Database database, String user) {
        this.database = database;
        this.user = user;
    }

    /** The name of the user, in capitals. */
    public String getUser() {
        return user;
    }

    /** The database; fails with NOT_CONNECTED once the context is closed. The caller holds the context's monitor. */
    public Database database() throws StoreException {
        if (database == null) {
            throw new StoreException(StoreCodes.NOT_CONNECTED, "the session is closed");
        }
        return database;
    }

    /** Rolls back what was not committed and closes the connection. The context cannot be used afterwards. */
    public synchronized void close() throws StoreException {
        Database closing = database();
        database = null;
        closing.close();
    }
}
