package com.orvik.kelvo.tools.conn;

import com.orvik.kelvo.mesk.fake.Script;

/** The connection pool of the fake store, which has none. */
public final class ConnectionPoolManager {
    private ConnectionPoolManager() {}

    public static void setDefaultPoolSize(int size) {
        Script.call(ConnectionPoolManager.class, "setDefaultPoolSize", size);
    }
}
