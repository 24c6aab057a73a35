package com.orvik.kelvo.mesk.metadata;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.InputStream;
import java.io.OutputStream;
import java.io.Reader;
import java.io.StringReader;
import java.io.StringWriter;
import java.io.Writer;
import java.nio.charset.StandardCharsets;
import java.sql.Clob;
import java.sql.SQLException;

/**
 * A large text in memory. Positions begin at 1 and count Java characters. Reading throws nothing, because native code
 * reads these objects: what lies outside the text reads as nothing.
 */
public final class MDClob implements Clob {
    private String content;

    /** A large text; null is as an empty one. */
    public MDClob(String content) {
        this.content = content == null ? "" : content;
    }

    /** A large text, or null for null. */
    public static MDClob of(String content) {
        return content == null ? null : new MDClob(content);
    }

    /** The content of any large text; null for null and for one that cannot be read. */
    static String textOf(Clob clob) {
        try {
            return clob == null ? null : clob.getSubString(1, (int) Math.min(clob.length(), Integer.MAX_VALUE));
        } catch (SQLException unreadable) {
            return null;
        }
    }

    @Override
    public long length() {
        return content.length();
    }

    /** At most `length` characters from `position` on. */
    @Override
    public String getSubString(long position, int length) {
        if (position < 1 || position > content.length() || length < 1) {
            return "";
        }
        int start = (int) (position - 1);
        return content.substring(start, start + Math.min(length, content.length() - start));
    }

    @Override
    public Reader getCharacterStream() {
        return new StringReader(content);
    }

    @Override
    public Reader getCharacterStream(long position, long length) {
        return new StringReader(getSubString(position, (int) Math.min(length, Integer.MAX_VALUE)));
    }

    /** The text in US-ASCII, as JDBC asks for; other characters become question marks. */
    @Override
    public InputStream getAsciiStream() {
        return new ByteArrayInputStream(content.getBytes(StandardCharsets.US_ASCII));
    }

    /** Where `pattern` begins at or behind `start`, or -1. */
    @Override
    public long position(String pattern, long start) {
        int found = content.indexOf(pattern, (int) Math.min(Math.max(start, 1) - 1, Integer.MAX_VALUE));
        return found < 0 ? -1 : found + 1L;
    }

    @Override
    public long position(Clob pattern, long start) {
        String text = textOf(pattern);
        return text == null ? -1 : position(text, start);
    }

    @Override
    public int setString(long position, String text) throws SQLException {
        return setString(position, text, 0, text.length());
    }

    @Override
    public int setString(long position, String text, int offset, int length) throws SQLException {
        if (position < 1 || position > content.length() + 1L || offset < 0 || length < 0
            || offset + (long) length > text.length()) {
            throw new SQLException("outside the large text");
        }
        int start = (int) (position - 1);
        String tail = start + length < content.length() ? content.substring(start + length) : "";
        content = content.substring(0, start) + text.substring(offset, offset + length) + tail;
        return length;
    }

    /** A writer whose characters replace those from `position` on when it is closed. */
    @Override
    public Writer setCharacterStream(long position) throws SQLException {
        setString(position, "");
        return new StringWriter() {
            @Override
            public void close() {
                replace(position, toString());
            }
        };
    }

    /** As {@link #setCharacterStream} for US-ASCII. */
    @Override
    public OutputStream setAsciiStream(long position) throws SQLException {
        setString(position, "");
        return new ByteArrayOutputStream() {
            @Override
            public void close() {
                replace(position, toString(StandardCharsets.US_ASCII));
            }
        };
    }

    @Override
    public void truncate(long length) throws SQLException {
        if (length < 0 || length > content.length()) {
            throw new SQLException("outside the large text");
        }
        content = content.substring(0, (int) length);
    }

    /** Gives the memory back; the object is empty afterwards. */
    @Override
    public void free() {
        content = "";
    }

    private void replace(long position, String text) {
        try {
            setString(position, text);
        } catch (SQLException shorter) {
            throw new IllegalStateException(shorter);
        }
    }
}
