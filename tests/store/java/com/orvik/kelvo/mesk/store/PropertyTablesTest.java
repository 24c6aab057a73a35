package com.orvik.kelvo.mesk.store;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.admin.Administration;
import com.orvik.kelvo.mesk.admin.Outbox;
import com.orvik.kelvo.mesk.admin.OutboxMessage;
import com.orvik.kelvo.mesk.metadata.MDBlob;
import com.orvik.kelvo.mesk.metadata.MDClob;
import com.orvik.kelvo.mesk.metadata.MDCodeCondition;
import com.orvik.kelvo.mesk.metadata.MDFollowOnAction;
import com.orvik.kelvo.mesk.metadata.MDFollowOnActionType;
import com.orvik.kelvo.mesk.metadata.MDGroup;
import com.orvik.kelvo.mesk.metadata.MDNotificationAction;
import com.orvik.kelvo.mesk.metadata.MDNotificationActionType;
import com.orvik.kelvo.mesk.metadata.MDNotificationMessage;
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
import com.orvik.kelvo.mesk.sched.DWAgentClient;
import com.orvik.kelvo.mesk.sched.DWAgentRtn;
import com.orvik.kelvo.tools.conn.ConnectionPoolManager;
import java.lang.invoke.MethodType;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.file.Path;
import java.sql.Blob;
import java.sql.Clob;
import java.sql.Date;
import java.sql.Time;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/**
 * Every method that native code looks up by name and signature, listed literally: one that is missing, misspelled or
 * of another type fails here. Each property is written, read back in another session, and compared.
 *
 * A line is a type letter, then a property; the accessors are "get" and "set" with its name. Letters: I int, J long,
 * S text, T timestamp, B binary object, C large text, D day, H time of day. "-get" and "-set" leave one out; a name
 * behind "as" is another form of the property it names, so only one of the two is set when all are set at once.
 */
final class PropertyTablesTest {
    private static final String TASK = """
        J TaskID
        S TaskName
        S Description
        I TaskType
        S TaskCategory
        I Suffix
        I State
        I RunningStatus
        I NumberOfExecutions
        S Owner
        S Modifier
        T Modified
        S UserID
        S PasswordString
        B Password as PasswordString
        S SystemID
        S KelvoInstance
        S ExecutionSystemID
        S ExecutionPartitionID
        S TargetDBObjects
        I PassRunSystem
        I PassTargetDBObj
        S CommandProcessor
        I ProcessorType
        S StatementTerminationChar
        S WorkingDir
        S FileExtension
        S AdditionalParameters
        S DefaultParameters
        C ScriptContent
        S ScriptContentString as ScriptContent
        B DialogTaskProfile
        S BrixStepID
        S ClassName
        S ShowProgressClassName
        S ShowResultClassName
        S GeneratedBy
        T GeneratedAt
        I RetryCount
        I RetryInterval
        I StopAtStepFailure
        I ScheduleEnable
        I NotificationEnable
        I FollowOnTaskEnable
        T NextStart
        T CurrentStartDateTime
        T LastStart
        T LastEnd
        I LastDuration
        I LastReturnCode
        I LastSuccess
        S LastExecutionUserID
        C LastExecutionResults
        S LastExecutionResultsString as LastExecutionResults
        """;

    private static final String RULE = """
        J ScheduleEventID
        D StartDate
        H StartTime
        D EndDate
        I IntervalType
        I IntervalUnit
        I Detail
        I Recurring
        """;

    private static final String SCHEDULE = """
        J ScheduleID
        S SharedScheduleName
        S Description
        """;

    private static final String FOLLOW_ON = """
        J FollowOnActionID
        J ParentTaskID
        I ParentSuffix
        I Action
        I FollowOnCondition
        """;

    private static final String CODE_CONDITION = """
        J CodeConditionID
        I Code
        S Condition
        """;

