package com.orvik.kelvo.common.parl.api;

/**
 * The outcome of one store operation. The caller makes one, hands it to the operation as its last argument and reads
 * it afterwards; operations fill it in and throw nothing. Code 0 is success, also when the object is used again.
 */
public class PARLException extends Exception {
    private static final long serialVersionUID = 1L;

    private int rc;
    private String message;
    private transient Throwable nested;

    /** An outcome with the code `rc` and a message, which may be null. */
    public PARLException(int rc, String message) {
        super(null, null, false, false);
        this.rc = rc;
        this.message = message;
    }

    /** The store's code: 0, or one of {@link com.orvik.kelvo.mesk.store.StoreCodes}. */
    public int getRC() {
        return rc;
    }

    /** What went wrong in words, or null. Never holds a password. */
    @Override
    public String getMessage() {
        return message;
    }

    /** Replaces the outcome: code, message and the failure underneath, each of the last two may be null. */
    public void fill(int newRc, String newMessage, Throwable cause) {
        rc = newRc;
        message = newMessage;
        nested = cause;
    }

    /** The failure underneath, or null. */
    @Override
    public Throwable getCause() {
        return nested;
    }
}
