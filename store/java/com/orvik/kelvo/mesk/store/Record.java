package com.orvik.kelvo.mesk.store;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;

/**
 * A record with the operations that all have. Changes made by setters live in the object until `update`; `update` and
 * `delete` of a record that somebody else has changed since it was read answer CHANGED and write nothing. One thread
 * at a time uses a record.
 */
public abstract class Record implements Stored, Cloneable {
    private int version;

    /** A record that is not in the store yet. */
    protected Record() {
    }

    /** The same, reporting whether the session can be used. */
    protected Record(Context context, PARLException exception) {
        Operation.check(context, exception);
    }

    /** Puts the record into the store. A record without a key gets one. */
    public void insert(Context context, PARLException exception) {
        Operation.write(context, exception, database -> database.insert(this));
    }

    /** Writes the record's properties over those in the store. */
    public void update(Context context, PARLException exception) {
        Operation.write(context, exception, database -> database.update(this));
    }

    /** Takes the record out of the store; the object stays, unsaved. */
    public void delete(Context context, PARLException exception) {
        Operation.write(context, exception, database -> database.delete(this));
    }

    /** A key that no record has or ever had; 0 after a failure. */
    public long getReferenceID(Context context, PARLException exception) {
        return Operation.read(context, exception, 0L, Database::nextKey);
    }

    @Override
    public int version() {
        return version;
    }

    @Override
    public void version(int newVersion) {
        version = newVersion;
    }

    /** A second object for the same row, with the same version. */
    @Override
    public Object clone() {
        try {
            return super.clone();
        } catch (CloneNotSupportedException impossible) {
            throw new AssertionError(impossible);
        }
    }
}
