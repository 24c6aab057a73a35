package com.orvik.kelvo.mesk.admin;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.metadata.MDTaskHistory;
import com.orvik.kelvo.mesk.metadata.TaskRelations;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Principals;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.List;

/**
 * Definitions that records cannot express. Each operation checks and writes in one step of the session's unit of work;
 * the caller commits. Changes are for superusers and administrators, others are answered NOT_AUTHORISED; superusers
 * are made and unmade by superusers only. Names are kept in capitals.
 */
public final class Administration {
    private Administration() {
    }

    /** Makes a user; EXISTS when there is one of this name. */
    public static void createUser(Context context, String name, boolean superuser, boolean admin,
        PARLException exception) {
        change(context, exception, database -> {
            requireFor(database, superuser);
            create(database, Principals.USER, name, superuser, admin);
        });
    }

    /** Changes what a user may. The last superuser remains one: IN_USE. */
    public static void changeUser(Context context, String name, boolean superuser, boolean admin,
        PARLException exception) {
        change(context, exception, database -> {
            String user = existing(database, Principals.USER, name);
            boolean was = Principals.isSuperuser(database, user);
            requireFor(database, superuser || was);
            if (was && !superuser) {
                requireAnother(database, user);
            }
            database.sql().update("UPDATE principal SET superuser = ?, admin = ?, version = version + 1"
                + " WHERE kind = ? AND name = ?", superuser, admin, Principals.USER, user);
        });
    }

    /** Takes a user away with his rights and memberships. The last superuser stays: IN_USE. */
    public static void deleteUser(Context context, String name, PARLException exception) {
        change(context, exception, database -> {
            String user = existing(database, Principals.USER, name);
            if (Principals.isSuperuser(database, user)) {
                requireFor(database, true);
                requireAnother(database, user);
            }
            database.sql().update("DELETE FROM membership WHERE user_name = ?", user);
            remove(database, Principals.USER, user);
        });
    }

    /** Makes a group; EXISTS when there is one of this name. */
    public static void createGroup(Context context, String name, PARLException exception) {
        change(context, exception, database -> create(database, Principals.GROUP, name, false, false));
    }

    /** Takes a group away with its rights; its members stay. */
    public static void deleteGroup(Context context, String name, PARLException exception) {
        change(context, exception, database -> {
            String group = existing(database, Principals.GROUP, name);
            database.sql().update("DELETE FROM membership WHERE group_name = ?", group);
            remove(database, Principals.GROUP, group);
        });
    }

    /** Puts a user into a group; EXISTS when he is in it. */
    public static void addMember(Context context, String group, String user, PARLException exception) {
        change(context, exception, database -> {
            String into = existing(database, Principals.GROUP, group);
            String who = existing(database, Principals.USER, user);
            if (database.sql().exists("SELECT 1 FROM membership WHERE user_name = ? AND group_name = ?", who, into)) {
                throw new StoreException(StoreCodes.EXISTS, who + " is a member of " + into);
            }
            database.sql().update("INSERT INTO membership (user_name, group_name) VALUES (?, ?)", who, into);
        });
    }

    /** Takes a user out of a group; NOT_FOUND when he is not in it. */
    public static void removeMember(Context context, String group, String user, PARLException exception) {
        change(context, exception, database -> {
            int removed = database.sql().update("DELETE FROM membership WHERE user_name = ? AND group_name = ?",
                Principals.required(user), Principals.required(group));
            if (removed == 0) {
                throw new StoreException(StoreCodes.NOT_FOUND, user + " is no member of " + group);
            }
        });
    }

    /** The names of all users, in order; 30013 when there are none. */
    public static ArrayList<?> listUsers(Context context, PARLException exception) {
        return names(context, exception, "SELECT name FROM principal WHERE kind = 0 ORDER BY name");
    }

    /** The names of all groups, in order; 30013 when there are none. */
    public static ArrayList<?> listGroups(Context context, PARLException exception) {
        return names(context, exception, "SELECT name FROM principal WHERE kind = 1 ORDER BY name");
    }

    /** The names of a group's members, in order; 30013 when it has none. */
    public static ArrayList<?> listMembers(Context context, String group, PARLException exception) {
        return names(context, exception, "SELECT user_name FROM membership WHERE group_name = ? ORDER BY user_name",
            Principals.fold(group));
    }

    /** The ID of the task of this name with suffix 0, for whoever asks; 0 and NOT_FOUND when there is none. */
    public static long taskID(Context context, String name, PARLException exception) {
        return Operation.read(context, exception, 0L, database -> {
            Long id = database.sql().first("SELECT task_id FROM task WHERE task_name = ? AND suffix = 0",
                row -> row.getLong(1), name);
            if (id == null) {
                throw new StoreException(StoreCodes.NOT_FOUND, "there is no task " + name);
            }
            return id;
        });
    }

