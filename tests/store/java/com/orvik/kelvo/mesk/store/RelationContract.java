package com.orvik.kelvo.mesk.store;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.orvik.kelvo.mesk.admin.Administration;
import com.orvik.kelvo.mesk.metadata.MDCodeCondition;
import com.orvik.kelvo.mesk.metadata.MDFollowOnAction;
import com.orvik.kelvo.mesk.metadata.MDFollowOnActionType;
import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.metadata.MDScheduleEvent;
import com.orvik.kelvo.mesk.metadata.MDSharedNamedSchedule;
import com.orvik.kelvo.mesk.metadata.MDSharedNamedScheduleType;
import com.orvik.kelvo.mesk.metadata.MDSuccessCodeSet;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.metadata.MDTaskExec;
import com.orvik.kelvo.mesk.metadata.MDTaskExecType;
import com.orvik.kelvo.mesk.metadata.MDTaskHistory;
import com.orvik.kelvo.mesk.metadata.MDTaskHistoryType;
import com.orvik.kelvo.mesk.metadata.MDTaskSnapshot;
import com.orvik.kelvo.mesk.metadata.MDTaskStatistic;
import com.orvik.kelvo.mesk.metadata.MDUser;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.Collection;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.Set;
import org.junit.jupiter.api.Test;

/** What every store keeps to about what hangs on tasks: shared schedules, follow-on actions, steps, success codes. */
abstract class RelationContract extends StoreFixture {
    private static final int[] NO_CODES = {};
    private static final String[] NO_CONDITIONS = {};

    private void refused(int code, String... words) {
        session.expect(code);
        for (String word : words) {
            assertTrue(session.outcome.getMessage().contains(word), session.outcome.getMessage());
        }
    }

    private static List<String> names(Collection<?> tasks) {
        List<String> names = new ArrayList<>();
        for (Object task : tasks) {
            names.add(((MDTask) task).getTaskName());
        }
        return names;
    }

    private static List<Long> keysOfRules(Collection<?> rules) {
        List<Long> keys = new ArrayList<>();
        for (Object rule : rules) {
            keys.add(((MDScheduleEvent) rule).getScheduleEventID());
        }
        return keys;
    }

    private Set<Long> queued() {
        Set<Long> keys = new HashSet<>();
        for (Object run : new MDTaskExecType().retrieveList(session.context, session.outcome)) {
            keys.add(((MDTaskExec) run).getTaskExecID());
        }
        return keys;
    }

    // Shared schedules

    @Test
    void aSharedScheduleNeedsANameThatNoOtherHas() {
        session.insert(new MDSharedNamedSchedule(), StoreCodes.INVALID);
        MDSharedNamedSchedule first = session.newSchedule("nights");
        MDSharedNamedSchedule twin = new MDSharedNamedSchedule();
        twin.setSharedScheduleName("nights");
        session.insert(twin, StoreCodes.EXISTS);
        first.setSharedScheduleName("");
        session.update(first, StoreCodes.INVALID);
        first.setSharedScheduleName("Nights");
        session.update(first);
        session.insert(twin);
    }

