package com.orvik.kelvo.mesk.fake;

/** What one call of a method is answered with. */
public final class Answer {
    int code;
    int sqlCode;
    int sqlState;
    boolean hasResult;
    Object result;

    /** The programmed result, or {@code fallback} when the test left it open. */
    @SuppressWarnings("unchecked")
    public <T> T or(T fallback) {
        return hasResult ? (T) result : fallback;
    }
}
