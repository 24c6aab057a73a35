package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.Script;

/** A user of the fake store. */
public class MDUser {
    private final String name;

    public MDUser(String name) {
        this.name = name;
        Script.construct(this, name);
    }

    @Override
    public String toString() {
        return "MDUser:" + name;
    }

    public boolean isSuperuser(Context context, PARLException exception) {
        return Script.call(this, "isSuperuser", context, exception).or(false);
    }

    public boolean isAdmin(Context context, PARLException exception) {
        return Script.call(this, "isAdmin", context, exception).or(false);
    }
}
