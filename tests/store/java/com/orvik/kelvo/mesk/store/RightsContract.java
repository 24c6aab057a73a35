package com.orvik.kelvo.mesk.store;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.admin.Administration;
import com.orvik.kelvo.mesk.admin.Outbox;
import com.orvik.kelvo.mesk.metadata.MDCodeCondition;
import com.orvik.kelvo.mesk.metadata.MDFollowOnAction;
import com.orvik.kelvo.mesk.metadata.MDFollowOnActionType;
import com.orvik.kelvo.mesk.metadata.MDGroup;
import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.metadata.MDNotificationActionType;
import com.orvik.kelvo.mesk.metadata.MDScheduleEvent;
import com.orvik.kelvo.mesk.metadata.MDScheduleEventType;
import com.orvik.kelvo.mesk.metadata.MDSharedNamedSchedule;
import com.orvik.kelvo.mesk.metadata.MDSharedNamedScheduleType;
import com.orvik.kelvo.mesk.metadata.MDSuccessCodeSet;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.metadata.MDTaskExec;
import com.orvik.kelvo.mesk.metadata.MDTaskExecType;
import com.orvik.kelvo.mesk.metadata.MDTaskHistory;
import com.orvik.kelvo.mesk.metadata.MDTaskHistoryType;
import com.orvik.kelvo.mesk.metadata.MDTaskResult;
import com.orvik.kelvo.mesk.metadata.MDTaskSnapshot;
import com.orvik.kelvo.mesk.metadata.MDTaskSnapshotType;
import com.orvik.kelvo.mesk.metadata.MDTaskStatistic;
import com.orvik.kelvo.mesk.metadata.MDTaskStatisticType;
import com.orvik.kelvo.mesk.metadata.MDTaskType;
import com.orvik.kelvo.mesk.metadata.MDUser;
import com.orvik.kelvo.mesk.metadata.MDUtility;
import java.lang.reflect.Method;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collection;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.stream.Collectors;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;

/**
 * Who may do what: every operation of every class, found by reflection, as everybody in turn. An operation that the
 * table does not name fails the test, so none is added without saying whom it is for.
 */
abstract class RightsContract extends StoreFixture {
    private static final String EVERYBODY = "NRUEAS";
    private static final List<Class<?>> CLASSES = List.of(MDTask.class, MDTaskExec.class, MDTaskHistory.class,
        MDTaskResult.class, MDTaskStatistic.class, MDTaskSnapshot.class, MDScheduleEvent.class,
        MDSharedNamedSchedule.class, MDFollowOnAction.class, MDNotificationAction.class, MDSuccessCodeSet.class,
        MDCodeCondition.class, MDTaskType.class, MDTaskExecType.class, MDTaskHistoryType.class,
        MDTaskStatisticType.class, MDTaskSnapshotType.class, MDScheduleEventType.class,
        MDSharedNamedScheduleType.class, MDFollowOnActionType.class, MDNotificationActionType.class, MDUser.class,
        Administration.class, Outbox.class);

    /**
     * Of an operation, those who may: N has no right, R, U and E one of the three on the tasks of the fixture, A is
     * administrator and S superuser. Those of a whole kind stand under the name alone.
     */
    private static final Map<String, String> ALLOWED = new TreeMap<>();

