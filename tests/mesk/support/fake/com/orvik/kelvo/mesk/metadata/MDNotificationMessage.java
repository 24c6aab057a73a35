package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.mesk.fake.Script;

/** The texts that notifications carry. */
public class MDNotificationMessage {
    public MDNotificationMessage() {
        Script.construct(this);
    }

    public String getResolvedMessage(
            Context context, MDTask task, MDTaskHistory history, String text1, String text2) {
        return Script.call(this, "getResolvedMessage", context, task, history, text1, text2).or(null);
    }

    public static String getMRIMessage(int messageNumber) {
        return Script.call(MDNotificationMessage.class, "getMRIMessage", messageNumber).or(null);
    }
}
