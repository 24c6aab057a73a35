package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Principals;

/** A user by name. Names are compared in capitals. */
public final class MDUser {
    private final String name;

    /** A user with this name, which may be null; whether the store knows it shows when it is asked. */
    public MDUser(String name) {
        this.name = name;
    }

    public String getName() {
        return name;
    }

    /** Whether the user has every right; false for one that the store does not know. */
    public boolean isSuperuser(Context context, PARLException exception) {
        return Operation.read(context, exception, false,
            database -> Principals.isSuperuser(database, Principals.required(name)));
    }

    /** Whether the user may change users and groups; false for one that the store does not know. */
    public boolean isAdmin(Context context, PARLException exception) {
        return Operation.read(context, exception, false,
            database -> Principals.isAdmin(database, Principals.required(name)));
    }

    @Override
    public String toString() {
        return String.valueOf(name);
    }
}