    private static final String RUN = """
        J TaskExecID
        J TaskID
        I Suffix
        J TaskHistoryID
        J SharedNamedScheduleID
        J ScheduleEventID
        T NextStartDateTime
        T StartTime
        S BrixStepID
        S StepRC
        S PartitionNumber
        I RookQPosition
        I Status
        S ExecutionSystem
        S RookJobID
        S SummaryReturnCode
        I UseNotification
        I UseTaskActions
        I AcceptDefaults
        I PassRunSystem
        I PassTargetDBObjects
        S AdditionalParameters
        I RowLimit
        I StartedByRunNow
        S UserID
        S PasswordString
        B Password as PasswordString
        I IsRealStartTime
        I NeedReschedule
        T OriginalScheduleTime
        J ParentGroupingTaskExecID
        S ExecutionPartitionID
        S ExecutionSystemID
        I V7JobID
        """;

    private static final String HISTORY = """
        J TaskHistoryID
        J RootTaskHistoryID
        J TaskID
        S TaskName
        S Owner
        I Suffix
        S RookJobID
        S BrixStepID
        S EditionID
        S Description
        T Start
        T End
        I Duration
        I ReturnCode
        C NotificationResults
        I RetryCount
        I RowCount
        I ByteCount
        I RunningStatus
        S SourceDBName
        S TargetDBName
        S SourceDBType
        S TargetDBType
        S TargetWarehouseName
        S SummaryReturnCode
        I TaskType
        I InvocationMethod
        S UserID
        S JournalResult
        I V7JobID
        S ShowResultsPanelClassName
        S ExecutionSystemID
        S ExecutionPartitionID
        S TaskCategory
        S FollowOnActionResultsString
        S NotificationResultsString as NotificationResults
        S ScriptContentString
        """;

    private static final String RESULT = """
        I PartitionID
        I ReturnCode
        S ExecutionResultsString
        T Start
        T End
        I Duration
        I RunningStatus
        I ByteCount
        I RowCount
        """;

    private static final String SNAPSHOT = """
        J TaskID
        S TaskName
        I Suffix
        S SystemID
        S ExecutionSystemID
        S ExecutionPartitionID
        S TaskUserID
        S TaskCategory
        S Owner
        I TaskType
        C ScriptContent
        S TargetDBObjects
        T Modified
        I ScheduleEnable
        I NotificationEnable
        I FollowOnTaskEnable
        S ExecutionUserID
        S Parameters
        S ScheduleIDs
        S NotificationIDs
        S FollowOnTaskIDs
        S ContactNames
        I InvocationType
        S HighestReturnCode
        I LatestSnapshot
        """;

    private static final String STATISTIC = """
        J TaskID
        I Suffix
        T FirstExecution
        I TotalSuccessfulExecutions
        I TotalFailedExecutions
        I TotalElapsedTime
        I TotalRowCount
        I TotalByteCount
        T LastExecution
        I LastExecutionElapsedTime
        I LastExecutionRowCount
        I LastExecutionByteCount
        T FastestExecution
        I FastestExecutionElapsedTime
        I FastestExecutionRowCount
        I FastestExecutionByteCount
        T SlowestExecution
        I SlowestExecutionElapsedTime
        I SlowestExecutionRowCount
        I SlowestExecutionByteCount
        T LargestExecution
        I LargestExecutionElapsedTime
        I LargestExecutionRowCount
        I LargestExecutionByteCount
        T SmallestExecution
        I SmallestExecutionElapsedTime
        I SmallestExecutionRowCount
        I SmallestExecutionByteCount
        """;

    private static final String NOTIFICATION = """
        J NotificationActionID
        J ParentTaskID
        I ParentSuffix
        S Subject
        C EmailMessage
        S EmailMessageString as EmailMessage
        C PagerMessage
        I MessageType
        I NotificationCondition
        I UseEmailMessage
        """;

    private static final String PERSISTENCE = """
        insert (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        update (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        delete (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        getReferenceID (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)J
        clone ()Ljava/lang/Object;
        """;

