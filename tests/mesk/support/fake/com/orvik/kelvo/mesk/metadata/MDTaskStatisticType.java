package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeObject;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** The home of statistics. */
public class MDTaskStatisticType extends FakeObject {
    public MDTaskStatisticType(Context context, PARLException exception) {
        super(context, exception);
    }

    public MDTaskStatistic retrieve(Context context, long taskID, int suffix, PARLException exception) {
        return Script.call(this, "retrieve", context, taskID, suffix, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Script.call(this, "retrieveList", context, exception).or(null);
    }

    public void delete(Context context, long taskID, int suffix, PARLException exception) {
        Script.call(this, "delete", context, taskID, suffix, exception);
    }
}
