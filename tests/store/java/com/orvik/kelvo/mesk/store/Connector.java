package com.orvik.kelvo.mesk.store;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.metadata.MDScheduleEvent;
import com.orvik.kelvo.mesk.metadata.MDScheduleEventType;
import com.orvik.kelvo.mesk.metadata.MDUtility;

/** Begins a session, for a user if one is named, and says with which code, and which rules it finds there. */
final class Connector {
    private Connector() {
    }

    public static void main(String[] arguments) {
        PARLException outcome = new PARLException(0, null);
        String user = arguments.length > 1 ? arguments[1] : null;
        Context context = MDUtility.connectMD(arguments[0], null, user, null, outcome);
        System.out.println("code " + outcome.getRC());
        if (context != null) {
            for (Object each : new MDScheduleEventType(context, outcome).retrieveList(context, outcome)) {
                MDScheduleEvent rule = (MDScheduleEvent) each;
                System.out.println(rule.getStartDate() + " " + rule.getStartTime() + " " + rule.getEndDate());
            }
            MDUtility.disconnectMD(context, outcome);
        }
    }
}
