package com.orvik.kelvo.mesk.store;

import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;

/** A session on a store that nobody has used. A contract extends this; its subclass a database says where the store is. */
abstract class StoreFixture {
    /** An instant of the past, in milliseconds. */
    static final long INSTANT = 1_700_000_000_000L;

    String url;
    Session session;

    /** The URL of a store that nobody has used. */
    abstract String emptyStore() throws Exception;

    @BeforeEach
    void begin() throws Exception {
        url = emptyStore();
        session = new Session(url);
    }

    @AfterEach
    void end() {
        session.close();
    }
}