    private static final String PASSWORD = """
        getPassword (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)[B
        setPasswordByteArr ([B)V
        """;

    private static final String SESSION = """
        connectMD (Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;\
        Lcom/orvik/kelvo/common/parl/api/PARLException;)Lcom/orvik/kelvo/common/parl/api/Context;
        disconnectMD (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        setAutoCommit (Lcom/orvik/kelvo/common/parl/api/Context;ZLcom/orvik/kelvo/common/parl/api/PARLException;)V
        rollback (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        commit (Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        markedByScheduler (Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;\
        Ljava/lang/String;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        unmarkedByScheduler (Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;\
        Ljava/lang/String;Lcom/orvik/kelvo/common/parl/api/PARLException;)V
        getNestedSQLCode (Lcom/orvik/kelvo/common/parl/api/PARLException;)I
        getNestedIntSQLState (Lcom/orvik/kelvo/common/parl/api/PARLException;)I
        """;

    private static final String CX = "Lcom/orvik/kelvo/common/parl/api/Context;";
    private static final String EX = "Lcom/orvik/kelvo/common/parl/api/PARLException;";
    private static final String MD = "Lcom/orvik/kelvo/mesk/metadata/";
    private static final String LIST = ")Ljava/util/Collection;";

    @TempDir
    Path folder;

    private record Property(char letter, String name, String formOf) {
    }

    // Signatures

    @Test
    void sessionMethodsAreThere() throws Exception {
        declares(MDUtility.class, true, SESSION);
        constructor(MDUtility.class, "()V");
        declares(ConnectionPoolManager.class, true, "setDefaultPoolSize (I)V");
        constructor(PARLException.class, "(ILjava/lang/String;)V");
        declares(PARLException.class, false, "getRC ()I");
        constructor(MDUser.class, "(Ljava/lang/String;)V");
        constructor(MDGroup.class, "(Ljava/lang/String;)V");
        declares(MDUser.class, false, "isSuperuser (" + CX + EX + ")Z", "isAdmin (" + CX + EX + ")Z");
        constructor(MDBlob.class, "([B)V");
        constructor(MDClob.class, "(Ljava/lang/String;)V");
        declares(MDBlob.class, false, "length ()J", "getBytes (JI)[B");
        declares(MDClob.class, false, "length ()J", "getSubString (JI)Ljava/lang/String;");
    }

    @Test
    void taskMethodsAreThere() throws Exception {
        record(MDTask.class, TASK);
        declares(MDTask.class, false, PERSISTENCE, PASSWORD,
            "getFormattedTaskCategoriesName (" + CX + ")Ljava/lang/String;",
            "addScheduleEvent (" + CX + MD + "MDScheduleEvent;" + EX + ")V",
            "removeScheduleEvent (" + CX + MD + "MDScheduleEvent;" + EX + ")V",
            "retrieveScheduleEventList (" + CX + EX + LIST,
            "addSharedNamedSchedule (" + CX + MD + "MDSharedNamedSchedule;" + EX + ")V",
            "removeSharedNamedSchedule (" + CX + MD + "MDSharedNamedSchedule;" + EX + ")V",
            "retrieveSharedNamedScheduleList (" + CX + EX + LIST,
            "addFollowOnAction (" + CX + MD + "MDFollowOnAction;" + EX + ")V",
            "removeFollowOnAction (" + CX + MD + "MDFollowOnAction;" + EX + ")V",
            "retrieveFollowOnActionList (" + CX + EX + LIST,
            "retrieveTaskGroupMemberList (" + CX + EX + LIST,
            "retrievePredecessorTaskWithExecActionList (" + CX + EX + LIST,
            "retrieveSuccessCodeSetList (" + CX + EX + LIST,
            "addNotificationAction (" + CX + MD + "MDNotificationAction;" + EX + ")V",
            "removeNotificationAction (" + CX + MD + "MDNotificationAction;" + EX + ")V",
            "retrieveNotificationActionList (" + CX + EX + LIST,
            "getUsersWithPermission (" + CX + "I" + EX + ")Ljava/util/ArrayList;",
            "getGroupsWithPermission (" + CX + "I" + EX + ")Ljava/util/ArrayList;");
        rights(MDTask.class);
        assertNotNull(Object.class.getDeclaredMethod("finalize"), "every object has it, a task too");
        home(MDTaskType.class, "retrieve (" + CX + "JI" + EX + ")" + MD + "MDTask;",
            "retrieveList (" + CX + EX + LIST, "retrieveList (" + CX + "J" + EX + LIST,
            "delete (" + CX + "JI" + EX + ")V");
    }

