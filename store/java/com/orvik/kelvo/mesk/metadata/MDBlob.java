package com.orvik.kelvo.mesk.metadata;

import java.io.ByteArrayInputStream;
import java.io.ByteArrayOutputStream;
import java.io.InputStream;
import java.io.OutputStream;
import java.sql.Blob;
import java.sql.SQLException;
import java.util.Arrays;

/**
 * A binary large object in memory. Positions begin at 1. Reading throws nothing, because native code reads these
 * objects: what lies outside the content reads as nothing.
 */
public final class MDBlob implements Blob {
    private byte[] content;

    /** A large object with a copy of `content`; null is as an empty array. */
    public MDBlob(byte[] content) {
        this.content = content == null ? new byte[0] : content.clone();
    }

    /** A large object, or null for null. */
    public static MDBlob of(byte[] content) {
        return content == null ? null : new MDBlob(content);
    }

    /** The content of any large object; null for null and for one that cannot be read. */
    static byte[] bytesOf(Blob blob) {
        try {
            return blob == null ? null : blob.getBytes(1, (int) Math.min(blob.length(), Integer.MAX_VALUE));
        } catch (SQLException unreadable) {
            return null;
        }
    }

    @Override
    public long length() {
        return content.length;
    }

    /** At most `length` bytes from `position` on. */
    @Override
    public byte[] getBytes(long position, int length) {
        if (position < 1 || position > content.length || length < 1) {
            return new byte[0];
        }
        int start = (int) (position - 1);
        return Arrays.copyOfRange(content, start, start + Math.min(length, content.length - start));
    }

    @Override
    public InputStream getBinaryStream() {
        return new ByteArrayInputStream(content);
    }

    @Override
    public InputStream getBinaryStream(long position, long length) {
        return new ByteArrayInputStream(getBytes(position, (int) Math.min(length, Integer.MAX_VALUE)));
    }

    /** Where `pattern` begins at or behind `start`, or -1. */
    @Override
    public long position(byte[] pattern, long start) {
        for (long i = Math.max(start, 1); i + pattern.length - 1 <= content.length; i++) {
            int from = (int) (i - 1);
            if (Arrays.equals(content, from, from + pattern.length, pattern, 0, pattern.length)) {
                return i;
            }
        }
        return -1;
    }

    @Override
    public long position(Blob pattern, long start) {
        byte[] bytes = bytesOf(pattern);
        return bytes == null ? -1 : position(bytes, start);
    }

    @Override
    public int setBytes(long position, byte[] bytes) throws SQLException {
        return setBytes(position, bytes, 0, bytes.length);
    }

    @Override
    public int setBytes(long position, byte[] bytes, int offset, int length) throws SQLException {
        if (position < 1 || position > content.length + 1L || offset < 0 || length < 0
            || offset + (long) length > bytes.length || position - 1 + length > Integer.MAX_VALUE) {
            throw new SQLException("outside the large object");
        }
        int start = (int) (position - 1);
        content = Arrays.copyOf(content, Math.max(content.length, start + length));
        System.arraycopy(bytes, offset, content, start, length);
        return length;
    }

    /** A stream whose bytes replace those from `position` on when it is closed. */
    @Override
    public OutputStream setBinaryStream(long position) throws SQLException {
        setBytes(position, new byte[0]);
        return new ByteArrayOutputStream() {
            @Override
            public void close() {
                try {
                    setBytes(position, toByteArray());
                } catch (SQLException shorter) {
                    throw new IllegalStateException(shorter);
                }
            }
        };
    }

    @Override
    public void truncate(long length) throws SQLException {
        if (length < 0 || length > content.length) {
            throw new SQLException("outside the large object");
        }
        content = Arrays.copyOf(content, (int) length);
    }

    /** Gives the memory back; the object is empty afterwards. */
    @Override
    public void free() {
        content = new byte[0];
    }
}
