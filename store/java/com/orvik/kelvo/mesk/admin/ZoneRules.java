package com.orvik.kelvo.mesk.admin;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Operation;
import java.time.Instant;
import java.time.ZoneId;
import java.time.zone.ZoneOffsetTransition;
import java.util.ArrayList;

/**
 * The time zone that the JVM is in, for a host that compares it with its own. Moments are seconds since 1970 UTC,
 * offsets are local time less UTC in seconds.
 */
public final class ZoneRules {
    private ZoneRules() {
    }

    /** The offset at that moment; 0 after a failure. */
    public static int offset(Context context, long moment, PARLException exception) {
        return Operation.read(context, exception, 0,
            database -> rules().getOffset(Instant.ofEpochSecond(moment)).getTotalSeconds());
    }

    /**
     * The changes of the clocks after `from` and before `until`, in order: texts of the moment and the offsets before
     * and after it, with a blank between. An empty list when there is none; null after a failure.
     */
    public static ArrayList<?> changes(Context context, long from, long until, PARLException exception) {
        return Operation.read(context, exception, null, database -> {
            ArrayList<String> list = new ArrayList<>();
            ZoneOffsetTransition next = rules().nextTransition(Instant.ofEpochSecond(from));
            while (next != null && next.toEpochSecond() < until) {
                list.add(next.toEpochSecond() + " " + next.getOffsetBefore().getTotalSeconds() + " "
                    + next.getOffsetAfter().getTotalSeconds());
                next = rules().nextTransition(next.getInstant());
            }
            return list;
        });
    }

    private static java.time.zone.ZoneRules rules() {
        return ZoneId.systemDefault().getRules();
    }
}
