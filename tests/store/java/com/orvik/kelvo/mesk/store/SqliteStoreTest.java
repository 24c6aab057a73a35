package com.orvik.kelvo.mesk.store;

import java.nio.file.Path;
import org.junit.jupiter.api.io.TempDir;

/** The contract on SQLite. */
final class SqliteStoreTest extends StoreContract {
    @TempDir
    Path folder;

    @Override
    String emptyStore() {
        return "jdbc:sqlite:" + folder.resolve("store.mesk");
    }
}
