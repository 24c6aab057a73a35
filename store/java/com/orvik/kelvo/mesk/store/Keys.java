package com.orvik.kelvo.mesk.store;

import java.sql.SQLException;

/**
 * Hands out keys that never repeat, whoever crashes when. Keys come from blocks that are reserved by a transaction of
 * its own, committed before the first key of the block is used; so neither a rollback nor a crash brings a key back.
 * What is left of a block when the session ends in order goes back if nobody has reserved since, which keeps keys short.
 */
final class Keys {
    private static final long BLOCK = 65536;
    private static final long LOW = 32768;

    private final Database database;
    private long next;
    private long end;
    private long spare;
    private long spareEnd;

    Keys(Database database) {
        this.database = database;
    }

    /** The next key. Within a unit of work there are those of the blocks that were reserved before it began. */
    long next() throws SQLException, StoreException {
        if (left() == 0) {
            if (database.inUnit()) {
                throw new StoreException(StoreCodes.KEYS_EXHAUSTED, "no reserved key is left in this transaction");
            }
            reserve();
        }
        if (next == end) {
            next = spare;
            end = spareEnd;
            spare = 0;
            spareEnd = 0;
        }
        return next++;
    }

    /** Reserves if the coming unit of work could run out. No unit may have begun. */
    void prepare() throws SQLException {
        if (left() < LOW) {
            reserve();
        }
    }

    /** Gives back what was not handed out, where possible. No unit may have begun. */
    void giveBack() throws SQLException {
        if (left() == 0) {
            return;
        }
        if (spare != spareEnd) {
            if (database.sql().update("UPDATE key_sequence SET next_key = ? WHERE next_key = ?", spare, spareEnd) == 1) {
                spare = spareEnd;
            }
        } else {
            database.sql().update("UPDATE key_sequence SET next_key = ? WHERE next_key = ?", next, end);
        }
        next = end;
    }

    private long left() {
        return end - next + spareEnd - spare;
    }

    private void reserve() throws SQLException {
        Sql sql = database.sql();
        sql.execute(database.dialect().begin());
        long first;
        try {
            first = sql.first("SELECT next_key FROM key_sequence", row -> row.getLong(1));
            sql.update("UPDATE key_sequence SET next_key = ?", first + BLOCK);
            sql.execute("COMMIT");
        } catch (SQLException failure) {
            database.rollbackQuietly();
            throw failure;
        }
        if (next == end) {
            next = first;
            end = first + BLOCK;
        } else if (end == first) {
            end = first + BLOCK;
        } else {
            spare = first;
            spareEnd = first + BLOCK;
        }
    }
}
