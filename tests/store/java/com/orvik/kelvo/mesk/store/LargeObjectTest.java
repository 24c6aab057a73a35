package com.orvik.kelvo.mesk.store;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.orvik.kelvo.mesk.metadata.MDBlob;
import com.orvik.kelvo.mesk.metadata.MDClob;
import java.io.OutputStream;
import java.io.Writer;
import java.nio.charset.StandardCharsets;
import java.sql.SQLException;
import org.junit.jupiter.api.Test;

/** Large objects in memory, as JDBC counts: from 1. */
final class LargeObjectTest {
    private static final byte[] BYTES = {10, 20, 30, 20, 30};

    @Test
    void bytesOutsideTheContentReadAsNothing() {
        MDBlob blob = new MDBlob(BYTES);
        assertEquals(5, blob.length());
        assertArrayEquals(BYTES, blob.getBytes(1, 5));
        assertArrayEquals(new byte[] {20, 30}, blob.getBytes(4, 100));
        assertArrayEquals(new byte[] {20, 30}, blob.getBytes(4, Integer.MAX_VALUE));
        for (long position : new long[] {Long.MIN_VALUE, -1, 0, 6, 1L << 40}) {
            assertEquals(0, blob.getBytes(position, 2).length);
        }
        assertEquals(0, blob.getBytes(1, 0).length);
        assertEquals(0, blob.getBytes(1, -5).length);
        assertEquals(0, new MDBlob(null).length());
        assertNull(MDBlob.of(null));
    }

    @Test
    void aBlobIsACopyOfItsArray() {
        byte[] mine = BYTES.clone();
        MDBlob blob = new MDBlob(mine);
        mine[0] = 99;
        blob.getBytes(1, 5)[1] = 99;
        assertArrayEquals(BYTES, blob.getBytes(1, 5));
    }

    @Test
    void bytesAreFoundFromTheStartOn() {
        MDBlob blob = new MDBlob(BYTES);
        assertEquals(2, blob.position(new byte[] {20, 30}, 1));
        assertEquals(4, blob.position(new byte[] {20, 30}, 3));
        assertEquals(-1, blob.position(new byte[] {20, 30}, 5));
        assertEquals(-1, blob.position(new byte[] {40}, 1));
        assertEquals(4, blob.position(new MDBlob(new byte[] {20}), 3));
    }

    @Test
    void bytesAreReplacedExtendedAndCut() throws Exception {
        MDBlob blob = new MDBlob(BYTES);
        assertEquals(2, blob.setBytes(5, new byte[] {1, 2}));
        assertArrayEquals(new byte[] {10, 20, 30, 20, 1, 2}, blob.getBytes(1, 9));
        try (OutputStream stream = blob.setBinaryStream(2)) {
            stream.write(7);
        }
        assertArrayEquals(new byte[] {10, 7}, blob.getBytes(1, 2));
        assertArrayEquals(new byte[] {7, 30}, blob.getBinaryStream(2, 2).readAllBytes());
        blob.truncate(1);
        assertArrayEquals(new byte[] {10}, blob.getBinaryStream().readAllBytes());
        assertThrows(SQLException.class, () -> blob.setBytes(3, BYTES));
        assertThrows(SQLException.class, () -> blob.setBytes(1, BYTES, 3, 3));
        assertThrows(SQLException.class, () -> blob.truncate(2));
        blob.free();
        assertEquals(0, blob.length());
    }

    @Test
    void textOutsideTheContentReadsAsNothing() {
        MDClob clob = new MDClob("söme");
        assertEquals(4, clob.length());
        assertEquals("söme", clob.getSubString(1, 4));
        assertEquals("me", clob.getSubString(3, Integer.MAX_VALUE));
        for (long position : new long[] {Long.MIN_VALUE, -1, 0, 5, 1L << 40}) {
            assertEquals("", clob.getSubString(position, 2));
        }
        assertEquals("", clob.getSubString(1, -1));
        assertEquals(0, new MDClob(null).length());
        assertNull(MDClob.of(null));
    }

    @Test
    void textIsFoundReplacedExtendedAndCut() throws Exception {
        MDClob clob = new MDClob("abcabc");
        assertEquals(4, clob.position("abc", 2));
        assertEquals(-1, clob.position("x", 1));
        assertEquals(1, clob.position(new MDClob("ab"), -3));
        assertEquals(3, clob.setString(5, "XYZ"));
        assertEquals("abcaXYZ", clob.getSubString(1, 99));
        try (Writer writer = clob.setCharacterStream(1)) {
            writer.write("12");
        }
        try (OutputStream stream = clob.setAsciiStream(3)) {
            stream.write("3".getBytes(StandardCharsets.US_ASCII));
        }
        assertEquals("123aXYZ", clob.getSubString(1, 99));
        assertEquals("23", readAll(clob.getCharacterStream(2, 2)));
        assertEquals("123aXYZ", readAll(clob.getCharacterStream()));
        assertEquals("123aXYZ", new String(clob.getAsciiStream().readAllBytes(), StandardCharsets.US_ASCII));
        clob.truncate(2);
        assertEquals("12", clob.getSubString(1, 99));
        assertThrows(SQLException.class, () -> clob.truncate(3));
        assertThrows(SQLException.class, () -> clob.setString(4, "x"));
        clob.free();
        assertEquals(0, clob.length());
    }

    private static String readAll(java.io.Reader reader) throws java.io.IOException {
        StringBuilder text = new StringBuilder();
        for (int c = reader.read(); c >= 0; c = reader.read()) {
            text.append((char) c);
        }
        return text.toString();
    }
}
