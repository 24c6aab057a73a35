package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.fake.Script;
import java.sql.SQLException;
import java.util.Arrays;
import javax.sql.rowset.serial.SerialBlob;

/** Bytes of the fake store. */
@SuppressWarnings("serial")
public class MDBlob extends SerialBlob {
    private final byte[] bytes;

    public MDBlob(byte[] bytes) throws SQLException {
        super(bytes);
        this.bytes = bytes;
        Script.construct(this, bytes);
    }

    /** Unlike its base, has a position behind the last byte, with nothing to read there. */
    @Override
    public byte[] getBytes(long position, int length) {
        int from = (int) position - 1;
        return Arrays.copyOfRange(bytes, from, Math.min(from + length, bytes.length));
    }
}
