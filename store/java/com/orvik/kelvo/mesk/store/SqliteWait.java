package com.orvik.kelvo.mesk.store;

import java.util.concurrent.TimeUnit;
import org.sqlite.BusyHandler;

/**
 * Waits for the lock of another session, looking again every millisecond. The database's own way of waiting looks ever
 * more seldom, and can miss the short moments between the transactions of a busy neighbour for seconds on end.
 */
final class SqliteWait extends BusyHandler {
    private final long nanoseconds;
    private long began;

    SqliteWait(long milliseconds) {
        nanoseconds = TimeUnit.MILLISECONDS.toNanos(milliseconds);
    }

    /** 1 to try again; 0 to give up. */
    @Override
    protected int callback(int calls) {
        if (calls == 0) {
            began = System.nanoTime();
        } else if (System.nanoTime() - began > nanoseconds) {
            return 0;
        }
        try {
            Thread.sleep(1);
            return 1;
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
            return 0;
        }
    }
}
