package com.orvik.kelvo.mesk.sched;

import java.io.IOException;
import java.io.StringReader;
import java.util.Properties;
import java.util.Set;

/** What a step copies, read from the five texts of {@link DWAgentClient}. */
record StepParameters(Endpoint source, String query, Endpoint target, String table, boolean replace, int batch,
    int retries, int retryIntervalSeconds) {

    private static final String MODE = "mode";
    private static final String BATCH = "batch";
    private static final String RETRIES = "retries";
    private static final String RETRY_INTERVAL = "retryIntervalSeconds";
    private static final String SOURCE_USER = "sourceUser";
    private static final String SOURCE_PASSWORD_FILE = "sourcePasswordFile";
    private static final String TARGET_USER = "targetUser";
    private static final String TARGET_PASSWORD_FILE = "targetPasswordFile";
    private static final Set<String> NAMES = Set.of(MODE, BATCH, RETRIES, RETRY_INTERVAL, SOURCE_USER,
        SOURCE_PASSWORD_FILE, TARGET_USER, TARGET_PASSWORD_FILE);

    static StepParameters of(String source, String query, String target, String table, String options)
        throws StepFailure {
        Properties given = new Properties();
        try {
            given.load(new StringReader(options == null ? "" : options));
        } catch (IOException | IllegalArgumentException malformed) {
            throw wrong("the options are not in the syntax of java.util.Properties");
        }
        for (String name : given.stringPropertyNames()) {
            if (!NAMES.contains(name)) {
                throw wrong("unknown option " + name);
            }
        }
        String mode = given.getProperty(MODE, "append");
        if (!mode.equals("append") && !mode.equals("replace")) {
            throw wrong(MODE + ": append or replace, not " + mode);
        }
        return new StepParameters(
            new Endpoint("source", source, given.getProperty(SOURCE_USER), given.getProperty(SOURCE_PASSWORD_FILE)),
            required("query", query),
            new Endpoint("target", target, given.getProperty(TARGET_USER), given.getProperty(TARGET_PASSWORD_FILE)),
            required("target table", table), mode.equals("replace"), number(given, BATCH, 1000, 1, 100_000),
            number(given, RETRIES, 0, 0, Integer.MAX_VALUE), number(given, RETRY_INTERVAL, 0, 0, Integer.MAX_VALUE));
    }

    private static String required(String what, String value) throws StepFailure {
        if (value == null || value.isBlank()) {
            throw wrong("no " + what + " was given");
        }
        return value;
    }

    private static int number(Properties given, String name, int usual, int least, int most) throws StepFailure {
        String text = given.getProperty(name);
        try {
            int value = text == null ? usual : Integer.parseInt(text.strip());
            if (value >= least && value <= most) {
                return value;
            }
        } catch (NumberFormatException notANumber) {
            // Said below.
        }
        throw wrong(name + ": a number from " + least + " to " + most + ", not " + text);
    }

    private static StepFailure wrong(String message) {
        return new StepFailure(StepFailure.PARAMETERS, message);
    }
}