    static {
        allow("NRUEAS", "getReferenceID getPassword isSuperuser isAdmin getReadPermission getUpdatePermission"
            + " getExecutePermission");
        allow("UAS", "setReadPermission setUpdatePermission setExecutePermission");
        allow("AS", "MDTask.insert");
        allow("UES", "MDTask.update");
        allow("US", "MDTask.delete MDTask.addScheduleEvent MDTask.removeScheduleEvent MDTask.addSharedNamedSchedule"
            + " MDTask.removeSharedNamedSchedule MDTask.addFollowOnAction MDTask.removeFollowOnAction"
            + " MDTask.addNotificationAction MDTask.removeNotificationAction MDTask.addSuccessCodeSet"
            + " MDTask.removeSuccessCodeSet");
        allow("RS", "MDTask.retrieveScheduleEventList MDTask.retrieveSharedNamedScheduleList"
            + " MDTask.retrieveFollowOnActionList MDTask.retrieveNotificationActionList"
            + " MDTask.retrievePredecessorTaskWithExecActionList MDTask.retrieveTaskGroupMemberList"
            + " MDTask.retrieveSuccessCodeSetList");
        allow("RAS", "MDTask.getUsersWithPermission MDTask.getGroupsWithPermission");
        allow("ES", "MDTaskExec.insert MDTaskHistory.insert MDTaskHistory.addTaskResult MDTaskResult.insert"
            + " MDTaskStatistic.insert");
        allow("UES", "MDTaskExec.update MDTaskExec.delete MDTaskHistory.update MDTaskHistory.addTaskSnapshot"
            + " MDTaskHistory.removeTaskSnapshot MDTaskResult.update MDTaskStatistic.update MDTaskSnapshot.insert"
            + " MDTaskSnapshot.update");
        allow("US", "MDTaskHistory.delete MDTaskResult.delete MDTaskStatistic.delete MDTaskSnapshot.delete");
        allow("RS", "MDTaskHistory.retrieveTaskResultList MDTaskHistory.retrieveTaskSnapshot");
        allow("UAS", "MDScheduleEvent.insert MDSuccessCodeSet.insert");
        allow("US", "MDScheduleEvent.update MDScheduleEvent.delete MDSuccessCodeSet.update MDSuccessCodeSet.delete"
            + " MDCodeCondition.insert MDCodeCondition.update MDCodeCondition.delete MDFollowOnAction.insert"
            + " MDFollowOnAction.update MDFollowOnAction.delete MDFollowOnAction.removeTask"
            + " MDFollowOnAction.setTaskList MDNotificationAction.insert MDNotificationAction.update"
            + " MDNotificationAction.delete");
        allow("S", "MDFollowOnAction.addTask");
        allow("RS", "MDFollowOnAction.retrieveTaskList MDNotificationAction.retrieveContactNameList"
            + " MDNotificationAction.retrieveContactGroupNameList MDSuccessCodeSet.retrieveCodeConditionList");
        allow("AS", "MDSharedNamedSchedule.insert MDSharedNamedSchedule.update MDSharedNamedSchedule.delete"
            + " MDSharedNamedSchedule.addScheduleEvent MDSharedNamedSchedule.removeScheduleEvent"
            + " MDSharedNamedScheduleType.delete");
        allow(EVERYBODY, "MDSharedNamedSchedule.retrieveScheduleEventList MDSharedNamedScheduleType.retrieve"
            + " MDSharedNamedScheduleType.retrieveList MDScheduleEventType.retrieveList"
            + " MDFollowOnActionType.retrieveList MDNotificationActionType.retrieveList");
        allow("RS", "MDTaskType.retrieve MDTaskType.retrieveList MDTaskExecType.retrieve MDTaskExecType.retrieveList"
            + " MDTaskHistoryType.retrieve MDTaskHistoryType.retrieveList MDTaskStatisticType.retrieve"
            + " MDTaskStatisticType.retrieveList MDTaskSnapshotType.retrieve MDTaskSnapshotType.retrieveList"
            + " MDTaskSnapshotType.retrieveLatestSnapshot MDScheduleEventType.retrieve MDFollowOnActionType.retrieve"
            + " MDNotificationActionType.retrieve");
        allow("US", "MDTaskType.delete MDTaskHistoryType.delete MDTaskStatisticType.delete MDTaskSnapshotType.delete"
            + " MDScheduleEventType.delete MDFollowOnActionType.delete MDNotificationActionType.delete");
        allow("UES", "MDTaskExecType.delete");
        allow("AS", "Administration.createUser Administration.changeUser Administration.deleteUser"
            + " Administration.createGroup Administration.deleteGroup Administration.addMember"
            + " Administration.removeMember Administration.putContact Administration.removeContact"
            + " Administration.putContactGroup Administration.removeContactGroup Administration.addScheduleRule"
            + " Administration.removeScheduleRule");
        allow(EVERYBODY, "Administration.listUsers Administration.listGroups Administration.listMembers"
            + " Administration.listContacts Administration.listContactGroups Administration.contactsOf"
            + " Administration.contactAddress Administration.markedScheduler Administration.taskID"
            + " Administration.taskOfRun"
            + " Administration.count");
        allow("RS", "Administration.listTasksWith Administration.listSteps");
        allow("US", "Administration.setContacts Administration.setGroupMembers Administration.setSuccessCodes"
            + " Administration.addSharedSchedule Administration.removeSharedSchedule");
        allow("ES", "Administration.recordFollowOn Outbox.enqueue");
        allow("S", "Outbox.next Outbox.nextTry Outbox.sent Outbox.failed");
    }

