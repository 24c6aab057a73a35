package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.fake.Script;
import java.sql.SQLException;
import javax.sql.rowset.serial.SerialClob;

/** A text of the fake store. */
@SuppressWarnings("serial")
public class MDClob extends SerialClob {
    public MDClob(String text) throws SQLException {
        super(text == null ? new char[0] : text.toCharArray());
        Script.construct(this, text);
    }
}
