package com.orvik.kelvo.mesk.sched;

import java.sql.Connection;
import java.sql.Driver;
import java.sql.DriverPropertyInfo;
import java.sql.SQLException;
import java.util.Properties;
import java.util.logging.Logger;

/** A driver that refuses everybody, and shows all that it was given where nobody should. */
final class PasswordDriver implements Driver {
    Properties given;

    @Override
    public Connection connect(String url, Properties properties) throws SQLException {
        if (!acceptsURL(url)) {
            return null;
        }
        given = properties;
        throw new SQLException("refused: " + properties.getProperty("user") + " with "
            + properties.getProperty("password") + " at\n" + url + ", that is inURL, in option");
    }

    @Override
    public boolean acceptsURL(String url) {
        return url.startsWith("jdbc:password:");
    }

    @Override
    public DriverPropertyInfo[] getPropertyInfo(String url, Properties properties) {
        return new DriverPropertyInfo[0];
    }

    @Override
    public int getMajorVersion() {
        return 1;
    }

    @Override
    public int getMinorVersion() {
        return 0;
    }

    @Override
    public boolean jdbcCompliant() {
        return false;
    }

    @Override
    public Logger getParentLogger() {
        return Logger.getGlobal();
    }
}
