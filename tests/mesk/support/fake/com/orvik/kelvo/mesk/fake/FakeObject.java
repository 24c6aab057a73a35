package com.orvik.kelvo.mesk.fake;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;

/** An object of the fake store that is made with a context and reports through an exception object. */
public abstract class FakeObject {
    protected FakeObject(Context context, PARLException exception) {
        Script.construct(this, context, exception);
    }

    @Override
    public String toString() {
        return getClass().getSimpleName();
    }
}
