package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Principals;
import com.orvik.kelvo.mesk.store.Rights;
import com.orvik.kelvo.mesk.store.Secret;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Stored;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.Blob;
import java.sql.Clob;
import java.sql.SQLException;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.Collection;
import java.util.List;
import java.util.function.Function;
import java.util.function.Supplier;

/**
 * A task: what runs, how, and where it stands. Its key is the task ID with the suffix; its name is unique for a suffix.
 * It has nothing to release: `finalize` is that of every object.
 */
public final class MDTask extends GuardedRecord {
    private static final Table TABLE = new Table("task", 2, Guard.TASK);

    private long taskID;
    private int suffix;
    private String taskName;
    private String description;
    private int taskType;
    private String taskCategory;
    private int state;
    private int runningStatus;
    private int numberOfExecutions;
    private String owner;
    private String modifier;
    private Timestamp modified;
    private String userID;
    private Secret password;
    private String systemID;
    private String kelvoInstance;
    private String executionSystemID;
    private String executionPartitionID;
    private String targetDBObjects;
    private int passRunSystem;
    private int passTargetDBObj;
    private String commandProcessor;
    private int processorType;
    private String statementTerminationChar;
    private String workingDir;
    private String fileExtension;
    private String additionalParameters;
    private String defaultParameters;
    private String scriptContent;
    private byte[] dialogTaskProfile;
    private String brixStepID;
    private String className;
    private String showProgressClassName;
    private String showResultClassName;
    private String generatedBy;
    private Timestamp generatedAt;
    private int retryCount;
    private int retryInterval;
    private int stopAtStepFailure;
    private int scheduleEnable;
    private int notificationEnable;
    private int followOnTaskEnable;
    private Timestamp nextStart;
    private Timestamp currentStartDateTime;
    private Timestamp lastStart;
    private Timestamp lastEnd;
    private int lastDuration;
    private int lastReturnCode;
    private int lastSuccess;
    private String lastExecutionUserID;
    private String lastExecutionResults;

    /** A record that is not in the store yet. */
    public MDTask() {
    }

