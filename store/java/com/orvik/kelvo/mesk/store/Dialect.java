package com.orvik.kelvo.mesk.store;

import java.nio.file.Path;
import java.sql.Connection;
import java.sql.SQLException;

/** What differs between databases. Everything else is SQL that all of them read alike. */
public abstract class Dialect {
    /** The dialect of a JDBC URL; a text that is no JDBC URL is the path of a file. */
    static Dialect of(String url) throws StoreException {
        if (url == null || url.isEmpty()) {
            throw new StoreException(StoreCodes.CANNOT_CONNECT, "no store was named");
        }
        if (url.startsWith("jdbc:sqlite:")) {
            return new SqliteDialect(url.substring("jdbc:sqlite:".length()));
        }
        if (url.startsWith("jdbc:")) {
            // The rest of the URL may hold a password, each kind in its own way.
            int end = url.indexOf(':', "jdbc:".length());
            throw new StoreException(StoreCodes.CANNOT_CONNECT,
                "no such kind of store: " + (end < 0 ? "jdbc" : url.substring(0, end)));
        }
        return new SqliteDialect(url);
    }

    /**
     * Opens a connection that commits each statement by itself. NOT_AUTHORISED for one who may not work for the user
     * `name` (in capitals).
     */
    abstract Connection connect(String schema, String user, String password, String name)
        throws SQLException, StoreException;

    /** The store code of a failure of this database. */
    abstract int code(SQLException failure);

    /** Whether an insertion failed because the key or a unique column is taken. */
    abstract boolean isDuplicate(SQLException failure);

    /** Begins a transaction that may write, waiting for other writers. */
    abstract String begin();

    /** Finds tables that belong to the store, and whether there are any others. */
    abstract Schema.Found found(Sql sql) throws SQLException;

    /** The folder of the upgrade scripts. */
    abstract String scripts();

    /** Where the key of the passwords is kept; null for a store that lives in memory only. */
    abstract Path keyFile();

    /** A URL as it may be shown: without the options, which may hold a password. */
    static String withoutOptions(String url) {
        int options = url.indexOf('?');
        return options < 0 ? url : url.substring(0, options);
    }
}
