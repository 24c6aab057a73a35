package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeObject;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** The home of executions. */
public class MDTaskExecType extends FakeObject {
    public MDTaskExecType(Context context, PARLException exception) {
        super(context, exception);
    }

    public MDTaskExec retrieve(Context context, long taskExecID, PARLException exception) {
        return Script.call(this, "retrieve", context, taskExecID, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Script.call(this, "retrieveList", context, exception).or(null);
    }

    public void delete(Context context, long taskExecID, PARLException exception) {
        Script.call(this, "delete", context, taskExecID, exception);
    }
}
