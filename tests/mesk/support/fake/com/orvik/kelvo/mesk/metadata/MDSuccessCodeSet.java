package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** A success code set of the fake store. */
public class MDSuccessCodeSet extends FakeRecord {
    public MDSuccessCodeSet(Context context, PARLException exception) {
        super(context, exception);
    }

    public Collection<?> retrieveCodeConditionList(Context context, PARLException exception) {
        return Script.call(this, "retrieveCodeConditionList", context, exception).or(null);
    }
}
