package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.fake.Script;
import java.sql.SQLException;
import javax.sql.rowset.serial.SerialBlob;

/** Bytes of the fake store. */
@SuppressWarnings("serial")
public class MDBlob extends SerialBlob {
    public MDBlob(byte[] bytes) throws SQLException {
        super(bytes);
        Script.construct(this, bytes);
    }
}
