package com.orvik.kelvo.mesk.admin;

/** A message that waits for being sent, as it was when it was read. */
public final class OutboxMessage {
    private final long outboxID;
    private final int kind;
    private final String recipient;
    private final String address;
    private final String sender;
    private final String subject;
    private final String body;
    private final int tries;

    OutboxMessage(long outboxID, int kind, String recipient, String address, String sender, String subject, String body,
        int tries) {
        this.outboxID = outboxID;
        this.kind = kind;
        this.recipient = recipient;
        this.address = address;
        this.sender = sender;
        this.subject = subject;
        this.body = body;
        this.tries = tries;
    }

    /** Its key, which no other message has or ever had. */
    public long getOutboxID() {
        return outboxID;
    }

    /** 1 e-mail, 2 pager. */
    public int getKind() {
        return kind;
    }

    /** Who gets it, in words; may be null. */
    public String getRecipient() {
        return recipient;
    }

    public String getAddress() {
        return address;
    }

    /** Who sends it, in words; may be null. */
    public String getSender() {
        return sender;
    }

    /** One line; may be null. */
    public String getSubject() {
        return subject;
    }

    /** May be null. */
    public String getBody() {
        return body;
    }

    /** How often sending it failed. */
    public int getTries() {
        return tries;
    }
}
