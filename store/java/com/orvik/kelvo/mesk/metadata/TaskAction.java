package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Record;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.SQLException;

/**
 * What happens when a task, the parent, has ended. An action belongs to one task at most; parent task ID 0 stands for
 * none. Conditions: 0 whenever the task ends, 1 on success, 2 on failure.
 */
public abstract class TaskAction extends Record {
    private long parentTaskID;
    private int parentSuffix;
    private int position;

    /** A record that is not in the store yet. */
    protected TaskAction() {
    }

    /** The same, reporting whether the session can be used. */
    protected TaskAction(Context context, PARLException exception) {
        super(context, exception);
    }

    /** The part of the walk over the columns that is common to actions. */
    protected final void parentColumns(Columns columns) throws SQLException {
        parentTaskID = columns.reference("parent_task_id", parentTaskID);
        parentSuffix = columns.integer("parent_suffix", parentSuffix);
        position = columns.integer("position", position);
    }

    /** What is wrong with the record's own properties, as an INVALID. */
    protected abstract void validate() throws StoreException;

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        validate();
        position = 0;
        takePlace(database);
    }

    @Override
    public void updating(Database database) throws SQLException, StoreException {
        validate();
        TaskAction before = stored(database);
        if (before.parentTaskID != parentTaskID || before.parentSuffix != parentSuffix) {
            position = 0;
        }
        takePlace(database);
    }

    /** An action that got a parent stands behind the parent's others. */
    private void takePlace(Database database) throws SQLException, StoreException {
        if (parentTaskID == 0) {
            position = 0;
            return;
        }
        Relation.TASK.require(database, parentTaskID, parentSuffix);
        if (position == 0) {
            position = database.sql().first("SELECT coalesce(max(position), 0) + 1 FROM " + table().name()
                + " WHERE parent_task_id = ? AND parent_suffix = ?", row -> row.getInt(1), parentTaskID, parentSuffix);
        }
    }

    /** The action as it is in the store; fails with NOT_FOUND. */
    protected abstract TaskAction stored(Database database) throws SQLException, StoreException;

    /** Makes the task this action's parent. An action that is not in the store yet is inserted. */
    final void addTo(Database database, long taskID, int suffix) throws SQLException, StoreException {
        TaskAction before = version() == 0 ? null : database.access().trusted(this::stored);
        if (before != null && before.parentTaskID != 0) {
            throw new StoreException(StoreCodes.EXISTS,
                "the action belongs to " + Relation.TASK.of(database, before.parentTaskID, before.parentSuffix));
        }
        moveTo(database, taskID, suffix);
    }

    /** Takes the action away from the task; it stays in the store without a parent. */
    final void removeFrom(Database database, long taskID, int suffix) throws SQLException, StoreException {
        TaskAction before = database.access().trusted(this::stored);
        if (before.parentTaskID != taskID || before.parentSuffix != suffix) {
            throw new StoreException(StoreCodes.NOT_FOUND,
                Relation.TASK.of(database, taskID, suffix) + " does not have this action");
        }
        moveTo(database, 0, 0);
    }

    private void moveTo(Database database, long taskID, int suffix) throws SQLException, StoreException {
        long formerID = parentTaskID;
        int formerSuffix = parentSuffix;
        int formerPosition = position;
        parentTaskID = taskID;
        parentSuffix = suffix;
        try {
            if (version() == 0) {
                database.insert(this);
            } else {
                database.update(this);
            }
        } catch (SQLException | StoreException failure) {
            parentTaskID = formerID;
            parentSuffix = formerSuffix;
            position = formerPosition;
            throw failure;
        }
    }

    /** Fails with INVALID unless the value is one of `smallest` to `largest`. */
    protected static void require(int value, int smallest, int largest, String message) throws StoreException {
        if (value < smallest || value > largest) {
            throw new StoreException(StoreCodes.INVALID, message + "; not " + value);
        }
    }

    public long getParentTaskID() {
        return parentTaskID;
    }

    public void setParentTaskID(long value) {
        parentTaskID = value;
    }

    public int getParentSuffix() {
        return parentSuffix;
    }

    public void setParentSuffix(int value) {
        parentSuffix = value;
    }
}
