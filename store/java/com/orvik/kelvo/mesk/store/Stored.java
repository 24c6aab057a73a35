package com.orvik.kelvo.mesk.store;

import java.sql.SQLException;

/** A Java object that is a row of a table. */
public interface Stored {
    /** The table of the row. */
    Table table();

    /** Walks over all columns, see {@link Columns}. */
    void columns(Columns columns) throws SQLException;

    /** The version of the row that this object was read from or wrote; 0 for one that is not in the store. */
    int version();

    /** Remembers another version. */
    void version(int version);

    /** Gives an object that has no key yet one of its own before it is inserted. */
    default void takeKey(Database database) throws SQLException, StoreException {
    }

    /** Looks up what the object shows of other rows, after it was read. */
    default void loaded(Database database) throws SQLException {
    }

    /** What holds and happens before the row is inserted, in the same transaction. */
    default void inserting(Database database) throws SQLException, StoreException {
    }

    /** What holds and happens before the row is updated, in the same transaction. */
    default void updating(Database database) throws SQLException, StoreException {
    }

    /** What holds and happens before the row is deleted, in the same transaction. */
    default void deleting(Database database) throws SQLException, StoreException {
    }
}
