package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Stored;
import java.sql.SQLException;
import java.util.List;
import java.util.function.Supplier;

/**
 * An ordered relation between an owner and its members, kept as a table of both keys and a position. Keys are given as
 * {@link #key} makes them. Its statements are made once, from names that are constants.
 */
final class Relation {
    /** One end: what people call a record of it, its table, its name column or null, its key columns. */
    record End(String what, String table, Guard guard, String name, String... keys) {
        /** What a message calls the record with this key: by its name, or else by the key itself. */
        String of(Database database, Object... key) throws SQLException {
            String found = name == null ? null : database.sql().first("SELECT " + name + " FROM " + table + " WHERE "
                + match(keys), row -> row.getString(1), key);
            return "the " + what + (found == null ? " " + key[0] : " '" + found + "'");
        }

        /** Fails with NOT_AUTHORISED when there is a record with this key that the session's user may not change. */
        void requireChange(Database database, Object... key) throws SQLException, StoreException {
            String match = " WHERE " + match(keys);
            if (!database.access().isUnlimited() && database.sql().exists("SELECT 1 FROM " + table + match, key)) {
                database.access().requireChange(guard, table, match, key, of(database, key));
            }
        }

        /** Fails with NOT_FOUND when there is no record with this key. */
        void require(Database database, Object... key) throws SQLException, StoreException {
            if (!database.sql().exists("SELECT 1 FROM " + table + " WHERE " + match(keys), key)) {
                throw new StoreException(StoreCodes.NOT_FOUND, "the " + what + " " + key[0] + " is not in the store");
            }
        }
    }

    static final End TASK = new End("task", "task", Guard.TASK, "task_name", "task_id", "suffix");
    static final End RULE = new End("schedule rule", "schedule_event", Guard.RULE, null, "schedule_event_id");
    static final End SCHEDULE = new End("shared schedule", "shared_named_schedule", Guard.ADMINISTERED,
        "shared_schedule_name", "shared_named_schedule_id");
    static final End FOLLOW_ON = new End("follow-on action", "follow_on_action", Guard.FOLLOW_ON, null,
        "follow_on_action_id");
    static final End CODE_SET = new End("success code set", "success_code_set", Guard.SUCCESS_CODES, null,
        "success_code_set_id");

    private final End owner;
    private final End member;
    private final String find;
    private final String last;
    private final String insert;
    private final String delete;
    private final String clear;
    private final String join;

    /** A relation whose columns have the names of the keys. */
    Relation(String table, End owner, End member) {
        this(table, owner, member, member.keys());
    }

    /** A relation that has the member's key in columns of other names. */
    Relation(String table, End owner, End member, String... memberColumns) {
        this.owner = owner;
        this.member = member;
        String ofOwner = match(owner.keys());
        String ofBoth = ofOwner + " AND " + match(memberColumns);
        String owners = String.join(", ", owner.keys());
        String members = String.join(", ", memberColumns);
        StringBuilder renamed = new StringBuilder();
        StringBuilder marks = new StringBuilder("?, ".repeat(owner.keys().length));
        for (int i = 0; i < memberColumns.length; i++) {
            renamed.append(memberColumns[i]).append(" AS ").append(member.keys()[i]).append(", ");
            marks.append("?, ");
        }
        find = "SELECT 1 FROM " + table + " WHERE " + ofBoth;
        last = "SELECT coalesce(max(position), 0) FROM " + table + " WHERE " + ofOwner;
        insert = "INSERT INTO " + table + " (" + owners + ", " + members + ", position) VALUES (" + marks + "?)";
        delete = "DELETE FROM " + table + " WHERE " + ofBoth;
        clear = "DELETE FROM " + table + " WHERE " + ofOwner;
        join = "JOIN (SELECT " + renamed + "position FROM " + table + " WHERE " + ofOwner + ") members USING ("
            + String.join(", ", member.keys()) + ") ORDER BY members.position";
    }

    /** A key as the operations want it: its parts in the order of the key columns. */
    static Object[] key(Object... parts) {
        return parts;
    }

    /**
     * Adds a member behind the others, for whoever may change the owner, and the member if it is a part of its owners.
     * NOT_FOUND when one of the two is not in the store, EXISTS when it is one.
     */
    void add(Database database, Object[] ownerKey, Object[] memberKey) throws SQLException, StoreException {
        owner.requireChange(database, ownerKey);
        if (member == RULE || member == CODE_SET) {
            member.requireChange(database, memberKey);
        }
        owner.require(database, ownerKey);
        member.require(database, memberKey);
        if (database.sql().exists(find, joined(ownerKey, memberKey))) {
            throw new StoreException(StoreCodes.EXISTS,
                owner.of(database, ownerKey) + " has " + member.of(database, memberKey));
        }
        int position = database.sql().first(last, row -> row.getInt(1), ownerKey) + 1;
        database.sql().update(insert, joined(ownerKey, joined(memberKey, key(position))));
        owner.requireChange(database, ownerKey);
    }

    /** Takes a member away; NOT_FOUND when it is none. */
    void remove(Database database, Object[] ownerKey, Object[] memberKey) throws SQLException, StoreException {
        owner.requireChange(database, ownerKey);
        if (database.sql().update(delete, joined(ownerKey, memberKey)) == 0) {
            throw new StoreException(StoreCodes.NOT_FOUND,
                owner.of(database, ownerKey) + " does not have " + member.of(database, memberKey));
        }
    }

    /** Makes these the members, in this order. A member that is given twice is INVALID. */
    void replace(Database database, Object[] ownerKey, List<Object[]> memberKeys)
        throws SQLException, StoreException {
        owner.requireChange(database, ownerKey);
        owner.require(database, ownerKey);
        clear(database, ownerKey);
        for (Object[] memberKey : memberKeys) {
            if (database.sql().exists(find, joined(ownerKey, memberKey))) {
                throw new StoreException(StoreCodes.INVALID, member.of(database, memberKey) + " is given twice");
            }
            add(database, ownerKey, memberKey);
        }
    }

    /** Takes all members away, whoever asks. */
    void clear(Database database, Object[] ownerKey) throws SQLException {
        database.sql().update(clear, ownerKey);
    }

    /** The members in their order. */
    <T extends Stored> List<T> list(Database database, Supplier<T> maker, Object... ownerKey) throws SQLException {
        return database.list(maker, join, ownerKey);
    }

    private static String match(String... columns) {
        return String.join(" = ? AND ", columns) + " = ?";
    }

    private static Object[] joined(Object[] first, Object[] second) {
        Object[] all = new Object[first.length + second.length];
        System.arraycopy(first, 0, all, 0, first.length);
        System.arraycopy(second, 0, all, first.length, second.length);
        return all;
    }
}
