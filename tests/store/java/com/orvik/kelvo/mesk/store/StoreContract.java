package com.orvik.kelvo.mesk.store;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.admin.Administration;
import com.orvik.kelvo.mesk.metadata.GuardedRecord;
import com.orvik.kelvo.mesk.metadata.MDBlob;
import com.orvik.kelvo.mesk.metadata.MDClob;
import com.orvik.kelvo.mesk.metadata.MDGroup;
import com.orvik.kelvo.mesk.metadata.MDScheduleEvent;
import com.orvik.kelvo.mesk.metadata.MDScheduleEventType;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.metadata.MDTaskExec;
import com.orvik.kelvo.mesk.metadata.MDTaskExecType;
import com.orvik.kelvo.mesk.metadata.MDTaskHistory;
import com.orvik.kelvo.mesk.metadata.MDTaskHistoryType;
import com.orvik.kelvo.mesk.metadata.MDTaskResult;
import com.orvik.kelvo.mesk.metadata.MDTaskSnapshot;
import com.orvik.kelvo.mesk.metadata.MDTaskSnapshotType;
import com.orvik.kelvo.mesk.metadata.MDTaskType;
import com.orvik.kelvo.mesk.metadata.MDUser;
import com.orvik.kelvo.mesk.metadata.MDUtility;
import java.nio.charset.StandardCharsets;
import java.sql.Date;
import java.sql.SQLException;
import java.sql.Time;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collection;
import java.util.Collections;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Random;
import java.util.Set;
import java.util.concurrent.CountDownLatch;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.jupiter.api.Test;

/** What every store keeps to, whatever database it is on. A subclass a database says where an empty store is. */
abstract class StoreContract extends StoreFixture {
    // Keys

    @Test
    void keysBeginAtOneAndCountUp() {
        assertEquals(1, session.key());
        assertEquals(2, session.key());
        assertEquals(3, session.newTask("third").getTaskID());
    }

    @Test
    void keysThatWereNotHandedOutComeBackWhenASessionEnds() {
        session.key();
        session.close();
        session = new Session(url);
        assertEquals(2, session.key());
    }

    @Test
    void keysOfTwoSessionsDifferWhicheverEndsFirst() {
        Set<Long> keys = new HashSet<>();
        try (Session other = new Session(url)) {
            assertTrue(keys.add(session.key()));
            assertTrue(keys.add(other.key()));
            session.close();
            session = new Session(url);
            assertTrue(keys.add(session.key()));
            assertTrue(keys.add(other.key()));
        }
        session.close();
        session = new Session(url);
        assertTrue(keys.add(session.key()));
    }

    @Test
    void aRolledBackKeyIsNotHandedOutAgain() {
        long key = session.newTask("gone").getTaskID();
        session.rollback();
        assertTrue(session.key() > key);
    }

    @Test
    void aUnitOfWorkThatTakesAllReservedKeysIsRefusedAndNothingElseIsLost() {
        MDTask task = session.newTask("kept");
        long last = 0;
        int taken = 0;
        while (session.outcome.getRC() == StoreCodes.OK) {
            long key = task.getReferenceID(session.context, session.outcome);
            if (key != 0) {
                assertTrue(key > last);
                last = key;
                taken++;
            }
        }
        session.expect(StoreCodes.KEYS_EXHAUSTED);
        assertTrue(taken >= 32768);
        session.commit();
        assertTrue(session.key() > last);
        assertTrue(session.has(task));
    }

    @Test
    void keysDoNotRepeatAndCommitsStayWhenProcessesAreKilled() throws Exception {
        Random random = Seed.random("keysDoNotRepeatAndCommitsStayWhenProcessesAreKilled");
        Set<String> keys = new HashSet<>();
        Set<String> open = new HashSet<>();
        Set<String> done = new HashSet<>();
        for (int round = 0; round < 4; round++) {
            try (Child first = new Child(KeyTaker.class, url); Child second = new Child(KeyTaker.class, url)) {
                List<String> lines = new ArrayList<>();
                for (int i = 20 + random.nextInt(60); i > 0; i--) {
                    lines.add(first.line());
                    lines.add(second.line());
                }
                lines.addAll(first.kill());
                lines.addAll(second.kill());
                for (String line : lines) {
                    assertNotNull(line);
                    assertFalse(line.startsWith("failed"), line);
                    String[] words = line.split(" ");
                    if (words.length < 2) {
                        continue;
                    }
                    if (words[0].equals("key")) {
                        assertTrue(keys.add(words[1]), () -> "the key " + words[1] + " came twice");
                    } else if (words[0].equals("done")) {
                        done.add(words[1]);
                    } else if (words[0].equals("open")) {
                        open.add(words[1]);
                    }
                }
            }
        }
        assertFalse(done.isEmpty());
        for (String key : done) {
            assertTrue(session.has(task(Long.parseLong(key))), () -> "the committed task " + key + " is lost");
        }
        Collection<?> tasks = new MDTaskType().retrieveList(session.context, session.outcome);
        for (Object task : tasks) {
            assertTrue(open.contains(Long.toString(((MDTask) task).getTaskID())));
        }
        assertTrue(keys.add(Long.toString(session.key())));
    }

    private static MDTask task(long key) {
        MDTask task = new MDTask();
        task.setTaskID(key);
        return task;
    }

    // Units of work

    @Test
    void othersSeeAUnitOfWorkWhenItIsCommitted() {
        try (Session other = new Session(url)) {
            MDTask task = session.newTask("seen");
            assertTrue(session.has(task));
            assertFalse(other.has(task));
            session.commit();
            assertTrue(other.has(task));
        }
    }

    @Test
    void withAutoCommitEachOperationIsSeenAtOnce() {
        try (Session other = new Session(url)) {
            MDUtility.setAutoCommit(session.context, true, session.outcome);
            session.done();
            MDTask task = session.newTask("seen");
            assertTrue(other.has(task));
            MDUtility.setAutoCommit(session.context, false, session.outcome);
            assertFalse(other.has(session.newTask("unseen")));
        }
    }

    @Test
    void turningAutoCommitOnCommitsWhatHasBegun() {
        try (Session other = new Session(url)) {
            MDTask task = session.newTask("seen");
            MDUtility.setAutoCommit(session.context, true, session.outcome);
            assertTrue(other.has(task));
        }
    }

    @Test
    void commitAndRollbackOfNothingSucceed() {
        session.commit();
        session.rollback();
        session.commit();
    }

    @Test
    void theEndOfASessionRollsBack() {
        MDTask task = session.newTask("gone");
        session.close();
        session = new Session(url);
        assertFalse(session.has(task));
    }

    @Test
    void aFailedOperationTakesBackItselfOnly() {
        MDTask first = session.newTask("first");
        MDTask twin = new MDTask();
        twin.setTaskName("first");
        session.insert(twin, StoreCodes.EXISTS);
        assertEquals(0, twin.version());
        assertTrue(session.has(first));
        session.commit();
        assertTrue(session.has(first));
    }

    @Test
    void anOperationThatFailsHalfwayLeavesNothing() {
        MDTask task = session.newTask("halfway");
        MDTaskHistory first = session.newHistory(task, INSTANT, 2);
        task.setOwner("changed");
        session.update(task);
        MDTaskHistory twin = new MDTaskHistory();
        twin.setTaskHistoryID(first.getTaskHistoryID());
        twin.setTaskID(task.getTaskID());
        session.insert(twin, StoreCodes.EXISTS);
        session.commit();
        assertEquals(1, session.number("SELECT count(*) FROM task_snapshot"));
        assertEquals("changed", session.task(task.getTaskID()).getOwner());
    }

