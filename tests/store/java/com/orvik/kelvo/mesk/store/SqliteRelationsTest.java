package com.orvik.kelvo.mesk.store;

import java.nio.file.Path;
import org.junit.jupiter.api.io.TempDir;

/** The contract of relations on SQLite. */
final class SqliteRelationsTest extends RelationContract {
    @TempDir
    Path folder;

    @Override
    String emptyStore() {
        return "jdbc:sqlite:" + folder.resolve("store.mesk");
    }
}
