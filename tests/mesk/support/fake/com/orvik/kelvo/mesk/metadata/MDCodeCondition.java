package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.fake.FakeRecord;
import com.orvik.kelvo.mesk.fake.Script;

/** A condition of a success code set of the fake store. */
public class MDCodeCondition extends FakeRecord {
    private int code;
    private String condition;

    public MDCodeCondition(Context context, PARLException exception) {
        super(context, exception);
    }

    public int getCode() {
        Script.property(this, "getCode");
        return code;
    }

    public void setCode(int value) {
        Script.property(this, "setCode", value);
        code = value;
    }

    public String getCondition() {
        Script.property(this, "getCondition");
        return condition;
    }

    public void setCondition(String value) {
        Script.property(this, "setCondition", value);
        condition = value;
    }
}
