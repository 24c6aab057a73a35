package com.orvik.kelvo.tools.conn;

/** How many connections are kept open for re-use, for programs that open and close many sessions. */
public final class ConnectionPoolManager {
    private static volatile int defaultPoolSize;

    private ConnectionPoolManager() {
    }

    /** 0: each session opens a connection of its own (the default); above 0: at most that many, from a pool. */
    public static void setDefaultPoolSize(int size) {
        defaultPoolSize = Math.max(0, size);
    }

    /** The size that was set, 0 for none. */
    public static int getDefaultPoolSize() {
        return defaultPoolSize;
    }
}
