package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import com.orvik.kelvo.mesk.store.Template;
import java.sql.Clob;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.Collection;
import java.util.List;

/**
 * Whom to tell, and how, when the parent task ends. Message type: 1 e-mail, 2 pager, 3 both. Condition: 0 whenever it
 * ends, 1 on success, 2 on failure. Subject and messages may hold variables, see {@link MDNotificationMessage}.
 */
public final class MDNotificationAction extends TaskAction {
    /** How many characters of a subject a pager gets. */
    public static final int PAGER_SUBJECT_LENGTH = 60;

    private static final Table TABLE = new Table("notification_action", 1, Guard.NOTIFICATION);
    private static final int USUAL_TYPE = 1;

    private long notificationActionID;
    private String subject;
    private String emailMessage;
    private String pagerMessage;
    private int messageType = USUAL_TYPE;
    private int notificationCondition;
    private int useEmailMessage = 1;
    private String sender;

    /** A record that is not in the store yet. */
    public MDNotificationAction() {
    }

    /** The same, reporting whether the session can be used. */
    public MDNotificationAction(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        notificationActionID = columns.number("notification_action_id", notificationActionID);
        parentColumns(columns);
        subject = columns.text("subject", subject);
        emailMessage = columns.text("email_message", emailMessage);
        pagerMessage = columns.text("pager_message", pagerMessage);
        messageType = columns.integer("message_type", messageType);
        notificationCondition = columns.integer("notification_condition", notificationCondition);
        useEmailMessage = columns.integer("use_email_message", useEmailMessage);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (notificationActionID == 0) {
            notificationActionID = database.nextKey();
        }
    }

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        super.inserting(database);
        loaded(database);
    }

    @Override
    public void updating(Database database) throws SQLException, StoreException {
        super.updating(database);
        loaded(database);
    }

    /** With an action go its lists of contacts and groups; messages that wait for being sent stay. */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        replaceContacts(database, notificationActionID, new String[0], new String[0]);
    }

    /** The sender is the owner of the parent task as it stands when the action is read or written. */
    @Override
    public void loaded(Database database) throws SQLException {
        sender = getParentTaskID() == 0 ? null : database.sql().first("SELECT owner FROM task WHERE task_id = ?"
            + " AND suffix = ?", row -> row.getString(1), getParentTaskID(), getParentSuffix());
    }

    @Override
    protected void validate() throws StoreException {
        require(messageType, 1, 3, "MessageType: 1 e-mail, 2 pager, 3 both");
        require(notificationCondition, 0, 2,
            "NotificationCondition: 0 whenever the task ends, 1 on success, 2 on failure");
        require(useEmailMessage, 0, 1, "UseEmailMessage: 0 or 1");
    }

    @Override
    protected TaskAction stored(Database database) throws SQLException, StoreException {
        return database.find(MDNotificationAction::new, "WHERE notification_action_id = ?", notificationActionID);
    }

    /** Gives the action whole lists of contacts and groups, in place of those it had. */
    public static void replaceContacts(Database database, long actionID, String[] contacts, String[] groups)
        throws SQLException {
        database.sql().update("DELETE FROM notification_contact WHERE notification_action_id = ?", actionID);
        database.sql().update("DELETE FROM notification_contact_group WHERE notification_action_id = ?", actionID);
        for (int i = 0; i < contacts.length; i++) {
            database.sql().update("INSERT INTO notification_contact (notification_action_id, contact_name, position)"
                + " VALUES (?, ?, ?)", actionID, contacts[i], i + 1);
        }
        for (int i = 0; i < groups.length; i++) {
            database.sql().update("INSERT INTO notification_contact_group (notification_action_id,"
                + " contact_group_name, position) VALUES (?, ?, ?)", actionID, groups[i], i + 1);
        }
    }

    /** The names of the contacts to tell, in their order; 30014 when there are none. */
    public Collection<?> retrieveContactNameList(Context context, PARLException exception) {
        return names(context, exception,
            "SELECT contact_name FROM notification_contact WHERE notification_action_id = ? ORDER BY position");
    }

    /** The names of the contact groups to tell, in their order; 30014 when there are none. */
    public Collection<?> retrieveContactGroupNameList(Context context, PARLException exception) {
        return names(context, exception, "SELECT contact_group_name FROM notification_contact_group"
            + " WHERE notification_action_id = ? ORDER BY position");
    }

    private ArrayList<String> names(Context context, PARLException exception, String query) {
        return Operation.readList(context, exception, StoreCodes.NO_RELATION, database -> {
            database.access().requireRead(this);
            List<String> names = database.sql().list(query, row -> row.getString(1), notificationActionID);
            return names;
        });
    }

    public long getNotificationActionID() {
        return notificationActionID;
    }

    public void setNotificationActionID(long value) {
        notificationActionID = value;
    }

    public String getSubject() {
        return subject;
    }

    public void setSubject(String value) {
        subject = value;
    }

    /** The subject as a pager gets it: on one line, cut to its length, where variables are not counted. */
    public String getPagerSubject() {
        return subject == null ? null : pagerSubject(subject);
    }

    /** A text as the subject of a message to a pager. */
    public static String pagerSubject(String text) {
        return Template.cut(Template.oneLine(text), PAGER_SUBJECT_LENGTH);
    }

    public Clob getEmailMessage() {
        return MDClob.of(emailMessage);
    }

    public void setEmailMessage(Clob value) {
        emailMessage = MDClob.textOf(value);
    }

    public String getEmailMessageString() {
        return emailMessage;
    }

    public void setEmailMessageString(String value) {
        emailMessage = value;
    }

    public Clob getPagerMessage() {
        return MDClob.of(pagerMessage);
    }

    public void setPagerMessage(Clob value) {
        pagerMessage = MDClob.textOf(value);
    }

    /** What a pager gets: the e-mail's message, or with UseEmailMessage 0 its own; null when there is none. */
    public String getPagerMessageString() {
        return useEmailMessage == 0 ? pagerMessage : emailMessage;
    }

    /** What the action does, in one line for the journal. Variables of the subject stay for a run to fill. */
    public String getJournalMessageString() {
        String about = subject == null
            ? MDNotificationMessage.getMRIMessage(MDNotificationMessage.DEFAULT_SUBJECT) : Template.oneLine(subject);
        return Template.fill(MDNotificationMessage.getMRIMessage(MDNotificationMessage.ACTION_LINE),
            name -> switch (name) {
                case "type" -> MDNotificationMessage.word(MDNotificationMessage.TYPE_WORDS, messageType);
                case "condition" ->
                    MDNotificationMessage.word(MDNotificationMessage.CONDITION_WORDS, notificationCondition);
                case "subject" -> about;
                default -> null;
            });
    }

    /** The owner of the parent task; null when there is none, or the action was neither read nor written yet. */
    public String getSender() {
        return sender;
    }

    public int getMessageType() {
        return messageType;
    }

    public void setMessageType(int value) {
        messageType = value;
    }

    public int getNotificationCondition() {
        return notificationCondition;
    }

    public void setNotificationCondition(int value) {
        notificationCondition = value;
    }

    public int getUseEmailMessage() {
        return useEmailMessage;
    }

    public void setUseEmailMessage(int value) {
        useEmailMessage = value;
    }
}
