package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import java.util.Collection;

/** Finds, lists and deletes notification actions. */
public final class MDNotificationActionType {
    /** A home. */
    public MDNotificationActionType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDNotificationActionType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The action with this key; null and NOT_FOUND when there is none. */
    public MDNotificationAction retrieve(Context context, long notificationActionID, PARLException exception) {
        return Operation.read(context, exception, null, database -> database.find(MDNotificationAction::new,
            "WHERE notification_action_id = ?", notificationActionID));
    }

    /** All actions, by key; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDNotificationAction::new, "ORDER BY notification_action_id"));
    }

    /** Deletes the action as it stands, see {@link MDNotificationAction#delete}. */
    public void delete(Context context, long notificationActionID, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(MDNotificationAction::new,
            "WHERE notification_action_id = ?", notificationActionID));
    }
}
