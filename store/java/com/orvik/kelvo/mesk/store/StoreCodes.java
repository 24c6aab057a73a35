package com.orvik.kelvo.mesk.store;

/** The codes that operations of the store answer. Codes of other failures of the database are nested below them. */
public final class StoreCodes {
    /** Done. */
    public static final int OK = 0;
    /** There is no such record. */
    public static final int NOT_FOUND = 30010;
    /** A record with this key or this name exists. */
    public static final int EXISTS = 30011;
    /** Somebody else changed the record since it was read; nothing was written. */
    public static final int CHANGED = 30012;
    /** A home, a history or a right has nothing to list. */
    public static final int NOTHING_LISTED = 30013;
    /** A relation of a task has nothing to list. */
    public static final int NO_RELATION = 30014;
    /** The scheduled instant already has its run; nothing was written. */
    public static final int CLAIMED = 30015;
    /** The record is in use: a run of it is in progress, or another record, which the message names, needs it. */
    public static final int IN_USE = 30016;
    /** A value is out of range; the message names the property. */
    public static final int INVALID = 30017;
    /** The unit of work took all keys that were reserved before it began; commit or roll back first. */
    public static final int KEYS_EXHAUSTED = 30018;
    /** The store cannot be reached. */
    public static final int CANNOT_CONNECT = 30020;
    /** The file is something else than a store. */
    public static final int NOT_A_STORE = 30021;
    /** A newer release upgraded the store. */
    public static final int STORE_TOO_NEW = 30022;
    /** The file or its folder cannot be written. */
    public static final int READ_ONLY = 30023;
    /** Others kept the store locked for too long. */
    public static final int BUSY = 30024;
    /** There is no room left on the disk, or the database has reached its limit. */
    public static final int DISK_FULL = 30025;
    /** There is no session: the context is null or closed. */
    public static final int NOT_CONNECTED = 30026;
    /** The session's user may not do this. */
    public static final int NOT_AUTHORISED = 30027;
    /** The file is damaged, or a password cannot be opened with the store's key. */
    public static final int DAMAGED = 30028;
    /** Any other failure of the database; see the nested code. */
    public static final int SQL_ERROR = 30030;
    /** A defect of the store itself. */
    public static final int INTERNAL = 30099;

    private StoreCodes() {
    }
}
