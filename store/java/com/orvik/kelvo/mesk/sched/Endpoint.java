package com.orvik.kelvo.mesk.sched;

import java.io.BufferedReader;
import java.io.IOException;
import java.net.URLDecoder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.Path;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.SQLException;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.Properties;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A database that a step reads or writes: where it is, who asks, and what may not be shown of that. */
final class Endpoint {
    private static final String SQLITE = "jdbc:sqlite:";
    private static final String HIDDEN = "***";
    /** Up to the last of several "@": a password may hold one that somebody forgot to write as "%40". */
    private static final Pattern IN_URL = Pattern.compile("//[^?@:]*:([^?]*)@"
        + "|[?&;][^=?&;]*(?:password|passwd|pwd|secret|token)[^=?&;]*=([^&;]*)", Pattern.CASE_INSENSITIVE);
    private static final String PATIENCE = "busy_timeout";
    private static final String BUSY_MILLISECONDS = "60000";
    /** Reads and writes a file that exists, and takes a name that is a URI. */
    private static final String EXISTING_FILE = Integer.toString(0x02 | 0x40);

    private final String url;
    private final String user;
    private final String password;
    private final List<String> secrets = new ArrayList<>();

    /** `what` names the endpoint in messages; user and password file may be null or empty for none. */
    Endpoint(String what, String url, String user, String passwordFile) throws StepFailure {
        if (url == null || !url.startsWith("jdbc:")) {
            throw new StepFailure(StepFailure.PARAMETERS, what + ": a JDBC URL is needed");
        }
        this.url = url;
        this.user = user;
        this.password = passwordFile == null || passwordFile.isEmpty() ? null : firstLine(what, passwordFile);
        keepSecret(password);
        for (Matcher found = IN_URL.matcher(url); found.find();) {
            String secret = found.group(1) != null ? found.group(1) : found.group(2);
            keepSecret(secret);
            try {
                keepSecret(URLDecoder.decode(secret, StandardCharsets.UTF_8));
            } catch (IllegalArgumentException notEncoded) {
                // Then the text as it stands is all there is.
            }
        }
    }

    /** A connection; of SQLite one that makes no new file. One that writes waits for others that do, from the start. */
    Connection open(boolean writes) throws SQLException {
        Properties properties = new Properties();
        if (user != null && !user.isEmpty()) {
            properties.setProperty("user", user);
        }
        if (password != null) {
            properties.setProperty("password", password);
        }
        if (isSqlite()) {
            if (!url.contains(PATIENCE + "=")) {
                properties.setProperty(PATIENCE, BUSY_MILLISECONDS);
            }
            properties.setProperty("open_mode", EXISTING_FILE);
            properties.setProperty("transaction_mode", writes ? "IMMEDIATE" : "DEFERRED");
        }
        return DriverManager.getConnection(url, properties);
    }

    /** Whether both are one database for the same user, so that one connection does, and two would wait in vain. */
    boolean isSameAs(Endpoint other) {
        return url.equals(other.url) && String.valueOf(user).equals(String.valueOf(other.user))
            || isSqlite() && other.isSqlite() && file().equals(other.file());
    }

    /** A message of a driver without the passwords, and with the URL as far as it may be shown. */
    String hide(String message) {
        String shown = message.replace(url, shownURL());
        // The longest first: of one that holds another nothing may be left.
        secrets.sort(Comparator.comparingInt(String::length).reversed());
        for (String secret : secrets) {
            shown = shown.replace(secret, HIDDEN);
        }
        return shown;
    }

    private String shownURL() {
        int options = url.indexOf('?');
        String bare = options < 0 ? url : url.substring(0, options);
        return bare.replaceAll("//.*@", "//");
    }

    private boolean isSqlite() {
        return url.startsWith(SQLITE);
    }

    /** The file of an SQLite database, by its one name where it has several. */
    private String file() {
        String name = shownURL().substring(SQLITE.length());
        try {
            return Path.of(name.startsWith("file:") ? name.substring("file:".length()) : name).toRealPath().toString();
        } catch (IOException | InvalidPathException notThere) {
            return url;
        }
    }

    private void keepSecret(String secret) {
        if (secret != null && !secret.isEmpty()) {
            secrets.add(secret);
        }
    }

    private static String firstLine(String what, String file) throws StepFailure {
        try (BufferedReader lines = Files.newBufferedReader(Path.of(file))) {
            String line = lines.readLine();
            return line == null ? "" : line;
        } catch (IOException | InvalidPathException unreadable) {
            throw new StepFailure(StepFailure.PARAMETERS, what + ": cannot read the password file " + file);
        }
    }
}