    private MDTask task;
    private MDTask bare;
    private MDTask other;
    private MDScheduleEvent rule;
    private MDScheduleEvent looseRule;
    private MDSharedNamedSchedule schedule;
    private MDSharedNamedSchedule otherSchedule;
    private MDTaskExec run;
    private MDTaskHistory history;
    private MDTaskStatistic statistic;
    private MDFollowOnAction action;
    private MDFollowOnAction looseAction;
    private MDFollowOnAction caller;
    private MDNotificationAction notification;
    private MDNotificationAction looseNotification;
    private MDSuccessCodeSet codes;
    private MDSuccessCodeSet looseCodes;
    private MDCodeCondition condition;
    private long message;

    private static void allow(String who, String operations) {
        for (String operation : operations.split(" ")) {
            assertNull(ALLOWED.put(operation, who), operation);
        }
    }

    /** Users N, R, U, E, A; a task with one of everything; a bare one that has it as a step and as a follow-on. */
    @BeforeEach
    void populate() throws Exception {
        Context root = session.context;
        PARLException outcome = session.outcome;
        task = session.newTask("guarded");
        bare = session.newTask("bare");
        other = session.newTask("other");
        rule = session.newRule(task);
        looseRule = session.newRule();
        schedule = session.newSchedule("nights");
        otherSchedule = session.newSchedule("days");
        schedule.addScheduleEvent(root, session.newRule(), outcome);
        session.done();
        task.addSharedNamedSchedule(root, schedule, outcome);
        session.done();
        run = session.newRun(task, rule, INSTANT);
        history = session.newHistory(task, INSTANT, 2);
        history.addTaskResult(root, new MDTaskResult(), outcome);
        session.done();
        MDTaskHistory step = new MDTaskHistory();
        step.setTaskID(bare.getTaskID());
        step.setRootTaskHistoryID(history.getTaskHistoryID());
        session.insert(step);
        statistic = new MDTaskStatistic();
        statistic.setTaskID(task.getTaskID());
        session.insert(statistic);
        action = session.newAction(task, 1);
        looseAction = new MDFollowOnAction();
        session.insert(looseAction);
        caller = session.newAction(bare, 1, task);
        notification = new MDNotificationAction();
        task.addNotificationAction(root, notification, outcome);
        session.done();
        looseNotification = new MDNotificationAction();
        session.insert(looseNotification);
        Administration.putContact(root, "ann", "ann@example.org", null, outcome);
        Administration.putContactGroup(root, "shift", new String[] {"ann"}, outcome);
        Administration.setContacts(root, notification.getNotificationActionID(), new String[] {"ann"},
            new String[] {"shift"}, outcome);
        session.done();
        codes = new MDSuccessCodeSet();
        session.insert(codes);
        condition = new MDCodeCondition();
        condition.setSuccessCodeSetID(codes.getSuccessCodeSetID());
        condition.setCondition("=");
        session.insert(condition);
        task.addSuccessCodeSet(root, codes, outcome);
        looseCodes = new MDSuccessCodeSet();
        session.insert(looseCodes);
        Administration.setGroupMembers(root, task.getTaskID(), 0, new long[] {bare.getTaskID()}, new int[1], outcome);
        session.done();
        Outbox.enqueue(root, history.getTaskHistoryID(), 1, 1, "ann", "ann@example.org", null, "s", "b", 0, outcome);
        session.done();
        message = Outbox.next(root, 0, outcome).getOutboxID();
        for (String name : List.of("N", "R", "U", "E", "VICTIM")) {
            session.newUser(name);
        }
        Administration.createUser(root, "A", false, true, outcome);
        Administration.createUser(root, "S", true, false, outcome);
        MDGroup crew = session.newGroup("CREW");
        Administration.addMember(root, "CREW", "VICTIM", outcome);
        session.done();
        for (MDTask granted : List.of(task, bare)) {
            granted.setReadPermission(root, new MDUser("R"), true, outcome);
            granted.setUpdatePermission(root, new MDUser("U"), true, outcome);
            granted.setExecutePermission(root, new MDUser("E"), true, outcome);
            granted.setReadPermission(root, crew, true, outcome);
            session.done();
        }
        session.commit();
    }

