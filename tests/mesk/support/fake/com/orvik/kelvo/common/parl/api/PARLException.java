package com.orvik.kelvo.common.parl.api;

import com.orvik.kelvo.mesk.fake.Script;

/** The exception object that the fake store fills in as the script says. */
@SuppressWarnings("serial")
public class PARLException extends Exception {
    private int code;
    private int sqlCode;
    private int sqlState;

    public PARLException(int code, String message) {
        super(message);
        this.code = code;
        Script.property(this, "new", code, message);
    }

    public int getRC() {
        Script.property(this, "getRC");
        return code;
    }

    public void fill(int newCode, int newSqlCode, int newSqlState) {
        code = newCode;
        sqlCode = newSqlCode;
        sqlState = newSqlState;
    }

    public int sqlCode() {
        return sqlCode;
    }

    public int sqlState() {
        return sqlState;
    }
}
