package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import java.util.Collection;

/** Finds, lists and deletes follow-on actions. */
public final class MDFollowOnActionType {
    /** A home. */
    public MDFollowOnActionType() {
    }

    /** The same, reporting whether the session can be used. */
    public MDFollowOnActionType(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** The action with this key; null and NOT_FOUND when there is none. */
    public MDFollowOnAction retrieve(Context context, long followOnActionID, PARLException exception) {
        return Operation.read(context, exception, null,
            database -> database.find(MDFollowOnAction::new, "WHERE follow_on_action_id = ?", followOnActionID));
    }

    /** All actions, by key; 30013 when there are none. */
    public Collection<?> retrieveList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> database.list(MDFollowOnAction::new, "ORDER BY follow_on_action_id"));
    }

    /** Deletes the action as it stands, see {@link MDFollowOnAction#delete}. */
    public void delete(Context context, long followOnActionID, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(MDFollowOnAction::new,
            "WHERE follow_on_action_id = ?", followOnActionID));
    }
}