    // Every operation

    @Test
    void everyOperationIsForThoseWhomTheTableNamesAndLeavesNothingForOthers() throws Exception {
        List<String> wrong = new ArrayList<>();
        for (char who : EVERYBODY.toCharArray()) {
            wrong.addAll(mismatches(String.valueOf(who), who));
        }
        assertEquals(List.of(), wrong);
    }

    @Test
    void aStrangerMayNotWhatOneWithoutRightsMayNot() throws Exception {
        List<String> wrong = new ArrayList<>();
        for (String mismatch : mismatches("STRANGER", 'N')) {
            if (!mismatch.contains(" may not do ")) {
                wrong.add(mismatch);
            }
        }
        assertEquals(List.of(), wrong);
    }

    @Test
    void aStrangerLearnsNoAddress() {
        try (Session stranger = new Session(url, "STRANGER")) {
            Administration.contactAddress(stranger.context, "ann", 1, stranger.outcome);
            stranger.expect(StoreCodes.NOT_AUTHORISED);
            Administration.contactsOf(stranger.context, "shift", stranger.outcome);
            stranger.expect(StoreCodes.NOT_AUTHORISED);
        }
    }

    @Test
    void theTableNamesNothingThatIsNotThere() {
        List<String> unused = new ArrayList<>(ALLOWED.keySet());
        for (Op operation : operations()) {
            unused.remove(operation.entry());
        }
        assertEquals(List.of(), unused);
    }

    @Test
    void theComparisonFindsWhoMayTooMuchAndWhoMayTooLittle() throws Exception {
        assertFalse(mismatches("S", 'N').isEmpty());
        assertFalse(mismatches("N", 'S').isEmpty());
    }

    // Single rules

    @Test
    void whoMayRunATaskKeepsAccountInItAndChangesNothingElse() {
        try (Session acting = new Session(url, "E")) {
            MDTask mine = (MDTask) task.clone();
            mine.setState(2);
            mine.setLastReturnCode(7);
            mine.setNumberOfExecutions(3);
            acting.update(mine);
            mine.setScriptContentString("rm -r /");
            refused(acting, () -> mine.update(acting.context, acting.outcome), "may not change the task 'guarded'");
            mine.setScriptContentString(null);
            mine.setPasswordString("guess");
            refused(acting, () -> mine.update(acting.context, acting.outcome), "the right 'update' is missing");
            MDTask stale = (MDTask) task.clone();
            stale.setState(1);
            acting.update(stale, StoreCodes.CHANGED);
        }
    }

    @Test
    void whoMayOnlyRunATaskRunsItAsTheUserWhomItNames() {
        MDTask named = session.task(task.getTaskID());
        named.setUserID("backup");
        session.update(named);
        session.commit();
        try (Session acting = new Session(url, "E")) {
            MDTaskExec asked = new MDTaskExec();
            asked.setTaskID(task.getTaskID());
            asked.setStartedByRunNow(1);
            acting.insert(asked);
            assertEquals("backup", asked.getUserID());
            asked.setUserID("root");
            refused(acting, () -> asked.update(acting.context, acting.outcome), "may not change the execution");
            MDTaskExec asRoot = new MDTaskExec();
            asRoot.setTaskID(task.getTaskID());
            asRoot.setStartedByRunNow(1);
            asRoot.setUserID("root");
            refused(acting, () -> asRoot.insert(acting.context, acting.outcome), "of the task 'guarded'");
        }
    }

