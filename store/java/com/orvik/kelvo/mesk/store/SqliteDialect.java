package com.orvik.kelvo.mesk.store;

import com.orvik.kelvo.tools.conn.ConnectionPoolManager;
import java.io.File;
import java.io.IOException;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.sql.Connection;
import java.sql.SQLException;
import java.util.Properties;
import org.sqlite.BusyHandler;
import org.sqlite.JDBC;
import org.sqlite.SQLiteConnection;
import org.sqlite.SQLiteErrorCode;
import org.sqlite.SQLiteException;

/** SQLite: the store is one file, which several processes may open at once. */
final class SqliteDialect extends Dialect {
    private static final String LIBRARY_FOLDER = "org.sqlite.lib.path";
    private static final String PATIENCE = "busy_timeout";
    private static final int BUSY_MILLISECONDS = 10_000;
    private static final int PAUSE_MILLISECONDS = 20;

    private final String location;
    private final Properties settings = new Properties();
    private final Path file;
    private final int patience;

    /** `location` is a path, or ":memory:" or empty, with options behind a question mark. */
    SqliteDialect(String location) throws StoreException {
        this.location = withoutOptions(location);
        if (this.location.startsWith("file:")) {
            throw new StoreException(StoreCodes.CANNOT_CONNECT, "the path of a store goes without file:");
        }
        boolean off = false;
        if (this.location.length() < location.length()) {
            for (String option : location.substring(this.location.length() + 1).split("&")) {
                int equals = option.indexOf('=');
                if (option.equals("mesk.durability=off")) {
                    off = true;
                } else if (equals > 0) {
                    settings.setProperty(option.substring(0, equals), option.substring(equals + 1));
                }
            }
        }
        settings.putIfAbsent(PATIENCE, Integer.toString(BUSY_MILLISECONDS));
        settings.setProperty("journal_mode", "WAL");
        settings.setProperty("synchronous", off ? "OFF" : "FULL");
        settings.setProperty("foreign_keys", "true");
        try {
            boolean memory = this.location.isEmpty() || this.location.equals(":memory:");
            this.file = memory ? null : Path.of(this.location).toAbsolutePath();
            this.patience = Integer.parseInt(settings.getProperty(PATIENCE));
        } catch (NumberFormatException notANumber) {
            throw new StoreException(StoreCodes.CANNOT_CONNECT, PATIENCE + " is in milliseconds", notANumber);
        } catch (InvalidPathException notAPath) {
            throw new StoreException(StoreCodes.CANNOT_CONNECT, "not the name of a file: " + this.location,
                notAPath);
        }
    }

    /**
     * Names the folder of the driver's native library, where the system has one. Without the name the driver runs
     * other programs to find out which system this is, which takes longer than all the rest of a connection.
     */
    private static void nameNativeLibrary() {
        if (System.getProperty(LIBRARY_FOLDER) != null) {
            return;
        }
        String library = System.mapLibraryName("sqlitejdbc");
        for (String folder : System.getProperty("java.library.path", "").split(File.pathSeparator)) {
            if (!folder.isEmpty() && new File(folder, library).isFile()) {
                System.setProperty(LIBRARY_FOLDER, folder);
                return;
            }
        }
    }

    @Override
    Connection connect(String schema, String user, String password, String name)
        throws SQLException, StoreException {
        nameNativeLibrary();
        if (file != null) {
            prepareFile();
            requireIdentity(name);
        }
        int pool = file == null ? 0 : ConnectionPoolManager.getDefaultPoolSize();
        // The change to write-ahead logging answers "busy" at once when two processes make it together.
        int tries = BUSY_MILLISECONDS / PAUSE_MILLISECONDS;
        for (int i = 1;; i++) {
            try {
                Connection connection = pool == 0 ? JDBC.createConnection(JDBC.PREFIX + location, settings)
                    : ConnectionPools.take(JDBC.PREFIX + location, settings, pool);
                BusyHandler.setHandler(connection.unwrap(SQLiteConnection.class), new SqliteWait(patience));
                return connection;
            } catch (SQLException failure) {
                if (i == tries || code(failure) != StoreCodes.BUSY) {
                    throw refused(failure);
                }
                pause();
            }
        }
    }

