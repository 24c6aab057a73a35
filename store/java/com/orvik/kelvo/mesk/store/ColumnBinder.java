package com.orvik.kelvo.mesk.store;

import java.sql.PreparedStatement;
import java.sql.SQLException;
import java.sql.Timestamp;
import java.sql.Types;

/** Binds a record's values to a statement whose key parameters stand after `others` further ones, or stand alone. */
final class ColumnBinder extends Columns {
    private final PreparedStatement statement;
    private final Vault vault;
    private final int keys;
    private final int others;
    private int walked;

    /** Binds all columns: the other columns to parameters 1 to `others`, the `keys` key columns behind them. */
    ColumnBinder(PreparedStatement statement, Vault vault, int keys, int others) {
        this.statement = statement;
        this.vault = vault;
        this.keys = keys;
        this.others = others;
    }

    /** The parameter of the next column, or 0 when the statement has none for it. */
    private int next() {
        int column = walked++;
        if (column < keys) {
            return others + column + 1;
        }
        return column - keys < others ? column - keys + 1 : 0;
    }

    @Override
    public int integer(String column, int value) throws SQLException {
        int parameter = next();
        if (parameter > 0) {
            statement.setInt(parameter, value);
        }
        return value;
    }

    @Override
    public long number(String column, long value) throws SQLException {
        int parameter = next();
        if (parameter > 0) {
            statement.setLong(parameter, value);
        }
        return value;
    }

    @Override
    public long reference(String column, long value) throws SQLException {
        int parameter = next();
        if (parameter > 0) {
            if (value == 0) {
                statement.setNull(parameter, Types.BIGINT);
            } else {
                statement.setLong(parameter, value);
            }
        }
        return value;
    }

    @Override
    public String text(String column, String value) throws SQLException {
        int parameter = next();
        if (parameter > 0) {
            statement.setString(parameter, value);
        }
        return value;
    }

    @Override
    public byte[] bytes(String column, byte[] value) throws SQLException {
        int parameter = next();
        if (parameter > 0) {
            statement.setBytes(parameter, value);
        }
        return value;
    }

    @Override
    public Secret secret(String column, Secret value) throws SQLException {
        int parameter = next();
        if (parameter > 0) {
            statement.setBytes(parameter, value == null ? null : value.sealedWith(vault));
        }
        return value;
    }

    @Override
    public Timestamp instant(String column, Timestamp value) throws SQLException {
        int parameter = next();
        if (parameter > 0) {
            if (value == null) {
                statement.setNull(parameter, Types.BIGINT);
            } else {
                statement.setLong(parameter, value.getTime());
            }
        }
        return value;
    }
}
