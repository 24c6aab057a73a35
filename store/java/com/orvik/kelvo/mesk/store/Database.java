package com.orvik.kelvo.mesk.store;

import java.sql.Connection;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.function.Supplier;

/**
 * One connection and its unit of work. The connection commits each statement by itself; a unit of work begins with the
 * first write and ends with commit or rollback, so reads outside one see the latest committed state and hold no lock.
 * One thread at a time; the context sees to that.
 */
public final class Database {
    /** A record whose remembered version goes back to `version` when the unit of work does. */
    private record Undo(Stored record, int version) {
    }

    private final Connection connection;
    private final Dialect dialect;
    private final Sql sql;
    private final Keys keys;
    private final Vault vault;
    private final Access access;
    private final List<Undo> undo = new ArrayList<>();
    private boolean installed;
    private boolean autoCommit;
    private boolean inUnit;
    private StoreException lost;

    private Database(Dialect dialect, Connection connection, String user) {
        this.dialect = dialect;
        this.connection = connection;
        this.sql = new Sql(connection);
        this.keys = new Keys(this);
        this.vault = new Vault(dialect.keyFile());
        this.access = new Access(this, user);
    }

    /**
     * Opens the store at `url` for the user `name` (in capitals), making or upgrading its tables. `user` and `password`
     * are for a database that asks for them.
     */
    public static Database connect(String url, String schema, String user, String password, String name)
        throws SQLException, StoreException {
        Dialect dialect = Dialect.of(url);
        Database database = new Database(dialect, dialect.connect(schema, user, password, name), name);
        try {
            Schema.install(database, name);
            database.installed = true;
            return database;
        } catch (SQLException failure) {
            database.connection.close();
            throw new StoreException(dialect.code(failure), failure.getMessage(), failure);
        } catch (StoreException | RuntimeException failure) {
            database.connection.close();
            throw failure;
        }
    }

    public Sql sql() {
        return sql;
    }

    /** What the user of the session may do. */
    public Access access() {
        return access;
    }

    Dialect dialect() {
        return dialect;
    }

    /** Whether a write failed because its key or a unique column is taken. */
    public boolean isDuplicate(SQLException failure) {
        return dialect.isDuplicate(failure);
    }

    boolean inUnit() {
        return inUnit;
    }

    /** A key that no record has or ever had. */
    public long nextKey() throws SQLException, StoreException {
        return keys.next();
    }

    /** Runs a body that writes, in the unit of work. If the body fails, what it wrote is taken back and only that. */
    public <T> T write(Operation.Work<T> work) throws SQLException, StoreException {
        boolean begins = begin();
        int mark = undo.size();
        if (!begins) {
            sql.execute("SAVEPOINT operation");
        }
        try {
            T result = work.run(this);
            if (!begins) {
                sql.execute("RELEASE operation");
            }
            if (autoCommit) {
                commit();
            }
            return result;
        } catch (Throwable failure) {
            takeBack(begins, mark, failure);
            throw failure;
        }
    }

    private void takeBack(boolean begins, int mark, Throwable failure) {
        if (begins) {
            rollback();
            return;
        }
        try {
            sql.execute("ROLLBACK TO operation");
            sql.execute("RELEASE operation");
            access.lookAgain();
            undoTo(mark);
        } catch (SQLException ended) {
            // The database itself ended the transaction, as it does when the disk is full: all of it is gone, and
            // neither further writes nor a commit may look as if it were not.
            int code = failure instanceof SQLException ? dialect.code((SQLException) failure) : StoreCodes.SQL_ERROR;
            rollback();
            lost = new StoreException(code, "the transaction was ended by: " + failure.getMessage(), failure);
        }
    }

    /** Makes the unit of work durable; success when none has begun. A unit that cannot be committed is rolled back. */
    public void commit() throws SQLException, StoreException {
        if (lost != null) {
            StoreException earlier = lost;
            lost = null;
            throw earlier;
        }
        if (!inUnit) {
            return;
        }
        try {
            sql.execute("COMMIT");
        } catch (SQLException failure) {
            rollback();
            throw failure;
        }
        inUnit = false;
        access.lookAgain();
        undo.clear();
    }

