package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Record;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.SQLException;
import java.util.Set;

/**
 * A condition on a return code: "=" or "==" (equal), "!" or "!=" (not equal), "<" or ">" than the code. Who reads
 * conditions tells them by their first character, so there is no "<=" or ">=".
 */
public final class MDCodeCondition extends Record {
    private static final Table TABLE = new Table("code_condition", 1, Guard.SUCCESS_CODE);
    private static final Set<String> CONDITIONS = Set.of("=", "==", "!", "!=", "<", ">");

    private long codeConditionID;
    private long successCodeSetID;
    private int code;
    private String condition;

    /** A record that is not in the store yet. */
    public MDCodeCondition() {
    }

    /** The same, reporting whether the session can be used. */
    public MDCodeCondition(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        codeConditionID = columns.number("code_condition_id", codeConditionID);
        successCodeSetID = columns.reference("success_code_set_id", successCodeSetID);
        code = columns.integer("code", code);
        condition = columns.text("condition", condition);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (codeConditionID == 0) {
            codeConditionID = database.nextKey();
        }
    }

    @Override
    public void inserting(Database database) throws SQLException, StoreException {
        validate(database);
    }

    @Override
    public void updating(Database database) throws SQLException, StoreException {
        validate(database);
    }

    private void validate(Database database) throws SQLException, StoreException {
        if (condition == null || !CONDITIONS.contains(condition)) {
            throw new StoreException(StoreCodes.INVALID, "Condition: =, ==, !, !=, < or >; not " + condition);
        }
        if (successCodeSetID != 0) {
            Relation.CODE_SET.require(database, successCodeSetID);
        }
    }

    public long getCodeConditionID() {
        return codeConditionID;
    }

    public void setCodeConditionID(long value) {
        codeConditionID = value;
    }

    /** The set that the condition is in; 0 for none. */
    public long getSuccessCodeSetID() {
        return successCodeSetID;
    }

    public void setSuccessCodeSetID(long value) {
        successCodeSetID = value;
    }

    public int getCode() {
        return code;
    }

    public void setCode(int value) {
        code = value;
    }

    public String getCondition() {
        return condition;
    }

    public void setCondition(String value) {
        condition = value;
    }
}
