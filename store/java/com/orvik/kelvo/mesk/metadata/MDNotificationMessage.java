package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.mesk.store.Template;
import java.sql.Timestamp;
import java.time.ZoneId;
import java.time.format.DateTimeFormatter;
import java.util.Locale;

/** Fills the variables of a message for one run, and keeps the texts that the system itself says. */
public final class MDNotificationMessage {
    /** The subject of an action that has none. */
    public static final int DEFAULT_SUBJECT = 1;
    /** The e-mail message of an action that has none. */
    public static final int DEFAULT_MESSAGE = 2;
    /** The pager message of an action that has none. */
    public static final int DEFAULT_PAGER_MESSAGE = 3;
    /** The word for running status 0; those for the others follow. */
    public static final int STATUS_WORDS = 10;
    /** The words for notification condition 0; those for the others follow. */
    public static final int CONDITION_WORDS = 20;
    /** Message type and kind of a message: these words follow, from 1 on. */
    public static final int TYPE_WORDS = 30;
    /** What an action does, on one line. */
    public static final int ACTION_LINE = 40;
    /** A message was sent. */
    public static final int SENT_LINE = 41;
    /** A message was given up. */
    public static final int GIVEN_UP_LINE = 42;

    private static final DateTimeFormatter WALL_CLOCK =
        DateTimeFormatter.ofPattern("yyyy-MM-dd HH:mm:ss zzz", Locale.ROOT);

    public MDNotificationMessage() {
    }

    /**
     * `text` with its variables in place, for the run `history` of `task`; `output` stands for `${output}`. Names and
     * texts are those of the history, which says how they were when it ran, else of the task. What a run does not have
     * (an end, while it runs) is empty; null output is, too. Unknown variables stay. Null when text, task or
     * history is.
     */
    public String getResolvedMessage(Context context, MDTask task, MDTaskHistory history, String text, String output) {
        if (text == null || task == null || history == null) {
            return null;
        }
        return Template.fill(text, name -> value(name, context, task, history, output));
    }

    /** One of the system's own texts by its number; null for a number that has none. They may hold variables. */
    public static String getMRIMessage(int number) {
        return switch (number) {
            case DEFAULT_SUBJECT -> "${task}: ${status}";
            case DEFAULT_MESSAGE -> """
                Task ${task} (run ${run}): ${status}

                Return code: ${return-code}
                Started:     ${start}
                Ended:       ${end}
                Duration:    ${duration}
                Attempts:    ${attempts}
                Rows, bytes: ${rows}, ${bytes}

                ${output}
                """;
            case DEFAULT_PAGER_MESSAGE -> "${task}: ${status}, return code ${return-code}, run ${run}, ended ${end}";
            case STATUS_WORDS -> "none";
            case STATUS_WORDS + 1 -> "running";
            case STATUS_WORDS + 2 -> "succeeded";
            case STATUS_WORDS + 3 -> "failed";
            case STATUS_WORDS + 4 -> "missed";
            case STATUS_WORDS + 5 -> "interrupted";
            case STATUS_WORDS + 6 -> "waiting for a retry";
            case STATUS_WORDS + 7 -> "timed out";
            case CONDITION_WORDS -> "whenever it ends";
            case CONDITION_WORDS + 1 -> "on success";
            case CONDITION_WORDS + 2 -> "on failure";
            case TYPE_WORDS + 1 -> "e-mail";
            case TYPE_WORDS + 2 -> "pager";
            case TYPE_WORDS + 3 -> "e-mail and pager";
            case ACTION_LINE -> "${type} ${condition}: ${subject}";
            case SENT_LINE -> "${kind} to ${recipient} <${address}>: sent ${time}";
            case GIVEN_UP_LINE -> "${kind} to ${recipient} <${address}>: given up, failures: ${tries}, last: ${why}";
            default -> null;
        };
    }

    /** The word for a code out of a row of them that begins at `first`; the code itself when there is none. */
    static String word(int first, int code) {
        String word = code < 0 || code >= 10 ? null : getMRIMessage(first + code);
        return word == null ? Integer.toString(code) : word;
    }

    /** The word for a kind of message. */
    public static String kindWord(int kind) {
        return word(TYPE_WORDS, kind);
    }

    /** An instant on the wall clock, with the name of its zone; empty for null. */
    public static String wallClock(Timestamp instant) {
        return instant == null ? "" : WALL_CLOCK.format(instant.toInstant().atZone(ZoneId.systemDefault()));
    }

    private static String value(String name, Context context, MDTask task, MDTaskHistory history, String output) {
        return switch (name) {
            case "task" -> either(history.getTaskName(), task.getTaskName());
            case "description" -> either(history.getDescription(), task.getDescription());
            case "owner" -> either(history.getOwner(), task.getOwner());
            case "category" -> either(history.getTaskCategory(), task.getFormattedTaskCategoriesName(context));
            case "run" -> Long.toString(history.getTaskHistoryID());
            case "status" -> word(STATUS_WORDS, history.getRunningStatus());
            case "return-code" -> Integer.toString(history.getReturnCode());
            case "start" -> wallClock(history.getStart());
            case "end" -> wallClock(history.getEnd());
            case "duration" -> duration(history.getDuration());
            case "rows" -> Integer.toString(history.getRowCount());
            case "bytes" -> Integer.toString(history.getByteCount());
            case "attempts" -> Integer.toString(history.getRetryCount() + 1);
            case "user" -> either(history.getUserID(), task.getUserID());
            case "output" -> either(output, "");
            default -> null;
        };
    }

    private static String either(String first, String second) {
        return first != null ? first : second != null ? second : "";
    }

    /** Seconds as hours, minutes and seconds: 1:02:03. */
    private static String duration(int seconds) {
        return String.format(Locale.ROOT, "%d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
    }
}
