package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeObject;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** The home of follow-on actions. */
public class MDFollowOnActionType extends FakeObject {
    public MDFollowOnActionType(Context context, PARLException exception) {
        super(context, exception);
    }

    public MDFollowOnAction retrieve(Context context, long followOnActionID, PARLException exception) {
        return Script.call(this, "retrieve", context, followOnActionID, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Script.call(this, "retrieveList", context, exception).or(null);
    }

    public void delete(Context context, long followOnActionID, PARLException exception) {
        Script.call(this, "delete", context, followOnActionID, exception);
    }
}
