package com.orvik.kelvo.mesk.store;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.orvik.kelvo.mesk.admin.Administration;
import com.orvik.kelvo.mesk.admin.Outbox;
import com.orvik.kelvo.mesk.admin.OutboxMessage;
import com.orvik.kelvo.mesk.metadata.MDClob;
import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.metadata.MDNotificationActionType;
import com.orvik.kelvo.mesk.metadata.MDNotificationMessage;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.metadata.MDTaskHistory;
import com.orvik.kelvo.mesk.metadata.MDTaskStatistic;
import com.orvik.kelvo.mesk.metadata.MDTaskStatisticType;
import com.orvik.kelvo.mesk.metadata.MDUser;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.Collection;
import java.util.List;
import java.util.TimeZone;
import java.util.TreeSet;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/** Notification actions, their texts, contacts, the outbox, and statistics, whatever the database is. */
abstract class MessagesContract extends StoreFixture {
    private MDTask task;

    @BeforeEach
    void beginWithATask() {
        task = new MDTask();
        task.setTaskName("report");
        task.setOwner("ADA");
        session.insert(task);
    }

    // Actions

    private MDNotificationAction newAction() {
        MDNotificationAction action = new MDNotificationAction(session.context, session.outcome);
        session.done();
        task.addNotificationAction(session.context, action, session.outcome);
        session.done();
        return action;
    }

    private MDNotificationAction action(long key) {
        MDNotificationAction action = new MDNotificationActionType().retrieve(session.context, key, session.outcome);
        session.done();
        return action;
    }

    @Test
    void anActionIsUsuallyAnEmailWhateverHappens() {
        MDNotificationAction action = newAction();
        assertEquals(1, action.getMessageType());
        assertEquals(0, action.getNotificationCondition());
        assertEquals(1, action.getUseEmailMessage());
        assertEquals(task.getTaskID(), action.getParentTaskID());
    }

    @Test
    void actionsAreListedInTheOrderInWhichTheyWereAdded() {
        Collection<?> none = task.retrieveNotificationActionList(session.context, session.outcome);
        session.expect(StoreCodes.NO_RELATION);
        assertTrue(none.isEmpty());
        MDNotificationAction first = newAction();
        MDNotificationAction second = newAction();
        MDNotificationAction third = newAction();
        task.removeNotificationAction(session.context, first, session.outcome);
        session.done();
        task.addNotificationAction(session.context, first, session.outcome);
        session.done();
        List<Long> keys = new ArrayList<>();
        for (Object action : task.retrieveNotificationActionList(session.context, session.outcome)) {
            keys.add(((MDNotificationAction) action).getNotificationActionID());
        }
        session.done();
        assertEquals(List.of(second.getNotificationActionID(), third.getNotificationActionID(),
            first.getNotificationActionID()), keys);
    }

