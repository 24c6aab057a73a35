package com.orvik.kelvo.mesk.store;

import com.zaxxer.hikari.HikariConfig;
import com.zaxxer.hikari.HikariDataSource;
import com.zaxxer.hikari.pool.HikariPool;
import java.sql.Connection;
import java.sql.SQLException;
import java.util.HashMap;
import java.util.Map;
import java.util.Properties;

/** Pools of connections, one a store. Loaded only by programs that ask for pools. */
final class ConnectionPools {
    private static final Map<String, HikariDataSource> POOLS = new HashMap<>();

    private ConnectionPools() {
    }

    /** A connection of the pool for this URL and size. Closing it gives it back. */
    static Connection take(String url, Properties settings, int size) throws SQLException {
        HikariDataSource pool;
        synchronized (POOLS) {
            String key = size + " " + url + " " + settings;
            pool = POOLS.get(key);
            if (pool == null) {
                HikariConfig config = new HikariConfig();
                config.setJdbcUrl(url);
                config.setDriverClassName("org.sqlite.JDBC");
                config.setDataSourceProperties(settings);
                config.setMaximumPoolSize(size);
                try {
                    pool = new HikariDataSource(config);
                } catch (HikariPool.PoolInitializationException failure) {
                    if (failure.getCause() instanceof SQLException) {
                        throw (SQLException) failure.getCause();
                    }
                    throw failure;
                }
                POOLS.put(key, pool);
            }
        }
        return pool.getConnection();
    }
}
