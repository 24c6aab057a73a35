package com.orvik.kelvo.mesk.fake;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;

/** A record of the fake store, with the four operations that every record has. */
public abstract class FakeRecord extends FakeObject {
    protected FakeRecord(Context context, PARLException exception) {
        super(context, exception);
    }

    public void insert(Context context, PARLException exception) {
        Script.call(this, "insert", context, exception);
    }

    public void update(Context context, PARLException exception) {
        Script.call(this, "update", context, exception);
    }

    public void delete(Context context, PARLException exception) {
        Script.call(this, "delete", context, exception);
    }

    public long getReferenceID(Context context, PARLException exception) {
        return Script.call(this, "getReferenceID", context, exception).or(0L);
    }
}