    @Test
    void anActionBelongsToOneTask() {
        MDNotificationAction action = newAction();
        MDTask other = session.newTask("other");
        other.addNotificationAction(session.context, action, session.outcome);
        session.expect(StoreCodes.EXISTS);
        other.removeNotificationAction(session.context, action, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void valuesOutOfRangeAreNamed() {
        MDNotificationAction action = newAction();
        for (int type : new int[] {0, 4, -1}) {
            action.setMessageType(type);
            session.update(action, StoreCodes.INVALID);
            assertTrue(session.outcome.getMessage().startsWith("MessageType"), session.outcome.getMessage());
        }
        action.setMessageType(3);
        for (int condition : new int[] {-1, 3}) {
            action.setNotificationCondition(condition);
            session.update(action, StoreCodes.INVALID);
            assertTrue(session.outcome.getMessage().startsWith("NotificationCondition"));
        }
        action.setNotificationCondition(2);
        action.setUseEmailMessage(2);
        session.update(action, StoreCodes.INVALID);
        assertTrue(session.outcome.getMessage().startsWith("UseEmailMessage"));
        action.setUseEmailMessage(0);
        session.update(action);
        action.setParentTaskID(999_999);
        session.update(action, StoreCodes.NOT_FOUND);
    }

    @Test
    void homesFindListAndDeleteActions() {
        MDNotificationActionType home = new MDNotificationActionType(session.context, session.outcome);
        session.done();
        assertTrue(home.retrieveList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        MDNotificationAction action = newAction();
        assertEquals(1, home.retrieveList(session.context, session.outcome).size());
        session.done();
        contact("ann", "ann@example.org", null);
        tell(action, List.of("ann"), List.of(), StoreCodes.OK);
        home.delete(session.context, action.getNotificationActionID(), session.outcome);
        session.done();
        assertNull(home.retrieve(session.context, action.getNotificationActionID(), session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        home.delete(session.context, action.getNotificationActionID(), session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        assertEquals(0, session.number("SELECT count(*) FROM notification_contact"));
    }

    @Test
    void theSenderIsTheOwnerOfTheParentTask() {
        MDNotificationAction action = new MDNotificationAction();
        session.insert(action);
        assertNull(action.getSender());
        task.addNotificationAction(session.context, action, session.outcome);
        session.done();
        assertEquals("ADA", action.getSender());
        task.setOwner("EVE");
        session.update(task);
        assertEquals("EVE", action(action.getNotificationActionID()).getSender());
        for (Object listed : new MDNotificationActionType().retrieveList(session.context, session.outcome)) {
            assertEquals("EVE", ((MDNotificationAction) listed).getSender());
        }
        for (Object listed : task.retrieveNotificationActionList(session.context, session.outcome)) {
            assertEquals("EVE", ((MDNotificationAction) listed).getSender());
        }
    }

    @Test
    void aPagerGetsAShortSubjectAndTheMessageThatIsMeant() {
        MDNotificationAction action = new MDNotificationAction();
        assertNull(action.getPagerSubject());
        assertNull(action.getPagerMessageString());
        action.setSubject(" two\r\nlines\tof 😀 ");
        assertEquals("two lines of 😀", action.getPagerSubject());
        action.setSubject("😀".repeat(60));
        assertEquals("😀".repeat(60), action.getPagerSubject());
        action.setSubject("x".repeat(59) + "😀y");
        assertEquals("x".repeat(59) + "😀", action.getPagerSubject());
        action.setSubject("${task}" + "x".repeat(60) + "${status}y${run}");
        assertEquals("${task}" + "x".repeat(60) + "${status}", action.getPagerSubject());
        action.setEmailMessageString("long");
        action.setPagerMessage(MDClob.of("short"));
        assertEquals("long", action.getPagerMessageString());
        action.setUseEmailMessage(0);
        assertEquals("short", action.getPagerMessageString());
    }

    @Test
    void theJournalSaysWhatAnActionDoesInOneLine() {
        MDNotificationAction action = new MDNotificationAction();
        assertEquals("e-mail whenever it ends: ${task}: ${status}", action.getJournalMessageString());
        action.setMessageType(3);
        action.setNotificationCondition(2);
        action.setSubject("${subject} of\n${task}");
        assertEquals("e-mail and pager on failure: ${subject} of ${task}", action.getJournalMessageString());
        action.setMessageType(7);
        action.setNotificationCondition(1);
        assertEquals("7 on success: ${subject} of ${task}", action.getJournalMessageString());
    }

    // Texts

    private MDTaskHistory run() {
        MDTaskHistory history = new MDTaskHistory();
        history.setTaskHistoryID(41);
        history.setTaskName("report");
        history.setDescription("the weekly one");
        history.setOwner("ADA");
        history.setTaskCategory("money, weekly");
        history.setRunningStatus(3);
        history.setReturnCode(-501);
        history.setStart(new Timestamp(INSTANT));
        history.setEnd(new Timestamp(INSTANT + 3_723_000));
        history.setDuration(3723);
        history.setRowCount(12);
        history.setByteCount(34);
        history.setRetryCount(2);
        history.setUserID("eve");
        return history;
    }

    private String resolved(MDTaskHistory history, String text, String output) {
        return new MDNotificationMessage().getResolvedMessage(session.context, task, history, text, output);
    }

    @Test
    void everyVariableHasItsValue() {
        TimeZone before = TimeZone.getDefault();
        TimeZone.setDefault(TimeZone.getTimeZone("America/New_York"));
        try {
            String[][] rows = {{"task", "report"}, {"description", "the weekly one"}, {"owner", "ADA"},
                {"category", "money, weekly"}, {"run", "41"}, {"status", "failed"}, {"return-code", "-501"},
                {"start", "2023-11-14 17:13:20 EST"}, {"end", "2023-11-14 18:15:23 EST"}, {"duration", "1:02:03"},
                {"rows", "12"}, {"bytes", "34"}, {"attempts", "3"}, {"user", "eve"}, {"output", "the end"}};
            for (String[] row : rows) {
                assertEquals("<" + row[1] + ">", resolved(run(), "<${" + row[0] + "}>", "the end"), row[0]);
            }
        } finally {
            TimeZone.setDefault(before);
        }
    }

    @Test
    void whatARunDoesNotSayIsTheTasksOrEmpty() {
        task.setDescription("now");
        task.setTaskCategory(" a ,b");
        task.setUserID("bob");
        MDTaskHistory history = new MDTaskHistory();
        assertEquals("report,now,ADA,a, b,bob,,,0:00:00,1,",
            resolved(history, "${task},${description},${owner},${category},${user},${start},${end},${duration},"
                + "${attempts},${output}", null));
        task.setDescription(null);
        assertEquals("", resolved(history, "${description}", null));
    }

    @Test
    void allElseStaysAsItStands() {
        String[][] rows = {{"", ""}, {"plain", "plain"}, {"$$", "$"}, {"$${task}", "${task}"}, {"$$$$", "$$"},
            {"$", "$"}, {"100 $ and $5", "100 $ and $5"}, {"${nothing}", "${nothing}"}, {"${Task}", "${Task}"},
            {"${}", "${}"}, {"${task", "${task"}, {"${ta sk}", "${ta sk}"}, {"${${task}}", "${report}"},
            {"$$${task}", "$report"}, {"${task}${task}", "reportreport"}, {"é${task}😀", "éreport😀"}};
        for (String[] row : rows) {
            assertEquals(row[1], resolved(run(), row[0], null), row[0]);
        }
    }

    @Test
    void whatAVariableStandsForIsNotLookedAtAgain() {
        assertEquals("[${task} $$ ${output}]", resolved(run(), "[${output}]", "${task} $$ ${output}"));
    }

    @Test
    void withoutTextTaskOrRunThereIsNoMessage() {
        MDNotificationMessage message = new MDNotificationMessage();
        assertNull(message.getResolvedMessage(session.context, task, run(), null, "x"));
        assertNull(message.getResolvedMessage(session.context, null, run(), "x", "x"));
        assertNull(message.getResolvedMessage(session.context, task, null, "x", "x"));
        assertEquals("report", message.getResolvedMessage(null, task, run(), "${task}", null));
    }

    @Test
    void everyStatusHasAWord() {
        String[] words = {"none", "running", "succeeded", "failed", "missed", "interrupted", "waiting for a retry",
            "timed out"};
        MDTaskHistory history = run();
        for (int status = 0; status < words.length; status++) {
            history.setRunningStatus(status);
            assertEquals(words[status], resolved(history, "${status}", null));
            assertEquals(words[status], MDNotificationMessage.getMRIMessage(10 + status));
        }
        for (int status : new int[] {-1, 8, 9, 10, 11, 30, Integer.MAX_VALUE}) {
            history.setRunningStatus(status);
            assertEquals(Integer.toString(status), resolved(history, "${status}", null));
        }
    }

    @Test
    void theSystemsTextsHaveTheirNumbers() {
        TreeSet<Integer> numbers = new TreeSet<>();
        for (int number = -100; number < 1000; number++) {
            if (MDNotificationMessage.getMRIMessage(number) != null) {
                numbers.add(number);
            }
        }
        assertEquals("[1, 2, 3, 10, 11, 12, 13, 14, 15, 16, 17, 20, 21, 22, 31, 32, 33, 40, 41, 42]",
            numbers.toString());
        assertNull(MDNotificationMessage.getMRIMessage(Integer.MIN_VALUE));
        for (int number = 1; number <= 3; number++) {
            String text = resolved(run(), MDNotificationMessage.getMRIMessage(number), "the output");
            assertTrue(text.contains("report") && text.contains("failed"), text);
            assertFalse(text.contains("${"), text);
        }
        assertTrue(resolved(run(), MDNotificationMessage.getMRIMessage(2), "the output").contains("the output"));
    }

    // Contacts

    private void contact(String name, String email, String pager) {
        Administration.putContact(session.context, name, email, pager, session.outcome);
        session.done();
    }

    private void group(String name, String... members) {
        Administration.putContactGroup(session.context, name, members, session.outcome);
        session.done();
    }

    private void tell(MDNotificationAction action, List<String> contacts, List<String> groups, int code) {
        Administration.setContacts(session.context, action.getNotificationActionID(),
            contacts.toArray(new String[0]), groups.toArray(new String[0]), session.outcome);
        session.expect(code);
    }

    private String address(String name, int kind, int code) {
        String address = Administration.contactAddress(session.context, name, kind, session.outcome);
        session.expect(code);
        return address;
    }

    @Test
    void contactsHaveAddressesOfTwoKinds() {
        assertTrue(Administration.listContacts(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        contact("Zoë", "zoe@example.org", null);
        contact("ann", null, "1234@pager.example.org");
        assertEquals(List.of("Zoë", "ann"), Administration.listContacts(session.context, session.outcome));
        assertEquals("zoe@example.org", address("Zoë", 1, StoreCodes.OK));
        assertNull(address("Zoë", 2, StoreCodes.OK));
        assertNull(address("ann", 1, StoreCodes.OK));
        assertEquals("1234@pager.example.org", address("ann", 2, StoreCodes.OK));
        assertNull(address("ANN", 1, StoreCodes.NOT_FOUND));
        assertNull(address(null, 1, StoreCodes.NOT_FOUND));
        assertNull(address("ann", 3, StoreCodes.INVALID));
        assertEquals("eve@example.org", address("eve@example.org", 2, StoreCodes.OK));
        contact("ann", "ann@example.org", null);
        assertEquals("ann@example.org", address("ann", 1, StoreCodes.OK));
        assertNull(address("ann", 2, StoreCodes.OK));
        Administration.removeContact(session.context, "ann", session.outcome);
        session.done();
        assertNull(address("ann", 1, StoreCodes.NOT_FOUND));
        Administration.removeContact(session.context, "ann", session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void namesAndAddressesThatCannotBeAreRefused() {
        contact("x".repeat(127), null, null);
        contact("é".repeat(63), null, null);
        for (String name : new String[] {null, "", "x".repeat(128), "é".repeat(64), "two\nlines", "a@b"}) {
            Administration.putContact(session.context, name, null, null, session.outcome);
            session.expect(StoreCodes.INVALID);
        }
        for (String address : new String[] {"", "ann", "@example.org", "ann@", "ann @example.org", "ann@b\r\nBcc: eve",
            "ann@b,eve@b", "<ann@b>", "ann@b\u00a0c", "x".repeat(250) + "@b.org"}) {
            Administration.putContact(session.context, "ann", address, null, session.outcome);
            session.expect(StoreCodes.INVALID);
            Administration.putContact(session.context, "ann", null, address, session.outcome);
            session.expect(StoreCodes.INVALID);
        }
        assertEquals(2, Administration.listContacts(session.context, session.outcome).size());
    }

    @Test
    void groupsKeepTheirMembersInOrder() {
        assertTrue(Administration.listContactGroups(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        contact("ann", null, null);
        contact("bob", null, null);
        group("ops", "bob", "eve@example.org", "ann");
        group("empty");
        assertEquals(List.of("empty", "ops"), Administration.listContactGroups(session.context, session.outcome));
        session.done();
        assertEquals(List.of("bob", "eve@example.org", "ann"),
            Administration.contactsOf(session.context, "ops", session.outcome));
        session.done();
        assertTrue(Administration.contactsOf(session.context, "empty", session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertNull(Administration.contactsOf(session.context, "Ops", session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        group("ops", "ann");
        assertEquals(List.of("ann"), Administration.contactsOf(session.context, "ops", session.outcome));
        Administration.putContactGroup(session.context, "ops", new String[] {"ann", "cy"}, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        Administration.putContactGroup(session.context, "ops", new String[] {"ann", "ann"}, session.outcome);
        session.expect(StoreCodes.INVALID);
        Administration.putContactGroup(session.context, "ops", new String[] {"an n@b"}, session.outcome);
        session.expect(StoreCodes.INVALID);
        Administration.putContactGroup(session.context, "ops", new String[] {null}, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        assertEquals(List.of("ann"), Administration.contactsOf(session.context, "ops", session.outcome));
        Administration.removeContactGroup(session.context, "ops", session.outcome);
        session.done();
        Administration.removeContactGroup(session.context, "ops", session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(address("ann", 1, StoreCodes.OK), "the member stays");
    }

    @Test
    void anActionTellsContactsAddressesAndGroups() {
        MDNotificationAction action = newAction();
        assertTrue(action.retrieveContactNameList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        assertTrue(action.retrieveContactGroupNameList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        contact("ann", null, null);
        contact("bob", null, null);
        group("ops", "ann");
        group("dev", "bob");
        tell(action, List.of("bob", "eve@example.org", "ann"), List.of("ops", "dev"), StoreCodes.OK);
        assertEquals(List.of("bob", "eve@example.org", "ann"),
            action.retrieveContactNameList(session.context, session.outcome));
        session.done();
        assertEquals(List.of("ops", "dev"), action.retrieveContactGroupNameList(session.context, session.outcome));
        session.done();
        tell(action, List.of("cy"), List.of(), StoreCodes.NOT_FOUND);
        tell(action, List.of(), List.of("cy"), StoreCodes.NOT_FOUND);
        tell(action, List.of("ann", "ann"), List.of(), StoreCodes.INVALID);
        tell(action, List.of(), List.of("ops", "ops"), StoreCodes.INVALID);
        tell(action, List.of("@"), List.of(), StoreCodes.INVALID);
        assertEquals(3, action.retrieveContactNameList(session.context, session.outcome).size());
        tell(action, List.of("ann"), List.of(), StoreCodes.OK);
        assertEquals(List.of("ann"), action.retrieveContactNameList(session.context, session.outcome));
        action.retrieveContactGroupNameList(session.context, session.outcome);
        session.expect(StoreCodes.NO_RELATION);
        Administration.setContacts(session.context, action.getNotificationActionID(), null, null, session.outcome);
        session.done();
        action.retrieveContactNameList(session.context, session.outcome);
        session.expect(StoreCodes.NO_RELATION);
        Administration.setContacts(session.context, 999_999, null, null, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void aContactThatIsNamedStaysAndTheMessageSaysWhere() {
        MDNotificationAction action = newAction();
        contact("ann", null, null);
        contact("bob", null, null);
        group("ops", "ann");
        tell(action, List.of("bob"), List.of("ops"), StoreCodes.OK);
        Administration.removeContact(session.context, "ann", session.outcome);
        session.expect(StoreCodes.IN_USE);
        assertTrue(session.outcome.getMessage().contains("ops"), session.outcome.getMessage());
        Administration.removeContact(session.context, "bob", session.outcome);
        session.expect(StoreCodes.IN_USE);
        assertTrue(session.outcome.getMessage().contains("report"), session.outcome.getMessage());
        Administration.removeContactGroup(session.context, "ops", session.outcome);
        session.expect(StoreCodes.IN_USE);
        assertTrue(session.outcome.getMessage().contains("report"), session.outcome.getMessage());
        tell(action, List.of(), List.of(), StoreCodes.OK);
        Administration.removeContactGroup(session.context, "ops", session.outcome);
        session.done();
        Administration.removeContact(session.context, "ann", session.outcome);
        session.done();
        Administration.removeContact(session.context, "bob", session.outcome);
        session.done();
    }

    @Test
    void contactsAndTheBoxAreForAdministrators() {
        Administration.createUser(session.context, "eve", false, false, session.outcome);
        MDNotificationAction action = newAction();
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        session.commit();
        try (Session eve = new Session(url, "eve")) {
            Administration.putContact(eve.context, "ann", null, null, eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
            Administration.removeContact(eve.context, "ann", eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
            Administration.putContactGroup(eve.context, "ops", new String[0], eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
            Administration.removeContactGroup(eve.context, "ops", eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
            Administration.setContacts(eve.context, action.getNotificationActionID(), null, null, eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
            Outbox.enqueue(eve.context, history.getTaskHistoryID(), 1, 1, null, "a@b", null, null, null, INSTANT,
                eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
            assertNull(Outbox.next(eve.context, INSTANT, eve.outcome));
            eve.expect(StoreCodes.NOT_AUTHORISED);
            assertEquals(-1, Outbox.nextTry(eve.context, eve.outcome));
            eve.expect(StoreCodes.NOT_AUTHORISED);
            Outbox.sent(eve.context, 1, INSTANT, eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
            Outbox.failed(eve.context, 1, null, INSTANT, eve.outcome);
            eve.expect(StoreCodes.NOT_AUTHORISED);
        }
        assertEquals(0, session.number("SELECT count(*) FROM outbox"));
    }

    // The outbox

    private void enqueue(long run, long action, int kind, String address, long now) {
        Outbox.enqueue(session.context, run, action, kind, "ann", address, "ADA", "done", "all of it", now,
            session.outcome);
        session.done();
    }

    private OutboxMessage next(long now) {
        OutboxMessage message = Outbox.next(session.context, now, session.outcome);
        session.expect(message == null ? StoreCodes.NOTHING_LISTED : StoreCodes.OK);
        return message;
    }

    private long nextTry() {
        long next = Outbox.nextTry(session.context, session.outcome);
        session.done();
        return next;
    }

    private void sent(OutboxMessage message) {
        Outbox.sent(session.context, message.getOutboxID(), INSTANT, session.outcome);
        session.done();
    }

    private void failed(OutboxMessage message, String why, long retryAt) {
        Outbox.failed(session.context, message.getOutboxID(), why, retryAt, session.outcome);
        session.done();
    }

    @Test
    void anEmptyBoxHasNothingDue() {
        assertNull(next(Long.MAX_VALUE));
        assertEquals(-1, nextTry());
    }

    @Test
    void aMessageComesOutAsItWentIn() {
        Outbox.enqueue(session.context, 41, 7, 1, "Ann é", "ann@example.org", "ADA", "two\r\nlines", "first\nsecond 😀",
            INSTANT, session.outcome);
        session.done();
        assertNull(next(INSTANT - 1));
        assertEquals(INSTANT, nextTry());
        OutboxMessage message = next(INSTANT);
        assertTrue(message.getOutboxID() > 0);
        assertEquals(1, message.getKind());
        assertEquals("Ann é", message.getRecipient());
        assertEquals("ann@example.org", message.getAddress());
        assertEquals("ADA", message.getSender());
        assertEquals("two lines", message.getSubject());
        assertEquals("first\nsecond 😀", message.getBody());
        assertEquals(0, message.getTries());
        assertEquals(message.getOutboxID(), next(INSTANT).getOutboxID(), "looking takes nothing out");
    }

    @Test
    void whatIsMissingStaysMissing() {
        Outbox.enqueue(session.context, 41, 7, 2, null, "ann@example.org", null, null, null, INSTANT, session.outcome);
        session.done();
        OutboxMessage message = next(INSTANT);
        assertNull(message.getRecipient());
        assertNull(message.getSender());
        assertNull(message.getSubject());
        assertNull(message.getBody());
    }

    @Test
    void aPagersSubjectIsCut() {
        for (int kind = 1; kind <= 2; kind++) {
            Outbox.enqueue(session.context, 41, 7, kind, "ann", "ann@example.org", "ADA", "x".repeat(61), null,
                INSTANT + kind, session.outcome);
            session.done();
        }
        OutboxMessage email = next(INSTANT + 9);
        assertEquals(61, email.getSubject().length());
        sent(email);
        assertEquals(60, next(INSTANT + 9).getSubject().length());
    }

    @Test
    void aMessageIsTakenOnce() {
        enqueue(41, 7, 1, "ann@example.org", INSTANT);
        long first = next(INSTANT).getOutboxID();
        Outbox.enqueue(session.context, 41, 7, 1, "other", "ann@example.org", "EVE", "again", "again", INSTANT - 5,
            session.outcome);
        session.done();
        assertEquals(1, session.number("SELECT count(*) FROM outbox"));
        assertNull(next(INSTANT - 1));
        assertEquals(first, next(INSTANT).getOutboxID());
        assertEquals("done", next(INSTANT).getSubject());
        enqueue(42, 7, 1, "ann@example.org", INSTANT);
        enqueue(41, 8, 1, "ann@example.org", INSTANT);
        enqueue(41, 7, 2, "ann@example.org", INSTANT);
        enqueue(41, 7, 1, "bob@example.org", INSTANT);
        assertEquals(5, session.number("SELECT count(*) FROM outbox"));
    }

    @Test
    void addressesAndKindsThatCannotBeAreRefused() {
        for (String address : new String[] {null, "", "ann", "ann@b\nRCPT TO: eve@b", "ann@b eve@b"}) {
            Outbox.enqueue(session.context, 41, 7, 1, "ann", address, null, null, null, INSTANT, session.outcome);
            session.expect(StoreCodes.INVALID);
        }
        for (int kind : new int[] {0, 3}) {
            Outbox.enqueue(session.context, 41, 7, kind, "ann", "ann@b", null, null, null, INSTANT, session.outcome);
            session.expect(StoreCodes.INVALID);
        }
        assertEquals(-1, nextTry());
    }

    @Test
    void theOneThatWaitsLongestComesFirst() {
        enqueue(41, 7, 1, "late@example.org", INSTANT + 2);
        enqueue(41, 7, 1, "early@example.org", INSTANT);
        enqueue(41, 7, 1, "twin@example.org", INSTANT);
        assertEquals(INSTANT, nextTry());
        List<String> order = new ArrayList<>();
        for (OutboxMessage message = next(INSTANT + 5); message != null; message = next(INSTANT + 5)) {
            order.add(message.getAddress());
            sent(message);
        }
        assertEquals(List.of("early@example.org", "twin@example.org", "late@example.org"), order);
        assertEquals(-1, nextTry());
    }

    @Test
    void aFailureIsCountedAndTheMessageWaits() {
        enqueue(41, 7, 1, "ann@example.org", INSTANT);
        failed(next(INSTANT), "no answer", INSTANT + 10_000);
        assertNull(next(INSTANT + 9_999));
        assertEquals(INSTANT + 10_000, nextTry());
        failed(next(INSTANT + 10_000), "still\nno answer", INSTANT + 40_000);
        OutboxMessage message = next(INSTANT + 40_000);
        assertEquals(2, message.getTries());
        assertEquals(1, session.number("SELECT count(*) FROM outbox WHERE last_error = 'still no answer'"));
        failed(message, null, INSTANT + 50_000);
        assertEquals(3, next(INSTANT + 50_000).getTries());
    }

    @Test
    void theRunSaysWhatWasSentAndWhatWasGivenUp() {
        TimeZone before = TimeZone.getDefault();
        TimeZone.setDefault(TimeZone.getTimeZone("UTC"));
        try {
            MDTaskHistory run = session.newHistory(task, INSTANT, 3);
            run.setNotificationResultsString("bob has no address");
            session.update(run);
            enqueue(run.getTaskHistoryID(), 7, 1, "ann@example.org", INSTANT);
            enqueue(run.getTaskHistoryID(), 7, 2, "12@example.org", INSTANT);
            sent(next(INSTANT));
            failed(next(INSTANT), "first", INSTANT + 1);
            failed(next(INSTANT + 1), "550 no such\r\nuser", -1);
            assertEquals(-1, nextTry());
            assertEquals("bob has no address\n"
                + "e-mail to ann <ann@example.org>: sent 2023-11-14 22:13:20 UTC\n"
                + "pager to ann <12@example.org>: given up, failures: 2, last: 550 no such user\n",
                session.history(run.getTaskHistoryID()).getNotificationResultsString());
            run.setDescription("written over");
            session.update(run, StoreCodes.CHANGED);
        } finally {
            TimeZone.setDefault(before);
        }
    }

    @Test
    void aMessageWhoseRunIsPrunedIsSentAllTheSame() {
        enqueue(999, 7, 1, "ann@example.org", INSTANT);
        sent(next(INSTANT));
        enqueue(999, 7, 1, "ann@example.org", INSTANT);
        failed(next(INSTANT), "no", -1);
        assertEquals(-1, nextTry());
    }

    @Test
    void aMessageThatLeftIsNotFound() {
        enqueue(41, 7, 1, "ann@example.org", INSTANT);
        OutboxMessage message = next(INSTANT);
        sent(message);
        Outbox.sent(session.context, message.getOutboxID(), INSTANT, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        Outbox.failed(session.context, message.getOutboxID(), "no", INSTANT, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        Outbox.failed(session.context, message.getOutboxID(), "no", -1, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void theBoxIsPartOfTheUnitOfWork() {
        session.commit();
        enqueue(41, 7, 1, "ann@example.org", INSTANT);
        session.rollback();
        assertEquals(-1, nextTry());
        enqueue(41, 7, 1, "ann@example.org", INSTANT);
        session.commit();
        long key = next(INSTANT).getOutboxID();
        sent(next(INSTANT));
        session.rollback();
        assertEquals(key, next(INSTANT).getOutboxID());
    }

    // Statistics

    @Test
    void aTaskHasOneStatistic() {
        MDTaskStatisticType home = new MDTaskStatisticType(session.context, session.outcome);
        session.done();
        assertTrue(home.retrieveList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertNull(home.retrieve(session.context, task.getTaskID(), 0, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        session.insert(statistic(0));
        session.insert(statistic(1));
        session.insert(statistic(0), StoreCodes.EXISTS);
        assertEquals(2, home.retrieveList(session.context, session.outcome).size());
        session.done();
        MDTaskStatistic read = home.retrieve(session.context, task.getTaskID(), 1, session.outcome);
        session.done();
        assertEquals(1, read.getSuffix());
        assertNull(read.getFirstExecution());
        read.setTotalRowCount(Integer.MAX_VALUE);
        session.update(read);
        home.delete(session.context, task.getTaskID(), 1, session.outcome);
        session.done();
        session.update(read, StoreCodes.NOT_FOUND);
        home.delete(session.context, task.getTaskID(), 1, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        assertNotNull(home.retrieve(session.context, task.getTaskID(), 0, session.outcome));
    }

    @Test
    void ofTwoThatChangeAStatisticTheSecondIsTold() {
        session.insert(statistic(0));
        session.commit();
        MDTaskStatisticType home = new MDTaskStatisticType();
        MDTaskStatistic mine = home.retrieve(session.context, task.getTaskID(), 0, session.outcome);
        MDTaskStatistic theirs = home.retrieve(session.context, task.getTaskID(), 0, session.outcome);
        mine.setTotalSuccessfulExecutions(1);
        session.update(mine);
        session.update(theirs, StoreCodes.CHANGED);
        session.delete(theirs, StoreCodes.CHANGED);
    }

    @Test
    void rightsOnAStatisticAreItsOwnAndEndWithIt() {
        Administration.createUser(session.context, "eve", false, false, session.outcome);
        MDUser eve = new MDUser("eve");
        MDTaskStatistic statistic = statistic(0);
        statistic.setReadPermission(session.context, eve, true, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        session.insert(statistic);
        statistic.setReadPermission(session.context, eve, true, session.outcome);
        session.done();
        assertTrue(statistic.getReadPermission(session.context, eve, session.outcome));
        assertFalse(statistic.getUpdatePermission(session.context, eve, session.outcome));
        assertFalse(task.getReadPermission(session.context, eve, session.outcome));
        long held = session.number("SELECT count(*) FROM permission WHERE object_kind = 5");
        assertNotEquals(0, held);
        session.delete(statistic);
        assertEquals(0, session.number("SELECT count(*) FROM permission WHERE object_kind = 5"));
    }

    private MDTaskStatistic statistic(int suffix) {
        MDTaskStatistic statistic = new MDTaskStatistic(session.context, session.outcome);
        session.done();
        statistic.setTaskID(task.getTaskID());
        statistic.setSuffix(suffix);
        return statistic;
    }
}
