package com.orvik.kelvo.mesk.admin;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.metadata.MDNotificationMessage;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Template;
import java.sql.SQLException;
import java.sql.Timestamp;
import java.util.function.UnaryOperator;

/**
 * Messages that wait for being sent. One is put in with the record of the run that it tells of, in the same unit of
 * work; it leaves the box when it was sent or given up, which the run's notification results then say. Times are
 * milliseconds since 1970 UTC. Who may execute the task puts messages in; what tells of all tasks is for superusers.
 * The caller commits.
 */
public final class Outbox {
    /** A box without messages has no next try; a message without one is given up. */
    private static final long NEVER = -1;
    private static final int LONGEST_REASON = 500;

    /** A message with the run that it tells of. */
    private record Entry(long run, OutboxMessage message) {
    }

    private Outbox() {
    }

    /**
     * Puts a message in, due at once. Kind: 1 e-mail, 2 pager, whose subject is cut to what pagers show. Of messages of
     * one run, action, kind and address the box takes the first, and the others silently not.
     */
    public static void enqueue(Context context, long taskHistoryID, long notificationActionID, int kind,
        String recipient, String address, String sender, String subject, String body, long nowMillis,
        PARLException exception) {
        Operation.write(context, exception, database -> {
            Administration.requireExecute(database, taskHistoryID);
            Contacts.requireKind(kind);
            Contacts.requireAddress(recipient == null ? "address" : recipient, address);
            if (database.sql().exists("SELECT 1 FROM outbox WHERE task_history_id = ? AND notification_action_id = ?"
                + " AND kind = ? AND address = ?", taskHistoryID, notificationActionID, kind, address)) {
                return;
            }
            database.sql().update("INSERT INTO outbox (outbox_id, task_history_id, notification_action_id, kind,"
                + " recipient, address, sender, subject, body, tries, next_try) VALUES"
                + " (?, ?, ?, ?, ?, ?, ?, ?, ?, 0, ?)", database.nextKey(), taskHistoryID, notificationActionID, kind,
                lineOf(recipient), address, lineOf(sender), subjectFor(kind, subject), body, nowMillis);
        });
    }

    /** The message that has been due for the longest time; null and 30013 when none is due. */
    public static OutboxMessage next(Context context, long nowMillis, PARLException exception) {
        return Operation.read(context, exception, null, database -> {
            database.access().requireSuperuser();
            Entry entry = first(database, "WHERE next_try <= ? ORDER BY next_try, outbox_id LIMIT 1", nowMillis);
            if (entry == null) {
                throw new StoreException(StoreCodes.NOTHING_LISTED, "no message is due");
            }
            return entry.message();
        });
    }

    /** When the next message is or was due; -1 when the box is empty, and after a failure. */
    public static long nextTry(Context context, PARLException exception) {
        return Operation.read(context, exception, NEVER, database -> {
            database.access().requireSuperuser();
            return database.sql().first("SELECT coalesce(min(next_try), ?) FROM outbox", row -> row.getLong(1), NEVER);
        });
    }

    /** Takes a message out that was sent, and says so in the results of its run; NOT_FOUND when it is not there. */
    public static void sent(Context context, long outboxID, long nowMillis, PARLException exception) {
        Operation.write(context, exception, database -> {
            Entry entry = required(database, outboxID);
            end(database, entry, MDNotificationMessage.SENT_LINE, name -> name.equals("time")
                ? MDNotificationMessage.wallClock(new Timestamp(nowMillis)) : null);
        });
    }

    /**
     * Counts a failure, after which the message is due again at `retryAtMillis`. With -1 it is given up: taken out, and
     * its run's results say so. `why` is in words, without a password. NOT_FOUND when the message is not there.
     */
    public static void failed(Context context, long outboxID, String why, long retryAtMillis,
        PARLException exception) {
        Operation.write(context, exception, database -> {
            Entry entry = required(database, outboxID);
            String reason = why == null ? "" : Template.cut(Template.oneLine(why), LONGEST_REASON);
            if (retryAtMillis == NEVER) {
                end(database, entry, MDNotificationMessage.GIVEN_UP_LINE, name -> switch (name) {
                    case "tries" -> Integer.toString(entry.message().getTries() + 1);
                    case "why" -> reason;
                    default -> null;
                });
            } else {
                database.sql().update("UPDATE outbox SET tries = tries + 1, next_try = ?, last_error = ?"
                    + " WHERE outbox_id = ?", retryAtMillis, reason, outboxID);
            }
        });
    }

    private static Entry required(Database database, long outboxID)
        throws SQLException, StoreException {
        database.access().requireSuperuser();
        Entry entry = first(database, "WHERE outbox_id = ?", outboxID);
        if (entry == null) {
            throw new StoreException(StoreCodes.NOT_FOUND, "there is no message " + outboxID);
        }
        return entry;
    }

    private static Entry first(Database database, String condition, Object parameter) throws SQLException {
        return database.sql().first("SELECT task_history_id, outbox_id, kind, recipient, address, sender, subject,"
            + " body, tries FROM outbox " + condition,
            row -> new Entry(row.getLong(1), new OutboxMessage(row.getLong(2), row.getInt(3), row.getString(4),
                row.getString(5), row.getString(6), row.getString(7), row.getString(8), row.getInt(9))), parameter);
    }

    /** The message leaves the box with a line in the results of its run, if the run's history is still there. */
    private static void end(Database database, Entry entry, int text, UnaryOperator<String> particulars)
        throws SQLException {
        OutboxMessage message = entry.message();
        String line = Template.fill(MDNotificationMessage.getMRIMessage(text), name -> switch (name) {
            case "kind" -> MDNotificationMessage.kindWord(message.getKind());
            case "recipient" -> message.getRecipient() == null ? "" : message.getRecipient();
            case "address" -> message.getAddress();
            default -> particulars.apply(name);
        });
        String before = database.sql().first("SELECT coalesce(notification_results, '') FROM task_history"
            + " WHERE task_history_id = ?", row -> row.getString(1), entry.run());
        if (before != null) {
            String gap = before.isEmpty() || before.endsWith("\n") ? "" : "\n";
            database.sql().update("UPDATE task_history SET notification_results = ?, version = version + 1"
                + " WHERE task_history_id = ?", before + gap + line + "\n", entry.run());
        }
        database.sql().update("DELETE FROM outbox WHERE outbox_id = ?", message.getOutboxID());
    }

    private static String subjectFor(int kind, String subject) {
        return subject == null || kind == Contacts.EMAIL ? lineOf(subject) : MDNotificationAction.pagerSubject(subject);
    }

    private static String lineOf(String text) {
        return text == null ? null : Template.oneLine(text);
    }
}