    /** Takes the unit of work back, together with the versions that records remember. */
    public void rollback() {
        lost = null;
        if (inUnit) {
            inUnit = false;
            rollbackQuietly();
        }
        access.lookAgain();
        undoTo(0);
    }

    /** Whether each operation is committed by itself. Turning it on commits what has begun. */
    public void setAutoCommit(boolean on) throws SQLException, StoreException {
        if (on) {
            commit();
        }
        autoCommit = on;
    }

    /** Rolls back, gives unused keys back and closes the connection. */
    public void close() throws StoreException {
        rollback();
        try {
            try {
                keys.giveBack();
            } catch (SQLException busy) {
                // The keys stay reserved and are never used: nothing is lost but numbers.
            }
            sql.close();
            connection.close();
        } catch (SQLException failure) {
            throw new StoreException(dialect.code(failure), failure.getMessage(), failure);
        }
    }

    /** Inserts a record with a key of its own. */
    public void insert(Stored record) throws SQLException, StoreException {
        access.trusted(inner -> {
            record.takeKey(inner);
            record.inserting(inner);
            return null;
        });
        Table table = record.table();
        Table.Statements statements = table.statements(record);
        try {
            sql.update(statements.insert(), statement ->
                record.columns(new ColumnBinder(statement, vault, table.keys(), statements.others())));
        } catch (SQLException failure) {
            if (dialect.isDuplicate(failure)) {
                throw new StoreException(StoreCodes.EXISTS, "a " + table.name() + " with this key or name exists",
                    failure);
            }
            throw failure;
        }
        access.inserted(record);
        remember(record, 1);
    }

    /** Updates a record that nobody else has changed since it was read. */
    public void update(Stored record) throws SQLException, StoreException {
        Guard.Condition after = access.updating(record);
        access.trusted(inner -> {
            record.updating(inner);
            return null;
        });
        Table table = record.table();
        Table.Statements statements = table.statements(record);
        int changed;
        try {
            changed = sql.update(statements.update(), statement -> {
                record.columns(new ColumnBinder(statement, vault, table.keys(), statements.others()));
                statement.setInt(statements.others() + table.keys() + 1, record.version());
            });
        } catch (SQLException failure) {
            if (dialect.isDuplicate(failure)) {
                throw new StoreException(StoreCodes.EXISTS, "another " + table.name() + " has this name", failure);
            }
            throw failure;
        }
        if (changed == 0) {
            throw stale(record);
        }
        access.updated(record, after);
        remember(record, record.version() + 1);
    }

    /** Deletes a record that nobody else has changed since it was read. */
    public void delete(Stored record) throws SQLException, StoreException {
        access.deleting(record);
        requireCurrent(record);
        access.trusted(inner -> {
            record.deleting(inner);
            return null;
        });
        Table table = record.table();
        int changed = sql.update(table.statements(record).delete(), statement -> {
            record.columns(new ColumnBinder(statement, vault, table.keys(), 0));
            statement.setInt(table.keys() + 1, record.version());
        });
        if (changed == 0) {
            throw stale(record);
        }
        remember(record, 0);
    }

    /** Deletes the first record that `condition` selects, whether the user may read it or not. */
    public <T extends Stored> void delete(Supplier<T> maker, String condition, Object... parameters)
        throws SQLException, StoreException {
        delete(access.trusted(inner -> inner.find(maker, condition, parameters)));
    }

    /** Fails with NOT_FOUND unless there is a row with the record's key, whatever its version. */
    public void requireStored(Stored record) throws SQLException, StoreException {
        if (storedVersion(record) == null) {
            throw notFound(record);
        }
    }

    /** Fails unless the row has the version that the record remembers. */
    public void requireCurrent(Stored record) throws SQLException, StoreException {
        Integer version = storedVersion(record);
        if (version == null || version != record.version()) {
            throw stale(record);
        }
    }