    /** The name of the task that ran, for whoever asks; null and NOT_FOUND when there is no such run. */
    public static String taskOfRun(Context context, long taskHistoryID, PARLException exception) {
        return Operation.read(context, exception, null, database -> {
            String name = database.sql().first("SELECT coalesce(task_name, '') FROM task_history"
                + " WHERE task_history_id = ?", row -> row.getString(1), taskHistoryID);
            if (name == null) {
                throw new StoreException(StoreCodes.NOT_FOUND, "there is no run " + taskHistoryID);
            }
            return name;
        });
    }

    /** The names of the tasks that the session's user has a right on (see Rights), in order; 30013 for none. */
    public static ArrayList<?> listTasksWith(Context context, int right, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED,
            database -> Rights.tasksWith(database, right));
    }

    /** How many tasks (kind 1), executions (2), runs (3) there are, whether the session's user may read them or not. */
    public static int count(Context context, int kind, PARLException exception) {
        return Operation.read(context, exception, 0, database -> Rights.count(database, kind));
    }

    /** Makes a contact or replaces its addresses; a null address is none. The name: 1 to 127 bytes, no "@". */
    public static void putContact(Context context, String name, String email, String pager, PARLException exception) {
        change(context, exception, database -> Contacts.put(database, name, email, pager));
    }

    /** Takes a contact away; IN_USE while a contact group or a notification action names it. */
    public static void removeContact(Context context, String name, PARLException exception) {
        change(context, exception, database -> Contacts.remove(database, name));
    }

    /** The names of all contacts, in order; 30013 when there are none. */
    public static ArrayList<?> listContacts(Context context, PARLException exception) {
        return names(context, exception, "SELECT contact_name FROM contact ORDER BY contact_name");
    }

    /** The address (kind 1 e-mail, 2 pager) of a contact; null when it has none. An address is its own. */
    public static String contactAddress(Context context, String name, int kind, PARLException exception) {
        return Operation.read(context, exception, null, database -> {
            database.access().requireKnown();
            return Contacts.address(database, name, kind);
        });
    }

    /** Makes a group of contacts and addresses, or replaces its members. The name: 1 to 127 bytes. */
    public static void putContactGroup(Context context, String name, String[] members, PARLException exception) {
        change(context, exception, database -> Contacts.putGroup(database, name, orNone(members)));
    }

    /** Takes a contact group away, its members stay; IN_USE while a notification action names it. */
    public static void removeContactGroup(Context context, String name, PARLException exception) {
        change(context, exception, database -> Contacts.removeGroup(database, name));
    }

    /** The names of all contact groups, in order; 30013 when there are none. */
    public static ArrayList<?> listContactGroups(Context context, PARLException exception) {
        return names(context, exception, "SELECT contact_group_name FROM contact_group ORDER BY contact_group_name");
    }

    /** The members of a contact group in their order; NOT_FOUND for an unknown group, 30013 when it has none. */
    public static ArrayList<?> contactsOf(Context context, String group, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED, database -> {
            database.access().requireKnown();
            return Contacts.members(database, group);
        });
    }

    /**
     * Says whom a notification action tells: contacts or addresses, and contact groups, in place of those before. For
     * whoever may update the parent task.
     */
    public static void setContacts(Context context, long notificationActionID, String[] contacts,
        String[] contactGroups, PARLException exception) {
        Operation.write(context, exception, database -> {
            database.access().requireChange(database.access().trusted(inner -> inner.find(MDNotificationAction::new,
                "WHERE notification_action_id = ?", notificationActionID)));
            Contacts.set(database, notificationActionID, orNone(contacts), orNone(contactGroups));
        });
    }

    /** The name of the scheduler that is marked as working on the store, or null. */
    public static String markedScheduler(Context context, PARLException exception) {
        return Operation.read(context, exception, null, database ->
            database.sql().first("SELECT scheduler FROM scheduler_mark", row -> row.getString(1)));
    }

    // What hangs on a task and no record of the surface writes. The session's user needs the right to update the task.

    /** Makes these tasks the steps of a group, in this order; none leaves it without. */
    public static void setGroupMembers(Context context, long taskID, int suffix, long[] memberIDs,
        int[] memberSuffixes, PARLException exception) {
        changeTask(context, taskID, suffix, exception,
            database -> TaskRelations.setMembers(database, taskID, suffix, memberIDs, memberSuffixes));
    }

    /** Makes these conditions the task's success codes, see MDCodeCondition; none leaves it without. */
    public static void setSuccessCodes(Context context, long taskID, int suffix, int[] codes, String[] conditions,
        PARLException exception) {
        changeTask(context, taskID, suffix, exception,
            database -> database.access().trusted(inner -> {
                TaskRelations.setSuccessCodes(inner, taskID, suffix, codes, conditions);
                return null;
            }));
    }

    /** Makes a task use a shared schedule, behind those that it uses; EXISTS when it does. */
    public static void addSharedSchedule(Context context, long taskID, int suffix, long scheduleID,
        PARLException exception) {
        changeTask(context, taskID, suffix, exception,
            database -> TaskRelations.addSchedule(database, taskID, suffix, scheduleID));
    }

    /** A task no longer uses a shared schedule; what its rules queued for the task goes. NOT_FOUND when it does not. */
    public static void removeSharedSchedule(Context context, long taskID, int suffix, long scheduleID,
        PARLException exception) {
        changeTask(context, taskID, suffix, exception,
            database -> TaskRelations.removeSchedule(database, taskID, suffix, scheduleID));
    }

    /** Adds a rule behind the others of a shared schedule; EXISTS when the schedule has it. */
    public static void addScheduleRule(Context context, long scheduleID, long scheduleEventID,
        PARLException exception) {
        change(context, exception,
            database -> TaskRelations.addScheduleRule(database, scheduleID, scheduleEventID));
    }

    /** Takes a rule away from a shared schedule, with what it queued; NOT_FOUND when the schedule does not have it. */
    public static void removeScheduleRule(Context context, long scheduleID, long scheduleEventID,
        PARLException exception) {
        change(context, exception,
            database -> TaskRelations.removeScheduleRule(database, scheduleID, scheduleEventID));
    }

    /**
     * Records that a follow-on action of a run acted on a task and queued this execution, -1 for none. A second time
     * answers EXISTS: an action acts once on each task for each run. Needs the right to execute the task that ran.
     */
    public static void recordFollowOn(Context context, long taskHistoryID, long followOnActionID, long taskID,
        int suffix, long taskExecID, PARLException exception) {
        Operation.write(context, exception, database -> {
            if (!requireExecute(database, taskHistoryID)) {
                throw new StoreException(StoreCodes.NOT_FOUND, "there is no run " + taskHistoryID);
            }
            TaskRelations.recordFollowOn(database, taskHistoryID, followOnActionID, taskID, suffix, taskExecID);
        });
    }

    /** The histories of the steps that belong directly to a group's run, in the order of their keys; 30013 if none. */
    public static ArrayList<?> listSteps(Context context, long taskHistoryID, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED, database -> database.list(
            MDTaskHistory::new, "WHERE root_task_history_id = ? AND root_task_history_id <> task_history_id"
            + " ORDER BY task_history_id", taskHistoryID));
    }

    private static ArrayList<String> names(Context context, PARLException exception, String query,
        Object... parameters) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED, database -> {
            List<String> names = database.sql().list(query, row -> row.getString(1), parameters);
            return names;
        });
    }

    private static String[] orNone(String[] names) {
        return names == null ? new String[0] : names;
    }

    private static void change(Context context, PARLException exception, Operation.Action action) {
        Operation.write(context, exception, database -> {
            requireFor(database, false);
            action.run(database);
            database.access().lookAgain();
        });
    }

    private static void changeTask(Context context, long taskID, int suffix, PARLException exception,
        Operation.Action action) {
        Operation.write(context, exception, database -> {
            database.access().require(Rights.UPDATE, taskID, suffix);
            action.run(database);
        });
    }

    /** Fails unless the user may execute the task that ran. Answers whether the run is known; else superusers may. */
    static boolean requireExecute(Database database, long taskHistoryID) throws SQLException, StoreException {
        long[] ran = database.sql().first("SELECT task_id, suffix FROM task_history WHERE task_history_id = ?",
            row -> new long[] {row.getLong(1), row.getLong(2)}, taskHistoryID);
        if (ran == null) {
            database.access().requireSuperuser();
            return false;
        }
        database.access().require(Rights.EXECUTE, ran[0], (int) ran[1]);
        return true;
    }

    private static void requireFor(Database database, boolean superuser) throws SQLException, StoreException {
        if (superuser) {
            database.access().requireSuperuser();
        } else {
            database.access().requireAdministrator();
        }
    }

    private static void requireAnother(Database database, String user) throws SQLException, StoreException {
        if (!database.sql().exists("SELECT 1 FROM principal WHERE kind = 0 AND superuser = 1 AND name <> ?", user)) {
            throw new StoreException(StoreCodes.IN_USE, user + " is the last superuser");
        }
    }

    private static void create(Database database, int kind, String name, boolean superuser, boolean admin)
        throws SQLException, StoreException {
        String folded = Principals.required(name);
        if (Principals.exists(database, kind, folded)) {
            throw new StoreException(StoreCodes.EXISTS, folded + " exists");
        }
        database.sql().update("INSERT INTO principal (kind, name, superuser, admin, version) VALUES (?, ?, ?, ?, 1)",
            kind, folded, superuser, admin);
    }

    private static String existing(Database database, int kind, String name) throws SQLException, StoreException {
        String folded = Principals.required(name);
        Principals.requireKnown(database, kind, folded);
        return folded;
    }

    private static void remove(Database database, int kind, String name) throws SQLException {
        database.sql().update("DELETE FROM permission WHERE principal_kind = ? AND principal_name = ?", kind, name);
        database.sql().update("DELETE FROM principal WHERE kind = ? AND name = ?", kind, name);
    }
}
