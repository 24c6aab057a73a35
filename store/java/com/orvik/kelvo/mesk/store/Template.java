package com.orvik.kelvo.mesk.store;

import java.util.function.UnaryOperator;

/** Texts with variables such as `${task}`. Two dollar signs stand for one. */
public final class Template {
    private Template() {
    }

    /**
     * The text with values in place of variables. `value` answers null for a name that it does not know, which then
     * stays as it stands. What a value holds is not looked at again.
     */
    public static String fill(String text, UnaryOperator<String> value) {
        StringBuilder filled = new StringBuilder(text.length());
        int at = 0;
        while (at < text.length()) {
            int end = endOfVariable(text, at);
            String known = end < 0 ? null : value.apply(text.substring(at + 2, end - 1));
            if (known != null) {
                filled.append(known);
                at = end;
            } else {
                filled.append(text.charAt(at));
                at += text.startsWith("$$", at) ? 2 : 1;
            }
        }
        return filled.toString();
    }

    /** The text's first `length` characters; variables are kept whole and not counted. */
    public static String cut(String text, int length) {
        int at = 0;
        int counted = 0;
        while (at < text.length()) {
            int end = endOfVariable(text, at);
            if (end >= 0) {
                at = end;
            } else if (counted == length) {
                break;
            } else {
                at += text.startsWith("$$", at) ? 2 : Character.charCount(text.codePointAt(at));
                counted++;
            }
        }
        return text.substring(0, at);
    }

    /** The text on one line: breaks, tabs and the like become a space, those at its ends nothing. */
    public static String oneLine(String text) {
        return text.replaceAll("[\\p{Cntrl}\\u0085\\u2028\\u2029]+", " ").strip();
    }

    /** Where the variable that begins at `at` ends, or -1 when none begins there. */
    private static int endOfVariable(String text, int at) {
        if (!text.startsWith("${", at)) {
            return -1;
        }
        int end = at + 2;
        while (end < text.length() && (Character.isLetterOrDigit(text.charAt(end)) || text.charAt(end) == '-')) {
            end++;
        }
        return end > at + 2 && end < text.length() && text.charAt(end) == '}' ? end + 1 : -1;
    }
}
