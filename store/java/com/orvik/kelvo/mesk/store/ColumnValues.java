package com.orvik.kelvo.mesk.store;

import java.sql.SQLException;
import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** Collects the values of a record as its row has them: whole numbers as Long, instants in milliseconds. */
final class ColumnValues extends Columns {
    private final Map<String, Object> values = new LinkedHashMap<>();
    private final Vault vault;
    private final int keys;

    ColumnValues(Vault vault, int keys) {
        this.vault = vault;
        this.keys = keys;
    }

    Map<String, Object> all() {
        return values;
    }

    /** The values of the key columns, in order. */
    List<Object> keys() {
        return new ArrayList<>(values.values()).subList(0, keys);
    }

    @Override
    public int integer(String column, int value) {
        values.put(column, (long) value);
        return value;
    }

    @Override
    public long number(String column, long value) {
        values.put(column, value);
        return value;
    }

    @Override
    public long reference(String column, long value) {
        values.put(column, value == 0 ? null : value);
        return value;
    }

    @Override
    public String text(String column, String value) {
        values.put(column, value);
        return value;
    }

    @Override
    public byte[] bytes(String column, byte[] value) {
        values.put(column, value);
        return value;
    }

    @Override
    public Secret secret(String column, Secret value) throws SQLException {
        values.put(column, value == null ? null : value.sealedWith(vault));
        return value;
    }

    @Override
    public Timestamp instant(String column, Timestamp value) {
        values.put(column, value == null ? null : value.getTime());
        return value;
    }
}
