package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.ArrayList;
import java.util.Collection;

/** A follow-on action of the fake store. */
public class MDFollowOnAction extends FakeRecord {
    private long followOnActionID;
    private long parentTaskID;
    private int parentSuffix;
    private int action;
    private int followOnCondition;

    public MDFollowOnAction(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDFollowOnAction#" + followOnActionID;
    }

    public long getFollowOnActionID() {
        Script.property(this, "getFollowOnActionID");
        return followOnActionID;
    }

    public void setFollowOnActionID(long value) {
        Script.property(this, "setFollowOnActionID", value);
        followOnActionID = value;
    }

    public long getParentTaskID() {
        Script.property(this, "getParentTaskID");
        return parentTaskID;
    }

    public void setParentTaskID(long value) {
        Script.property(this, "setParentTaskID", value);
        parentTaskID = value;
    }

    public int getParentSuffix() {
        Script.property(this, "getParentSuffix");
        return parentSuffix;
    }

    public void setParentSuffix(int value) {
        Script.property(this, "setParentSuffix", value);
        parentSuffix = value;
    }

    public int getAction() {
        Script.property(this, "getAction");
        return action;
    }

    public void setAction(int value) {
        Script.property(this, "setAction", value);
        action = value;
    }

    public int getFollowOnCondition() {
        Script.property(this, "getFollowOnCondition");
        return followOnCondition;
    }

    public void setFollowOnCondition(int value) {
        Script.property(this, "setFollowOnCondition", value);
        followOnCondition = value;
    }

    public void addTask(Context context, MDTask task, PARLException exception) {
        Script.call(this, "addTask", context, task, exception);
    }

    public void removeTask(Context context, MDTask task, PARLException exception) {
        Script.call(this, "removeTask", context, task, exception);
    }

    public Collection<?> retrieveTaskList(Context context, PARLException exception) {
        return Script.call(this, "retrieveTaskList", context, exception).or(null);
    }

    public void setTaskList(Context context, ArrayList<?> tasks, PARLException exception) {
        Script.call(this, "setTaskList", context, tasks, exception);
    }
}