    @Test
    void homesOfWhatIsNewListAndFindAndDelete() {
        assertTrue(new MDSharedNamedScheduleType().retrieveList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertTrue(new MDFollowOnActionType().retrieveList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertNull(new MDSharedNamedScheduleType().retrieve(session.context, 7, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(new MDFollowOnActionType().retrieve(session.context, 7, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        new MDSharedNamedScheduleType().delete(session.context, 7, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        new MDFollowOnActionType().delete(session.context, 7, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);

        MDSharedNamedSchedule schedule = session.newSchedule("weekly");
        session.newSchedule("daily");
        MDFollowOnAction action = new MDFollowOnAction();
        session.insert(action);
        Collection<?> schedules = new MDSharedNamedScheduleType().retrieveList(session.context, session.outcome);
        session.done();
        List<String> names = new ArrayList<>();
        for (Object each : schedules) {
            names.add(((MDSharedNamedSchedule) each).getSharedScheduleName());
        }
        assertEquals(List.of("daily", "weekly"), names);
        assertEquals("weekly", new MDSharedNamedScheduleType().retrieve(session.context, schedule.getScheduleID(),
            session.outcome).getSharedScheduleName());
        assertEquals(1, new MDFollowOnActionType().retrieve(session.context, action.getFollowOnActionID(),
            session.outcome).getAction());
        new MDSharedNamedScheduleType().delete(session.context, schedule.getScheduleID(), session.outcome);
        session.done();
        new MDFollowOnActionType().delete(session.context, action.getFollowOnActionID(), session.outcome);
        session.done();
        assertEquals(1, session.number("SELECT count(*) FROM shared_named_schedule"));
        assertEquals(0, session.number("SELECT count(*) FROM follow_on_action"));
    }

    @Test
    void aSharedScheduleListsItsRulesInTheOrderInWhichTheyWereAdded() {
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        assertTrue(schedule.retrieveScheduleEventList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        MDScheduleEvent first = session.newRule();
        MDScheduleEvent second = session.newRule();
        schedule.addScheduleEvent(session.context, second, session.outcome);
        session.done();
        Administration.addScheduleRule(session.context, schedule.getScheduleID(), first.getScheduleEventID(),
            session.outcome);
        session.done();
        assertEquals(List.of(second.getScheduleEventID(), first.getScheduleEventID()),
            keysOfRules(schedule.retrieveScheduleEventList(session.context, session.outcome)));
        session.done();
        schedule.addScheduleEvent(session.context, first, session.outcome);
        refused(StoreCodes.EXISTS, "'nights'");
        schedule.addScheduleEvent(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        schedule.addScheduleEvent(session.context, new MDScheduleEvent(), session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        new MDSharedNamedSchedule().addScheduleEvent(session.context, first, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        schedule.removeScheduleEvent(session.context, second, session.outcome);
        session.done();
        schedule.removeScheduleEvent(session.context, second, session.outcome);
        refused(StoreCodes.NOT_FOUND, "'nights'");
        Administration.removeScheduleRule(session.context, schedule.getScheduleID(), first.getScheduleEventID(),
            session.outcome);
        session.done();
        assertEquals(2, session.number("SELECT count(*) FROM schedule_event"));
    }

    @Test
    void aTaskListsTheSharedSchedulesThatItUses() {
        MDTask task = session.newTask("user");
        assertTrue(task.retrieveSharedNamedScheduleList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        MDSharedNamedSchedule nights = session.newSchedule("nights");
        MDSharedNamedSchedule days = session.newSchedule("days");
        for (MDSharedNamedSchedule each : List.of(nights, days)) {
            task.addSharedNamedSchedule(session.context, each, session.outcome);
            session.done();
        }
        List<String> names = new ArrayList<>();
        for (Object each : task.retrieveSharedNamedScheduleList(session.context, session.outcome)) {
            names.add(((MDSharedNamedSchedule) each).getSharedScheduleName());
        }
        session.done();
        assertEquals(List.of("nights", "days"), names);
        task.addSharedNamedSchedule(session.context, nights, session.outcome);
        refused(StoreCodes.EXISTS, "'user'", "'nights'");
        task.addSharedNamedSchedule(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        task.addSharedNamedSchedule(session.context, new MDSharedNamedSchedule(), session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        task.removeSharedNamedSchedule(session.context, nights, session.outcome);
        session.done();
        task.removeSharedNamedSchedule(session.context, nights, session.outcome);
        refused(StoreCodes.NOT_FOUND, "'user'", "'nights'");
    }

    /** A rule of the schedule, queued for each of the tasks that use it. */
    private List<MDTaskExec> queuedBy(MDSharedNamedSchedule schedule, MDTask... tasks) {
        MDScheduleEvent rule = session.newRule();
        schedule.addScheduleEvent(session.context, rule, session.outcome);
        session.done();
        List<MDTaskExec> runs = new ArrayList<>();
        for (MDTask task : tasks) {
            task.addSharedNamedSchedule(session.context, schedule, session.outcome);
            session.done();
            MDTaskExec run = session.newRun(task, rule, INSTANT);
            run.setSharedNamedScheduleID(schedule.getScheduleID());
            session.update(run);
            runs.add(run);
        }
        return runs;
    }

    @Test
    void oneInstantOfASharedRuleIsClaimedOnceByEachTask() {
        List<MDTaskExec> runs = queuedBy(session.newSchedule("nights"), session.newTask("a"), session.newTask("b"));
        for (MDTaskExec run : runs) {
            MDTaskExec twin = (MDTaskExec) run.clone();
            twin.setTaskExecID(session.key());
            twin.version(0);
            session.insert(twin);
            run.setStatus(2);
            session.update(run);
            twin.setStatus(2);
            session.update(twin, StoreCodes.CLAIMED);
        }
        assertEquals(2, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void aTaskThatNoLongerUsesAScheduleLosesWhatTheScheduleQueuedForItOnly() {
        MDTask leaves = session.newTask("leaves");
        MDTask stays = session.newTask("stays");
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        List<MDTaskExec> runs = queuedBy(schedule, leaves, stays);
        MDTaskExec own = session.newRun(leaves, session.newRule(leaves), INSTANT);
        MDTaskExec running = session.newRun(leaves, rule(runs.get(0)), INSTANT + 1);
        running.setStatus(2);
        session.update(running);
        leaves.removeSharedNamedSchedule(session.context, schedule, session.outcome);
        session.done();
        assertEquals(Set.of(runs.get(1).getTaskExecID(), own.getTaskExecID(), running.getTaskExecID()), queued());
    }

    private MDScheduleEvent rule(MDTaskExec run) {
        return session.rule(run.getScheduleEventID());
    }

    @Test
    void aRuleThatATaskHasInTwoWaysKeepsWhatItQueuedUntilBothAreGone() {
        MDTask task = session.newTask("twice");
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        MDTaskExec run = queuedBy(schedule, task).get(0);
        MDScheduleEvent rule = rule(run);
        task.addScheduleEvent(session.context, rule, session.outcome);
        session.done();
        task.removeSharedNamedSchedule(session.context, schedule, session.outcome);
        session.done();
        assertEquals(Set.of(run.getTaskExecID()), queued());
        task.addSharedNamedSchedule(session.context, schedule, session.outcome);
        session.done();
        task.removeScheduleEvent(session.context, rule, session.outcome);
        session.done();
        assertEquals(Set.of(run.getTaskExecID()), queued());
        schedule.removeScheduleEvent(session.context, rule, session.outcome);
        session.done();
        assertEquals(Set.of(), queued());
    }

    @Test
    void aRuleThatLeavesASharedScheduleTakesWhatItQueuedForEachTask() {
        MDTask one = session.newTask("one");
        MDTask two = session.newTask("two");
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        List<MDTaskExec> runs = queuedBy(schedule, one, two);
        List<MDTaskExec> kept = queuedBy(session.newSchedule("days"), one, two);
        schedule.removeScheduleEvent(session.context, rule(runs.get(0)), session.outcome);
        session.done();
        assertEquals(Set.of(kept.get(0).getTaskExecID(), kept.get(1).getTaskExecID()), queued());
        session.delete(rule(kept.get(0)));
        assertEquals(Set.of(), queued());
        assertEquals(0, session.number("SELECT count(*) FROM shared_schedule_event"));
    }

    /** A run of the task that waits for its retry, and its history. */
    private MDTaskHistory retry(MDTask task, MDScheduleEvent rule) {
        MDTaskHistory history = session.newHistory(task, INSTANT, 6);
        MDTaskExec run = session.newRun(task, rule, INSTANT + history.getTaskHistoryID());
        run.setStatus(2);
        run.setTaskHistoryID(history.getTaskHistoryID());
        session.update(run);
        run.setStatus(1);
        session.update(run);
        return history;
    }

    @Test
    void aRetryGoesOnWithoutItsRule() {
        MDTask task = session.newTask("tries again");
        MDScheduleEvent own = session.newRule(task);
        MDScheduleEvent deleted = session.newRule(task);
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        MDScheduleEvent left = rule(queuedBy(schedule, task).get(0));
        MDSharedNamedSchedule other = session.newSchedule("days");
        MDScheduleEvent ofOther = rule(queuedBy(other, task).get(0));
        for (MDScheduleEvent rule : List.of(own, deleted, left, ofOther)) {
            retry(task, rule);
        }
        task.removeScheduleEvent(session.context, own, session.outcome);
        session.delete(deleted);
        schedule.removeScheduleEvent(session.context, left, session.outcome);
        session.done();
        task.removeSharedNamedSchedule(session.context, other, session.outcome);
        session.done();
        assertEquals(4, session.number("SELECT count(*) FROM task_exec"));
        assertEquals(4, session.number("SELECT count(*) FROM task_exec WHERE task_history_id <> -1"));
    }

    @Test
    void aRunWhoseRetryGoesWithTheTaskHasFailed() {
        MDTask task = session.newTask("tries again");
        MDTaskHistory waiting = retry(task, session.newRule(task));
        MDTaskHistory settled = retry(task, session.newRule(task));
        settled.setRunningStatus(5);
        session.update(settled);
        session.delete(task);
        assertEquals(0, session.number("SELECT count(*) FROM task_exec"));
        assertEquals(3, session.history(waiting.getTaskHistoryID()).getRunningStatus());
        assertEquals(5, session.history(settled.getTaskHistoryID()).getRunningStatus());
        session.update(waiting, StoreCodes.CHANGED);
    }

    @Test
    void aSharedScheduleIsDeletedWhenNoTaskUsesItWithTheRulesThatNobodyElseHas() {
        MDTask task = session.newTask("user");
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        MDTaskExec run = queuedBy(schedule, task).get(0);
        run.setReadPermission(session.context, session.newUser("ANNE"), true, session.outcome);
        session.done();
        MDScheduleEvent alsoOwn = session.newRule(task);
        schedule.addScheduleEvent(session.context, alsoOwn, session.outcome);
        MDScheduleEvent alsoShared = session.newRule();
        schedule.addScheduleEvent(session.context, alsoShared, session.outcome);
        session.newSchedule("days").addScheduleEvent(session.context, alsoShared, session.outcome);
        session.done();
        schedule.delete(session.context, session.outcome);
        refused(StoreCodes.IN_USE, "'nights'", "'user'");
        task.removeSharedNamedSchedule(session.context, schedule, session.outcome);
        session.done();
        assertEquals(0, session.number("SELECT count(*) FROM permission WHERE object_kind = 2"));
        MDTaskExec stray = session.newRun(task, rule(run), INSTANT + 1);
        session.delete(schedule);
        assertFalse(queued().contains(stray.getTaskExecID()));
        assertEquals(2, session.number("SELECT count(*) FROM schedule_event"));
        assertEquals(List.of(alsoOwn.getScheduleEventID()),
            keysOfRules(task.retrieveScheduleEventList(session.context, session.outcome)));
    }

    @Test
    void rulesAndSharedSchedulesDoWhatListsDo() {
        Random random = Seed.random("rulesAndSharedSchedulesDoWhatListsDo");
        List<MDTask> tasks = List.of(session.newTask("a"), session.newTask("b"), session.newTask("c"));
        List<MDSharedNamedSchedule> schedules = List.of(session.newSchedule("x"), session.newSchedule("y"));
        List<MDScheduleEvent> rules = List.of(session.newRule(), session.newRule(), session.newRule());
        Map<Record, List<MDScheduleEvent>> has = new HashMap<>();
        Map<MDTask, List<MDSharedNamedSchedule>> uses = new HashMap<>();
        Map<MDTaskExec, MDTask> queue = new HashMap<>();
        tasks.forEach(task -> has.put(task, new ArrayList<>()));
        schedules.forEach(schedule -> has.put(schedule, new ArrayList<>()));
        tasks.forEach(task -> uses.put(task, new ArrayList<>()));
        for (int i = 0; i < 300; i++) {
            MDTask task = tasks.get(random.nextInt(tasks.size()));
            MDSharedNamedSchedule schedule = schedules.get(random.nextInt(schedules.size()));
            MDScheduleEvent rule = rules.get(random.nextInt(rules.size()));
            switch (random.nextInt(3)) {
                case 0 -> {
                    if (toggled(has.get(task), rule)) {
                        task.addScheduleEvent(session.context, rule, session.outcome);
                    } else {
                        task.removeScheduleEvent(session.context, rule, session.outcome);
                    }
                }
                case 1 -> {
                    if (toggled(has.get(schedule), rule)) {
                        schedule.addScheduleEvent(session.context, rule, session.outcome);
                    } else {
                        schedule.removeScheduleEvent(session.context, rule, session.outcome);
                    }
                }
                default -> {
                    if (toggled(uses.get(task), schedule)) {
                        task.addSharedNamedSchedule(session.context, schedule, session.outcome);
                    } else {
                        task.removeSharedNamedSchedule(session.context, schedule, session.outcome);
                    }
                }
            }
            session.done();
            queue.entrySet().removeIf(entry -> !applying(entry.getValue(), has, uses)
                .contains(entry.getKey().getScheduleEventID()));
            Set<Long> kept = new HashSet<>();
            queue.keySet().forEach(run -> kept.add(run.getTaskExecID()));
            assertEquals(kept, queued());
            assertEquals(keysOfRules(has.get(task)),
                keysOfRules(task.retrieveScheduleEventList(session.context, session.outcome)));
            assertEquals(keysOfRules(has.get(schedule)),
                keysOfRules(schedule.retrieveScheduleEventList(session.context, session.outcome)));
            if (applying(task, has, uses).contains(rule.getScheduleEventID())) {
                queue.put(session.newRun(task, rule, INSTANT + i), task);
            }
        }
    }

    /** Puts the element behind the others and answers true, or takes it out and answers false. */
    private static <T> boolean toggled(List<T> list, T element) {
        return !list.remove(element) && list.add(element);
    }

    private static List<Long> applying(MDTask task, Map<Record, List<MDScheduleEvent>> has,
        Map<MDTask, List<MDSharedNamedSchedule>> uses) {
        List<Long> keys = new ArrayList<>(keysOfRules(has.get(task)));
        uses.get(task).forEach(schedule -> keys.addAll(keysOfRules(has.get(schedule))));
        return keys;
    }

    @Test
    void aDeletedTaskLeavesItsSharedSchedules() {
        MDTask task = session.newTask("user");
        MDTask other = session.newTask("other");
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        List<MDTaskExec> runs = queuedBy(schedule, task, other);
        // A rule of its own that a shared schedule has as well is not only the task's.
        task.addScheduleEvent(session.context, rule(runs.get(0)), session.outcome);
        session.done();
        session.delete(task);
        assertEquals(Set.of(runs.get(1).getTaskExecID()), queued());
        assertEquals(1, schedule.retrieveScheduleEventList(session.context, session.outcome).size());
        assertEquals(1, other.retrieveSharedNamedScheduleList(session.context, session.outcome).size());
    }

    // Follow-on actions

    @Test
    void anActionWithAValueOutOfRangeIsRefused() {
        MDFollowOnAction action = new MDFollowOnAction();
        for (int wrong : new int[] {0, 4, -1}) {
            action.setAction(wrong);
            action.insert(session.context, session.outcome);
            refused(StoreCodes.INVALID, "Action:");
        }
        action.setAction(3);
        for (int wrong : new int[] {-1, 3}) {
            action.setFollowOnCondition(wrong);
            action.insert(session.context, session.outcome);
            refused(StoreCodes.INVALID, "FollowOnCondition:");
        }
        action.setFollowOnCondition(2);
        action.setParentTaskID(99);
        session.insert(action, StoreCodes.NOT_FOUND);
        action.setParentTaskID(0);
        session.insert(action);
        action.setAction(0);
        session.update(action, StoreCodes.INVALID);
    }

    @Test
    void anActionBelongsToOneTaskAtMost() {
        MDTask parent = session.newTask("parent");
        MDTask other = session.newTask("other");
        assertTrue(parent.retrieveFollowOnActionList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        MDFollowOnAction stored = new MDFollowOnAction();
        session.insert(stored);
        MDFollowOnAction unsaved = new MDFollowOnAction();
        MDFollowOnAction byParent = new MDFollowOnAction();
        parent.addFollowOnAction(session.context, stored, session.outcome);
        session.done();
        parent.addFollowOnAction(session.context, unsaved, session.outcome);
        session.done();
        byParent.setParentTaskID(parent.getTaskID());
        session.insert(byParent);
        assertEquals(List.of(stored.getFollowOnActionID(), unsaved.getFollowOnActionID(),
            byParent.getFollowOnActionID()), actions(parent));
        assertEquals(parent.getTaskID(), stored.getParentTaskID());
        parent.addFollowOnAction(session.context, byParent, session.outcome);
        refused(StoreCodes.EXISTS, "'parent'");
        other.addFollowOnAction(session.context, stored, session.outcome);
        refused(StoreCodes.EXISTS, "'parent'");
        other.removeFollowOnAction(session.context, stored, session.outcome);
        refused(StoreCodes.NOT_FOUND, "'other'");
        parent.removeFollowOnAction(session.context, stored, session.outcome);
        session.done();
        assertEquals(0, stored.getParentTaskID());
        other.addFollowOnAction(session.context, stored, session.outcome);
        session.done();
        parent.addFollowOnAction(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        parent.removeFollowOnAction(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        MDTask missing = new MDTask();
        MDFollowOnAction nowhere = new MDFollowOnAction();
        missing.addFollowOnAction(session.context, nowhere, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        assertEquals(0, nowhere.version());
        assertEquals(List.of(unsaved.getFollowOnActionID(), byParent.getFollowOnActionID()), actions(parent));
        assertEquals(List.of(stored.getFollowOnActionID()), actions(other));
    }

    @Test
    void anActionThatMovesByItsPropertyStandsBehindTheOthers() {
        MDTask from = session.newTask("from");
        MDTask to = session.newTask("to");
        session.newAction(from, 1);
        MDFollowOnAction moves = session.newAction(from, 1);
        MDFollowOnAction stays = session.newAction(from, 1);
        List<Long> wanted = new ArrayList<>();
        for (int i = 0; i < 3; i++) {
            wanted.add(session.newAction(to, 1).getFollowOnActionID());
        }
        moves.setParentTaskID(to.getTaskID());
        session.update(moves);
        wanted.add(moves.getFollowOnActionID());
        assertEquals(wanted, actions(to));
        moves.setFollowOnCondition(1);
        session.update(moves);
        session.newAction(to, 1);
        assertEquals(wanted, actions(to).subList(0, 4));
        assertEquals(stays.getFollowOnActionID(), actions(from).get(1));
    }

    @Test
    void anActionThatCouldNotMoveKeepsItsPlace() {
        MDTask parent = session.newTask("parent");
        MDFollowOnAction first = session.newAction(parent, 1);
        session.newAction(parent, 1);
        first.setAction(0);
        parent.removeFollowOnAction(session.context, first, session.outcome);
        session.expect(StoreCodes.INVALID);
        first.setAction(2);
        session.update(first);
        assertEquals(first.getFollowOnActionID(), actions(parent).get(0));
    }

    private List<Long> actions(MDTask task) {
        List<Long> keys = new ArrayList<>();
        for (Object each : task.retrieveFollowOnActionList(session.context, session.outcome)) {
            keys.add(((MDFollowOnAction) each).getFollowOnActionID());
        }
        session.done();
        return keys;
    }

    @Test
    void anActionThatSomebodyElseChangedIsNotMoved() {
        MDTask parent = session.newTask("parent");
        MDFollowOnAction mine = new MDFollowOnAction();
        session.insert(mine);
        session.commit();
        try (Session other = new Session(url)) {
            MDFollowOnAction theirs = new MDFollowOnActionType().retrieve(other.context, mine.getFollowOnActionID(),
                other.outcome);
            theirs.setFollowOnCondition(1);
            other.update(theirs);
            other.commit();
        }
        parent.addFollowOnAction(session.context, mine, session.outcome);
        session.expect(StoreCodes.CHANGED);
        assertEquals(0, mine.getParentTaskID());
        parent.retrieveFollowOnActionList(session.context, session.outcome);
        session.expect(StoreCodes.NO_RELATION);
    }

    @Test
    void anActionListsTheTasksThatItActsOn() {
        MDTask parent = session.newTask("parent");
        MDTask a = session.newTask("a");
        MDTask b = session.newTask("b");
        MDTask c = session.newTask("c");
        MDFollowOnAction action = session.newAction(parent, 1);
        assertTrue(action.retrieveTaskList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        action.addTask(session.context, b, session.outcome);
        action.addTask(session.context, a, session.outcome);
        session.done();
        assertEquals(List.of("b", "a"), names(action.retrieveTaskList(session.context, session.outcome)));
        action.addTask(session.context, a, session.outcome);
        refused(StoreCodes.EXISTS, "'a'");
        action.addTask(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        action.addTask(session.context, new MDTask(), session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        new MDFollowOnAction().addTask(session.context, a, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        action.removeTask(session.context, b, session.outcome);
        session.done();
        action.removeTask(session.context, b, session.outcome);
        refused(StoreCodes.NOT_FOUND, "'b'");

        action.setTaskList(session.context, new ArrayList<>(List.of(c, b, a)), session.outcome);
        session.done();
        assertEquals(List.of("c", "b", "a"), names(action.retrieveTaskList(session.context, session.outcome)));
        action.setTaskList(session.context, new ArrayList<>(List.of(a, b, a)), session.outcome);
        refused(StoreCodes.INVALID, "'a'");
        action.setTaskList(session.context, new ArrayList<>(List.of(a, new MDTask())), session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        action.setTaskList(session.context, new ArrayList<>(List.of("a")), session.outcome);
        session.expect(StoreCodes.INVALID);
        action.setTaskList(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        assertEquals(List.of("c", "b", "a"), names(action.retrieveTaskList(session.context, session.outcome)));
        action.setTaskList(session.context, new ArrayList<>(), session.outcome);
        session.done();
        action.retrieveTaskList(session.context, session.outcome);
        session.expect(StoreCodes.NOTHING_LISTED);
    }

    @Test
    void predecessorsAreTheTasksWhoseEndRunsTheTask() {
        MDTask last = session.newTask("last");
        MDTask first = session.newTask("first");
        MDTask second = session.newTask("second");
        assertTrue(last.retrievePredecessorTaskWithExecActionList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        session.newAction(second, 1, last, first);
        session.newAction(second, 1, last);
        session.newAction(first, 1, last);
        session.newAction(session.newTask("enables"), 2, last);
        session.newAction(session.newTask("disables"), 3, last);
        MDFollowOnAction nobodys = new MDFollowOnAction();
        session.insert(nobodys);
        nobodys.addTask(session.context, last, session.outcome);
        session.done();
        assertEquals(List.of("first", "second"),
            names(last.retrievePredecessorTaskWithExecActionList(session.context, session.outcome)));
        session.done();
        assertEquals(List.of("second"),
            names(first.retrievePredecessorTaskWithExecActionList(session.context, session.outcome)));
    }

    @Test
    void anActionActsOnceOnATaskForARun() {
        MDTask parent = session.newTask("parent");
        MDTask target = session.newTask("target");
        MDFollowOnAction action = session.newAction(parent, 1, target);
        MDTaskHistory history = session.newHistory(parent, INSTANT, 2);
        MDTaskHistory later = session.newHistory(parent, INSTANT + 1, 2);
        fired(history, action, target);
        session.done();
        fired(history, action, target);
        refused(StoreCodes.EXISTS, "'target'");
        fired(history, action, parent);
        session.done();
        fired(later, action, target);
        session.done();
        fired(new MDTaskHistory(), action, target);
        session.expect(StoreCodes.NOT_FOUND);
        assertEquals(3, session.number("SELECT count(*) FROM follow_on_fired"));
        session.delete(history);
        assertEquals(1, session.number("SELECT count(*) FROM follow_on_fired"));
        new MDTaskHistoryType().delete(session.context, parent.getTaskID(), 0, new Timestamp(INSTANT + 2),
            session.outcome);
        session.done();
        assertEquals(0, session.number("SELECT count(*) FROM follow_on_fired"));
    }

    private void fired(MDTaskHistory history, MDFollowOnAction action, MDTask target) {
        Administration.recordFollowOn(session.context, history.getTaskHistoryID(), action.getFollowOnActionID(),
            target.getTaskID(), target.getSuffix(), -1, session.outcome);
    }

    // Steps

    private void steps(MDTask group, MDTask... members) {
        long[] keys = new long[members.length];
        int[] suffixes = new int[members.length];
        for (int i = 0; i < members.length; i++) {
            keys[i] = members[i].getTaskID();
            suffixes[i] = members[i].getSuffix();
        }
        Administration.setGroupMembers(session.context, group.getTaskID(), group.getSuffix(), keys, suffixes,
            session.outcome);
    }

    @Test
    void aGroupListsItsStepsInTheirOrder() {
        MDTask group = session.newTask("group");
        assertTrue(group.retrieveTaskGroupMemberList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        MDTask a = session.newTask("a");
        MDTask b = session.newTask("b");
        MDTask sibling = (MDTask) a.clone();
        sibling.setSuffix(7);
        sibling.setTaskName("a, seventh");
        sibling.version(0);
        session.insert(sibling);
        steps(group, b, sibling, a);
        session.done();
        assertEquals(List.of("b", "a, seventh", "a"),
            names(group.retrieveTaskGroupMemberList(session.context, session.outcome)));
        session.done();
        steps(group, a);
        session.done();
        assertEquals(List.of("a"), names(group.retrieveTaskGroupMemberList(session.context, session.outcome)));
        steps(group);
        session.done();
        group.retrieveTaskGroupMemberList(session.context, session.outcome);
        session.expect(StoreCodes.NO_RELATION);
    }

    @Test
    void stepsAreDistinctTasksOfTheStoreAndNeverTheGroupItself() {
        MDTask group = session.newTask("group");
        MDTask inner = session.newTask("inner");
        MDTask a = session.newTask("a");
        steps(group, a, inner);
        session.done();
        steps(group, a, inner, a);
        refused(StoreCodes.INVALID, "'a'");
        steps(group, new MDTask());
        session.expect(StoreCodes.NOT_FOUND);
        steps(new MDTask(), a);
        session.expect(StoreCodes.NOT_FOUND);
        steps(group, group);
        refused(StoreCodes.INVALID, "'group'");
        steps(inner, group);
        refused(StoreCodes.INVALID, "'inner'");
        Administration.setGroupMembers(session.context, group.getTaskID(), 0, new long[] {a.getTaskID()}, new int[] {},
            session.outcome);
        session.expect(StoreCodes.INVALID);
        Administration.setGroupMembers(session.context, group.getTaskID(), 0, null, new int[] {}, session.outcome);
        session.expect(StoreCodes.INVALID);
        assertEquals(List.of("a", "inner"),
            names(group.retrieveTaskGroupMemberList(session.context, session.outcome)));
        inner.retrieveTaskGroupMemberList(session.context, session.outcome);
        session.expect(StoreCodes.NO_RELATION);
    }

    // Success codes

    private void successCodes(MDTask task, int[] codes, String... conditions) {
        Administration.setSuccessCodes(session.context, task.getTaskID(), task.getSuffix(), codes, conditions,
            session.outcome);
    }

    /** The conditions of all sets of the task, as "=0 <4; >8", sets in their order. */
    private String successCodes(MDTask task) {
        StringBuilder text = new StringBuilder();
        for (Object set : task.retrieveSuccessCodeSetList(session.context, session.outcome)) {
            text.append(text.length() == 0 ? "" : "; ");
            String separator = "";
            for (Object each : ((MDSuccessCodeSet) set).retrieveCodeConditionList(session.context, session.outcome)) {
                MDCodeCondition condition = (MDCodeCondition) each;
                text.append(separator).append(condition.getCondition()).append(condition.getCode());
                separator = " ";
            }
            session.done();
        }
        return text.toString();
    }

    @Test
    void aTasksSuccessCodesAreReplacedAsAWhole() {
        MDTask task = session.newTask("coded");
        assertTrue(task.retrieveSuccessCodeSetList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        successCodes(task, new int[] {0, 4, 8, -1, 9, 10}, "=", "<", ">", "!", "==", "!=");
        session.done();
        assertEquals("=0 <4 >8 !-1 ==9 !=10", successCodes(task));
        successCodes(task, new int[] {2}, "=");
        session.done();
        assertEquals("=2", successCodes(task));
        for (String wrong : new String[] {"<=", ">=", "", "<>", "= ", null}) {
            successCodes(task, new int[] {2, 3}, "=", wrong);
            refused(StoreCodes.INVALID, "Condition:");
        }
        successCodes(task, new int[] {2, 3}, "=");
        session.expect(StoreCodes.INVALID);
        successCodes(task, null, "=");
        session.expect(StoreCodes.INVALID);
        successCodes(new MDTask(), new int[] {1}, "=");
        session.expect(StoreCodes.NOT_FOUND);
        assertEquals("=2", successCodes(task));
        Administration.setSuccessCodes(session.context, task.getTaskID(), 0, NO_CODES, NO_CONDITIONS, session.outcome);
        session.done();
        assertEquals("", successCodes(task));
        assertEquals(0, session.number("SELECT count(*) FROM code_condition"));
        assertEquals(0, session.number("SELECT count(*) FROM success_code_set"));
    }

    @Test
    void aTaskCanHaveSeveralSetsAndShareThem() {
        MDTask task = session.newTask("coded");
        MDTask other = session.newTask("other");
        successCodes(task, new int[] {0, 4}, "=", "<");
        MDSuccessCodeSet shared = new MDSuccessCodeSet(session.context, session.outcome);
        session.insert(shared);
        assertTrue(shared.retrieveCodeConditionList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        MDCodeCondition condition = new MDCodeCondition(session.context, session.outcome);
        condition.setCode(8);
        condition.setCondition(">");
        condition.setSuccessCodeSetID(99);
        session.insert(condition, StoreCodes.NOT_FOUND);
        condition.setSuccessCodeSetID(shared.getSuccessCodeSetID());
        session.insert(condition);
        for (MDTask each : List.of(task, other)) {
            each.addSuccessCodeSet(session.context, shared, session.outcome);
            session.done();
            each.addSuccessCodeSet(session.context, shared, session.outcome);
            refused(StoreCodes.EXISTS, "'" + each.getTaskName() + "'");
        }
        assertEquals("=0 <4; >8", successCodes(task));
        successCodes(task, new int[] {1}, "=");
        session.done();
        assertEquals("=1", successCodes(task));
        assertEquals(">8", successCodes(other));
        session.update(shared);
        other.removeSuccessCodeSet(session.context, shared, session.outcome);
        session.done();
        other.removeSuccessCodeSet(session.context, shared, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        other.addSuccessCodeSet(session.context, shared, session.outcome);
        session.delete(shared);
        assertEquals("", successCodes(other));
        assertEquals(1, session.number("SELECT count(*) FROM code_condition"));
    }

    // The end of a task

    @Test
    void aTaskThatOthersNeedIsNotDeletedAndTheMessageNamesThem() {
        MDTask task = session.newTask("needed");
        MDTask group = session.newTask("group");
        MDTask parent = session.newTask("parent");
        MDFollowOnAction own = session.newAction(task, 1, task);
        MDFollowOnAction action = session.newAction(parent, 2, task);
        MDScheduleEvent rule = session.newRule(task);
        MDTaskExec run = session.newRun(task, rule, INSTANT);
        run.setStatus(2);
        session.update(run);
        steps(group, task);
        session.done();
        session.commit();
        task.delete(session.context, session.outcome);
        refused(StoreCodes.IN_USE, "'needed'", "in progress");
        session.delete(run);
        task.delete(session.context, session.outcome);
        refused(StoreCodes.IN_USE, "'needed'", "'group'", "step");
        steps(group);
        task.delete(session.context, session.outcome);
        refused(StoreCodes.IN_USE, "'needed'", "'parent'", "follow-on");
        assertEquals(List.of(own.getFollowOnActionID()), actions(task));
        assertEquals(1, task.retrieveScheduleEventList(session.context, session.outcome).size());
        parent.removeFollowOnAction(session.context, action, session.outcome);
        session.done();
        session.delete(task);
        assertTrue(action.retrieveTaskList(session.context, session.outcome).isEmpty());
        assertEquals(List.of(), names(parent.retrieveTaskGroupMemberList(session.context, session.outcome)));
    }

    @Test
    void aDeletedTaskTakesAlongWhatIsOnlyItsOwn() {
        MDTask task = session.newTask("old");
        MDTask kept = session.newTask("kept");
        session.newRule(task);
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        task.addSharedNamedSchedule(session.context, schedule, session.outcome);
        session.newAction(task, 1, kept);
        steps(task, kept);
        successCodes(task, new int[] {0}, "=");
        session.done();
        notify(task);
        MDTaskStatistic statistic = new MDTaskStatistic();
        statistic.setTaskID(task.getTaskID());
        session.insert(statistic);
        statistic.setReadPermission(session.context, session.newUser("ANNE"), true, session.outcome);
        session.done();
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        session.delete(task);
        for (String table : List.of("schedule_event", "task_schedule_event", "task_shared_schedule", "task_group_member",
                "follow_on_action", "follow_on_task", "success_code_set", "code_condition", "task_success_code_set",
                "notification_action", "notification_contact", "notification_contact_group", "task_statistic")) {
            assertEquals(0, session.number("SELECT count(*) FROM " + table), table);
        }
        assertEquals(0, session.number("SELECT count(*) FROM permission WHERE object_id <> ?", kept.getTaskID()));
        assertEquals(1, session.number("SELECT count(*) FROM shared_named_schedule"));
        assertTrue(session.has(kept));
        assertNotNull(session.history(history.getTaskHistoryID()).retrieveTaskSnapshot(session.context,
            session.outcome));
    }

    /** Two notification actions of the task: one tells two contacts, one tells one of them and a group. */
    private List<MDNotificationAction> notify(MDTask task) {
        for (String contact : List.of("ann", "bert")) {
            Administration.putContact(session.context, contact, contact + "@example.org", null, session.outcome);
            session.done();
        }
        Administration.putContactGroup(session.context, "night shift", new String[] {"ann"}, session.outcome);
        session.done();
        List<MDNotificationAction> actions = List.of(new MDNotificationAction(), new MDNotificationAction());
        for (MDNotificationAction action : actions) {
            task.addNotificationAction(session.context, action, session.outcome);
            session.done();
        }
        contacts(actions.get(0), "bert", "ann");
        Administration.setContacts(session.context, actions.get(1).getNotificationActionID(), new String[] {"bert"},
            new String[] {"night shift"}, session.outcome);
        session.done();
        return actions;
    }

    private void contacts(MDNotificationAction action, String... names) {
        Administration.setContacts(session.context, action.getNotificationActionID(), names, null, session.outcome);
        session.done();
    }

    // Snapshots

    @Test
    void aSnapshotNamesWhatHungOnTheTaskWhenItRan() {
        MDTask task = session.newTask("snapped");
        MDTask sibling = (MDTask) task.clone();
        sibling.setSuffix(3);
        sibling.version(0);
        session.insert(sibling);
        MDTask next = session.newTask("next");
        MDTaskHistory bare = session.newHistory(task, INSTANT, 2);
        MDTaskSnapshot before = bare.retrieveTaskSnapshot(session.context, session.outcome);
        assertNull(before.getScheduleIDs());
        assertNull(before.getFollowOnTaskIDs());
        assertNull(before.getNotificationIDs());
        assertNull(before.getContactNames());

        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        MDScheduleEvent shared = session.newRule();
        schedule.addScheduleEvent(session.context, shared, session.outcome);
        task.addSharedNamedSchedule(session.context, schedule, session.outcome);
        MDScheduleEvent own = session.newRule(task);
        session.newAction(task, 1, next, sibling);
        session.newAction(task, 2, next);
        List<MDNotificationAction> told = notify(task);
        MDTaskHistory history = session.newHistory(task, INSTANT + 1, 2);
        MDTaskSnapshot snapshot = history.retrieveTaskSnapshot(session.context, session.outcome);
        session.done();
        assertEquals(own.getScheduleEventID() + "," + shared.getScheduleEventID(), snapshot.getScheduleIDs());
        assertEquals(next.getTaskID() + "," + task.getTaskID() + ".3", snapshot.getFollowOnTaskIDs());
        assertEquals(told.get(0).getNotificationActionID() + "," + told.get(1).getNotificationActionID(),
            snapshot.getNotificationIDs());
        assertEquals("bert, ann, night shift", snapshot.getContactNames());
        assertEquals(2, session.number("SELECT count(*) FROM task_snapshot"));
    }

    @Test
    void eachChangeOfWhatHangsOnATaskMakesOneSnapshot() {
        MDTask task = session.newTask("snapped");
        MDTask next = session.newTask("next");
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        task.addSharedNamedSchedule(session.context, schedule, session.outcome);
        session.newHistory(task, INSTANT, 2);
        schedule.addScheduleEvent(session.context, session.newRule(), session.outcome);
        snapshotsAfterTwoRuns(2, task);
        session.newAction(task, 1, next);
        snapshotsAfterTwoRuns(3, task);
        MDNotificationAction told = notify(task).get(0);
        snapshotsAfterTwoRuns(4, task);
        contacts(told, "bert");
        snapshotsAfterTwoRuns(5, task);
        contacts(told, "bert", "ann");
        snapshotsAfterTwoRuns(5, task);
    }

    private void snapshotsAfterTwoRuns(int expected, MDTask task) {
        session.newHistory(task, INSTANT, 2);
        session.newHistory(task, INSTANT, 2);
        assertEquals(expected, session.number("SELECT count(*) FROM task_snapshot"));
    }

    // Who may

    @Test
    void whatHangsOnATaskIsChangedByWhoMayUpdateIt() {
        Administration.createUser(session.context, "plain", false, false, session.outcome);
        MDTask task = session.newTask("guarded");
        MDTask step = session.newTask("step");
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        MDFollowOnAction action = session.newAction(task, 1, step);
        MDSharedNamedSchedule schedule = session.newSchedule("nights");
        MDScheduleEvent rule = session.newRule();
        MDScheduleEvent second = session.newRule();
        schedule.addScheduleEvent(session.context, rule, session.outcome);
        session.done();
        session.commit();
        Session root = session;
        session = new Session(url, "plain");
        try {
            steps(task, step);
            refused(StoreCodes.NOT_AUTHORISED, "PLAIN");
            successCodes(task, new int[] {0}, "=");
            refused(StoreCodes.NOT_AUTHORISED, "PLAIN");
            fired(history, action, step);
            refused(StoreCodes.NOT_AUTHORISED, "PLAIN");
            Administration.addScheduleRule(session.context, schedule.getScheduleID(), second.getScheduleEventID(),
                session.outcome);
            refused(StoreCodes.NOT_AUTHORISED, "PLAIN");
            Administration.removeScheduleRule(session.context, schedule.getScheduleID(), rule.getScheduleEventID(),
                session.outcome);
            refused(StoreCodes.NOT_AUTHORISED, "PLAIN");
            task.setUpdatePermission(root.context, new MDUser("PLAIN"), true, root.outcome);
            root.done();
            root.commit();
            steps(task, step);
            refused(StoreCodes.NOT_AUTHORISED, "the task 'step': the right 'execute'");
            step.setExecutePermission(root.context, new MDUser("PLAIN"), true, root.outcome);
            root.done();
            root.commit();
            steps(task, step);
            session.done();
            successCodes(task, new int[] {0}, "=");
            session.done();
            fired(history, action, step);
            refused(StoreCodes.NOT_AUTHORISED, "PLAIN");
            session.commit();
            task.setExecutePermission(root.context, new MDUser("PLAIN"), true, root.outcome);
            root.done();
            root.commit();
            fired(history, action, step);
            session.done();
            session.commit();
        } finally {
            session.close();
            session = root;
        }
        assertEquals("=0", successCodes(task));
        assertEquals(List.of("step"), names(task.retrieveTaskGroupMemberList(session.context, session.outcome)));
        assertEquals(1, session.number("SELECT count(*) FROM shared_schedule_event"));
    }
}