    @Test
    void noRecordMovesToATaskOnWhichTheRightIsMissing() {
        try (Session acting = new Session(url, "E")) {
            MDTaskHistory moved = (MDTaskHistory) history.clone();
            moved.setTaskID(other.getTaskID());
            refused(acting, () -> moved.update(acting.context, acting.outcome), "the right 'execute' is missing");
            MDTaskExec movedRun = (MDTaskExec) run.clone();
            movedRun.setTaskID(other.getTaskID());
            refused(acting, () -> movedRun.update(acting.context, acting.outcome), "the right 'update' is missing");
        }
        try (Session acting = new Session(url, "U")) {
            MDTask renamed = (MDTask) task.clone();
            renamed.setTaskID(other.getTaskID());
            refused(acting, () -> renamed.update(acting.context, acting.outcome), "the task 'other'");
            MDFollowOnAction moved = (MDFollowOnAction) action.clone();
            moved.setParentTaskID(other.getTaskID());
            refused(acting, () -> moved.update(acting.context, acting.outcome), "follow-on action");
        }
    }

    @Test
    void whatAnActionOrAGroupStartsIsWhatItsMakerMayStart() {
        try (Session acting = new Session(url, "U")) {
            refused(acting, () -> action.addTask(acting.context, other, acting.outcome), "follow-on action");
            refused(acting, () -> Administration.setGroupMembers(acting.context, task.getTaskID(), 0,
                new long[] {other.getTaskID()}, new int[1], acting.outcome), "the task 'other'");
            other.setExecutePermission(session.context, new MDUser("U"), true, session.outcome);
            session.done();
            session.commit();
            action.addTask(acting.context, other, acting.outcome);
            acting.done();
            Administration.setGroupMembers(acting.context, task.getTaskID(), 0, new long[] {other.getTaskID()},
                new int[1], acting.outcome);
            acting.done();
            MDFollowOnAction switching = new MDFollowOnActionType().retrieve(session.context,
                action.getFollowOnActionID(), session.outcome);
            switching.setAction(3);
            refused(acting, () -> switching.update(acting.context, acting.outcome), "the right 'update' is missing");
        }
    }

    @Test
    void aRightOnOneRecordIsGoodForThatRecordAlone() {
        MDTaskHistory second = session.newHistory(task, INSTANT + 1, 2);
        history.setReadPermission(session.context, new MDUser("N"), true, session.outcome);
        session.done();
        session.commit();
        try (Session acting = new Session(url, "N")) {
            assertEquals(1, acting.histories().size());
            acting.history(history.getTaskHistoryID());
            assertEquals(1, history.retrieveTaskResultList(acting.context, acting.outcome).size());
            assertEquals("guarded", history.retrieveTaskSnapshot(acting.context, acting.outcome).getTaskName());
            assertNull(new MDTaskHistoryType().retrieve(acting.context, second.getTaskHistoryID(), acting.outcome));
            acting.expect(StoreCodes.NOT_AUTHORISED);
            assertFalse(acting.has(other, StoreCodes.NOT_AUTHORISED));
        }
    }

    @Test
    void rightsOfAGroupAreThoseOfItsMembersAsLongAsTheyAreMembers() {
        try (Session acting = new Session(url, "VICTIM")) {
            assertEquals("guarded", acting.task(task.getTaskID()).getTaskName());
            assertEquals(2, new MDTaskType().retrieveList(acting.context, acting.outcome).size());
            Administration.removeMember(session.context, "crew", "victim", session.outcome);
            session.done();
            session.commit();
            assertTrue(new MDTaskType().retrieveList(acting.context, acting.outcome).isEmpty());
            acting.expect(StoreCodes.NOTHING_LISTED);
        }
    }

    @Test
    void aSuperuserWhoIsNoneAnyMoreLosesHisRightsWithTheNextOperation() {
        try (Session acting = new Session(url, "S")) {
            acting.task(other.getTaskID());
            Administration.changeUser(session.context, "s", false, false, session.outcome);
            session.done();
            session.commit();
            assertFalse(acting.has(other, StoreCodes.NOT_AUTHORISED));
            acting.insert(new MDSuccessCodeSet(), StoreCodes.NOT_AUTHORISED);
        }
        try (Session acting = new Session(url, "A")) {
            acting.newTask("of A");
            Administration.changeUser(acting.context, "a", false, false, acting.outcome);
            acting.done();
            MDTask late = new MDTask();
            late.setTaskName("late");
            acting.insert(late, StoreCodes.NOT_AUTHORISED);
        }
    }

