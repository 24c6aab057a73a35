package com.orvik.kelvo.mesk.store;

import java.sql.SQLException;
import java.util.HashSet;
import java.util.Map;
import java.util.Objects;
import java.util.Set;

/**
 * What the user of a session may do. Every record that goes through {@link Database} is judged here by the
 * {@link Guard} of its table; operations that write otherwise ask one of the `require...` first. Whether the user is a
 * superuser is looked at once in a unit of work, and at each reading outside one. What the store does by itself, as in
 * the hooks of records, is not judged.
 */
public final class Access {
    /** A row that is judged: its table, the text that finds it by its key, and what people call it. */
    private record Row(Guard guard, String table, String match, Object[] key, String title) {
    }

    private final Database database;
    private final String user;
    private boolean looked;
    private boolean superuser;
    private int trusted;

    Access(Database database, String user) {
        this.database = database;
        this.user = user;
    }

    /** The name of the user, in capitals. */
    public String user() {
        return user;
    }

    /** Whether nothing is asked: of a superuser, or because it is the store itself that acts. */
    public boolean isUnlimited() throws SQLException {
        if (trusted > 0) {
            return true;
        }
        if (!looked) {
            superuser = Principals.isSuperuser(database, user);
            looked = database.inUnit();
        }
        return superuser;
    }

    /** What is known of the user may have changed. */
    public void lookAgain() {
        looked = false;
    }

    /** Does what the store itself wants done. */
    public <T> T trusted(Operation.Work<T> work) throws SQLException, StoreException {
        trusted++;
        try {
            return work.run(database);
        } finally {
            trusted--;
        }
    }

    public void requireSuperuser() throws SQLException, StoreException {
        if (!isUnlimited()) {
            throw refused(user + " is no superuser");
        }
    }

    public void requireAdministrator() throws SQLException, StoreException {
        if (!isUnlimited() && !Principals.isAdmin(database, user)) {
            throw refused(user + " is neither superuser nor administrator");
        }
    }

    /** Fails unless the user has the right (see {@link Rights}) on the task; one that is gone has no rights. */
    public void require(int right, long taskID, int suffix) throws SQLException, StoreException {
        if (!isUnlimited()) {
            String title = titleOfTask(taskID, suffix);
            demand(verb(right), new Row(Guard.TASK, "task", " WHERE task_id = ? AND suffix = ?",
                new Object[] {taskID, suffix}, title),
                new Guard.Condition(Guard.TASK.holding(right), Rights.name(right)));
        }
    }

    /** Fails unless the user may read the record as it is in the store; one that is not there can be read. */
    public void requireRead(Stored record) throws SQLException, StoreException {
        if (!isUnlimited() && exists(record)) {
            demand("read", row(record), record.table().guard().read());
        }
    }

    /** Fails unless the user may change the record as it is in the store; one that is not there can be changed. */
    public void requireChange(Stored record) throws SQLException, StoreException {
        if (!isUnlimited() && exists(record)) {
            demand("change", row(record), record.table().guard().update());
        }
    }

    /** The same for the row of a table with this key, which people call `title`. */
    public void requireChange(Guard guard, String table, String match, Object[] key, String title)
        throws SQLException, StoreException {
        demand("change", new Row(guard, table, match, key, title), guard.update());
    }

    /** Fails unless the user may read the record or is an administrator. */
    public void requireReadOrAdministrator(Stored record) throws SQLException, StoreException {
        if (!isUnlimited() && !Principals.isAdmin(database, user)) {
            requireRead(record);
        }
    }

    /** Fails unless the user may update the record, by a right, or is an administrator. */
    public void requireUpdateOrAdministrator(Stored record) throws SQLException, StoreException {
        if (!isUnlimited() && !Principals.isAdmin(database, user)) {
            demand("give or take rights on", row(record), new Guard.Condition(
                record.table().guard().holding(Rights.UPDATE), Rights.name(Rights.UPDATE)));
        }
    }

    /** Fails for a user whom the store does not know. */
    public void requireKnown() throws SQLException, StoreException {
        if (!isUnlimited() && !Principals.exists(database, Principals.USER, user)) {
            throw refused("the store does not know " + user);
        }
    }

    /** Whether a user or a group (see {@link Principals}) has a right on a record, superusers apart. */
    static boolean has(Database database, Stored record, int kind, String name, int right) throws SQLException {
        return holds(database, kind == Principals.USER ? Guard.FOR_USER : Guard.FOR_GROUP, name,
            row(database, record, null), record.table().guard().holding(right));
    }

