package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeObject;
import com.orvik.kelvo.mesk.fake.Script;
import java.util.Collection;

/** The home of notification actions. */
public class MDNotificationActionType extends FakeObject {
    public MDNotificationActionType(Context context, PARLException exception) {
        super(context, exception);
    }

    public MDNotificationAction retrieve(Context context, long notificationActionID, PARLException exception) {
        return Script.call(this, "retrieve", context, notificationActionID, exception).or(null);
    }

    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Script.call(this, "retrieveList", context, exception).or(null);
    }

    public void delete(Context context, long notificationActionID, PARLException exception) {
        Script.call(this, "delete", context, notificationActionID, exception);
    }
}
