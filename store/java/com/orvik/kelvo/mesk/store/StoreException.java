package com.orvik.kelvo.mesk.store;

/** A failure with its store code, on the way to the {@link com.orvik.kelvo.common.parl.api.PARLException}. */
public class StoreException extends Exception {
    private static final long serialVersionUID = 1L;

    private final int code;

    public StoreException(int code, String message) {
        this(code, message, null);
    }

    public StoreException(int code, String message, Throwable cause) {
        super(message, cause);
        this.code = code;
    }

    public int code() {
        return code;
    }
}