    @Test
    void whoMakesATaskHasAllRightsOnIt() {
        try (Session acting = new Session(url, "A")) {
            MDTask made = acting.newTask("of A");
            acting.commit();
            made.setDescription("changed");
            acting.update(made);
            assertEquals("of A", acting.task(made.getTaskID()).getTaskName());
            MDTaskExec asked = new MDTaskExec();
            asked.setTaskID(made.getTaskID());
            asked.setStartedByRunNow(1);
            acting.insert(asked);
            acting.delete(made);
            assertFalse(acting.has(other, StoreCodes.NOT_AUTHORISED), "an administrator has no right on others");
        }
    }

    private static void refused(Session acting, Runnable operation, String words) {
        operation.run();
        acting.expect(StoreCodes.NOT_AUTHORISED);
        String told = acting.outcome.getMessage();
        assertTrue(told.startsWith(acting.context.getUser() + " may not ") && told.contains(words), told);
    }

    /** A public operation as one class has it. */
    private record Op(Class<?> type, Method method) {
        /** "MDTask.update", or "getReferenceID" where all classes are alike. */
        String entry() {
            return ALLOWED.containsKey(method.getName()) ? method.getName() : type.getSimpleName() + "."
                + method.getName();
        }

        boolean lists() {
            return Collection.class.isAssignableFrom(method.getReturnType());
        }

        @Override
        public String toString() {
            return type.getSimpleName() + "." + method.getName() + Arrays.stream(method.getParameterTypes())
                .map(Class::getSimpleName).collect(Collectors.joining(", ", "(", ")"));
        }
    }

    private static List<Op> operations() {
        List<Op> operations = new ArrayList<>();
        for (Class<?> type : CLASSES) {
            for (Method method : type.getMethods()) {
                List<Class<?>> parameters = Arrays.asList(method.getParameterTypes());
                boolean ofItsHome = type == MDTaskSnapshot.class
                    && method.getDeclaringClass() == MDTaskSnapshotType.class;
                if (!method.isBridge() && !ofItsHome && parameters.contains(Context.class)
                    && parameters.contains(PARLException.class)) {
                    operations.add(new Op(type, method));
                }
            }
        }
        return operations;
    }

    /** Does every operation as a user, takes back what succeeds, and tells where the table says else of `who`. */
    private List<String> mismatches(String user, char who) throws Exception {
        List<String> wrong = new ArrayList<>();
        String before = dump();
        for (Op operation : operations()) {
            if (!ALLOWED.containsKey(operation.entry())) {
                wrong.add(operation + " is not in the table");
                continue;
            }
            boolean wanted = ALLOWED.get(operation.entry()).indexOf(who) >= 0;
            try (Session acting = new Session(url, user)) {
                operation.method().invoke(subject(operation), arguments(operation, acting));
                int code = acting.outcome.getRC();
                String words = acting.outcome.getMessage();
                boolean allowed = operation.lists() ? code == StoreCodes.OK : code != StoreCodes.NOT_AUTHORISED;
                if (wanted != allowed) {
                    wrong.add(user + (allowed ? " may do " : " may not do ") + operation + ": " + code + " " + words);
                } else if (code == StoreCodes.NOT_AUTHORISED) {
                    assertTrue(words.contains(user + " "), () -> operation + ": " + words);
                    acting.commit();
                }
            }
        }
        if (!dump().equals(before)) {
            wrong.add(user + " changed something by an operation that was refused");
        }
        return wrong;
    }

    /** The object of an operation, new or as it is in the store; null for static ones. */
    private Object subject(Op operation) throws Exception {
        if (operation.method().getName().equals("insert")) {
            return unsaved(operation.type());
        }
        if (operation.type() == MDFollowOnAction.class && operation.method().getName().equals("retrieveTaskList")) {
            return caller;
        }
        Map<Class<?>, Object> saved = new LinkedHashMap<>();
        for (Object record : List.of(task, run, history, statistic, rule, schedule, action, notification, codes,
                condition)) {
            saved.put(record.getClass(), ((Record) record).clone());
        }
        saved.put(MDTaskResult.class, history.retrieveTaskResultList(session.context, session.outcome).iterator()
            .next());
        saved.put(MDTaskSnapshot.class, history.retrieveTaskSnapshot(session.context, session.outcome));
        saved.put(MDUser.class, new MDUser("VICTIM"));
        if (saved.containsKey(operation.type())) {
            return saved.get(operation.type());
        }
        return operation.type().getSimpleName().startsWith("MD")
            ? operation.type().getDeclaredConstructor().newInstance() : null;
    }

