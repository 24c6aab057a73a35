package com.orvik.kelvo.mesk.store;

import java.nio.charset.StandardCharsets;
import java.sql.SQLException;

/**
 * A password. It is sealed on its way into the store and opened only when somebody asks for it, so that listing
 * records touches no key. It has no text form, and never shows in one.
 */
public final class Secret {
    private final byte[] plain;
    private final byte[] sealed;
    private final Vault vault;

    private Secret(byte[] plain, byte[] sealed, Vault vault) {
        this.plain = plain;
        this.sealed = sealed;
        this.vault = vault;
    }

    /** A secret of a text; null for null. */
    public static Secret of(String text) {
        return text == null ? null : new Secret(text.getBytes(StandardCharsets.UTF_8), null, null);
    }

    /** A secret of bytes, which are copied; null for null. */
    public static Secret of(byte[] bytes) {
        return bytes == null ? null : new Secret(bytes.clone(), null, null);
    }

    static Secret ofSealed(byte[] sealed, Vault vault) {
        return new Secret(null, sealed, vault);
    }

    /** A copy of the bytes; fails with DAMAGED when the store's key does not open them. */
    public byte[] open() throws StoreException {
        return plain != null ? plain.clone() : vault.open(sealed);
    }

    /** The bytes, or null when there are none or they cannot be opened. */
    public static byte[] bytesOf(Secret secret) {
        try {
            return secret == null ? null : secret.open();
        } catch (StoreException unreadable) {
            return null;
        }
    }

    /** The text, or null when there is none or it cannot be opened. */
    public static String textOf(Secret secret) {
        byte[] bytes = bytesOf(secret);
        return bytes == null ? null : new String(bytes, StandardCharsets.UTF_8);
    }

    byte[] sealedWith(Vault target) throws SQLException {
        if (sealed != null && vault == target) {
            return sealed;
        }
        try {
            return target.seal(open());
        } catch (StoreException failure) {
            throw new SQLException(failure.getMessage(), failure);
        }
    }
}
