package com.orvik.kelvo.mesk.admin;

import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Sql;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.nio.charset.StandardCharsets;
import java.sql.SQLException;
import java.util.HashSet;
import java.util.List;
import java.util.Set;

/**
 * Contacts with their addresses, and groups of them. Names keep their case and are compared exactly. Wherever a contact
 * is named, an address may stand instead, which is told by its "@".
 */
final class Contacts {
    static final int EMAIL = 1;
    static final int PAGER = 2;

    /** Native code reads names into buffers of 128 bytes. */
    private static final int LONGEST_NAME = 127;
    /** What mail servers take. */
    private static final int LONGEST_ADDRESS = 254;

    private Contacts() {
    }

    static void put(Database database, String name, String email, String pager) throws SQLException, StoreException {
        requireName(name);
        if (isAddress(name)) {
            throw invalid("contact " + name + ": a name with @ would be an address");
        }
        requireAddressOrNone(name, email);
        requireAddressOrNone(name, pager);
        Sql sql = database.sql();
        if (sql.update("UPDATE contact SET email = ?, pager = ?, version = version + 1 WHERE contact_name = ?",
            email, pager, name) == 0) {
            sql.update("INSERT INTO contact (contact_name, email, pager, version) VALUES (?, ?, ?, 1)",
                name, email, pager);
        }
    }

    /** Takes a contact away that no group and no action names any more. */
    static void remove(Database database, String name) throws SQLException, StoreException {
        requireUnused(database, "the contact " + name, "a contact group has it: ",
            "SELECT contact_group_name FROM contact_group_member WHERE contact_name = ? ORDER BY 1", name);
        requireUnused(database, "the contact " + name, "a notification tells it, task ",
            action("notification_contact", "contact_name"), name);
        if (database.sql().update("DELETE FROM contact WHERE contact_name = ?", name) == 0) {
            throw new StoreException(StoreCodes.NOT_FOUND, "there is no contact " + name);
        }
    }

    /** An address of a contact; null when it has none. An address is its own, of either kind. */
    static String address(Database database, String name, int kind) throws SQLException, StoreException {
        requireKind(kind);
        if (isAddress(name)) {
            return name;
        }
        List<String> found = database.sql().list(kind == EMAIL ? "SELECT email FROM contact WHERE contact_name = ?"
            : "SELECT pager FROM contact WHERE contact_name = ?", row -> row.getString(1), name);
        if (found.isEmpty()) {
            throw new StoreException(StoreCodes.NOT_FOUND, "there is no contact " + name);
        }
        return found.get(0);
    }

    static void putGroup(Database database, String name, String[] members) throws SQLException, StoreException {
        requireName(name);
        requireContacts(database, "contact group " + name, members);
        Sql sql = database.sql();
        if (sql.update("UPDATE contact_group SET version = version + 1 WHERE contact_group_name = ?", name) == 0) {
            sql.update("INSERT INTO contact_group (contact_group_name, version) VALUES (?, 1)", name);
        }
        sql.update("DELETE FROM contact_group_member WHERE contact_group_name = ?", name);
        for (int i = 0; i < members.length; i++) {
            sql.update("INSERT INTO contact_group_member (contact_group_name, contact_name, position)"
                + " VALUES (?, ?, ?)", name, members[i], i + 1);
        }
    }

    /** Takes a group away that no action names any more; its members stay. */
    static void removeGroup(Database database, String name) throws SQLException, StoreException {
        requireGroup(database, name);
        requireUnused(database, "the contact group " + name, "a notification tells it, task ",
            action("notification_contact_group", "contact_group_name"), name);
        database.sql().update("DELETE FROM contact_group_member WHERE contact_group_name = ?", name);
        database.sql().update("DELETE FROM contact_group WHERE contact_group_name = ?", name);
    }

