package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Principals;
import com.orvik.kelvo.mesk.store.Record;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.SQLException;

/**
 * A record that users and groups hold rights on. A user has a right by himself, through a group that he is in, or as
 * superuser; a group has those given to it. A right on a task covers what belongs to it. Rights are given and taken by
 * superusers, administrators, and those who may update the record.
 */
public abstract class GuardedRecord extends Record {
    protected GuardedRecord() {
    }

    protected GuardedRecord(Context context, PARLException exception) {
        super(context, exception);
    }

    /** What the rights are kept under. */
    protected abstract Rights.Subject subject();

    public boolean getReadPermission(Context context, MDUser user, PARLException exception) {
        return userHas(context, user, Rights.READ, exception);
    }

    public boolean getReadPermission(Context context, MDGroup group, PARLException exception) {
        return groupHas(context, group, Rights.READ, exception);
    }

    public boolean getUpdatePermission(Context context, MDUser user, PARLException exception) {
        return userHas(context, user, Rights.UPDATE, exception);
    }

    public boolean getUpdatePermission(Context context, MDGroup group, PARLException exception) {
        return groupHas(context, group, Rights.UPDATE, exception);
    }

    public boolean getExecutePermission(Context context, MDUser user, PARLException exception) {
        return userHas(context, user, Rights.EXECUTE, exception);
    }

    public boolean getExecutePermission(Context context, MDGroup group, PARLException exception) {
        return groupHas(context, group, Rights.EXECUTE, exception);
    }

    public void setReadPermission(Context context, MDUser user, boolean allowed, PARLException exception) {
        set(context, Principals.USER, nameOf(user), Rights.READ, allowed, exception);
    }

    public void setReadPermission(Context context, MDGroup group, boolean allowed, PARLException exception) {
        set(context, Principals.GROUP, nameOf(group), Rights.READ, allowed, exception);
    }

    public void setUpdatePermission(Context context, MDUser user, boolean allowed, PARLException exception) {
        set(context, Principals.USER, nameOf(user), Rights.UPDATE, allowed, exception);
    }

    public void setUpdatePermission(Context context, MDGroup group, boolean allowed, PARLException exception) {
        set(context, Principals.GROUP, nameOf(group), Rights.UPDATE, allowed, exception);
    }

    public void setExecutePermission(Context context, MDUser user, boolean allowed, PARLException exception) {
        set(context, Principals.USER, nameOf(user), Rights.EXECUTE, allowed, exception);
    }

    public void setExecutePermission(Context context, MDGroup group, boolean allowed, PARLException exception) {
        set(context, Principals.GROUP, nameOf(group), Rights.EXECUTE, allowed, exception);
    }

    /** The rights on a record end with it. */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        Rights.forget(database, subject());
    }

    private boolean userHas(Context context, MDUser user, int right, PARLException exception) {
        return Operation.read(context, exception, false,
            database -> Rights.userHas(database, this, Principals.required(nameOf(user)), right));
    }

    private boolean groupHas(Context context, MDGroup group, int right, PARLException exception) {
        return Operation.read(context, exception, false,
            database -> Rights.groupHas(database, this, Principals.required(nameOf(group)), right));
    }

    private void set(Context context, int kind, String name, int right, boolean allowed, PARLException exception) {
        Operation.write(context, exception, database -> {
            database.requireStored(this);
            database.access().requireUpdateOrAdministrator(this);
            Rights.set(database, subject(), kind, Principals.required(name), right, allowed);
        });
    }

    private static String nameOf(MDUser user) {
        return user == null ? null : user.getName();
    }

    private static String nameOf(MDGroup group) {
        return group == null ? null : group.getName();
    }
}