    @Test
    void ruleMethodsAreThere() throws Exception {
        record(MDScheduleEvent.class, RULE);
        declares(MDScheduleEvent.class, false, PERSISTENCE);
        home(MDScheduleEventType.class, "retrieve (" + CX + "J" + EX + ")" + MD + "MDScheduleEvent;",
            "retrieveList (" + CX + EX + LIST);
    }

    @Test
    void sharedScheduleMethodsAreThere() throws Exception {
        record(MDSharedNamedSchedule.class, SCHEDULE);
        declares(MDSharedNamedSchedule.class, false, PERSISTENCE,
            "addScheduleEvent (" + CX + MD + "MDScheduleEvent;" + EX + ")V",
            "removeScheduleEvent (" + CX + MD + "MDScheduleEvent;" + EX + ")V",
            "retrieveScheduleEventList (" + CX + EX + LIST);
        home(MDSharedNamedScheduleType.class, "retrieve (" + CX + "J" + EX + ")" + MD + "MDSharedNamedSchedule;",
            "retrieveList (" + CX + EX + LIST, "delete (" + CX + "J" + EX + ")V");
        home(MDScheduleEventType.class, "delete (" + CX + "J" + EX + ")V");
    }

    @Test
    void followOnMethodsAreThere() throws Exception {
        record(MDFollowOnAction.class, FOLLOW_ON);
        declares(MDFollowOnAction.class, false, PERSISTENCE, "addTask (" + CX + MD + "MDTask;" + EX + ")V",
            "removeTask (" + CX + MD + "MDTask;" + EX + ")V", "retrieveTaskList (" + CX + EX + LIST,
            "setTaskList (" + CX + "Ljava/util/ArrayList;" + EX + ")V");
        home(MDFollowOnActionType.class, "retrieve (" + CX + "J" + EX + ")" + MD + "MDFollowOnAction;",
            "retrieveList (" + CX + EX + LIST, "delete (" + CX + "J" + EX + ")V");
    }

    @Test
    void successCodeMethodsAreThere() throws Exception {
        record(MDSuccessCodeSet.class, "J SuccessCodeSetID");
        declares(MDSuccessCodeSet.class, false, PERSISTENCE, "retrieveCodeConditionList (" + CX + EX + LIST);
        record(MDCodeCondition.class, CODE_CONDITION);
        declares(MDCodeCondition.class, false, PERSISTENCE);
    }

    @Test
    void executionMethodsAreThere() throws Exception {
        record(MDTaskExec.class, RUN.replace("S SummaryReturnCode\n", ""));
        declares(MDTaskExec.class, false, PERSISTENCE, PASSWORD, "getSummaryReturnCode ()Ljava/lang/String;",
            "SummaryReturnCode (Ljava/lang/String;)V");
        rights(MDTaskExec.class);
        home(MDTaskExecType.class, "retrieve (" + CX + "J" + EX + ")" + MD + "MDTaskExec;",
            "retrieveList (" + CX + EX + LIST, "delete (" + CX + "J" + EX + ")V");
    }

