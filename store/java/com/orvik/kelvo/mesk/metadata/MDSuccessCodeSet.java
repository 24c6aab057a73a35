package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.common.parl.api.Context;
import com.orvik.kelvo.common.parl.api.PARLException;
import com.orvik.kelvo.mesk.store.Columns;
import com.orvik.kelvo.mesk.store.Database;
import com.orvik.kelvo.mesk.store.Guard;
import com.orvik.kelvo.mesk.store.Operation;
import com.orvik.kelvo.mesk.store.Record;
import com.orvik.kelvo.mesk.store.StoreCodes;
import com.orvik.kelvo.mesk.store.StoreException;
import com.orvik.kelvo.mesk.store.Table;
import java.sql.SQLException;
import java.util.Collection;

/** A set of conditions on the return code of a task; a run of which any holds has succeeded. */
public final class MDSuccessCodeSet extends Record {
    private static final Table TABLE = new Table("success_code_set", 1, Guard.SUCCESS_CODES);

    private long successCodeSetID;

    /** A record that is not in the store yet. */
    public MDSuccessCodeSet() {
    }

    /** The same, reporting whether the session can be used. */
    public MDSuccessCodeSet(Context context, PARLException exception) {
        super(context, exception);
    }

    @Override
    public Table table() {
        return TABLE;
    }

    @Override
    public void columns(Columns columns) throws SQLException {
        successCodeSetID = columns.number("success_code_set_id", successCodeSetID);
    }

    @Override
    public void takeKey(Database database) throws SQLException, StoreException {
        if (successCodeSetID == 0) {
            successCodeSetID = database.nextKey();
        }
    }

    /** With a set go its conditions and its place in tasks. */
    @Override
    public void deleting(Database database) throws SQLException, StoreException {
        TaskRelations.forgetCodeSet(database, successCodeSetID);
    }

    /** The conditions, by key; 30014 when there are none. */
    public Collection<?> retrieveCodeConditionList(Context context, PARLException exception) {
        return Operation.readList(context, exception, StoreCodes.NO_RELATION, database -> database.list(
            MDCodeCondition::new, "WHERE success_code_set_id = ? ORDER BY code_condition_id", successCodeSetID));
    }

    public long getSuccessCodeSetID() {
        return successCodeSetID;
    }

    public void setSuccessCodeSetID(long value) {
        successCodeSetID = value;
    }
}
