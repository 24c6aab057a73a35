package com.orvik.kelvo.mesk.fake;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.metadata.MDGroup;
import com.orvik.kelvo.mesk.metadata.MDUser;

/** A record of the fake store on which users and groups hold rights. */
public abstract class FakeGuardedRecord extends FakeRecord {
    protected FakeGuardedRecord(Context context, PARLException exception) {
        super(context, exception);
    }

    public boolean getReadPermission(Context context, MDUser principal, PARLException exception) {
        return Script.call(this, "getReadPermission", context, principal, exception).or(false);
    }

    public void setReadPermission(Context context, MDUser principal, boolean allowed, PARLException exception) {
        Script.call(this, "setReadPermission", context, principal, allowed, exception);
    }

    public boolean getUpdatePermission(Context context, MDUser principal, PARLException exception) {
        return Script.call(this, "getUpdatePermission", context, principal, exception).or(false);
    }

    public void setUpdatePermission(Context context, MDUser principal, boolean allowed, PARLException exception) {
        Script.call(this, "setUpdatePermission", context, principal, allowed, exception);
    }

    public boolean getExecutePermission(Context context, MDUser principal, PARLException exception) {
        return Script.call(this, "getExecutePermission", context, principal, exception).or(false);
    }

    public void setExecutePermission(Context context, MDUser principal, boolean allowed, PARLException exception) {
        Script.call(this, "setExecutePermission", context, principal, allowed, exception);
    }

    public boolean getReadPermission(Context context, MDGroup principal, PARLException exception) {
        return Script.call(this, "getReadPermission", context, principal, exception).or(false);
    }

    public void setReadPermission(Context context, MDGroup principal, boolean allowed, PARLException exception) {
        Script.call(this, "setReadPermission", context, principal, allowed, exception);
    }

    public boolean getUpdatePermission(Context context, MDGroup principal, PARLException exception) {
        return Script.call(this, "getUpdatePermission", context, principal, exception).or(false);
    }

    public void setUpdatePermission(Context context, MDGroup principal, boolean allowed, PARLException exception) {
        Script.call(this, "setUpdatePermission", context, principal, allowed, exception);
    }

    public boolean getExecutePermission(Context context, MDGroup principal, PARLException exception) {
        return Script.call(this, "getExecutePermission", context, principal, exception).or(false);
    }

    public void setExecutePermission(Context context, MDGroup principal, boolean allowed, PARLException exception) {
        Script.call(this, "setExecutePermission", context, principal, allowed, exception);
    }
}