    @Test
    void historyMethodsAreThere() throws Exception {
        record(MDTaskHistory.class, HISTORY);
        declares(MDTaskHistory.class, false, PERSISTENCE, "appendJournalResult (Ljava/lang/String;)V",
            "retrieveTaskResultList (" + CX + EX + LIST,
            "addTaskResult (" + CX + MD + "MDTaskResult;" + EX + ")V",
            "addTaskSnapshot (" + CX + MD + "MDTaskSnapshot;" + EX + ")V",
            "removeTaskSnapshot (" + CX + MD + "MDTaskSnapshot;" + MD + "MDTaskSnapshot;" + EX + ")V",
            "retrieveTaskSnapshot (" + CX + EX + ")" + MD + "MDTaskSnapshot;");
        rights(MDTaskHistory.class);
        home(MDTaskHistoryType.class, "delete (" + CX + "JILjava/sql/Timestamp;" + EX + ")V",
            "retrieve (" + CX + "J" + EX + ")" + MD + "MDTaskHistory;",
            "retrieve (" + CX + "JILjava/sql/Timestamp;" + EX + ")" + MD + "MDTaskHistory;",
            "retrieveList (" + CX + "J" + EX + LIST, "retrieveList (" + CX + EX + LIST);
        record(MDTaskResult.class, RESULT);
        declares(MDTaskResult.class, false, PERSISTENCE);
        rights(MDTaskResult.class);
    }

    @Test
    void snapshotMethodsAreThere() throws Exception {
        record(MDTaskSnapshot.class, SNAPSHOT);
        declares(MDTaskSnapshot.class, false, PERSISTENCE);
        home(MDTaskSnapshotType.class, "retrieve (" + CX + "JI" + EX + ")" + MD + "MDTaskSnapshotType;",
            "retrieveList (" + CX + "J" + EX + LIST,
            "retrieveLatestSnapshot (" + CX + EX + ")" + MD + "MDTaskSnapshot;", "delete (" + CX + "JI" + EX + ")V");
    }

    @Test
    void statisticMethodsAreThere() throws Exception {
        record(MDTaskStatistic.class, STATISTIC);
        declares(MDTaskStatistic.class, false, PERSISTENCE);
        rights(MDTaskStatistic.class);
        home(MDTaskStatisticType.class, "retrieve (" + CX + "JI" + EX + ")" + MD + "MDTaskStatistic;",
            "retrieveList (" + CX + EX + LIST, "delete (" + CX + "JI" + EX + ")V");
    }

    @Test
    void notificationMethodsAreThere() throws Exception {
        String text = "Ljava/lang/String;";
        record(MDNotificationAction.class, NOTIFICATION);
        declares(MDNotificationAction.class, false, PERSISTENCE, "retrieveContactNameList (" + CX + EX + LIST,
            "retrieveContactGroupNameList (" + CX + EX + LIST, "getPagerSubject ()" + text,
            "getPagerMessageString ()" + text, "getJournalMessageString ()" + text, "getSender ()" + text);
        home(MDNotificationActionType.class, "retrieve (" + CX + "J" + EX + ")" + MD + "MDNotificationAction;",
            "retrieveList (" + CX + EX + LIST, "delete (" + CX + "J" + EX + ")V");
        constructor(MDNotificationMessage.class, "()V");
        declares(MDNotificationMessage.class, false,
            "getResolvedMessage (" + CX + MD + "MDTask;" + MD + "MDTaskHistory;" + text + text + ")" + text);
        declares(MDNotificationMessage.class, true, "getMRIMessage (I)" + text);
    }

    @Test
    void warehouseMethodsAreThere() throws Exception {
        String text = "Ljava/lang/String;";
        constructor(DWAgentClient.class, "()V");
        constructor(DWAgentClient.class, "(" + CX + MD + "MDTask;" + text.repeat(5) + ")V");
        declares(DWAgentClient.class, false, "run (JILcom/orvik/kelvo/mesk/sched/DWAgentRtn;)I");
        constructor(DWAgentRtn.class, "()V");
        declares(DWAgentRtn.class, false, "getJobRC ()I", "getJobState ()I", "getRowsMoved ()I", "getBytesMoved ()I",
            "getEditionNumber ()I", "getRetryCount ()I");
    }

