package com.orvik.kelvo.mesk.store;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;

/**
 * The user of the operating system whom this process works as. The system itself is asked, as properties of the virtual
 * machine are what its options say.
 */
record OsUser(int number, String name) {
    private static final int ROOT = 0;

    /** The user of this process; a system that cannot be asked leaves the name that the virtual machine gives. */
    static OsUser current() {
        Path self = Path.of("/proc/self");
        try {
            int number = effective(Files.readString(self.resolve("status")));
            // A process that hides belongs to root here.
            boolean named = numberOf(self) == number;
            return new OsUser(number, named ? Files.getOwner(self).getName() : Integer.toString(number));
        } catch (IOException | UnsupportedOperationException | IllegalArgumentException unknown) {
            return new OsUser(-1, System.getProperty("user.name"));
        }
    }

    /** Whether the user may work for everybody on the store in this file. */
    boolean rules(Path file) {
        try {
            return number == ROOT || number == numberOf(file);
        } catch (IOException | UnsupportedOperationException | IllegalArgumentException unknown) {
            return false;
        }
    }

    private static int numberOf(Path file) throws IOException {
        return (Integer) Files.getAttribute(file, "unix:uid");
    }

    /** The second number of the line of users: real, effective, saved, of files. */
    private static int effective(String status) {
        for (String line : status.split("\n")) {
            if (line.startsWith("Uid:")) {
                return Integer.parseInt(line.split("\\s+")[2]);
            }
        }
        throw new IllegalArgumentException("no line of users");
    }
}