    /** All records that `condition` (of constants and parameters, with its order) selects and the user may read. */
    public <T extends Stored> List<T> list(Supplier<T> maker, String condition, Object... parameters)
        throws SQLException {
        Stored any = maker.get();
        Table.Statements statements = any.table().statements(any);
        int versionColumn = any.table().keys() + statements.others() + 1;
        boolean all = access.isUnlimited();
        List<T> records = sql.list((all ? statements.select() : statements.readable()) + condition, row -> {
            T record = maker.get();
            record.columns(new ColumnReader(row, vault));
            record.version(row.getInt(versionColumn));
            return record;
        }, all ? parameters : withUser(parameters));
        for (T record : records) {
            record.loaded(this);
        }
        return records;
    }

    /**
     * The first record that `condition` selects and the user may read; fails with NOT_FOUND, or with NOT_AUTHORISED
     * where there are only others.
     */
    public <T extends Stored> T find(Supplier<T> maker, String condition, Object... parameters)
        throws SQLException, StoreException {
        List<T> found = list(maker, condition, parameters);
        if (found.isEmpty() && !access.isUnlimited()) {
            List<T> hidden = access.trusted(inner -> inner.list(maker, condition, parameters));
            if (!hidden.isEmpty()) {
                throw access.unreadable(hidden.get(0));
            }
        }
        if (found.isEmpty()) {
            throw notFound(maker.get());
        }
        return found.get(0);
    }

    /** Gives up what has begun, also when the database has already done so. */
    void rollbackQuietly() {
        try {
            sql.execute("ROLLBACK");
        } catch (SQLException ended) {
            // There is no transaction any more, which is what was wanted.
        }
    }

    /** Begins a unit of work and answers true, or answers false when one has begun. */
    private boolean begin() throws SQLException, StoreException {
        if (lost != null) {
            throw new StoreException(lost.code(), lost.getMessage(), lost.getCause());
        }
        if (inUnit) {
            return false;
        }
        if (installed) {
            keys.prepare();
        }
        sql.execute(dialect.begin());
        inUnit = true;
        access.lookAgain();
        return true;
    }

    private static StoreException notFound(Stored record) {
        return new StoreException(StoreCodes.NOT_FOUND, "there is no such " + record.table().name());
    }

    private StoreException stale(Stored record) throws SQLException {
        if (storedVersion(record) == null) {
            return notFound(record);
        }
        return new StoreException(StoreCodes.CHANGED,
            "somebody else changed this " + record.table().name() + " since it was read");
    }

    /** The version of the record's row; null when there is none. */
    Integer storedVersion(Stored record) throws SQLException {
        Table table = record.table();
        List<Integer> versions = sql.list("SELECT version FROM " + table.name() + table.statements(record).match(),
            row -> row.getInt(1),
            statement -> record.columns(new ColumnBinder(statement, vault, table.keys(), 0)));
        return versions.isEmpty() ? null : versions.get(0);
    }

    /** The values of the record's columns. */
    ColumnValues values(Stored record) throws SQLException {
        ColumnValues values = new ColumnValues(vault, record.table().keys());
        record.columns(values);
        return values;
    }

    /** The values of the record's columns as its row has them. */
    Map<String, Object> row(Stored record) throws SQLException {
        Table table = record.table();
        ColumnValues values = values(record);
        return sql.first("SELECT * FROM " + table.name() + table.statements(record).match(), row -> {
            Map<String, Object> stored = new HashMap<>();
            for (String column : values.all().keySet()) {
                Object value = row.getObject(column);
                stored.put(column, value instanceof Number ? (Object) ((Number) value).longValue() : value);
            }
            return stored;
        }, values.keys().toArray());
    }

    private Object[] withUser(Object... parameters) {
        Object[] all = new Object[parameters.length + 1];
        all[0] = access.user();
        System.arraycopy(parameters, 0, all, 1, parameters.length);
        return all;
    }

    private void remember(Stored record, int version) {
        undo.add(new Undo(record, record.version()));
        record.version(version);
    }

    private void undoTo(int mark) {
        for (int i = undo.size() - 1; i >= mark; i--) {
            Undo entry = undo.remove(i);
            entry.record().version(entry.version());
        }
    }
}