    @Test
    void administrationMethodsAreThere() throws Exception {
        String text = "Ljava/lang/String;";
        declares(Administration.class, true, "createUser (" + CX + text + "ZZ" + EX + ")V",
            "changeUser (" + CX + text + "ZZ" + EX + ")V", "deleteUser (" + CX + text + EX + ")V",
            "createGroup (" + CX + text + EX + ")V", "deleteGroup (" + CX + text + EX + ")V",
            "addMember (" + CX + text + text + EX + ")V", "removeMember (" + CX + text + text + EX + ")V",
            "listUsers (" + CX + EX + ")Ljava/util/ArrayList;", "listGroups (" + CX + EX + ")Ljava/util/ArrayList;",
            "listMembers (" + CX + text + EX + ")Ljava/util/ArrayList;",
            "setGroupMembers (" + CX + "JI[J[I" + EX + ")V",
            "setSuccessCodes (" + CX + "JI[I[Ljava/lang/String;" + EX + ")V",
            "addScheduleRule (" + CX + "JJ" + EX + ")V", "removeScheduleRule (" + CX + "JJ" + EX + ")V",
            "recordFollowOn (" + CX + "JJJIJ" + EX + ")V",
            "markedScheduler (" + CX + EX + ")Ljava/lang/String;");
        String names = ")Ljava/util/ArrayList;";
        declares(Administration.class, true, "putContact (" + CX + text + text + text + EX + ")V",
            "removeContact (" + CX + text + EX + ")V", "listContacts (" + CX + EX + names,
            "contactAddress (" + CX + text + "I" + EX + ")" + text,
            "putContactGroup (" + CX + text + "[" + text + EX + ")V", "removeContactGroup (" + CX + text + EX + ")V",
            "listContactGroups (" + CX + EX + names, "contactsOf (" + CX + text + EX + names,
            "setContacts (" + CX + "J[" + text + "[" + text + EX + ")V");
        String message = "Lcom/orvik/kelvo/mesk/admin/OutboxMessage;";
        declares(Outbox.class, true, "enqueue (" + CX + "JJI" + text.repeat(5) + "J" + EX + ")V",
            "next (" + CX + "J" + EX + ")" + message, "nextTry (" + CX + EX + ")J",
            "sent (" + CX + "JJ" + EX + ")V", "failed (" + CX + "J" + text + "J" + EX + ")V");
        declares(OutboxMessage.class, false, "getOutboxID ()J", "getKind ()I", "getRecipient ()" + text,
            "getAddress ()" + text, "getSender ()" + text, "getSubject ()" + text, "getBody ()" + text,
            "getTries ()I");
    }

    private static void record(Class<?> type, String table) throws Exception {
        constructor(type, "(" + CX + EX + ")V");
        for (Property property : properties(table)) {
            String kind = descriptor(property.letter());
            declares(type, false, "get" + property.name() + " ()" + kind, "set" + property.name() + " (" + kind + ")V");
        }
    }

    private static void rights(Class<?> type) throws Exception {
        for (String right : List.of("Read", "Update", "Execute")) {
            for (String principal : List.of("MDUser;", "MDGroup;")) {
                declares(type, false, "get" + right + "Permission (" + CX + MD + principal + EX + ")Z",
                    "set" + right + "Permission (" + CX + MD + principal + "Z" + EX + ")V");
            }
        }
    }

    private static void home(Class<?> type, String... methods) throws Exception {
        constructor(type, "(" + CX + EX + ")V");
        declares(type, false, methods);
    }

    private static void constructor(Class<?> type, String signature) throws Exception {
        assertTrue(Modifier.isPublic(type.getConstructor(parameters(signature)).getModifiers()));
    }

