package com.orvik.kelvo.mesk.store;

import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Timestamp;

/** Reads the columns of the current row, which were selected in the order of the walk. */
final class ColumnReader extends Columns {
    private final ResultSet row;
    private final Vault vault;
    private int walked;

    ColumnReader(ResultSet row, Vault vault) {
        this.row = row;
        this.vault = vault;
    }

    @Override
    public int integer(String column, int value) throws SQLException {
        return row.getInt(++walked);
    }

    @Override
    public long number(String column, long value) throws SQLException {
        return row.getLong(++walked);
    }

    @Override
    public long reference(String column, long value) throws SQLException {
        return row.getLong(++walked);
    }

    @Override
    public String text(String column, String value) throws SQLException {
        return row.getString(++walked);
    }

    @Override
    public byte[] bytes(String column, byte[] value) throws SQLException {
        return row.getBytes(++walked);
    }

    @Override
    public Secret secret(String column, Secret value) throws SQLException {
        byte[] sealed = row.getBytes(++walked);
        return sealed == null ? null : Secret.ofSealed(sealed, vault);
    }

    @Override
    public Timestamp instant(String column, Timestamp value) throws SQLException {
        long milliseconds = row.getLong(++walked);
        return row.wasNull() ? null : new Timestamp(milliseconds);
    }
}