    /** A record of the guarded task, or of the bare one where a task has one only, that is not in the store. */
    private Object unsaved(Class<?> type) throws Exception {
        Object record = type.getDeclaredConstructor().newInstance();
        if (record instanceof MDTask made) {
            made.setTaskName("made");
        } else if (record instanceof MDTaskExec made) {
            made.setTaskID(task.getTaskID());
            made.setStartedByRunNow(1);
        } else if (record instanceof MDTaskHistory made) {
            made.setTaskID(task.getTaskID());
        } else if (record instanceof MDTaskStatistic made) {
            made.setTaskID(bare.getTaskID());
        } else if (record instanceof MDTaskSnapshot made) {
            made.setTaskID(task.getTaskID());
        } else if (record instanceof MDScheduleEvent made) {
            made.setStartDate(rule.getStartDate());
            made.setStartTime(rule.getStartTime());
        } else if (record instanceof MDSharedNamedSchedule made) {
            made.setSharedScheduleName("made");
        } else if (record instanceof MDCodeCondition made) {
            made.setSuccessCodeSetID(codes.getSuccessCodeSetID());
            made.setCondition("=");
        } else if (record instanceof MDFollowOnAction made) {
            made.setParentTaskID(task.getTaskID());
        } else if (record instanceof MDNotificationAction made) {
            made.setParentTaskID(task.getTaskID());
        }
        return record;
    }

    private Object[] arguments(Op operation, Session acting) {
        List<Object> given = new ArrayList<>(given(operation));
        List<Object> all = new ArrayList<>();
        assertEquals(operation.method().getParameterCount() - 2, given.size(), operation::toString);
        for (Class<?> type : operation.method().getParameterTypes()) {
            all.add(type == Context.class ? acting.context : type == PARLException.class ? acting.outcome
                : given.remove(0));
        }
        return all.toArray();
    }

