package com.orvik.kelvo.mesk.store;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.metadata.MDTaskExec;
import com.orvik.kelvo.mesk.metadata.MDTaskExecType;
import com.orvik.kelvo.mesk.metadata.MDUtility;
import java.util.Collection;

/**
 * Takes on every queued run of a store that nobody else has, telling of each. Says "ready" with the runs in its hands
 * and begins when its standard input ends.
 */
final class Claimer {
    private Claimer() {
    }

    public static void main(String[] arguments) throws Exception {
        PARLException outcome = new PARLException(0, null);
        Context context = MDUtility.connectMD(arguments[0], null, null, null, outcome);
        Collection<?> runs = new MDTaskExecType(context, outcome).retrieveList(context, outcome);
        System.out.println("ready");
        while (System.in.read() >= 0) {
            continue;
        }
        for (Object run : runs) {
            int code = take(context, (MDTaskExec) run);
            if (code == StoreCodes.OK) {
                System.out.println("took " + ((MDTaskExec) run).getOriginalScheduleTime().getTime());
            } else if (code != StoreCodes.CLAIMED && code != StoreCodes.CHANGED) {
                System.out.println("failed " + code);
                System.exit(1);
            }
        }
        MDUtility.disconnectMD(context, outcome);
    }

    /** The code of taking one run on: 0 for whoever gets it. */
    static int take(Context context, MDTaskExec run) {
        PARLException outcome = new PARLException(0, null);
        run.setStatus(2);
        run.setTaskHistoryID(run.getReferenceID(context, outcome));
        run.update(context, outcome);
        if (outcome.getRC() == StoreCodes.OK) {
            MDUtility.commit(context, outcome);
        }
        int code = outcome.getRC();
        if (code != StoreCodes.OK) {
            MDUtility.rollback(context, outcome);
        }
        return code;
    }
}