    static List<String> members(Database database, String group) throws SQLException, StoreException {
        requireGroup(database, group);
        return database.sql().list("SELECT contact_name FROM contact_group_member WHERE contact_group_name = ?"
            + " ORDER BY position", row -> row.getString(1), group);
    }

    /** Says whom an action tells, in place of those whom it told. */
    static void set(Database database, long actionID, String[] contacts, String[] groups)
        throws SQLException, StoreException {
        requireContacts(database, "notification action " + actionID, contacts);
        requireDistinct("notification action " + actionID, groups);
        for (String group : groups) {
            requireGroup(database, group);
        }
        MDNotificationAction.replaceContacts(database, actionID, contacts, groups);
    }

    /** Fails unless the text can be the address of a message: one word with an "@" in it. */
    static void requireAddress(String whose, String address) throws StoreException {
        int at = address == null ? -1 : address.lastIndexOf('@');
        if (at < 1 || at == address.length() - 1
            || address.getBytes(StandardCharsets.UTF_8).length > LONGEST_ADDRESS
            || address.codePoints().anyMatch(c -> Character.isWhitespace(c) || Character.isSpaceChar(c)
                || Character.isISOControl(c) || "<>(),;:\"\\".indexOf(c) >= 0)) {
            throw invalid(whose + ": not an address: " + address);
        }
    }

    static void requireKind(int kind) throws StoreException {
        if (kind != EMAIL && kind != PAGER) {
            throw invalid("kind: 1 e-mail, 2 pager; not " + kind);
        }
    }

    private static boolean isAddress(String name) {
        return name != null && name.indexOf('@') >= 0;
    }

    private static void requireAddressOrNone(String name, String address) throws StoreException {
        if (address != null) {
            requireAddress("contact " + name, address);
        }
    }

    private static void requireName(String name) throws StoreException {
        if (name == null || name.isEmpty() || name.getBytes(StandardCharsets.UTF_8).length > LONGEST_NAME
            || name.codePoints().anyMatch(Character::isISOControl)) {
            throw invalid("a contact or group needs a name of 1 to " + LONGEST_NAME + " bytes on one line: " + name);
        }
    }

    private static void requireContacts(Database database, String whose, String[] names)
        throws SQLException, StoreException {
        requireDistinct(whose, names);
        for (String name : names) {
            if (isAddress(name)) {
                requireAddress(whose, name);
            } else if (!database.sql().exists("SELECT 1 FROM contact WHERE contact_name = ?", name)) {
                throw new StoreException(StoreCodes.NOT_FOUND, whose + ": there is no contact " + name);
            }
        }
    }

    private static void requireDistinct(String whose, String[] names) throws StoreException {
        Set<String> seen = new HashSet<>();
        for (String name : names) {
            if (!seen.add(name)) {
                throw invalid(whose + " names " + name + " twice");
            }
        }
    }

    private static void requireGroup(Database database, String name) throws SQLException, StoreException {
        if (!database.sql().exists("SELECT 1 FROM contact_group WHERE contact_group_name = ?", name)) {
            throw new StoreException(StoreCodes.NOT_FOUND, "there is no contact group " + name);
        }
    }

    /** The names of the tasks whose actions stand in `table` under a name. */
    private static String action(String table, String column) {
        return "SELECT coalesce(t.task_name, '(none)') FROM " + table + " c JOIN notification_action a"
            + " ON a.notification_action_id = c.notification_action_id LEFT JOIN task t"
            + " ON t.task_id = a.parent_task_id AND t.suffix = a.parent_suffix WHERE c." + column + " = ? ORDER BY 1";
    }

    private static void requireUnused(Database database, String what, String how, String query, String name)
        throws SQLException, StoreException {
        String user = database.sql().first(query, row -> row.getString(1), name);
        if (user != null) {
            throw new StoreException(StoreCodes.IN_USE, what + " stays: " + how + user);
        }
    }

    private static StoreException invalid(String message) {
        return new StoreException(StoreCodes.INVALID, message);
    }
}