    @Test
    void aFailedFirstOperationHoldsNoLock() {
        session.newTask("first");
        session.commit();
        MDTask twin = new MDTask();
        twin.setTaskName("first");
        session.insert(twin, StoreCodes.EXISTS);
        try (Session other = new Session(url)) {
            other.newTask("second");
            other.commit();
        }
    }

    @Test
    void afterARollbackRecordsAreAsTheyWereRead() {
        MDTask task = session.newTask("before");
        session.commit();
        task.setDescription("first");
        session.update(task);
        task.setDescription("second");
        session.update(task);
        session.rollback();
        task.setDescription("third");
        session.update(task);
        session.commit();
        assertEquals("third", session.task(task.getTaskID()).getDescription());
        session.delete(task);
        session.rollback();
        session.update(task);
        session.commit();
    }

    @Test
    void aRecordWhoseInsertionWasRolledBackCanBeInserted() {
        MDTask task = session.newTask("again");
        session.rollback();
        session.update(task, StoreCodes.NOT_FOUND);
        session.insert(task);
        session.commit();
        assertTrue(session.has(task));
    }

    // Versions

    @Test
    void ofTwoSessionsThatChangeOneRecordTheSecondIsTold() {
        MDTask mine = session.newTask("shared");
        session.commit();
        try (Session other = new Session(url)) {
            MDTask theirs = other.task(mine.getTaskID());
            mine.setDescription("mine");
            session.update(mine);
            session.commit();
            theirs.setDescription("theirs");
            other.update(theirs, StoreCodes.CHANGED);
            other.delete(theirs, StoreCodes.CHANGED);
            assertEquals("mine", other.task(mine.getTaskID()).getDescription());
        }
    }

    @Test
    void aRecordThatSomebodyDeletedIsNotFound() {
        MDTask mine = session.newTask("shared");
        session.commit();
        try (Session other = new Session(url)) {
            MDTask theirs = other.task(mine.getTaskID());
            session.delete(mine);
            session.commit();
            other.update(theirs, StoreCodes.NOT_FOUND);
            other.delete(theirs, StoreCodes.NOT_FOUND);
        }
    }

    @Test
    void anObjectThatWasNeverReadChangesNothing() {
        MDTask task = session.newTask("read");
        MDTask blind = task(task.getTaskID());
        blind.setTaskName("blind");
        session.update(blind, StoreCodes.CHANGED);
        session.insert(blind, StoreCodes.EXISTS);
        assertEquals("read", session.task(task.getTaskID()).getTaskName());
    }

    @Test
    void aCloneIsASecondObjectForTheSameRow() {
        MDTask task = session.newTask("first");
        MDTask copy = (MDTask) task.clone();
        copy.setDescription("copy");
        session.update(copy);
        session.update(task, StoreCodes.CHANGED);
    }

    @Test
    void twoSessionsDoWhatAMapDoes() {
        Random random = Seed.random("twoSessionsDoWhatAMapDoes");
        Map<Long, String> committed = new HashMap<>();
        for (int unit = 0; unit < 40; unit++) {
            session.close();
            session = new Session(url);
            Map<Long, String> model = new HashMap<>(committed);
            for (int i = random.nextInt(12); i > 0; i--) {
                List<Long> keys = new ArrayList<>(model.keySet());
                int choice = keys.isEmpty() ? 0 : random.nextInt(3);
                if (choice == 0) {
                    MDTask task = session.newTask("task " + random.nextLong());
                    model.put(task.getTaskID(), task.getTaskName());
                } else {
                    MDTask task = session.task(keys.get(random.nextInt(keys.size())));
                    assertEquals(model.get(task.getTaskID()), task.getTaskName());
                    if (choice == 1) {
                        task.setTaskName("name " + random.nextLong());
                        session.update(task);
                        model.put(task.getTaskID(), task.getTaskName());
                    } else {
                        session.delete(task);
                        model.remove(task.getTaskID());
                    }
                }
            }
            if (random.nextBoolean()) {
                session.commit();
                committed = model;
            } else {
                session.rollback();
            }
            try (Session other = new Session(url)) {
                Map<Long, String> stored = new HashMap<>();
                for (Object each : new MDTaskType().retrieveList(other.context, other.outcome)) {
                    stored.put(((MDTask) each).getTaskID(), ((MDTask) each).getTaskName());
                }
                assertEquals(committed, stored);
            }
        }
    }

    // Claims

    @Test
    void theSecondRunOfAnInstantIsRefusedAndUnchanged() {
        MDTask task = session.newTask("claimed");
        MDScheduleEvent rule = session.newRule(task);
        MDTaskExec first = session.newRun(task, rule, INSTANT);
        MDTaskExec second = session.newRun(task, rule, INSTANT);
        first.setStatus(2);
        first.setTaskHistoryID(session.key());
        session.update(first);
        second.setStatus(2);
        second.setTaskHistoryID(session.key());
        session.update(second, StoreCodes.CLAIMED);
        assertEquals(1, session.run(second.getTaskExecID()).getStatus());
        assertEquals(-1, session.run(second.getTaskExecID()).getTaskHistoryID());
        assertEquals(1, session.number("SELECT count(*) FROM run_claim"));
        session.commit();
        assertEquals(2, session.run(first.getTaskExecID()).getStatus());
    }

