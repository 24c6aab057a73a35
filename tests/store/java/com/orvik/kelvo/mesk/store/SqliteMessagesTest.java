package com.orvik.kelvo.mesk.store;

import java.nio.file.Path;
import org.junit.jupiter.api.io.TempDir;

/** The contract of messages and statistics on SQLite. */
final class SqliteMessagesTest extends MessagesContract {
    @TempDir
    Path folder;

    @Override
    String emptyStore() {
        return "jdbc:sqlite:" + folder.resolve("store.mesk");
    }
}
