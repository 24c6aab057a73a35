package com.orvik.kelvo.mesk.store;

import java.sql.Date;
import java.sql.SQLException;
import java.sql.Time;
import java.sql.Timestamp;

/**
 * A walk over the columns of a record, in the order of its table: key columns first. A record names each column once,
 * in one method, as `field = columns.kind("column", field)`; what the walk does with it (collect the names, bind the
 * values, read them back) is the subclass's business. A walk that does not read returns the value it was given.
 */
public abstract class Columns {
    public abstract int integer(String column, int value) throws SQLException;

    public abstract long number(String column, long value) throws SQLException;

    /** A key of another record that the database checks; 0 is kept as NULL. */
    public abstract long reference(String column, long value) throws SQLException;

    public abstract String text(String column, String value) throws SQLException;

    public abstract byte[] bytes(String column, byte[] value) throws SQLException;

    public abstract Secret secret(String column, Secret value) throws SQLException;

    /** An instant, kept as milliseconds since 1970 UTC; parts below a millisecond are dropped. */
    public abstract Timestamp instant(String column, Timestamp value) throws SQLException;

    /** A calendar day in the default zone, kept as text so that it stays that day in any other zone. */
    public final Date day(String column, Date value) throws SQLException {
        String text = text(column, value == null ? null : value.toString());
        return value != null && value.toString().equals(text) ? value : text == null ? null : Date.valueOf(text);
    }

    /** A time of day in the default zone, kept as text as a day is. */
    public final Time timeOfDay(String column, Time value) throws SQLException {
        String text = text(column, value == null ? null : value.toString());
        return value != null && value.toString().equals(text) ? value : text == null ? null : Time.valueOf(text);
    }
}