    /** The arguments besides context and exception object. */
    private List<Object> given(Op operation) {
        String name = operation.entry();
        List<Class<?>> types = Arrays.asList(operation.method().getParameterTypes());
        if (operation.type().getSimpleName().endsWith("Type")) {
            List<Object> key = new ArrayList<>();
            if (types.contains(long.class)) {
                boolean ofTask = types.contains(int.class) || operation.lists();
                key.add(ofTask ? task.getTaskID() : keyOf(operation.type()));
            }
            if (types.contains(int.class)) {
                key.add(0);
            }
            if (types.contains(Timestamp.class)) {
                key.add(history.getStart());
            }
            return key;
        }
        Object principal = types.contains(MDUser.class) ? new MDUser("VICTIM") : new MDGroup("CREW");
        return switch (name) {
            case "getReadPermission", "getUpdatePermission", "getExecutePermission" -> List.of(principal);
            case "setReadPermission", "setUpdatePermission", "setExecutePermission" -> List.of(principal, true);
            case "MDTask.addScheduleEvent", "MDSharedNamedSchedule.addScheduleEvent",
                "MDSharedNamedSchedule.removeScheduleEvent" -> List.of(looseRule);
            case "MDTask.removeScheduleEvent" -> List.of(rule);
            case "MDTask.addSharedNamedSchedule" -> List.of(otherSchedule);
            case "MDTask.removeSharedNamedSchedule" -> List.of(schedule);
            case "MDTask.addFollowOnAction" -> List.of(looseAction.clone());
            case "MDTask.removeFollowOnAction" -> List.of(action.clone());
            case "MDTask.addNotificationAction" -> List.of(looseNotification.clone());
            case "MDTask.removeNotificationAction" -> List.of(notification.clone());
            case "MDTask.addSuccessCodeSet" -> List.of(looseCodes);
            case "MDTask.removeSuccessCodeSet" -> List.of(codes);
            case "MDTask.getUsersWithPermission", "MDTask.getGroupsWithPermission", "Administration.listTasksWith" ->
                List.of(0);
            case "MDTaskHistory.addTaskResult" -> List.of(new MDTaskResult());
            case "MDTaskHistory.addTaskSnapshot" -> List.of(snapshot());
            case "MDTaskHistory.removeTaskSnapshot" ->
                List.of(history.retrieveTaskSnapshot(session.context, session.outcome), snapshot());
            case "MDFollowOnAction.addTask", "MDFollowOnAction.removeTask" -> List.of(other);
            case "MDFollowOnAction.setTaskList" -> List.of(new ArrayList<>());
            case "Administration.createUser" -> List.of("made", false, false);
            case "Administration.changeUser" -> List.of("victim", false, true);
            case "Administration.deleteUser" -> List.of("victim");
            case "Administration.createGroup" -> List.of("made");
            case "Administration.deleteGroup", "Administration.listMembers" -> List.of("crew");
            case "Administration.addMember" -> List.of("crew", "n");
            case "Administration.removeMember" -> List.of("crew", "victim");
            case "Administration.putContact" -> Arrays.asList("bert", "bert@example.org", null);
            case "Administration.removeContact" -> List.of("ann");
            case "Administration.contactAddress" -> List.of("ann", 1);
            case "Administration.putContactGroup" -> List.of("made", new String[] {"ann"});
            case "Administration.removeContactGroup", "Administration.contactsOf" -> List.of("shift");
            case "Administration.addScheduleRule", "Administration.removeScheduleRule" ->
                List.of(schedule.getScheduleID(), looseRule.getScheduleEventID());
            case "Administration.addSharedSchedule" -> List.of(task.getTaskID(), 0, otherSchedule.getScheduleID());
            case "Administration.removeSharedSchedule" -> List.of(task.getTaskID(), 0, schedule.getScheduleID());
            case "Administration.taskID" -> List.of("guarded");
            case "Administration.count" -> List.of(1);
            case "Administration.listSteps", "Administration.taskOfRun" -> List.of(history.getTaskHistoryID());
            case "Administration.setContacts" ->
                List.of(notification.getNotificationActionID(), new String[0], new String[0]);
            case "Administration.setGroupMembers" -> List.of(task.getTaskID(), 0, new long[0], new int[0]);
            case "Administration.setSuccessCodes" ->
                List.of(task.getTaskID(), 0, new int[] {1}, new String[] {"="});
            case "Administration.recordFollowOn" -> List.of(history.getTaskHistoryID(),
                action.getFollowOnActionID(), other.getTaskID(), 0, -1L);
            case "Outbox.enqueue" -> Arrays.asList(history.getTaskHistoryID(), 2L, 1, "ann", "ann@example.org", null,
                "s", "b", 0L);
            case "Outbox.next" -> List.of(INSTANT);
            case "Outbox.sent" -> List.of(message, INSTANT);
            case "Outbox.failed" -> List.of(message, "why", INSTANT);
            default -> List.of();
        };
    }

    private MDTaskSnapshot snapshot() {
        MDTaskSnapshot snapshot = new MDTaskSnapshot();
        snapshot.setTaskID(task.getTaskID());
        return snapshot;
    }

    /** The key by which a home finds one record. */
    private Long keyOf(Class<?> home) {
        return Map.<Class<?>, Long>of(MDTaskExecType.class, run.getTaskExecID(),
            MDTaskHistoryType.class, history.getTaskHistoryID(),
            MDScheduleEventType.class, rule.getScheduleEventID(),
            MDSharedNamedScheduleType.class, schedule.getScheduleID(),
            MDFollowOnActionType.class, action.getFollowOnActionID(),
            MDNotificationActionType.class, notification.getNotificationActionID()).get(home);
    }

    /** All rows of all tables but the keys that sessions reserve. */
    private String dump() {
        return Operation.read(session.context, session.outcome, null, database -> {
            StringBuilder dump = new StringBuilder();
            for (String table : database.sql().list("SELECT name FROM sqlite_master WHERE type = 'table'"
                + " AND name <> 'key_sequence' ORDER BY name", row -> row.getString(1))) {
                dump.append(table).append(database.sql().list("SELECT * FROM " + table, RightsContract::text));
            }
            return dump.toString();
        });
    }

    private static String text(ResultSet row) throws SQLException {
        List<String> values = new ArrayList<>();
        for (int i = 1; i <= row.getMetaData().getColumnCount(); i++) {
            values.add(row.getString(i));
        }
        return values.toString();
    }
}
