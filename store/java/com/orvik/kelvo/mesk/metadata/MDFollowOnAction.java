package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.Collection;
import java.util.List;

/**
 * What happens to other tasks when a task has ended. Action: 1 run, 2 enable, 3 disable. The tasks that it acts on are
 * kept in the order in which they were added.
 */
public final class MDFollowOnAction extends TaskAction {
    private static final Table TABLE = new Table("follow_on_action", 1, Guard.FOLLOW_ON);

    private long followOnActionID;
    private int action = 1;
    private int followOnCondition;

    /** A record that is not in the store yet. */
    public MDFollowOnAction() {
    }

    /** The same, reporting whether the session can be used. */
    public MDFollowOnAction(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        followOnActionID = columns.number("follow_on_action_id", followOnActionID);
        parentColumns(columns);
        action = columns.integer("action", action);
        followOnCondition = columns.integer("follow_on_condition", followOnCondition);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (followOnActionID == 0) {
            followOnActionID = database.nextKey();
        }
    }

    /** With an action goes the list of the tasks that it acts on; the tasks stay. */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        TaskRelations.TARGETS.clear(database, Relation.key(followOnActionID));
    }

    @Override
    protected void validate() throws StoreException {
        require(action, 1, 3, "Action: 1 run, 2 enable, 3 disable");
        require(followOnCondition, 0, 2, "FollowOnCondition: 0 whenever the task ends, 1 on success, 2 on failure");
    }

    @Override
    protected TaskAction stored(Database database) throws SQLException, StoreException {
        return database.find(MDFollowOnAction::new, "WHERE follow_on_action_id = ?", followOnActionID);
    }

    /** Adds a task behind the others that the action, which is in the store, acts on; EXISTS when it is one. */
    public void addTask(Context context, MDTask task, PARLException exception) {
        Operation.write(context, exception, database ->
            TaskRelations.TARGETS.add(database, Relation.key(followOnActionID), TaskRelations.keyOf(task)));
    }

    /** Takes away a task that the action acts on; NOT_FOUND when it is none. */
    public void removeTask(Context context, MDTask task, PARLException exception) {
        Operation.write(context, exception, database ->
            TaskRelations.TARGETS.remove(database, Relation.key(followOnActionID), TaskRelations.keyOf(task)));
    }

    /** The tasks that the action acts on, in their order; 30013 when there are none. */
    public Collection<?> retrieveTaskList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> TaskRelations.TARGETS.list(database, MDTask::new, followOnActionID));
    }

    /** Makes the elements, tasks of the store, those that the action acts on, in their order; INVALID for twins. */
    public void setTaskList(Context context, ArrayList<?> tasks, PARLException exception) {
        Operation.write(context, exception, database -> {
            if (tasks == null) {
                throw new StoreException(StoreCodes.INVALID, "no tasks were given");
            }
            List<Object[]> keys = new ArrayList<>();
            for (Object task : tasks) {
                if (!(task instanceof MDTask)) {
                    throw new StoreException(StoreCodes.INVALID, "an element of the list is no task");
                }
                keys.add(TaskRelations.keyOf((MDTask) task));
            }
            TaskRelations.TARGETS.replace(database, Relation.key(followOnActionID), keys);
        });
    }

    public long getFollowOnActionID() {
        return followOnActionID;
    }

    public void setFollowOnActionID(long value) {
        followOnActionID = value;
    }

    public int getAction() {
        return action;
    }

    public void setAction(int value) {
        action = value;
    }

    public int getFollowOnCondition() {
        return followOnCondition;
    }

    public void setFollowOnCondition(int value) {
        followOnCondition = value;
    }
}
