package com.orvik.kelvo.mesk.store;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.admin.Administration;
import com.orvik.kelvo.mesk.metadata.MDFollowOnAction;
import com.orvik.kelvo.mesk.metadata.MDGroup;
import com.orvik.kelvo.mesk.metadata.MDScheduleEvent;
import com.orvik.kelvo.mesk.metadata.MDScheduleEventType;
import com.orvik.kelvo.mesk.metadata.MDSharedNamedSchedule;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.metadata.MDTaskExec;
import com.orvik.kelvo.mesk.metadata.MDTaskExecType;
import com.orvik.kelvo.mesk.metadata.MDTaskHistory;
import com.orvik.kelvo.mesk.metadata.MDTaskHistoryType;
import com.orvik.kelvo.mesk.metadata.MDTaskType;
import com.orvik.kelvo.mesk.metadata.MDUser;
import com.orvik.kelvo.mesk.metadata.MDUtility;
import java.sql.Date;
import java.sql.Time;
import java.sql.Timestamp;
import java.util.Collection;

/** A session under test: each verb checks that the store answered the code that was expected, 0 unless said. */
final class Session implements AutoCloseable {
    final Context context;
    final PARLException outcome = new PARLException(0, null);

    Session(String url, String user) {
        context = MDUtility.connectMD(url, null, user, null, outcome);
        done();
    }

    Session(String url) {
        this(url, "root");
    }

    void done() {
        expect(StoreCodes.OK);
    }

    void expect(int code) {
        assertEquals(code, outcome.getRC(), () -> String.valueOf(outcome.getMessage()));
    }

    void commit() {
        MDUtility.commit(context, outcome);
        done();
    }

    void rollback() {
        MDUtility.rollback(context, outcome);
        done();
    }

    long key() {
        long key = new MDTask().getReferenceID(context, outcome);
        done();
        return key;
    }

    void insert(Record record) {
        insert(record, StoreCodes.OK);
    }

    void insert(Record record, int code) {
        record.insert(context, outcome);
        expect(code);
    }

    void update(Record record) {
        update(record, StoreCodes.OK);
    }

    void update(Record record, int code) {
        record.update(context, outcome);
        expect(code);
    }

    void delete(Record record) {
        delete(record, StoreCodes.OK);
    }

    void delete(Record record, int code) {
        record.delete(context, outcome);
        expect(code);
    }

    /** A user whom the store knows and who has no right yet. */
    MDUser newUser(String name) {
        Administration.createUser(context, name, false, false, outcome);
        done();
        return new MDUser(name);
    }

    /** A group without members or rights. */
    MDGroup newGroup(String name) {
        Administration.createGroup(context, name, outcome);
        done();
        return new MDGroup(name);
    }

    MDTask newTask(String name) {
        MDTask task = new MDTask(context, outcome);
        done();
        task.setTaskName(name);
        insert(task);
        return task;
    }

    MDScheduleEvent newRule(MDTask task) {
        MDScheduleEvent rule = newRule();
        task.addScheduleEvent(context, rule, outcome);
        done();
        return rule;
    }

    /** A rule that no task has. */
    MDScheduleEvent newRule() {
        MDScheduleEvent rule = new MDScheduleEvent(context, outcome);
        rule.setStartDate(Date.valueOf("2024-02-29"));
        rule.setStartTime(Time.valueOf("02:30:00"));
        rule.setIntervalType(2);
        rule.setRecurring(1);
        insert(rule);
        return rule;
    }

    MDSharedNamedSchedule newSchedule(String name) {
        MDSharedNamedSchedule schedule = new MDSharedNamedSchedule(context, outcome);
        schedule.setSharedScheduleName(name);
        insert(schedule);
        return schedule;
    }

    /** An action of a task (1 run, 2 enable, 3 disable), whenever it ends, on these tasks. */
    MDFollowOnAction newAction(MDTask task, int action, MDTask... targets) {
        MDFollowOnAction followOn = new MDFollowOnAction(context, outcome);
        followOn.setAction(action);
        task.addFollowOnAction(context, followOn, outcome);
        done();
        for (MDTask target : targets) {
            followOn.addTask(context, target, outcome);
            done();
        }
        return followOn;
    }

    /** A queued run of a task for an instant of a rule. */
    MDTaskExec newRun(MDTask task, MDScheduleEvent rule, long instant) {
        MDTaskExec run = new MDTaskExec(context, outcome);
        run.setTaskID(task.getTaskID());
        run.setSuffix(task.getSuffix());
        run.setScheduleEventID(rule.getScheduleEventID());
        run.setOriginalScheduleTime(new Timestamp(instant));
        run.setNextStartDateTime(new Timestamp(instant));
        run.setStatus(1);
        insert(run);
        return run;
    }

    MDTaskHistory newHistory(MDTask task, long start, int runningStatus) {
        MDTaskHistory history = new MDTaskHistory(context, outcome);
        history.setTaskID(task.getTaskID());
        history.setSuffix(task.getSuffix());
        history.setStart(new Timestamp(start));
        history.setRunningStatus(runningStatus);
        insert(history);
        return history;
    }

    MDTask task(long key) {
        MDTask task = new MDTaskType().retrieve(context, key, 0, outcome);
        done();
        return task;
    }

    MDTaskExec run(long key) {
        MDTaskExec run = new MDTaskExecType().retrieve(context, key, outcome);
        done();
        return run;
    }

    MDTaskHistory history(long key) {
        MDTaskHistory history = new MDTaskHistoryType().retrieve(context, key, outcome);
        done();
        return history;
    }

    MDScheduleEvent rule(long key) {
        MDScheduleEvent rule = new MDScheduleEventType().retrieve(context, key, outcome);
        done();
        return rule;
    }

    boolean has(MDTask task) {
        return has(task, StoreCodes.NOT_FOUND);
    }

    /** Whether the task is answered; if not, the code is this one. */
    boolean has(MDTask task, int otherwise) {
        new MDTaskType().retrieve(context, task.getTaskID(), task.getSuffix(), outcome);
        if (outcome.getRC() != otherwise) {
            done();
        }
        return outcome.getRC() == StoreCodes.OK;
    }

    Collection<?> histories() {
        return new MDTaskHistoryType().retrieveList(context, outcome);
    }

    /** The number that a query for one answers. */
    long number(String query, Object... parameters) {
        Long number = Operation.read(context, outcome, -1L,
            database -> database.sql().first(query, row -> row.getLong(1), parameters));
        done();
        return number;
    }

    void sql(String text, Object... parameters) {
        Operation.write(context, outcome, database -> {
            database.sql().update(text, parameters);
        });
        done();
    }

    @Override
    public void close() {
        MDUtility.disconnectMD(context, outcome);
        done();
    }
}
