package com.orvik.kelvo.mesk.sched;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.mesk.fake.Script;
import com.orvik.kelvo.mesk.metadata.MDTask;

/** An agent that fills every outcome with the numbers 101 to 105 and two retries, and answers as programmed. */
public class DWAgentClient {
    public DWAgentClient() {
        Script.construct(this);
    }

    public DWAgentClient(Context context, MDTask task, String s1, String s2, String s3, String s4, String s5) {
        Script.construct(this, context, task, s1, s2, s3, s4, s5);
    }

    public int run(long id, int n, DWAgentRtn outcome) {
        outcome.fill(101, 102, 103, 104, 105, 2);
        return Script.call(this, "run", id, n, outcome).or(0);
    }
}
