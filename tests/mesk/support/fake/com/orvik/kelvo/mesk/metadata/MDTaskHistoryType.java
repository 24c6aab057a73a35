package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeObject;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Timestamp;
import java.util.Collection;

/** The home of history records. */
public class MDTaskHistoryType extends FakeObject {
    public MDTaskHistoryType(Context context, PARLException exception) {
        super(context, exception);
    }

    public MDTaskHistory retrieve(Context context, long taskHistoryID, PARLException exception) {
        return Script.call(this, "retrieve", context, taskHistoryID, exception).or(null);
    }

    public MDTaskHistory retrieve(
            Context context, long taskID, int suffix, Timestamp start, PARLException exception) {
        return Script.call(this, "retrieve", context, taskID, suffix, start, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Script.call(this, "retrieveList", context, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, long taskID, PARLException exception) {
        return Script.call(this, "retrieveList", context, taskID, exception).or(null);
    }

    public void delete(Context context, long taskID, int suffix, Timestamp before, PARLException exception) {
        Script.call(this, "delete", context, taskID, suffix, before, exception);
    }
}
