package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeRecord;
import com.orvik.kelvo.mesk.fake.Script;
import java.sql.Clob;
import java.util.Collection;

/** A notification action of the fake store. */
public class MDNotificationAction extends FakeRecord {
    private long notificationActionID;
    private long parentTaskID;
    private int parentSuffix;
    private String subject;
    private Clob emailMessage;
    private String emailMessageString;
    private Clob pagerMessage;
    private int messageType;
    private int notificationCondition;
    private int useEmailMessage;

    public MDNotificationAction(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public String toString() {
        return "MDNotificationAction#" + notificationActionID;
    }

    public long getNotificationActionID() {
        Script.property(this, "getNotificationActionID");
        return notificationActionID;
    }

    public void setNotificationActionID(long value) {
        Script.property(this, "setNotificationActionID", value);
        notificationActionID = value;
    }

    public long getParentTaskID() {
        Script.property(this, "getParentTaskID");
        return parentTaskID;
    }

    public void setParentTaskID(long value) {
        Script.property(this, "setParentTaskID", value);
        parentTaskID = value;
    }

    public int getParentSuffix() {
        Script.property(this, "getParentSuffix");
        return parentSuffix;
    }

    public void setParentSuffix(int value) {
        Script.property(this, "setParentSuffix", value);
        parentSuffix = value;
    }

    public String getSubject() {
        Script.property(this, "getSubject");
        return subject;
    }

    public void setSubject(String value) {
        Script.property(this, "setSubject", value);
        subject = value;
    }

    public Clob getEmailMessage() {
        Script.property(this, "getEmailMessage");
        return emailMessage;
    }

    public void setEmailMessage(Clob value) {
        Script.property(this, "setEmailMessage", value);
        emailMessage = value;
    }

    public String getEmailMessageString() {
        Script.property(this, "getEmailMessageString");
        return emailMessageString;
    }

    public void setEmailMessageString(String value) {
        Script.property(this, "setEmailMessageString", value);
        emailMessageString = value;
    }

    public Clob getPagerMessage() {
        Script.property(this, "getPagerMessage");
        return pagerMessage;
    }

    public void setPagerMessage(Clob value) {
        Script.property(this, "setPagerMessage", value);
        pagerMessage = value;
    }

    public int getMessageType() {
        Script.property(this, "getMessageType");
        return messageType;
    }

    public void setMessageType(int value) {
        Script.property(this, "setMessageType", value);
        messageType = value;
    }

    public int getNotificationCondition() {
        Script.property(this, "getNotificationCondition");
        return notificationCondition;
    }

    public void setNotificationCondition(int value) {
        Script.property(this, "setNotificationCondition", value);
        notificationCondition = value;
    }

    public int getUseEmailMessage() {
        Script.property(this, "getUseEmailMessage");
        return useEmailMessage;
    }

    public void setUseEmailMessage(int value) {
        Script.property(this, "setUseEmailMessage", value);
        useEmailMessage = value;
    }

    public String getPagerSubject() {
        Script.property(this, "getPagerSubject");
        return "PagerSubject of the fake store";
    }

    public String getPagerMessageString() {
        Script.property(this, "getPagerMessageString");
        return "PagerMessageString of the fake store";
    }

    public String getJournalMessageString() {
        Script.property(this, "getJournalMessageString");
        return "JournalMessageString of the fake store";
    }

    public String getSender() {
        Script.property(this, "getSender");
        return "Sender of the fake store";
    }

    public Collection<?> retrieveContactNameList(Context context, PARLException exception) {
        return Script.call(this, "retrieveContactNameList", context, exception).or(null);
    }

    public Collection<?> retrieveContactGroupNameList(Context context, PARLException exception) {
        return Script.call(this, "retrieveContactGroupNameList", context, exception).or(null);
    }
}
