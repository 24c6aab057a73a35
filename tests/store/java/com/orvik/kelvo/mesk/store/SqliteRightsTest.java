package com.orvik.kelvo.mesk.store;

import java.nio.file.Path;
import org.junit.jupiter.api.io.TempDir;

/** Rights on SQLite. */
final class SqliteRightsTest extends RightsContract {
    @TempDir
    Path folder;

    @Override
    String emptyStore() {
        return "jdbc:sqlite:" + folder.resolve("store.mesk");
    }
}