    @Test
    void aRunThatIsUpdatedAgainKeepsItsClaim() {
        MDTaskExec run = claimed();
        run.setStepRC("4");
        session.update(run);
        assertEquals(1, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void aRetryThatIsTakenOnAgainKeepsItsClaim() {
        MDTaskExec run = claimed();
        run.setStatus(1);
        session.update(run);
        run.setStatus(2);
        session.update(run);
        assertEquals(1, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void aRunThatIsQueuedAgainUnderAnotherHistoryIsRefused() {
        MDTaskExec run = claimed();
        run.setStatus(1);
        session.update(run);
        run.setStatus(2);
        run.setTaskHistoryID(session.key());
        session.update(run, StoreCodes.CLAIMED);
    }

    @Test
    void aRunThatGetsItsHistoryLaterKeepsItsClaim() {
        MDTask task = session.newTask("in two steps");
        MDScheduleEvent rule = session.newRule(task);
        MDTaskExec run = session.newRun(task, rule, INSTANT);
        MDTaskExec twin = session.newRun(task, rule, INSTANT);
        run.setStatus(2);
        session.update(run);
        run.setTaskHistoryID(session.key());
        session.update(run);
        assertEquals(run.getTaskHistoryID(), session.number("SELECT task_history_id FROM run_claim"));
        twin.setStatus(2);
        twin.setTaskHistoryID(session.key());
        session.update(twin, StoreCodes.CLAIMED);
        assertEquals(1, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void aRunThatMovesToTheNextInstantClaimsThat() {
        MDTaskExec run = claimed();
        run.setOriginalScheduleTime(new Timestamp(INSTANT + 60_000));
        session.update(run);
        assertEquals(2, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void runsWithoutARuleOrAnInstantClaimNothing() {
        MDTask task = session.newTask("by hand");
        MDScheduleEvent rule = session.newRule(task);
        MDTaskExec byHand = session.newRun(task, rule, INSTANT);
        byHand.setScheduleEventID(-1);
        byHand.setStatus(2);
        session.update(byHand);
        MDTaskExec timeless = session.newRun(task, rule, INSTANT);
        timeless.setOriginalScheduleTime(null);
        timeless.setStatus(3);
        session.update(timeless);
        assertEquals(0, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void aRunThatIsInsertedAsTakenOnHasClaimed() {
        MDTaskExec first = claimed();
        MDTaskExec copy = (MDTaskExec) first.clone();
        copy.setTaskExecID(session.key());
        copy.version(0);
        session.insert(copy, StoreCodes.CLAIMED);
    }

    @Test
    void aClaimThatIsRolledBackIsFree() {
        MDTask task = session.newTask("free");
        MDScheduleEvent rule = session.newRule(task);
        MDTaskExec run = session.newRun(task, rule, INSTANT);
        session.commit();
        run.setStatus(2);
        session.update(run);
        session.rollback();
        session.update(run);
        session.commit();
    }

    private MDTaskExec claimed() {
        MDTask task = session.newTask("claimed");
        MDTaskExec run = session.newRun(task, session.newRule(task), INSTANT);
        run.setStatus(2);
        run.setTaskHistoryID(session.key());
        session.update(run);
        return run;
    }

    /** Three runs for each of forty instants, so that both the version and the claim decide. */
    private MDTask manyRuns() {
        MDTask task = session.newTask("raced");
        MDScheduleEvent rule = session.newRule(task);
        for (int i = 0; i < 40; i++) {
            for (int twin = 0; twin < 3; twin++) {
                session.newRun(task, rule, INSTANT + i * 60_000L);
            }
        }
        session.commit();
        return task;
    }

    @Test
    void ofManyThreadsWithSessionsOneTakesEachInstant() throws Exception {
        manyRuns();
        Collection<Long> taken = Collections.synchronizedList(new ArrayList<>());
        AtomicInteger surprises = new AtomicInteger();
        CountDownLatch ready = new CountDownLatch(4);
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < 4; i++) {
            Thread thread = new Thread(() -> {
                try (Session mine = new Session(url)) {
                    Collection<?> runs = new MDTaskExecType().retrieveList(mine.context, mine.outcome);
                    ready.countDown();
                    ready.await();
                    for (Object run : runs) {
                        int code = Claimer.take(mine.context, (MDTaskExec) run);
                        if (code == StoreCodes.OK) {
                            taken.add(((MDTaskExec) run).getOriginalScheduleTime().getTime());
                        } else if (code != StoreCodes.CLAIMED && code != StoreCodes.CHANGED) {
                            surprises.incrementAndGet();
                        }
                    }
                } catch (Throwable failure) {
                    failure.printStackTrace();
                    surprises.incrementAndGet();
                    ready.countDown();
                }
            });
            threads.add(thread);
            thread.start();
        }
        for (Thread thread : threads) {
            thread.join();
        }
        assertEquals(0, surprises.get());
        assertEquals(40, taken.size());
        assertEquals(40, new HashSet<>(taken).size());
        assertEquals(40, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void ofTwoProcessesOneTakesEachInstant() throws Exception {
        manyRuns();
        List<String> lines = new ArrayList<>();
        try (Child first = new Child(Claimer.class, url); Child second = new Child(Claimer.class, url)) {
            assertEquals("ready", first.line());
            assertEquals("ready", second.line());
            first.release();
            second.release();
            lines.addAll(first.finish());
            lines.addAll(second.finish());
        }
        assertEquals(40, lines.size(), lines::toString);
        assertEquals(40, new HashSet<>(lines).size());
    }

    // Tasks and rules

    @Test
    void aTaskNeedsANameThatNoOtherOfItsSuffixHas() {
        session.insert(new MDTask(), StoreCodes.INVALID);
        MDTask first = session.newTask("name");
        MDTask second = session.newTask("other");
        second.setTaskName("name");
        session.update(second, StoreCodes.EXISTS);
        second.setTaskName("");
        session.update(second, StoreCodes.INVALID);
        MDTask sibling = task(first.getTaskID());
        sibling.setSuffix(1);
        sibling.setTaskName("name");
        session.insert(sibling);
        assertEquals(2, new MDTaskType().retrieveList(session.context, first.getTaskID(), session.outcome).size());
    }

    @Test
    void anEmptyStoreListsNothingWithTheCodeOfHomes() {
        assertTrue(new MDTaskType().retrieveList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertTrue(new MDTaskExecType().retrieveList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertTrue(new MDScheduleEventType().retrieveList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertTrue(session.histories().isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertTrue(new MDTaskHistoryType().retrieveList(session.context, 1L, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        assertTrue(new MDTaskSnapshotType().retrieveList(session.context, 1L, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
    }

    @Test
    void aMissingKeyIsNotFound() {
        assertNull(new MDTaskType().retrieve(session.context, 7, 0, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(new MDTaskExecType().retrieve(session.context, 7, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(new MDScheduleEventType().retrieve(session.context, 7, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(new MDTaskHistoryType().retrieve(session.context, 7, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(new MDTaskHistoryType().retrieve(session.context, 7, 0, new Timestamp(0), session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(new MDTaskSnapshotType().retrieve(session.context, 7, 0, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        assertNull(new MDTaskSnapshotType().retrieveLatestSnapshot(session.context, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        new MDTaskType().delete(session.context, 7, 0, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        new MDTaskExecType().delete(session.context, 7, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        new MDScheduleEventType().delete(session.context, 7, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        new MDTaskSnapshotType().delete(session.context, 7, 0, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void aTaskListsItsRulesInTheOrderInWhichTheyWereAdded() {
        MDTask task = session.newTask("ruled");
        assertTrue(task.retrieveScheduleEventList(session.context, session.outcome).isEmpty());
        session.expect(StoreCodes.NO_RELATION);
        MDScheduleEvent first = session.newRule(task);
        MDScheduleEvent second = session.newRule(task);
        task.removeScheduleEvent(session.context, first, session.outcome);
        session.done();
        task.addScheduleEvent(session.context, first, session.outcome);
        session.done();
        List<Long> keys = new ArrayList<>();
        for (Object rule : task.retrieveScheduleEventList(session.context, session.outcome)) {
            keys.add(((MDScheduleEvent) rule).getScheduleEventID());
        }
        assertEquals(List.of(second.getScheduleEventID(), first.getScheduleEventID()), keys);
    }

    @Test
    void onlyAStoredRuleCanBeAddedAndOnlyOnce() {
        MDTask task = session.newTask("ruled");
        task.addScheduleEvent(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        task.addScheduleEvent(session.context, new MDScheduleEvent(), session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        MDScheduleEvent rule = session.newRule(task);
        task.addScheduleEvent(session.context, rule, session.outcome);
        session.expect(StoreCodes.EXISTS);
        task(99).addScheduleEvent(session.context, rule, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        task.removeScheduleEvent(session.context, rule, session.outcome);
        session.done();
        task.removeScheduleEvent(session.context, rule, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void removingARuleRemovesWhatItQueuedAndNothingElse() {
        MDTask task = session.newTask("ruled");
        MDScheduleEvent rule = session.newRule(task);
        MDScheduleEvent other = session.newRule(task);
        session.newRun(task, rule, INSTANT);
        MDTaskExec kept = session.newRun(task, other, INSTANT);
        MDTaskExec running = session.newRun(task, rule, INSTANT + 1);
        running.setStatus(2);
        session.update(running);
        task.removeScheduleEvent(session.context, rule, session.outcome);
        session.done();
        Set<Long> keys = new HashSet<>();
        for (Object run : new MDTaskExecType().retrieveList(session.context, session.outcome)) {
            keys.add(((MDTaskExec) run).getTaskExecID());
        }
        assertEquals(Set.of(kept.getTaskExecID(), running.getTaskExecID()), keys);
        assertEquals(rule.getScheduleEventID(), session.rule(rule.getScheduleEventID()).getScheduleEventID());
    }

    @Test
    void deletingARuleTakesItFromItsTasks() {
        MDTask task = session.newTask("ruled");
        MDScheduleEvent rule = session.newRule(task);
        session.newRun(task, rule, INSTANT);
        session.delete(rule);
        task.retrieveScheduleEventList(session.context, session.outcome);
        session.expect(StoreCodes.NO_RELATION);
        new MDTaskExecType().retrieveList(session.context, session.outcome);
        session.expect(StoreCodes.NOTHING_LISTED);
    }

    @Test
    void aTaskWithARunInProgressCannotBeDeleted() {
        MDTask task = session.newTask("busy");
        MDTaskExec run = session.newRun(task, session.newRule(task), INSTANT);
        run.setStatus(2);
        session.update(run);
        session.commit();
        session.delete(task, StoreCodes.IN_USE);
        assertTrue(session.has(task));
        assertEquals(1, task.retrieveScheduleEventList(session.context, session.outcome).size());
    }

    @Test
    void aDeletedTaskTakesItsRulesQueueAndRightsAlongAndLeavesItsHistory() {
        MDTask task = session.newTask("old");
        MDTask neighbour = session.newTask("neighbour");
        MDScheduleEvent own = session.newRule(task);
        MDScheduleEvent common = session.newRule(task);
        neighbour.addScheduleEvent(session.context, common, session.outcome);
        MDTaskExec queued = session.newRun(task, own, INSTANT);
        MDUser anne = session.newUser("ANNE");
        queued.setReadPermission(session.context, anne, true, session.outcome);
        task.setReadPermission(session.context, anne, true, session.outcome);
        session.done();
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        new MDTaskType().delete(session.context, task.getTaskID(), 0, session.outcome);
        session.done();
        assertFalse(session.has(task));
        assertEquals(0, session.number("SELECT count(*) FROM task_exec"));
        assertEquals(0, session.number("SELECT count(*) FROM permission WHERE object_id <> ?", neighbour.getTaskID()));
        assertEquals(1, session.number("SELECT count(*) FROM schedule_event"));
        assertEquals(1, neighbour.retrieveScheduleEventList(session.context, session.outcome).size());
        assertEquals(history.getTaskHistoryID(), session.history(history.getTaskHistoryID()).getTaskHistoryID());
    }

    @Test
    void aRuleWithAValueOutOfRangeIsRefused() {
        int[] largest = {1000, 24, 31, 52, 12, 12, 10};
        for (int type = 0; type <= 6; type++) {
            ruleIs(StoreCodes.OK, type, 1, type == 4 || type == 5 ? 1 : 0);
            ruleIs(StoreCodes.OK, type, largest[type], 1);
            ruleIs(StoreCodes.INVALID, type, 0, 1);
            ruleIs(StoreCodes.INVALID, type, largest[type] + 1, 1);
            ruleIs(StoreCodes.INVALID, type, 1, -1);
            ruleIs(StoreCodes.INVALID, type, 1, 43);
        }
        ruleIs(StoreCodes.INVALID, -1, 1, 1);
        ruleIs(StoreCodes.INVALID, 7, 1, 1);
        ruleIs(StoreCodes.OK, 3, 1, 7);
        ruleIs(StoreCodes.INVALID, 3, 1, 8);
        ruleIs(StoreCodes.INVALID, 4, 1, 0);
        ruleIs(StoreCodes.OK, 4, 1, 31);
        ruleIs(StoreCodes.INVALID, 4, 1, 32);
        ruleIs(StoreCodes.INVALID, 5, 1, 0);
        ruleIs(StoreCodes.OK, 5, 1, 42);
        MDScheduleEvent rule = session.newRule(session.newTask("ruled"));
        rule.setStartDate(null);
        session.update(rule, StoreCodes.INVALID);
        rule.setStartDate(Date.valueOf("2024-01-01"));
        rule.setStartTime(null);
        session.update(rule, StoreCodes.INVALID);
        session.insert(new MDScheduleEvent(), StoreCodes.INVALID);
    }

    private void ruleIs(int code, int type, int unit, int detail) {
        MDScheduleEvent rule = new MDScheduleEvent();
        rule.setStartDate(Date.valueOf("2024-01-01"));
        rule.setStartTime(Time.valueOf("00:00:00"));
        rule.setIntervalType(type);
        rule.setIntervalUnit(unit);
        rule.setDetail(detail);
        session.insert(rule, code);
    }

    @Test
    void aRuleStaysTheSameDayAndTimeOfDayInAnyZone() throws Exception {
        MDScheduleEvent rule = session.newRule(session.newTask("abroad"));
        rule.setEndDate(Date.valueOf("9999-12-31"));
        session.update(rule);
        session.commit();
        for (String zone : List.of("Asia/Kathmandu", "Pacific/Apia", "America/New_York", "Australia/Lord_Howe")) {
            try (Child child = new Child(List.of(), List.of("-Duser.timezone=" + zone), Connector.class, url)) {
                assertEquals(List.of("code 0", "2024-02-29 02:30:00 9999-12-31"), child.finish(), zone);
            }
        }
    }

    @Test
    void executionsAreListedByNextStartThenKey() {
        MDTask task = session.newTask("queue");
        MDScheduleEvent rule = session.newRule(task);
        long[] starts = {50, 10, 30, 10, 40};
        List<MDTaskExec> runs = new ArrayList<>();
        for (long start : starts) {
            runs.add(session.newRun(task, rule, INSTANT + start));
        }
        List<Long> listed = new ArrayList<>();
        for (Object run : new MDTaskExecType().retrieveList(session.context, session.outcome)) {
            listed.add(((MDTaskExec) run).getTaskExecID());
        }
        assertEquals(List.of(runs.get(1).getTaskExecID(), runs.get(3).getTaskExecID(), runs.get(2).getTaskExecID(),
            runs.get(4).getTaskExecID(), runs.get(0).getTaskExecID()), listed);
    }

    @Test
    void categoriesAreFormatted() {
        MDTask task = new MDTask();
        assertNull(task.getFormattedTaskCategoriesName(session.context));
        task.setTaskCategory(" backup,, nightly ,x");
        assertEquals("backup, nightly, x", task.getFormattedTaskCategoriesName(null));
        task.setTaskCategory(" , ");
        assertNull(task.getFormattedTaskCategoriesName(session.context));
    }

    // Histories and snapshots

    @Test
    void historiesAreListedFromTheLastStart() {
        MDTask task = session.newTask("listed");
        MDTask other = session.newTask("other");
        MDTaskHistory first = session.newHistory(task, INSTANT, 2);
        MDTaskHistory third = session.newHistory(task, INSTANT + 2, 2);
        MDTaskHistory second = session.newHistory(other, INSTANT + 1, 2);
        MDTaskHistory twin = session.newHistory(task, INSTANT + 2, 2);
        assertEquals(keys(twin, third, second, first), keysOf(session.histories()));
        assertEquals(keys(twin, third, first), keysOf(
            new MDTaskHistoryType().retrieveList(session.context, task.getTaskID(), session.outcome)));
        MDTaskHistory found = new MDTaskHistoryType().retrieve(session.context, task.getTaskID(), 0,
            new Timestamp(INSTANT + 2), session.outcome);
        assertEquals(twin.getTaskHistoryID(), found.getTaskHistoryID());
    }

    private static List<Long> keys(MDTaskHistory... histories) {
        return keysOf(List.of(histories));
    }

    private static List<Long> keysOf(Collection<?> histories) {
        List<Long> keys = new ArrayList<>();
        for (Object history : histories) {
            keys.add(((MDTaskHistory) history).getTaskHistoryID());
        }
        return keys;
    }

    @Test
    void aHistoryKeepsTheDefinitionThatRan() {
        MDTask task = session.newTask("changing");
        task.setScriptContentString("echo one");
        session.update(task);
        MDScheduleEvent rule = session.newRule(task);
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        task.setScriptContentString("echo two");
        session.update(task);
        MDTaskSnapshot snapshot = history.retrieveTaskSnapshot(session.context, session.outcome);
        session.done();
        assertEquals("echo one", text(snapshot));
        assertEquals("changing", snapshot.getTaskName());
        assertEquals(Long.toString(rule.getScheduleEventID()), snapshot.getScheduleIDs());
        assertEquals(1, snapshot.getLatestSnapshot());
    }

    private static String text(MDTaskSnapshot snapshot) {
        return ((MDClob) snapshot.getScriptContent()).getSubString(1, Integer.MAX_VALUE);
    }

    @Test
    void runsOfOneDefinitionShareASnapshot() {
        MDTask task = session.newTask("often");
        for (int i = 0; i < 5; i++) {
            session.newHistory(task, INSTANT + i, 2);
        }
        assertEquals(1, session.number("SELECT count(*) FROM task_snapshot"));
        task.setOwner("somebody else");
        session.update(task);
        MDTaskHistory changed = session.newHistory(task, INSTANT + 5, 2);
        assertEquals(2, session.number("SELECT count(*) FROM task_snapshot"));
        assertEquals(1, session.number("SELECT count(*) FROM task_snapshot WHERE latest_snapshot = 1"));
        MDTaskSnapshotType latest = new MDTaskSnapshotType().retrieve(session.context, task.getTaskID(), 0,
            session.outcome);
        assertEquals("somebody else", ((MDTaskSnapshot) latest).getOwner());
        task.setOwner(null);
        session.update(task);
        session.newHistory(task, INSTANT + 6, 2);
        assertEquals(2, session.number("SELECT count(*) FROM task_snapshot"));
        assertEquals("somebody else", changed.retrieveTaskSnapshot(session.context, session.outcome).getOwner());
        List<String> owners = new ArrayList<>();
        for (Object each : new MDTaskSnapshotType().retrieveList(session.context, task.getTaskID(), session.outcome)) {
            owners.add(((MDTaskSnapshot) each).getOwner());
        }
        assertEquals(Arrays.asList(null, "somebody else"), owners);
    }

    @Test
    void whereATaskStandsDoesNotMakeANewSnapshot() {
        MDTask task = session.newTask("running");
        session.newHistory(task, INSTANT, 2);
        task.setState(2);
        task.setLastStart(new Timestamp(INSTANT));
        task.setNumberOfExecutions(1);
        task.setLastReturnCode(3);
        session.update(task);
        session.newHistory(task, INSTANT + 1, 2);
        assertEquals(1, session.number("SELECT count(*) FROM task_snapshot"));
    }

    @Test
    void aHistoryOfATaskThatIsGoneHasNoSnapshot() {
        MDTaskHistory history = session.newHistory(task(99), INSTANT, 3);
        assertNull(history.retrieveTaskSnapshot(session.context, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void aHistoryWhoseInsertionWasRolledBackTakesItsSnapshotAnew() {
        MDTask task = session.newTask("again");
        session.commit();
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        session.rollback();
        session.insert(history);
        assertNotNull(history.retrieveTaskSnapshot(session.context, session.outcome));
        session.done();
    }

    @Test
    void snapshotsCanBePutIntoAHistoryAndTakenOut() {
        MDTask task = session.newTask("by hand");
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        MDTaskSnapshot mine = new MDTaskSnapshot(session.context, session.outcome);
        mine.setTaskID(task.getTaskID());
        mine.setTaskName("mine");
        history.addTaskSnapshot(session.context, mine, session.outcome);
        session.done();
        assertEquals("mine", history.retrieveTaskSnapshot(session.context, session.outcome).getTaskName());
        mine.setTaskName("renamed");
        mine.update(session.context, session.outcome);
        session.done();
        assertEquals("renamed", history.retrieveTaskSnapshot(session.context, session.outcome).getTaskName());
        history.removeTaskSnapshot(session.context, new MDTaskSnapshot(), null, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        history.removeTaskSnapshot(session.context, mine, null, session.outcome);
        session.done();
        assertNull(history.retrieveTaskSnapshot(session.context, session.outcome));
        session.expect(StoreCodes.NOT_FOUND);
        mine.delete(session.context, session.outcome);
        session.done();
        assertEquals("by hand",
            new MDTaskSnapshotType().retrieveLatestSnapshot(session.context, session.outcome).getTaskName());
        new MDTaskSnapshotType().delete(session.context, task.getTaskID(), 0, session.outcome);
        session.done();
    }

    @Test
    void aHistoryListsItsResultsAndTakesThemAlong() {
        MDTask task = session.newTask("results");
        MDTaskHistory history = session.newHistory(task, INSTANT, 2);
        history.retrieveTaskResultList(session.context, session.outcome);
        session.expect(StoreCodes.NOTHING_LISTED);
        MDTaskResult unsaved = new MDTaskResult(session.context, session.outcome);
        unsaved.setPartitionID(1);
        history.addTaskResult(session.context, unsaved, session.outcome);
        session.done();
        MDTaskResult saved = new MDTaskResult(session.context, session.outcome);
        saved.setPartitionID(2);
        session.insert(saved);
        history.addTaskResult(session.context, saved, session.outcome);
        session.done();
        List<Integer> partitions = new ArrayList<>();
        for (Object each : history.retrieveTaskResultList(session.context, session.outcome)) {
            partitions.add(((MDTaskResult) each).getPartitionID());
        }
        assertEquals(List.of(1, 2), partitions);
        history.addTaskResult(session.context, null, session.outcome);
        session.expect(StoreCodes.INVALID);
        new MDTaskHistory().addTaskResult(session.context, saved, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        session.delete(history);
        assertEquals(0, session.number("SELECT count(*) FROM task_result"));
    }

    @Test
    void aResultThatCouldNotBeAddedStaysWhereItWas() {
        MDTask task = session.newTask("results");
        MDTaskHistory first = session.newHistory(task, INSTANT, 2);
        MDTaskHistory second = session.newHistory(task, INSTANT, 2);
        MDTaskResult result = new MDTaskResult();
        first.addTaskResult(session.context, result, session.outcome);
        session.done();
        MDTaskResult same = (MDTaskResult) result.clone();
        same.setReturnCode(4);
        session.update(same);
        second.addTaskResult(session.context, result, session.outcome);
        session.expect(StoreCodes.CHANGED);
        result.version(same.version());
        session.update(result);
        assertEquals(1, first.retrieveTaskResultList(session.context, session.outcome).size());
    }

    @Test
    void theJournalGrowsInMemoryUntilUpdate() {
        MDTask task = session.newTask("journal");
        MDTaskHistory history = session.newHistory(task, INSTANT, 1);
        history.appendJournalResult("one;");
        history.appendJournalResult(null);
        history.appendJournalResult("two;");
        assertNull(session.history(history.getTaskHistoryID()).getJournalResult());
        session.update(history);
        assertEquals("one;two;", session.history(history.getTaskHistoryID()).getJournalResult());
    }

    @Test
    void pruningTakesWhatIsFinishedAndOlderAndNothingElse() {
        MDTask task = session.newTask("pruned");
        MDTask other = session.newTask("other");
        MDUser anne = session.newUser("ANNE");
        long rights = session.number("SELECT count(*) FROM permission");
        MDScheduleEvent rule = session.newRule(task);
        List<MDTaskHistory> kept = new ArrayList<>();
        for (int status = 0; status <= 7; status++) {
            task.setDescription("definition");
            task.setOwner("owner " + status);
            session.update(task);
            MDTaskHistory old = session.newHistory(task, INSTANT - 1, status);
            old.addTaskResult(session.context, new MDTaskResult(), session.outcome);
            old.setReadPermission(session.context, anne, true, session.outcome);
            session.done();
            MDTaskExec run = session.newRun(task, rule, INSTANT - 1 - status);
            run.setStatus(2);
            run.setTaskHistoryID(old.getTaskHistoryID());
            session.update(run);
            if (status == 1 || status == 6) {
                kept.add(old);
            }
        }
        MDTaskHistory atTheInstant = session.newHistory(task, INSTANT, 2);
        MDTaskHistory ofOther = session.newHistory(other, INSTANT - 1, 2);
        kept.add(atTheInstant);
        kept.add(ofOther);
        new MDTaskHistoryType().delete(session.context, task.getTaskID(), 0, new Timestamp(INSTANT), session.outcome);
        session.done();
        Set<Long> expected = new HashSet<>(keysOf(kept));
        assertEquals(expected, new HashSet<>(keysOf(session.histories())));
        assertEquals(2, session.number("SELECT count(*) FROM task_result"));
        assertEquals(2, session.number("SELECT count(*) FROM run_claim"));
        assertEquals(rights + 2, session.number("SELECT count(*) FROM permission"));
        for (MDTaskHistory each : kept) {
            assertNotNull(each.retrieveTaskSnapshot(session.context, session.outcome));
        }
        assertEquals(4, session.number("SELECT count(*) FROM task_snapshot"));
        new MDTaskHistoryType().delete(session.context, task.getTaskID(), 0, null, session.outcome);
        session.expect(StoreCodes.INVALID);
    }

    @Test
    void theStepsOfAGroupsRunAreListedAndStayAsLongAsItGoes() {
        MDTask group = session.newTask("group");
        MDTask step = session.newTask("step");
        MDTaskHistory run = session.newHistory(group, INSTANT - 3, 1);
        assertNull(Administration.listSteps(session.context, run.getTaskHistoryID(), session.outcome).stream().findAny()
            .orElse(null));
        session.expect(StoreCodes.NOTHING_LISTED);
        MDTaskHistory first = session.newHistory(step, INSTANT - 2, 2);
        MDTaskHistory second = session.newHistory(step, INSTANT - 1, 3);
        for (MDTaskHistory one : List.of(first, second)) {
            one.setRootTaskHistoryID(run.getTaskHistoryID());
            session.update(one);
        }
        session.newHistory(step, INSTANT - 1, 2);
        List<Long> keys = Administration.listSteps(session.context, run.getTaskHistoryID(), session.outcome).stream()
            .map(each -> ((MDTaskHistory) each).getTaskHistoryID()).toList();
        session.done();
        assertEquals(keysOf(List.of(first, second)), keys);
        new MDTaskHistoryType().delete(session.context, -1, 0, new Timestamp(INSTANT), session.outcome);
        session.done();
        assertEquals(3, session.histories().size());
        run.setRunningStatus(2);
        session.update(run);
        new MDTaskHistoryType().delete(session.context, -1, 0, new Timestamp(INSTANT), session.outcome);
        session.done();
        assertEquals(0, session.histories().size());
    }

    @Test
    void pruningTakesOldClaimsWithoutAHistoryUnlessTheirRunIsThere() {
        MDTask task = session.newTask("claims");
        MDScheduleEvent rule = session.newRule(task);
        MDTaskExec gone = session.newRun(task, rule, INSTANT - 2);
        gone.setStatus(2);
        session.update(gone);
        session.delete(gone);
        MDTaskExec there = session.newRun(task, rule, INSTANT - 1);
        there.setStatus(2);
        session.update(there);
        new MDTaskHistoryType().delete(session.context, task.getTaskID(), 0, new Timestamp(INSTANT), session.outcome);
        session.done();
        assertEquals(INSTANT - 1, session.number("SELECT instant_ms FROM run_claim"));
        assertEquals(1, session.number("SELECT count(*) FROM run_claim"));
    }

    @Test
    void pruningADeletedTaskLeavesNothingOfIt() {
        MDTask task = session.newTask("gone");
        session.newHistory(task, INSTANT, 2);
        session.delete(task);
        new MDTaskHistoryType().delete(session.context, task.getTaskID(), 0, new Timestamp(INSTANT + 1),
            session.outcome);
        session.done();
        assertEquals(0, session.number("SELECT count(*) FROM task_history"));
        assertEquals(0, session.number("SELECT count(*) FROM task_snapshot"));
    }

    @Test
    void pruningAllLeavesNothingOfATaskWhoseHistoriesWentBefore() {
        MDTask task = session.newTask("gone");
        MDTaskExec run = session.newRun(task, session.newRule(task), INSTANT);
        run.setStatus(2);
        session.update(run);
        session.delete(run);
        session.newHistory(task, INSTANT, 2);
        MDTask stays = session.newTask("stays");
        session.delete(session.newHistory(stays, INSTANT, 2));
        session.delete(session.history(session.number("SELECT task_history_id FROM task_history")));
        session.delete(task);
        assertEquals(2, session.number("SELECT count(*) FROM task_snapshot"));
        new MDTaskHistoryType().delete(session.context, -1, 0, new Timestamp(INSTANT), session.outcome);
        session.done();
        assertEquals(1, session.number("SELECT count(*) FROM run_claim"), "it is not old enough");
        new MDTaskHistoryType().delete(session.context, -1, 0, new Timestamp(INSTANT + 1), session.outcome);
        session.done();
        assertEquals(0, session.number("SELECT count(*) FROM run_claim"));
        assertEquals(stays.getTaskID(), session.number("SELECT task_id FROM task_snapshot"));
        assertEquals(1, session.number("SELECT count(*) FROM task_snapshot"));
    }

    // Users, groups and rights

    @Test
    void whoMakesAStoreMayDoEverything() {
        MDUser root = new MDUser("ROOT");
        assertTrue(root.isSuperuser(session.context, session.outcome));
        assertTrue(root.isAdmin(session.context, session.outcome));
        session.done();
        assertFalse(new MDUser("STRANGER").isSuperuser(session.context, session.outcome));
        session.done();
        assertFalse(new MDUser("STRANGER").isAdmin(session.context, session.outcome));
        session.done();
        assertFalse(new MDUser(null).isAdmin(session.context, session.outcome));
        session.expect(StoreCodes.INVALID);
    }

    @Test
    void aUserHasARightByHimselfByAGroupOrAsSuperuser() {
        Administration.createUser(session.context, "anne", false, false, session.outcome);
        Administration.createUser(session.context, "bert", false, false, session.outcome);
        Administration.createGroup(session.context, "night", session.outcome);
        Administration.addMember(session.context, "night", "bert", session.outcome);
        session.done();
        MDTask task = session.newTask("guarded");
        MDUser anne = new MDUser("ANNE");
        MDUser bert = new MDUser("BERT");
        MDGroup night = new MDGroup("NIGHT");
        assertFalse(task.getExecutePermission(session.context, anne, session.outcome));
        task.setExecutePermission(session.context, anne, true, session.outcome);
        session.done();
        assertTrue(task.getExecutePermission(session.context, anne, session.outcome));
        assertFalse(task.getReadPermission(session.context, anne, session.outcome));
        assertFalse(task.getUpdatePermission(session.context, anne, session.outcome));
        assertFalse(task.getExecutePermission(session.context, bert, session.outcome));
        task.setExecutePermission(session.context, night, true, session.outcome);
        assertTrue(task.getExecutePermission(session.context, bert, session.outcome));
        assertTrue(task.getExecutePermission(session.context, night, session.outcome));
        assertTrue(task.getExecutePermission(session.context, new MDUser("ROOT"), session.outcome));
        task.setExecutePermission(session.context, anne, false, session.outcome);
        assertFalse(task.getExecutePermission(session.context, anne, session.outcome));
        Administration.removeMember(session.context, "night", "bert", session.outcome);
        assertFalse(task.getExecutePermission(session.context, bert, session.outcome));
        session.done();
        assertFalse(task.getExecutePermission(session.context, (MDUser) null, session.outcome));
        session.expect(StoreCodes.INVALID);
    }

    @Test
    void eachRightIsItsOwnOnEachKindOfRecord() {
        MDTask task = session.newTask("guarded");
        MDTaskHistory history = session.newHistory(session.newTask("another"), INSTANT, 2);
        MDTaskResult result = new MDTaskResult();
        session.insert(result);
        MDTaskExec run = new MDTaskExec();
        session.insert(run);
        MDUser anne = session.newUser("ANNE");
        MDGroup night = session.newGroup("NIGHT");
        long before = session.number("SELECT count(*) FROM permission");
        for (GuardedRecord record : List.of(task, run, history, result)) {
            record.setReadPermission(session.context, anne, true, session.outcome);
            session.done();
            record.setReadPermission(session.context, anne, true, session.outcome);
            session.done();
            assertTrue(record.getReadPermission(session.context, anne, session.outcome));
            assertFalse(record.getReadPermission(session.context, night, session.outcome));
            record.setUpdatePermission(session.context, night, true, session.outcome);
            assertTrue(record.getUpdatePermission(session.context, night, session.outcome));
            assertFalse(record.getUpdatePermission(session.context, anne, session.outcome));
            record.setUpdatePermission(session.context, anne, true, session.outcome);
            record.setReadPermission(session.context, night, true, session.outcome);
            assertTrue(record.getUpdatePermission(session.context, anne, session.outcome));
            assertTrue(record.getReadPermission(session.context, night, session.outcome));
            assertFalse(record.getExecutePermission(session.context, night, session.outcome));
            record.setExecutePermission(session.context, night, true, session.outcome);
            assertTrue(record.getExecutePermission(session.context, night, session.outcome));
            session.done();
        }
        assertEquals(before + 20, session.number("SELECT count(*) FROM permission"));
        session.delete(history);
        session.delete(result);
        session.delete(run);
        assertEquals(before + 5, session.number("SELECT count(*) FROM permission"));
        new MDTask().setReadPermission(session.context, anne, true, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void holdersOfARightAreListedByName() {
        MDTask task = session.newTask("guarded");
        assertEquals("[ROOT]", task.getUsersWithPermission(session.context, 2, session.outcome).toString());
        task.setExecutePermission(session.context, new MDUser("ROOT"), false, session.outcome);
        session.done();
        assertTrue(task.getUsersWithPermission(session.context, 2, session.outcome).isEmpty());
        session.expect(StoreCodes.NOTHING_LISTED);
        task.setExecutePermission(session.context, session.newUser("BERT"), true, session.outcome);
        task.setExecutePermission(session.context, session.newUser("ANNE"), true, session.outcome);
        task.setReadPermission(session.context, session.newUser("CARL"), true, session.outcome);
        task.setExecutePermission(session.context, session.newGroup("NIGHT"), true, session.outcome);
        task.setExecutePermission(session.context, new MDUser("NOBODY"), true, session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        assertEquals("[ANNE, BERT]", task.getUsersWithPermission(session.context, 2, session.outcome).toString());
        session.done();
        assertEquals("[NIGHT]", task.getGroupsWithPermission(session.context, 2, session.outcome).toString());
        task.getGroupsWithPermission(session.context, 0, session.outcome);
        session.expect(StoreCodes.NOTHING_LISTED);
        assertNull(task.getUsersWithPermission(session.context, 3, session.outcome));
        session.expect(StoreCodes.INVALID);
    }

    @Test
    void onlyAdministratorsChangeUsersAndOnlySuperusersSuperusers() {
        Administration.createUser(session.context, "admin", false, true, session.outcome);
        Administration.createUser(session.context, "plain", false, false, session.outcome);
        session.done();
        session.commit();
        try (Session admin = new Session(url, "Admin"); Session plain = new Session(url, "plain")) {
            Administration.createGroup(admin.context, "g", admin.outcome);
            admin.done();
            Administration.createUser(admin.context, "boss", true, false, admin.outcome);
            admin.expect(StoreCodes.NOT_AUTHORISED);
            Administration.changeUser(admin.context, "root", false, false, admin.outcome);
            admin.expect(StoreCodes.NOT_AUTHORISED);
            Administration.deleteUser(admin.context, "root", admin.outcome);
            admin.expect(StoreCodes.NOT_AUTHORISED);
            admin.commit();
            Administration.createGroup(plain.context, "h", plain.outcome);
            plain.expect(StoreCodes.NOT_AUTHORISED);
            Administration.listUsers(plain.context, plain.outcome);
            plain.done();
        }
        Administration.deleteUser(session.context, "root", session.outcome);
        session.expect(StoreCodes.IN_USE);
        Administration.changeUser(session.context, "root", false, true, session.outcome);
        session.expect(StoreCodes.IN_USE);
        Administration.changeUser(session.context, "admin", true, true, session.outcome);
        session.done();
        Administration.deleteUser(session.context, "root", session.outcome);
        session.done();
        assertEquals("[ADMIN, PLAIN]", Administration.listUsers(session.context, session.outcome).toString());
    }

    @Test
    void usersGroupsAndMembersAreCheckedBeforeTheyAreWritten() {
        Administration.createUser(session.context, "ROOT", false, false, session.outcome);
        session.expect(StoreCodes.EXISTS);
        Administration.createUser(session.context, "", false, false, session.outcome);
        session.expect(StoreCodes.INVALID);
        Administration.addMember(session.context, "g", "root", session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        Administration.createGroup(session.context, "g", session.outcome);
        session.done();
        Administration.addMember(session.context, "g", "nobody", session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        Administration.addMember(session.context, "g", "root", session.outcome);
        session.done();
        Administration.addMember(session.context, "G", "Root", session.outcome);
        session.expect(StoreCodes.EXISTS);
        assertEquals("[ROOT]", Administration.listMembers(session.context, "g", session.outcome).toString());
        MDTask task = session.newTask("guarded");
        task.setReadPermission(session.context, new MDGroup("G"), true, session.outcome);
        Administration.deleteGroup(session.context, "g", session.outcome);
        session.done();
        assertEquals(0, session.number("SELECT count(*) FROM permission WHERE principal_kind = 1"));
        Administration.listMembers(session.context, "g", session.outcome);
        session.expect(StoreCodes.NOTHING_LISTED);
        Administration.listGroups(session.context, session.outcome);
        session.expect(StoreCodes.NOTHING_LISTED);
        Administration.removeMember(session.context, "g", "root", session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
        Administration.deleteGroup(session.context, "g", session.outcome);
        session.expect(StoreCodes.NOT_FOUND);
    }

    @Test
    void oneSchedulerIsMarkedAtATime() {
        PARLException outcome = new PARLException(0, null);
        MDUtility.markedByScheduler(url, null, "root", null, "first", outcome);
        assertEquals(StoreCodes.OK, outcome.getRC());
        MDUtility.markedByScheduler(url, null, "root", null, "second", outcome);
        assertEquals(StoreCodes.IN_USE, outcome.getRC());
        MDUtility.markedByScheduler(url, null, "root", null, "first", outcome);
        assertEquals(StoreCodes.OK, outcome.getRC());
        assertEquals("first", Administration.markedScheduler(session.context, session.outcome));
        MDUtility.unmarkedByScheduler(url, null, "root", null, "second", outcome);
        assertEquals(StoreCodes.NOT_FOUND, outcome.getRC());
        MDUtility.unmarkedByScheduler(url, null, "root", null, "first", outcome);
        assertEquals(StoreCodes.OK, outcome.getRC());
        assertNull(Administration.markedScheduler(session.context, session.outcome));
        MDUtility.markedByScheduler(url, null, "root", null, null, outcome);
        assertEquals(StoreCodes.INVALID, outcome.getRC());
    }

    // Values

    @Test
    void textsOfAllPlanesSurvive() {
        StringBuilder all = new StringBuilder("\0start");
        for (int plane = 0; plane <= 16; plane++) {
            for (int offset : new int[] {0x41, 0xE9, 0x2603, 0xF600, 0xFFFD}) {
                all.appendCodePoint(plane << 16 | offset);
            }
        }
        all.append("\0\n\r\tend\0");
        MDTask task = session.newTask(all.toString());
        task.setScriptContent(new MDClob(all.toString()));
        task.setDescription("");
        session.update(task);
        session.commit();
        try (Session other = new Session(url)) {
            MDTask read = other.task(task.getTaskID());
            assertEquals(all.toString(), read.getTaskName());
            assertEquals(all.toString(), read.getScriptContentString());
            assertEquals("", read.getDescription());
            assertNull(read.getOwner());
        }
    }

    @Test
    void extremeNumbersTimesAndObjectsSurvive() {
        byte[] every = new byte[70_000];
        for (int i = 0; i < every.length; i++) {
            every[i] = (byte) i;
        }
        MDTask task = session.newTask("extreme");
        for (long instant : new long[] {0, -1, Long.MAX_VALUE / 2, -62_135_769_600_000L, INSTANT + 7}) {
            task.setNextStart(new Timestamp(instant));
            task.setLastReturnCode(instant < 0 ? Integer.MIN_VALUE : Integer.MAX_VALUE);
            task.setDialogTaskProfile(new MDBlob(every));
            session.update(task);
            MDTask read = session.task(task.getTaskID());
            assertEquals(instant, read.getNextStart().getTime());
            assertEquals(task.getLastReturnCode(), read.getLastReturnCode());
            assertArrayEquals(every, ((MDBlob) read.getDialogTaskProfile()).getBytes(1, every.length));
        }
        task.setDialogTaskProfile(new MDBlob(new byte[0]));
        task.setNextStart(null);
        session.update(task);
        assertNull(session.task(task.getTaskID()).getNextStart());
        assertEquals(0, ((MDBlob) session.task(task.getTaskID()).getDialogTaskProfile()).length());
        MDTask big = task(Long.MAX_VALUE);
        big.setSuffix(Integer.MIN_VALUE);
        big.setTaskName("big");
        session.insert(big);
        assertTrue(session.has(big));
    }

    @Test
    void onePasswordHasThreeForms() throws Exception {
        MDTask task = session.newTask("secret");
        assertNull(task.getPassword());
        assertNull(task.getPasswordString());
        assertNull(task.getPassword(session.context, session.outcome));
        session.done();
        byte[] bytes = "säsam 😀".getBytes(StandardCharsets.UTF_8);
        task.setPasswordString("säsam 😀");
        passwordIs(task, bytes);
        task.setPasswordByteArr(bytes);
        passwordIs(task, bytes);
        task.setPassword(new MDBlob(bytes));
        passwordIs(task, bytes);
        session.update(task);
        session.commit();
        try (Session other = new Session(url)) {
            MDTask read = other.task(task.getTaskID());
            passwordIs(read, bytes);
            MDTaskExec run = new MDTaskExec();
            run.setPasswordByteArr(read.getPassword(other.context, other.outcome));
            other.insert(run);
            assertEquals("säsam 😀", other.run(run.getTaskExecID()).getPasswordString());
            read.setPasswordString(null);
            other.update(read);
            assertNull(other.task(read.getTaskID()).getPasswordString());
        }
    }

    private void passwordIs(MDTask task, byte[] bytes) throws SQLException {
        assertEquals(new String(bytes, StandardCharsets.UTF_8), task.getPasswordString());
        assertArrayEquals(bytes, task.getPassword().getBytes(1, bytes.length));
        assertArrayEquals(bytes, task.getPassword(session.context, session.outcome));
        session.done();
        assertFalse(task.toString().contains("sam"));
    }

    // Outcomes

    @Test
    void withoutASessionEachOperationAnswersACode() {
        PARLException outcome = new PARLException(0, null);
        assertNull(new MDTaskType(null, outcome).retrieve(null, 1, 0, outcome));
        assertEquals(StoreCodes.NOT_CONNECTED, outcome.getRC());
        MDUtility.commit(null, outcome);
        assertEquals(StoreCodes.NOT_CONNECTED, outcome.getRC());
        MDUtility.disconnectMD(null, outcome);
        assertEquals(StoreCodes.NOT_CONNECTED, outcome.getRC());
        Session closed = new Session(url);
        closed.close();
        new MDTask(closed.context, outcome);
        assertEquals(StoreCodes.NOT_CONNECTED, outcome.getRC());
        MDTask task = task(5);
        task.setTaskName("nowhere");
        task.insert(closed.context, outcome);
        assertEquals(StoreCodes.NOT_CONNECTED, outcome.getRC());
        assertEquals(0, task.getReferenceID(closed.context, outcome));
        assertNull(new MDTaskType().retrieveList(closed.context, outcome));
        MDUtility.disconnectMD(closed.context, outcome);
        assertEquals(StoreCodes.NOT_CONNECTED, outcome.getRC());
        task.insert(null, null);
    }

    @Test
    void anOutcomeThatIsUsedAgainForgetsTheFailure() {
        MDTask twin = new MDTask();
        twin.setTaskName("twin");
        session.newTask("twin");
        session.insert(twin, StoreCodes.EXISTS);
        assertNotEquals(0, MDUtility.getNestedSQLCode(session.outcome));
        session.key();
        assertEquals(0, MDUtility.getNestedSQLCode(session.outcome));
        assertNull(session.outcome.getMessage());
        assertNull(session.outcome.getCause());
    }

    @Test
    void theNestedStateIsTheNumberOrNothing() {
        PARLException outcome = new PARLException(0, null);
        assertEquals(0, MDUtility.getNestedIntSQLState(null));
        assertEquals(0, MDUtility.getNestedSQLCode(outcome));
        outcome.fill(1, null, new RuntimeException(new SQLException("reason", "08001", -7)));
        assertEquals(-7, MDUtility.getNestedSQLCode(outcome));
        assertEquals(8001, MDUtility.getNestedIntSQLState(outcome));
        outcome.fill(1, null, new SQLException("reason", "HY000", 3));
        assertEquals(3, MDUtility.getNestedSQLCode(outcome));
        assertEquals(0, MDUtility.getNestedIntSQLState(outcome));
    }

    @Test
    void errorsOfTheVirtualMachineBecomeACode() {
        PARLException outcome = new PARLException(0, null);
        Operation.act(session.context, outcome, database -> {
            throw new NoClassDefFoundError("missing");
        });
        assertEquals(StoreCodes.INTERNAL, outcome.getRC());
        Operation.write(session.context, outcome, database -> {
            throw new IllegalStateException("broken");
        });
        assertEquals(StoreCodes.INTERNAL, outcome.getRC());
        session.newTask("goes on");
        session.commit();
    }
}