    /** Why a record that is there was not found. */
    StoreException unreadable(Stored record) throws SQLException {
        return lacking("read", row(record), record.table().guard().read());
    }

    /** After an insertion: judges the row that is there now. The operation takes it back if it may not be. */
    void inserted(Stored record) throws SQLException, StoreException {
        if (!isUnlimited()) {
            demand("add", row(record), record.table().guard().insert());
        }
    }

    /** Before an update; answers the condition that the row is to meet after it, null for none. */
    Guard.Condition updating(Stored record) throws SQLException, StoreException {
        if (isUnlimited() || !exists(record)) {
            return null;
        }
        Guard guard = record.table().guard();
        Row row = row(record);
        if (holds(row, guard.update())) {
            return guard.update();
        }
        if (guard.fewer() == null || !holds(row, guard.fewer())) {
            throw lacking("change", row, guard.update());
        }
        database.requireCurrent(record);
        if (!guard.mayChange(changed(record))) {
            throw lacking("change", row, guard.fewer());
        }
        return null;
    }

    /** After an update. */
    void updated(Stored record, Guard.Condition condition) throws SQLException, StoreException {
        if (condition != null) {
            demand("change", row(record), condition);
        }
    }

    /** Before a deletion. */
    void deleting(Stored record) throws SQLException, StoreException {
        if (!isUnlimited() && exists(record)) {
            demand("delete", row(record), record.table().guard().delete());
        }
    }

    private boolean exists(Stored record) throws SQLException {
        return database.storedVersion(record) != null;
    }

    private void demand(String verb, Row row, Guard.Condition condition) throws SQLException, StoreException {
        if (!isUnlimited() && !holds(row, condition)) {
            throw lacking(verb, row, condition);
        }
    }

    private boolean holds(Row row, Guard.Condition condition) throws SQLException {
        return holds(database, Guard.FOR_USER, user, row, condition.sql());
    }

    private static boolean holds(Database database, String before, String name, Row row, String condition)
        throws SQLException {
        Object[] parameters = new Object[row.key().length + 1];
        parameters[0] = name;
        System.arraycopy(row.key(), 0, parameters, 1, row.key().length);
        return database.sql().exists(before + "SELECT 1 FROM " + row.table() + row.match() + " AND (" + condition
            + ")", parameters);
    }

    /** The columns in which the record differs from its row. */
    private Set<String> changed(Stored record) throws SQLException {
        Map<String, Object> stored = database.row(record);
        Set<String> changed = new HashSet<>();
        database.values(record).all().forEach((column, value) -> {
            if (!Objects.deepEquals(value, stored.get(column))) {
                changed.add(column);
            }
        });
        return changed;
    }

    private Row row(Stored record) throws SQLException {
        return row(database, record, title(record));
    }

    private static Row row(Database database, Stored record, String title) throws SQLException {
        Table table = record.table();
        return new Row(table.guard(), table.name(), table.statements(record).match(),
            database.values(record).keys().toArray(), title);
    }

    /** "the execution 12 of the task 'nightly'" */
    private String title(Stored record) throws SQLException {
        Table table = record.table();
        ColumnValues values = database.values(record);
        boolean ofTask = values.all().containsKey("task_id") && values.all().containsKey("suffix");
        String task = !ofTask ? null
            : titleOfTask((Long) values.all().get("task_id"), ((Long) values.all().get("suffix")).intValue());
        if (table.guard() == Guard.TASK) {
            return task;
        }
        String noun = "the " + table.guard().noun(table);
        if (!ofTask) {
            return noun + " " + values.keys().get(0);
        }
        return noun + (values.keys().size() == 1 ? " " + values.keys().get(0) : "") + " of " + task;
    }

    private String titleOfTask(long taskID, int suffix) throws SQLException {
        String name = database.sql().first("SELECT task_name FROM task WHERE task_id = ? AND suffix = ?",
            row -> row.getString(1), taskID, suffix);
        return "the task " + (name == null ? taskID : "'" + name + "'");
    }

    private static String verb(int right) {
        return right == Rights.READ ? "read" : right == Rights.UPDATE ? "change" : "run";
    }

    private StoreException lacking(String verb, Row row, Guard.Condition condition) {
        return refused(user + " may not " + verb + " " + row.title() + (condition.right() == null
            ? ": superusers and administrators may" : ": the right '" + condition.right() + "' is missing"));
    }

    private static StoreException refused(String message) {
        return new StoreException(StoreCodes.NOT_AUTHORISED, message);
    }
}