    /** No password is asked for: the system says who somebody is, and the file's owner and root may be anybody. */
    private void requireIdentity(String name) throws StoreException {
        OsUser caller = OsUser.current();
        if (!name.equals(Principals.fold(caller.name())) && !caller.rules(file)) {
            throw new StoreException(StoreCodes.NOT_AUTHORISED, caller.name() + " does not own " + file
                + " and so works for himself only, not for " + name);
        }
    }

    private StoreException refused(SQLException failure) {
        int code = code(failure);
        if (code == StoreCodes.SQL_ERROR) {
            code = StoreCodes.CANNOT_CONNECT;
        }
        return new StoreException(code, location + ": " + failure.getMessage(), failure);
    }

    private static void pause() throws StoreException {
        try {
            Thread.sleep(PAUSE_MILLISECONDS);
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
            throw new StoreException(StoreCodes.BUSY, "interrupted while waiting for the store", interrupted);
        }
    }

    /** Makes a missing file with private rights, and tells why a file cannot be used better than the driver does. */
    private void prepareFile() throws StoreException {
        Path folder = file.getParent();
        if (folder == null || Files.isDirectory(file)) {
            throw new StoreException(StoreCodes.CANNOT_CONNECT, file + " is a folder");
        }
        if (!Files.isDirectory(folder)) {
            throw new StoreException(StoreCodes.CANNOT_CONNECT, "there is no folder " + folder);
        }
        if (!Files.isWritable(folder)) {
            throw new StoreException(StoreCodes.READ_ONLY, folder + " cannot be written");
        }
        if (!Files.exists(file)) {
            createFile();
        } else if (!Files.isWritable(file)) {
            throw new StoreException(StoreCodes.READ_ONLY, file + " cannot be written");
        }
    }

    private void createFile() throws StoreException {
        try {
            Files.createFile(file, PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rw-------")));
        } catch (FileAlreadyExistsException raced) {
            // Somebody else made it a moment ago: as good.
        } catch (UnsupportedOperationException noRights) {
            // A file system without such rights: the driver makes the file.
        } catch (IOException failure) {
            throw new StoreException(StoreCodes.CANNOT_CONNECT, "cannot create " + file + ": " + failure, failure);
        }
    }

    @Override
    int code(SQLException failure) {
        switch (failure.getErrorCode() & 0xff) {
            case 5:  // SQLITE_BUSY
            case 6:  // SQLITE_LOCKED
                return StoreCodes.BUSY;
            case 8:  // SQLITE_READONLY
                return StoreCodes.READ_ONLY;
            case 11:  // SQLITE_CORRUPT
                return StoreCodes.DAMAGED;
            case 13:  // SQLITE_FULL
                return StoreCodes.DISK_FULL;
            case 14:  // SQLITE_CANTOPEN
                return StoreCodes.CANNOT_CONNECT;
            case 26:  // SQLITE_NOTADB
                return StoreCodes.NOT_A_STORE;
            default:
                return isDuplicate(failure) ? StoreCodes.EXISTS : StoreCodes.SQL_ERROR;
        }
    }

    @Override
    boolean isDuplicate(SQLException failure) {
        if (!(failure instanceof SQLiteException)) {
            return false;
        }
        SQLiteErrorCode code = ((SQLiteException) failure).getResultCode();
        return code == SQLiteErrorCode.SQLITE_CONSTRAINT_UNIQUE || code == SQLiteErrorCode.SQLITE_CONSTRAINT_PRIMARYKEY;
    }

    @Override
    String begin() {
        return "BEGIN IMMEDIATE";
    }

    @Override
    Schema.Found found(Sql sql) throws SQLException {
        String query = "SELECT count(*), coalesce(sum(name = 'store_schema'), 0) FROM sqlite_master";
        return sql.first(query, row -> new Schema.Found(row.getInt(1) > 0, row.getInt(2) > 0));
    }

    @Override
    String scripts() {
        return "/schema/sqlite/";
    }

    @Override
    Path keyFile() {
        return file == null ? null : file.resolveSibling(file.getFileName() + ".key");
    }
}