    /** The same, reporting whether the session can be used. */
    public MDTask(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        taskID = columns.number("task_id", taskID);
        suffix = columns.integer("suffix", suffix);
        taskName = columns.text("task_name", taskName);
        description = columns.text("description", description);
        taskType = columns.integer("task_type", taskType);
        taskCategory = columns.text("task_category", taskCategory);
        state = columns.integer("state", state);
        runningStatus = columns.integer("running_status", runningStatus);
        numberOfExecutions = columns.integer("number_of_executions", numberOfExecutions);
        owner = columns.text("owner", owner);
        modifier = columns.text("modifier", modifier);
        modified = columns.instant("modified", modified);
        userID = columns.text("user_id", userID);
        password = columns.secret("password", password);
        systemID = columns.text("system_id", systemID);
        kelvoInstance = columns.text("kelvo_instance", kelvoInstance);
        executionSystemID = columns.text("execution_system_id", executionSystemID);
        executionPartitionID = columns.text("execution_partition_id", executionPartitionID);
        targetDBObjects = columns.text("target_db_objects", targetDBObjects);
        passRunSystem = columns.integer("pass_run_system", passRunSystem);
        passTargetDBObj = columns.integer("pass_target_db_objects", passTargetDBObj);
        commandProcessor = columns.text("command_processor", commandProcessor);
        processorType = columns.integer("processor_type", processorType);
        statementTerminationChar = columns.text("statement_termination_char", statementTerminationChar);
        workingDir = columns.text("working_dir", workingDir);
        fileExtension = columns.text("file_extension", fileExtension);
        additionalParameters = columns.text("additional_parameters", additionalParameters);
        defaultParameters = columns.text("default_parameters", defaultParameters);
        scriptContent = columns.text("script_content", scriptContent);
        dialogTaskProfile = columns.bytes("dialog_task_profile", dialogTaskProfile);
        brixStepID = columns.text("brix_step_id", brixStepID);
        className = columns.text("class_name", className);
        showProgressClassName = columns.text("show_progress_class_name", showProgressClassName);
        showResultClassName = columns.text("show_result_class_name", showResultClassName);
        generatedBy = columns.text("generated_by", generatedBy);
        generatedAt = columns.instant("generated_at", generatedAt);
        retryCount = columns.integer("retry_count", retryCount);
        retryInterval = columns.integer("retry_interval", retryInterval);
        stopAtStepFailure = columns.integer("stop_at_step_failure", stopAtStepFailure);
        scheduleEnable = columns.integer("schedule_enable", scheduleEnable);
        notificationEnable = columns.integer("notification_enable", notificationEnable);
        followOnTaskEnable = columns.integer("follow_on_task_enable", followOnTaskEnable);
        nextStart = columns.instant("next_start", nextStart);
        currentStartDateTime = columns.instant("current_start_date_time", currentStartDateTime);
        lastStart = columns.instant("last_start", lastStart);
        lastEnd = columns.instant("last_end", lastEnd);
        lastDuration = columns.integer("last_duration", lastDuration);
        lastReturnCode = columns.integer("last_return_code", lastReturnCode);
        lastSuccess = columns.integer("last_success", lastSuccess);
        lastExecutionUserID = columns.text("last_execution_user_id", lastExecutionUserID);
        lastExecutionResults = columns.text("last_execution_results", lastExecutionResults);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (taskID == 0) {
            taskID = database.nextKey();
        }
    }

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        validate();
        Rights.giveAll(database, subject(), database.access().user());
    }

    @Override
    public void updating(Database database) throws SQLException, StoreException {
        validate();
    }

    /**
     * A task stays while a run of it is in progress, while it is a step of a group, and while a follow-on action of
     * another task acts on it: IN_USE. With the task go its own rules, actions, steps' list, success codes, statistics,
     * its queued executions and the rights on it. Shared schedules stay, and its histories until they are pruned.
     */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        TaskRelations.end(database, taskID, suffix);
        super.deleting(database);
    }

    @Override
    protected Rights.Subject subject() {
        return new Rights.Subject(Rights.TASK, taskID, suffix);
    }

    private void validate() throws StoreException {
        if (taskName == null || taskName.isEmpty()) {
            throw new StoreException(StoreCodes.INVALID, "TaskName: a task needs a name");
        }
    }

    /** Adds a rule, which is in the store, behind the task's others; EXISTS when the task has it. */
    public void addScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Operation.write(context, exception, database -> TaskRelations.RULES.add(database, key(),
            Relation.key(TaskRelations.required(event).getScheduleEventID())));
    }

    /** Takes a rule away from the task, with the queued executions that the rule made. The rule itself stays. */
    public void removeScheduleEvent(Context context, MDScheduleEvent event, PARLException exception) {
        Operation.write(context, exception, database -> TaskRelations.removeRule(database, taskID, suffix,
            TaskRelations.required(event).getScheduleEventID()));
    }

    /** The task's own rules in the order in which they were added; 30014 when it has none. */
    public Collection<?> retrieveScheduleEventList(Context context, PARLException exception) {
        return relation(context, exception, TaskRelations.RULES, MDScheduleEvent::new);
    }

    /** Makes the task use a shared schedule, which is in the store; EXISTS when it does. */
    public void addSharedNamedSchedule(Context context, MDSharedNamedSchedule schedule, PARLException exception) {
        Operation.write(context, exception, database -> TaskRelations.addSchedule(database, taskID, suffix,
            TaskRelations.required(schedule).getScheduleID()));
    }

    /** The task no longer uses a shared schedule; what its rules queued for the task goes. The schedule stays. */
    public void removeSharedNamedSchedule(Context context, MDSharedNamedSchedule schedule, PARLException exception) {
        Operation.write(context, exception, database -> TaskRelations.removeSchedule(database, taskID, suffix,
            TaskRelations.required(schedule).getScheduleID()));
    }

    /** The shared schedules that the task uses, in the order in which they were added; 30014 when it uses none. */
    public Collection<?> retrieveSharedNamedScheduleList(Context context, PARLException exception) {
        return relation(context, exception, TaskRelations.SCHEDULES, MDSharedNamedSchedule::new);
    }

    /**
     * Makes an action the task's, behind its others; one that is not in the store yet is inserted. EXISTS when the
     * action belongs to a task, this one included.
     */
    public void addFollowOnAction(Context context, MDFollowOnAction action, PARLException exception) {
        add(context, action, exception);
    }

    /** Takes an action away from the task; it stays in the store and belongs to none. */
    public void removeFollowOnAction(Context context, MDFollowOnAction action, PARLException exception) {
        remove(context, action, exception);
    }

    /** The task's follow-on actions in the order in which they were added; 30014 when it has none. */
    public Collection<?> retrieveFollowOnActionList(Context context, PARLException exception) {
        return related(context, exception, database -> TaskRelations.followOns(database, taskID, suffix));
    }

    /** As {@link #addFollowOnAction} for a notification action. */
    public void addNotificationAction(Context context, MDNotificationAction action, PARLException exception) {
        add(context, action, exception);
    }

    /** Takes an action away from the task; it stays in the store and belongs to none. */
    public void removeNotificationAction(Context context, MDNotificationAction action, PARLException exception) {
        remove(context, action, exception);
    }

    /** The task's notification actions in the order in which they were added; 30014 when it has none. */
    public Collection<?> retrieveNotificationActionList(Context context, PARLException exception) {
        return related(context, exception, database -> TaskRelations.notifications(database, taskID, suffix));
    }

    /** The tasks that have a follow-on action which runs this one, by key; 30014 when there are none. */
    public Collection<?> retrievePredecessorTaskWithExecActionList(Context context, PARLException exception) {
        return related(context, exception, database -> TaskRelations.predecessors(database, taskID, suffix));
    }

    /** The steps of the task, which is a group, in their order; 30014 when it has none. */
    public Collection<?> retrieveTaskGroupMemberList(Context context, PARLException exception) {
        return relation(context, exception, TaskRelations.MEMBERS, MDTask::new);
    }

    /** Adds a set of success codes, which is in the store, to the task's; EXISTS when the task has it. */
    public void addSuccessCodeSet(Context context, MDSuccessCodeSet set, PARLException exception) {
        Operation.write(context, exception, database -> TaskRelations.CODE_SETS.add(database, key(),
            Relation.key(TaskRelations.required(set).getSuccessCodeSetID())));
    }

    /** Takes a set of success codes away from the task; the set stays. */
    public void removeSuccessCodeSet(Context context, MDSuccessCodeSet set, PARLException exception) {
        Operation.write(context, exception, database -> TaskRelations.CODE_SETS.remove(database, key(),
            Relation.key(TaskRelations.required(set).getSuccessCodeSetID())));
    }

    /** The task's sets of success codes in the order in which they were added; 30014 when it has none. */
    public Collection<?> retrieveSuccessCodeSetList(Context context, PARLException exception) {
        return relation(context, exception, TaskRelations.CODE_SETS, MDSuccessCodeSet::new);
    }

    private Object[] key() {
        return Relation.key(taskID, suffix);
    }

    private <T extends Stored> Collection<?> relation(Context context, PARLException exception, Relation relation,
        Supplier<T> maker) {
        return related(context, exception, database -> relation.list(database, maker, key()));
    }

    private <T> ArrayList<T> related(Context context, PARLException exception, Operation.Work<List<T>> list) {
        return Operation.readList(context, exception, StoreCodes.NO_RELATION, database -> {
            database.access().requireRead(this);
            return list.run(database);
        });
    }

    private void add(Context context, TaskAction action, PARLException exception) {
        Operation.write(context, exception, database -> {
            Relation.TASK.require(database, key());
            TaskRelations.required(action).addTo(database, taskID, suffix);
        });
    }

    private void remove(Context context, TaskAction action, PARLException exception) {
        Operation.write(context, exception,
            database -> TaskRelations.required(action).removeFrom(database, taskID, suffix));
    }

    /** The users that were given a right (0 read, 1 update, 2 execute) on the task; 30013 when there are none. */
    public ArrayList<?> getUsersWithPermission(Context context, int permission, PARLException exception) {
        return holders(context, exception, Principals.USER, permission, MDUser::new);
    }

    /** The groups that were given a right (0 read, 1 update, 2 execute) on the task; 30013 when there are none. */
    public ArrayList<?> getGroupsWithPermission(Context context, int permission, PARLException exception) {
        return holders(context, exception, Principals.GROUP, permission, MDGroup::new);
    }

    /** For those who may read the task and those who give rights. */
    private <P> ArrayList<P> holders(Context context, PARLException exception, int kind, int permission,
        Function<String, P> maker) {
        return Operation.readList(context, exception, StoreCodes.NOTHING_LISTED, database -> {
            database.access().requireReadOrAdministrator(this);
            List<P> holders = new ArrayList<>();
            for (String name : Rights.holders(database, subject(), kind, permission)) {
                holders.add(maker.apply(name));
            }
            return holders;
        });
    }

    /** The categories, which the property separates with commas, each trimmed, separated by ", "; null for none. */
    public String getFormattedTaskCategoriesName(Context context) {
        if (taskCategory == null) {
            return null;
        }
        StringBuilder formatted = new StringBuilder();
        for (String category : taskCategory.split(",")) {
            String name = category.trim();
            if (!name.isEmpty()) {
                formatted.append(formatted.length() == 0 ? "" : ", ").append(name);
            }
        }
        return formatted.length() == 0 ? null : formatted.toString();
    }

    public long getTaskID() {
        return taskID;
    }

    public void setTaskID(long value) {
        taskID = value;
    }

    public int getSuffix() {
        return suffix;
    }

    public void setSuffix(int value) {
        suffix = value;
    }

    public String getTaskName() {
        return taskName;
    }

    public void setTaskName(String value) {
        taskName = value;
    }

    public String getDescription() {
        return description;
    }

    public void setDescription(String value) {
        description = value;
    }

    public int getTaskType() {
        return taskType;
    }

    public void setTaskType(int value) {
        taskType = value;
    }

    public String getTaskCategory() {
        return taskCategory;
    }

    public void setTaskCategory(String value) {
        taskCategory = value;
    }

    public int getState() {
        return state;
    }

    public void setState(int value) {
        state = value;
    }

    public int getRunningStatus() {
        return runningStatus;
    }

    public void setRunningStatus(int value) {
        runningStatus = value;
    }

    public int getNumberOfExecutions() {
        return numberOfExecutions;
    }

    public void setNumberOfExecutions(int value) {
        numberOfExecutions = value;
    }

    public String getOwner() {
        return owner;
    }

    public void setOwner(String value) {
        owner = value;
    }

    public String getModifier() {
        return modifier;
    }

    public void setModifier(String value) {
        modifier = value;
    }

    public Timestamp getModified() {
        return modified;
    }

    public void setModified(Timestamp value) {
        modified = value;
    }

    public String getUserID() {
        return userID;
    }

    public void setUserID(String value) {
        userID = value;
    }

    /** The password in clear; null when there is none or the store's key does not open it. */
    public String getPasswordString() {
        return Secret.textOf(password);
    }

    public void setPasswordString(String value) {
        password = Secret.of(value);
    }

    /** The password's bytes in clear; null when there is none or the store's key does not open it. */
    public Blob getPassword() {
        return MDBlob.of(Secret.bytesOf(password));
    }

    public void setPassword(Blob value) {
        password = Secret.of(MDBlob.bytesOf(value));
    }

    /** The password's bytes in clear, or null; answers DAMAGED when the store's key does not open it. */
    public byte[] getPassword(Context context, PARLException exception) {
        return Operation.read(context, exception, null, database -> password == null ? null : password.open());
    }

    public void setPasswordByteArr(byte[] value) {
        password = Secret.of(value);
    }

    public String getSystemID() {
        return systemID;
    }

    public void setSystemID(String value) {
        systemID = value;
    }

    public String getKelvoInstance() {
        return kelvoInstance;
    }

    public void setKelvoInstance(String value) {
        kelvoInstance = value;
    }

    public String getExecutionSystemID() {
        return executionSystemID;
    }

    public void setExecutionSystemID(String value) {
        executionSystemID = value;
    }

    public String getExecutionPartitionID() {
        return executionPartitionID;
    }

    public void setExecutionPartitionID(String value) {
        executionPartitionID = value;
    }

    public String getTargetDBObjects() {
        return targetDBObjects;
    }

    public void setTargetDBObjects(String value) {
        targetDBObjects = value;
    }

    public int getPassRunSystem() {
        return passRunSystem;
    }

    public void setPassRunSystem(int value) {
        passRunSystem = value;
    }

    public int getPassTargetDBObj() {
        return passTargetDBObj;
    }

    public void setPassTargetDBObj(int value) {
        passTargetDBObj = value;
    }

    public String getCommandProcessor() {
        return commandProcessor;
    }

    public void setCommandProcessor(String value) {
        commandProcessor = value;
    }

    public int getProcessorType() {
        return processorType;
    }

    public void setProcessorType(int value) {
        processorType = value;
    }

    public String getStatementTerminationChar() {
        return statementTerminationChar;
    }

    public void setStatementTerminationChar(String value) {
        statementTerminationChar = value;
    }

    public String getWorkingDir() {
        return workingDir;
    }

    public void setWorkingDir(String value) {
        workingDir = value;
    }

    public String getFileExtension() {
        return fileExtension;
    }

    public void setFileExtension(String value) {
        fileExtension = value;
    }

    public String getAdditionalParameters() {
        return additionalParameters;
    }

    public void setAdditionalParameters(String value) {
        additionalParameters = value;
    }

    public String getDefaultParameters() {
        return defaultParameters;
    }

    public void setDefaultParameters(String value) {
        defaultParameters = value;
    }

    public Clob getScriptContent() {
        return MDClob.of(scriptContent);
    }

    public void setScriptContent(Clob value) {
        scriptContent = MDClob.textOf(value);
    }

    public String getScriptContentString() {
        return scriptContent;
    }

    public void setScriptContentString(String value) {
        scriptContent = value;
    }

    public Blob getDialogTaskProfile() {
        return MDBlob.of(dialogTaskProfile);
    }

    public void setDialogTaskProfile(Blob value) {
        dialogTaskProfile = MDBlob.bytesOf(value);
    }

    public String getBrixStepID() {
        return brixStepID;
    }

    public void setBrixStepID(String value) {
        brixStepID = value;
    }

    public String getClassName() {
        return className;
    }

    public void setClassName(String value) {
        className = value;
    }

    public String getShowProgressClassName() {
        return showProgressClassName;
    }

    public void setShowProgressClassName(String value) {
        showProgressClassName = value;
    }

    public String getShowResultClassName() {
        return showResultClassName;
    }

    public void setShowResultClassName(String value) {
        showResultClassName = value;
    }

    public String getGeneratedBy() {
        return generatedBy;
    }

    public void setGeneratedBy(String value) {
        generatedBy = value;
    }

    public Timestamp getGeneratedAt() {
        return generatedAt;
    }

    public void setGeneratedAt(Timestamp value) {
        generatedAt = value;
    }

    public int getRetryCount() {
        return retryCount;
    }

    public void setRetryCount(int value) {
        retryCount = value;
    }

    public int getRetryInterval() {
        return retryInterval;
    }

    public void setRetryInterval(int value) {
        retryInterval = value;
    }

    public int getStopAtStepFailure() {
        return stopAtStepFailure;
    }

    public void setStopAtStepFailure(int value) {
        stopAtStepFailure = value;
    }

    public int getScheduleEnable() {
        return scheduleEnable;
    }

    public void setScheduleEnable(int value) {
        scheduleEnable = value;
    }

    public int getNotificationEnable() {
        return notificationEnable;
    }

    public void setNotificationEnable(int value) {
        notificationEnable = value;
    }

    public int getFollowOnTaskEnable() {
        return followOnTaskEnable;
    }

    public void setFollowOnTaskEnable(int value) {
        followOnTaskEnable = value;
    }

    public Timestamp getNextStart() {
        return nextStart;
    }

    public void setNextStart(Timestamp value) {
        nextStart = value;
    }

    public Timestamp getCurrentStartDateTime() {
        return currentStartDateTime;
    }

    public void setCurrentStartDateTime(Timestamp value) {
        currentStartDateTime = value;
    }

    public Timestamp getLastStart() {
        return lastStart;
    }

    public void setLastStart(Timestamp value) {
        lastStart = value;
    }

    public Timestamp getLastEnd() {
        return lastEnd;
    }

    public void setLastEnd(Timestamp value) {
        lastEnd = value;
    }

    public int getLastDuration() {
        return lastDuration;
    }

    public void setLastDuration(int value) {
        lastDuration = value;
    }

    public int getLastReturnCode() {
        return lastReturnCode;
    }

    public void setLastReturnCode(int value) {
        lastReturnCode = value;
    }

    public int getLastSuccess() {
        return lastSuccess;
    }

    public void setLastSuccess(int value) {
        lastSuccess = value;
    }

    public String getLastExecutionUserID() {
        return lastExecutionUserID;
    }

    public void setLastExecutionUserID(String value) {
        lastExecutionUserID = value;
    }

    public Clob getLastExecutionResults() {
        return MDClob.of(lastExecutionResults);
    }

    public void setLastExecutionResults(Clob value) {
        lastExecutionResults = MDClob.textOf(value);
    }

    public String getLastExecutionResultsString() {
        return lastExecutionResults;
    }

    public void setLastExecutionResultsString(String value) {
        lastExecutionResults = value;
    }
}
