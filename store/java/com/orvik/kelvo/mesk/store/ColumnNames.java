package com.orvik.kelvo.mesk.store;

import java.sql.Timestamp;
import java.util.ArrayList;
import java.util.List;

/** Collects the names of the columns. */
final class ColumnNames extends Columns {
    final List<String> names = new ArrayList<>();

    @Override
    public int integer(String column, int value) {
        names.add(column);
        return value;
    }

    @Override
    public long number(String column, long value) {
        names.add(column);
        return value;
    }

    @Override
    public long reference(String column, long value) {
        names.add(column);
        return value;
    }

    @Override
    public String text(String column, String value) {
        names.add(column);
        return value;
    }

    @Override
    public byte[] bytes(String column, byte[] value) {
        names.add(column);
        return value;
    }

    @Override
    public Secret secret(String column, Secret value) {
        names.add(column);
        return value;
    }

    @Override
    public Timestamp instant(String column, Timestamp value) {
        names.add(column);
        return value;
    }
}
