package com.orvik.kelvo.mesk.store;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.admin.Administration;
import com.orvik.kelvo.mesk.admin.Outbox;
import com.orvik.kelvo.mesk.metadata.MDFollowOnAction;
import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.metadata.MDNotificationMessage;
import com.orvik.kelvo.mesk.metadata.MDScheduleEvent;
import com.orvik.kelvo.mesk.metadata.MDScheduleEventType;
import com.orvik.kelvo.mesk.metadata.MDSharedNamedSchedule;
import com.orvik.kelvo.mesk.metadata.MDSuccessCodeSet;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.metadata.MDTaskExec;
import com.orvik.kelvo.mesk.metadata.MDTaskExecType;
import com.orvik.kelvo.mesk.metadata.MDTaskHistory;
import com.orvik.kelvo.mesk.metadata.MDTaskHistoryType;
import com.orvik.kelvo.mesk.metadata.MDTaskResult;
import com.orvik.kelvo.mesk.metadata.MDTaskStatistic;
import com.orvik.kelvo.mesk.metadata.MDTaskStatisticType;
import com.orvik.kelvo.mesk.metadata.MDTaskType;
import com.orvik.kelvo.mesk.metadata.MDUser;
import com.orvik.kelvo.mesk.metadata.MDUtility;
import java.sql.Date;
import java.sql.Time;
import java.sql.Timestamp;
import java.text.SimpleDateFormat;

/**
 * Goes once through what a session commonly does, on a store that the argument names, so that the classes it takes can
 * be put into an archive from which the virtual machine starts faster. Ends with code 1 when anything fails.
 */
public final class Warmup {
    private Warmup() {
    }

    public static void main(String[] arguments) {
        PARLException exception = new PARLException(0, null);
        Context context = MDUtility.connectMD(arguments[0], null, null, null, exception);
        check(exception);
        MDUtility.disconnectMD(context, exception);
        context = MDUtility.connectMD(arguments[0], null, null, null, exception);
        check(exception);
        MDTask task = new MDTask(context, exception);
        task.setTaskID(task.getReferenceID(context, exception));
        task.setTaskName("warm up");
        task.setPasswordString("warm up");
        task.insert(context, exception);
        check(exception);
        MDScheduleEvent rule = new MDScheduleEvent(context, exception);
        rule.setStartDate(new Date(0));
        rule.setStartTime(new Time(0));
        rule.insert(context, exception);
        check(exception);
        task.addScheduleEvent(context, rule, exception);
        check(exception);
        MDSharedNamedSchedule schedule = new MDSharedNamedSchedule(context, exception);
        schedule.setSharedScheduleName("warm up");
        schedule.insert(context, exception);
        schedule.addScheduleEvent(context, rule, exception);
        task.addSharedNamedSchedule(context, schedule, exception);
        check(exception);
        MDFollowOnAction action = new MDFollowOnAction(context, exception);
        task.addFollowOnAction(context, action, exception);
        action.addTask(context, task, exception);
        check(exception);
        Administration.setSuccessCodes(context, task.getTaskID(), 0, new int[] {0}, new String[] {"="}, exception);
        check(exception);
        MDTaskExec run = new MDTaskExec(context, exception);
        run.setTaskID(task.getTaskID());
        run.setScheduleEventID(rule.getScheduleEventID());
        run.setOriginalScheduleTime(new Timestamp(0));
        run.insert(context, exception);
        check(exception);
        MDUtility.commit(context, exception);
        MDTaskHistory history = new MDTaskHistory(context, exception);
        history.setTaskID(task.getTaskID());
        history.setStart(new Timestamp(0));
        history.insert(context, exception);
        history.addTaskResult(context, new MDTaskResult(context, exception), exception);
        check(exception);
        run.setTaskHistoryID(history.getTaskHistoryID());
        run.setStatus(2);
        run.update(context, exception);
        check(exception);
        MDUtility.commit(context, exception);
        check(exception);
        task = new MDTaskType(context, exception).retrieve(context, task.getTaskID(), 0, exception);
        check(exception);
        task.getPasswordString();
        task.getUpdatePermission(context, new MDUser("NOBODY"), exception);
        new MDTaskType(context, exception).retrieveList(context, exception);
        new MDScheduleEventType(context, exception).retrieveList(context, exception);
        task.retrieveScheduleEventList(context, exception);
        task.retrieveSharedNamedScheduleList(context, exception);
        schedule.retrieveScheduleEventList(context, exception);
        task.retrieveFollowOnActionList(context, exception);
        action.retrieveTaskList(context, exception);
        for (Object set : task.retrieveSuccessCodeSetList(context, exception)) {
            ((MDSuccessCodeSet) set).retrieveCodeConditionList(context, exception);
        }
        check(exception);
        task.retrieveTaskGroupMemberList(context, exception);
        new MDTaskExecType(context, exception).retrieveList(context, exception);
        new MDTaskHistoryType(context, exception).retrieveList(context, exception);
        history.retrieveTaskSnapshot(context, exception);
        history.retrieveTaskResultList(context, exception);
        check(exception);
        tell(context, task, history, exception);
        new SimpleDateFormat("yyyyMMddHHmmss").format(new Timestamp(0));
        MDUtility.rollback(context, exception);
        MDUtility.disconnectMD(context, exception);
        check(exception);
    }

    /** What the end of a run leaves: statistics, and messages that are sent. */
    private static void tell(Context context, MDTask task, MDTaskHistory history, PARLException exception) {
        MDTaskStatistic statistic = new MDTaskStatistic(context, exception);
        statistic.setTaskID(task.getTaskID());
        statistic.insert(context, exception);
        check(exception);
        new MDTaskStatisticType(context, exception).retrieve(context, task.getTaskID(), 0, exception);
        check(exception);
        task.addNotificationAction(context, new MDNotificationAction(context, exception), exception);
        check(exception);
        task.retrieveNotificationActionList(context, exception);
        check(exception);
        String text = new MDNotificationMessage().getResolvedMessage(context, task, history,
            MDNotificationMessage.getMRIMessage(MDNotificationMessage.DEFAULT_MESSAGE), null);
        Outbox.enqueue(context, history.getTaskHistoryID(), 1, 1, "warm up", "warm@up", null, null, text, 0, exception);
        check(exception);
        Outbox.sent(context, Outbox.next(context, 0, exception).getOutboxID(), 0, exception);
        check(exception);
    }

    private static void check(PARLException exception) {
        if (exception.getRC() != StoreCodes.OK) {
            System.err.println("code " + exception.getRC() + ": " + exception.getMessage());
            System.exit(1);
        }
    }
}
