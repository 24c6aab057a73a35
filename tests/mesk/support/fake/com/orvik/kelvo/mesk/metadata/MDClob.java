package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.fake.Script;
import java.sql.SQLException;
import javax.sql.rowset.serial.SerialClob;

/** A text of the fake store. */
@SuppressWarnings("serial")
public class MDClob extends SerialClob {
    private final String text;

    public MDClob(String text) throws SQLException {
        super(text == null ? new char[0] : text.toCharArray());
        this.text = text == null ? "" : text;
        Script.construct(this, text);
    }

    /** Unlike its base, has a position behind the last character, with nothing to read there. */
    @Override
    public String getSubString(long position, int length) {
        int from = (int) position - 1;
        return text.substring(from, Math.min(from + length, text.length()));
    }
}