    /** Checks lines of "name signature" as JNI finds methods: by the exact types of parameters and result. */
    private static void declares(Class<?> type, boolean isStatic, String... lists) throws Exception {
        for (String list : lists) {
            for (String line : list.strip().split("\n")) {
                String[] words = line.split(" ");
                MethodType wanted = MethodType.fromMethodDescriptorString(words[1], type.getClassLoader());
                boolean found = false;
                for (Method method : type.getMethods()) {
                    found |= method.getName().equals(words[0]) && method.getReturnType() == wanted.returnType()
                        && Arrays.equals(method.getParameterTypes(), wanted.parameterArray())
                        && Modifier.isStatic(method.getModifiers()) == isStatic;
                }
                assertTrue(found, () -> type.getSimpleName() + " lacks " + line);
            }
        }
    }

    private static Class<?>[] parameters(String signature) {
        return MethodType.fromMethodDescriptorString(signature, PropertyTablesTest.class.getClassLoader())
            .parameterArray();
    }

    private static String descriptor(char letter) {
        return switch (letter) {
            case 'I' -> "I";
            case 'J' -> "J";
            case 'S' -> "Ljava/lang/String;";
            case 'T' -> "Ljava/sql/Timestamp;";
            case 'B' -> "Ljava/sql/Blob;";
            case 'C' -> "Ljava/sql/Clob;";
            case 'D' -> "Ljava/sql/Date;";
            case 'H' -> "Ljava/sql/Time;";
            default -> throw new IllegalArgumentException("no such letter: " + letter);
        };
    }

    private static List<Property> properties(String table) {
        List<Property> result = new ArrayList<>();
        for (String line : table.strip().split("\n")) {
            String[] words = line.split(" ");
            result.add(new Property(words[0].charAt(0), words[1], words.length > 2 ? words[3] : null));
        }
        return result;
    }

    // Round trips

    @Test
    void taskPropertiesSurvive() throws Exception {
        survive(TASK, MDTask::new, "task", Map.of());
    }

    @Test
    void rulePropertiesSurvive() throws Exception {
        survive(RULE, MDScheduleEvent::new, "schedule_event",
            Map.of("IntervalType", 4, "IntervalUnit", 11, "Detail", 29, "Recurring", 1));
    }

    @Test
    void sharedSchedulePropertiesSurvive() throws Exception {
        survive(SCHEDULE, MDSharedNamedSchedule::new, "shared_named_schedule", Map.of());
    }

    @Test
    void followOnPropertiesSurvive() throws Exception {
        survive(FOLLOW_ON, MDFollowOnAction::new, "follow_on_action",
            Map.of("ParentTaskID", 0L, "Action", 3, "FollowOnCondition", 2));
    }

    @Test
    void successCodePropertiesSurvive() throws Exception {
        survive("J SuccessCodeSetID", MDSuccessCodeSet::new, "success_code_set", Map.of());
        survive(CODE_CONDITION, MDCodeCondition::new, "code_condition", Map.of("Condition", "!="));
    }

    @Test
    void executionPropertiesSurvive() throws Exception {
        survive(RUN, MDTaskExec::new, "task_exec", Map.of());
    }

    @Test
    void historyPropertiesSurvive() throws Exception {
        survive(HISTORY, MDTaskHistory::new, "task_history", Map.of());
    }

    @Test
    void resultPropertiesSurvive() throws Exception {
        survive(RESULT, MDTaskResult::new, "task_result", Map.of());
    }

    @Test
    void snapshotPropertiesSurvive() throws Exception {
        survive(SNAPSHOT, MDTaskSnapshot::new, "task_snapshot", Map.of());
    }

    @Test
    void statisticPropertiesSurvive() throws Exception {
        survive(STATISTIC, MDTaskStatistic::new, "task_statistic", Map.of());
    }

    @Test
    void notificationPropertiesSurvive() throws Exception {
        // No parent here: a store that holds nothing else has no task for it.
        survive(NOTIFICATION, MDNotificationAction::new, "notification_action",
            Map.of("ParentTaskID", 0L, "MessageType", 3, "NotificationCondition", 2, "UseEmailMessage", 0));
    }

