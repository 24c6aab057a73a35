package com.orvik.kelvo.mesk.store;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.metadata.MDTask;
import com.orvik.kelvo.mesk.metadata.MDUtility;

/** Takes keys and stores tasks under them, telling of each, until it is killed. */
final class KeyTaker {
    private KeyTaker() {
    }

    public static void main(String[] arguments) {
        PARLException outcome = new PARLException(0, null);
        Context context = MDUtility.connectMD(arguments[0], null, null, null, outcome);
        for (long i = 0; outcome.getRC() == StoreCodes.OK; i++) {
            MDTask task = new MDTask(context, outcome);
            task.setTaskID(task.getReferenceID(context, outcome));
            if (outcome.getRC() != StoreCodes.OK) {
                break;
            }
            System.out.println("key " + task.getTaskID());
            task.setTaskName("task " + task.getTaskID());
            task.insert(context, outcome);
            System.out.println("open " + task.getTaskID());
            if (i % 3 == 2) {
                MDUtility.rollback(context, outcome);
            } else {
                MDUtility.commit(context, outcome);
                System.out.println("done " + task.getTaskID());
            }
        }
        System.out.println("failed " + outcome.getRC() + " " + outcome.getMessage());
        System.exit(1);
    }
}
