package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.Script;

/** The session of the fake store. */
public class MDUtility {
    public MDUtility() {
        Script.construct(this);
    }

    public static Context connectMD(String a, String b, String c, String d, PARLException exception) {
        return Script.call(MDUtility.class, "connectMD", a, b, c, d, exception).or(new Context());
    }

    public static void disconnectMD(Context context, PARLException exception) {
        Script.call(MDUtility.class, "disconnectMD", context, exception);
    }

    public static void setAutoCommit(Context context, boolean on, PARLException exception) {
        Script.call(MDUtility.class, "setAutoCommit", context, on, exception);
    }

    public static void rollback(Context context, PARLException exception) {
        Script.call(MDUtility.class, "rollback", context, exception);
    }

    public static void commit(Context context, PARLException exception) {
        Script.call(MDUtility.class, "commit", context, exception);
    }

    public static void markedByScheduler(
            String s1, String s2, String s3, String s4, String s5, PARLException exception) {
        Script.call(MDUtility.class, "markedByScheduler", s1, s2, s3, s4, s5, exception);
    }

    public static void unmarkedByScheduler(
            String s1, String s2, String s3, String s4, String s5, PARLException exception) {
        Script.call(MDUtility.class, "unmarkedByScheduler", s1, s2, s3, s4, s5, exception);
    }

    public static int getNestedSQLCode(PARLException exception) {
        Script.property(MDUtility.class, "getNestedSQLCode", exception);
        return exception.sqlCode();
    }

    public static int getNestedIntSQLState(PARLException exception) {
        Script.property(MDUtility.class, "getNestedIntSQLState", exception);
        return exception.sqlState();
    }
}