    /** Sets all properties at once to values that differ; then each second form alone; reads all back each time. */
    private void survive(String table, java.util.function.Supplier<? extends Stored> maker, String name,
        Map<String, Object> particular) throws Exception {
        List<Property> all = properties(table);
        List<List<Property>> rounds = new ArrayList<>();
        List<Property> first = new ArrayList<>(all);
        first.removeIf(property -> property.formOf() != null);
        rounds.add(first);
        for (Property form : all) {
            if (form.formOf() != null) {
                List<Property> round = new ArrayList<>(first);
                round.removeIf(property -> property.name().equals(form.formOf()));
                round.add(form);
                rounds.add(round);
            }
        }
        int number = 0;
        for (List<Property> round : rounds) {
            String url = "jdbc:sqlite:" + folder.resolve(name + number++) + "?mesk.durability=off";
            Map<Property, Object> values = new LinkedHashMap<>();
            Stored record = maker.get();
            for (Property property : round) {
                Object value = particular.getOrDefault(property.name(), value(property, values.size()));
                values.put(property, value);
                set(record, property, value);
            }
            try (Session session = new Session(url)) {
                Operation.write(session.context, session.outcome, database -> database.insert(record));
                session.done();
                session.commit();
            }
            try (Session session = new Session(url)) {
                Stored read = readBack(session, record);
                for (Map.Entry<Property, Object> entry : values.entrySet()) {
                    assertEquals(plain(entry.getValue()), plain(get(read, entry.getKey())), entry.getKey().name());
                }
                Operation.write(session.context, session.outcome, database -> database.update(read));
                session.done();
                Stored again = readBack(session, record);
                for (Map.Entry<Property, Object> entry : values.entrySet()) {
                    assertEquals(plain(entry.getValue()), plain(get(again, entry.getKey())), entry.getKey().name());
                }
            }
        }
    }

    private static Stored readBack(Session session, Stored like) {
        Stored read = Operation.read(session.context, session.outcome, null, database -> database.find(() -> {
            try {
                return like.getClass().getConstructor().newInstance();
            } catch (ReflectiveOperationException failure) {
                throw new AssertionError(failure);
            }
        }, ""));
        session.done();
        return read;
    }

    private static Object value(Property property, int index) {
        return switch (property.letter()) {
            case 'I' -> 1000 + index;
            case 'J' -> 5_000_000_000L + index;
            case 'S' -> property.name() + " é☃😀";
            case 'T' -> new Timestamp(1_700_000_000_001L + index * 60_000L);
            case 'B' -> new MDBlob(new byte[] {0, -1, (byte) index, 0});
            case 'C' -> new MDClob(property.name() + "\n\0é☃😀");
            case 'D' -> Date.valueOf("20" + (30 + index) + "-03-31");
            case 'H' -> Time.valueOf("02:30:" + (10 + index));
            default -> throw new IllegalArgumentException(property.toString());
        };
    }

    private static Class<?> type(Property property) {
        return parameters("(" + descriptor(property.letter()) + ")V")[0];
    }

    private static void set(Object record, Property property, Object value) throws Exception {
        boolean odd = record instanceof MDTaskExec && property.name().equals("SummaryReturnCode");
        String name = odd ? property.name() : "set" + property.name();
        record.getClass().getMethod(name, type(property)).invoke(record, value);
    }

    private static Object get(Object record, Property property) throws Exception {
        return record.getClass().getMethod("get" + property.name()).invoke(record);
    }

    /** A value that can be compared. */
    private static Object plain(Object value) throws Exception {
        if (value instanceof Blob blob) {
            return Arrays.toString(blob.getBytes(1, (int) blob.length()));
        }
        if (value instanceof Clob clob) {
            return clob.getSubString(1, (int) clob.length());
        }
        return value instanceof Date || value instanceof Time ? value.toString() : value;
    }

    @Test
    void contextIsTheTypeThatTheSignaturesName() {
        assertEquals("com.orvik.kelvo.common.parl.api.Context", Context.class.getName());
    }
}
