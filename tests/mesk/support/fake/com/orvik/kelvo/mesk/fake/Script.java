package com.orvik.kelvo.mesk.fake;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Date;
import java.util.Deque;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/**
 * What a test says the store answers, and what the store was asked. A method is named {@code Class.method}, the
 * class without its package and a constructor as {@code new Class}. Answers to one method are used up in the order
 * in which they were programmed; the last one stays.
 */
public final class Script {
    private static final Map<String, Deque<Answer>> answers = new HashMap<>();
    private static final List<String> calls = new ArrayList<>();
    private static final List<String> properties = new ArrayList<>();
    private static Answer programmed;

    private Script() {}

    public static synchronized void reset() {
        answers.clear();
        calls.clear();
        properties.clear();
        programmed = null;
    }

    /** Forgets what was asked; the answers stay. */
    public static synchronized void forget() {
        calls.clear();
        properties.clear();
    }

    /** Begins a new answer to {@code method}; the methods below say what it is. */
    public static synchronized void on(String method) {
        programmed = new Answer();
        answers.computeIfAbsent(method, name -> new ArrayDeque<>()).add(programmed);
    }

    public static synchronized void code(int code, int sqlCode, int sqlState) {
        programmed.code = code;
        programmed.sqlCode = sqlCode;
        programmed.sqlState = sqlState;
    }

    public static synchronized void returns(Object result) {
        programmed.hasResult = true;
        programmed.result = result;
    }

    public static void returnsInt(int result) {
        returns(result);
    }

    public static void returnsLong(long result) {
        returns(result);
    }

    public static void returnsBoolean(boolean result) {
        returns(result);
    }

    public static void returnsList(Object[] elements) {
        returns(new ArrayList<>(Arrays.asList(elements)));
    }

    /** The operations on the store that were called, in order. */
    public static synchronized String[] calls() {
        return calls.toArray(new String[0]);
    }

    /** The getters, setters and questions about exception objects that were called, in order. */
    public static synchronized String[] properties() {
        return properties.toArray(new String[0]);
    }

    /**
     * An operation of {@code self} (an object, or the class of a static method) is called. The last argument, when it
     * is an exception object, gets the programmed code.
     */
    public static synchronized Answer call(Object self, String method, Object... arguments) {
        String name = nameOf(self) + "." + method;
        calls.add(record(name, arguments));
        return answer(name, arguments);
    }

    /** As {@link #call}, for a constructor. */
    public static synchronized Answer construct(Object self, Object... arguments) {
        String name = "new " + nameOf(self);
        calls.add(record(name, arguments));
        return answer(name, arguments);
    }

    /** A getter, a setter or a question about an exception object is called. */
    public static synchronized void property(Object self, String method, Object... arguments) {
        properties.add(record(nameOf(self) + "." + method, arguments));
    }

    private static Answer answer(String name, Object[] arguments) {
        Deque<Answer> waiting = answers.get(name);
        Answer answer = waiting == null ? new Answer() : waiting.size() > 1 ? waiting.remove() : waiting.peek();
        if (arguments.length > 0 && arguments[arguments.length - 1] instanceof PARLException exception) {
            exception.fill(answer.code, answer.sqlCode, answer.sqlState);
        }
        return answer;
    }

    private static String nameOf(Object self) {
        return (self instanceof Class<?> type ? type : self.getClass()).getSimpleName();
    }

    private static String record(String name, Object[] arguments) {
        StringBuilder text = new StringBuilder(name).append('(');
        String separator = "";
        for (Object argument : arguments) {
            text.append(separator).append(show(argument));
            separator = ", ";
        }
        return text.append(')').toString();
    }

    private static String show(Object argument) {
        if (argument instanceof String) {
            return '"' + (String) argument + '"';
        } else if (argument instanceof Context) {
            return "context";
        } else if (argument instanceof PARLException) {
            return "exception";
        } else if (argument instanceof Date date) {
            return argument.getClass().getSimpleName() + "@" + date.getTime();
        } else if (argument instanceof byte[] bytes) {
            return Arrays.toString(bytes);
        }
        return String.valueOf(argument);
    }
}
