package com.orvik.kelvo.mesk.store;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.nio.file.attribute.FileAttribute;
import java.nio.file.attribute.PosixFilePermissions;
import java.security.GeneralSecurityException;
import java.security.SecureRandom;
import java.util.EnumSet;
import javax.crypto.Cipher;
import javax.crypto.spec.GCMParameterSpec;
import javax.crypto.spec.SecretKeySpec;

/**
 * Seals and opens passwords with AES-GCM. The key is a file beside the store that only its owner can read, made when
 * the first password is sealed. A sealed password is one byte of format, the nonce, and the cipher text with its tag.
 */
final class Vault {
    private static final byte FORMAT = 1;
    private static final int KEY_BYTES = 32;
    private static final int NONCE_BYTES = 12;
    private static final int TAG_BITS = 128;

    private final Path file;
    private SecureRandom random;
    private SecretKeySpec key;

    /** A vault whose key is in `file`, or only in memory when that is null. */
    Vault(Path file) {
        this.file = file;
    }

    synchronized byte[] seal(byte[] plain) throws StoreException {
        try {
            if (key == null) {
                key = file == null ? new SecretKeySpec(fresh(KEY_BYTES), "AES") : readOrMake();
            }
            byte[] nonce = fresh(NONCE_BYTES);
            Cipher cipher = Cipher.getInstance("AES/GCM/NoPadding");
            cipher.init(Cipher.ENCRYPT_MODE, key, new GCMParameterSpec(TAG_BITS, nonce));
            byte[] text = cipher.doFinal(plain);
            return ByteBuffer.allocate(1 + NONCE_BYTES + text.length).put(FORMAT).put(nonce).put(text).array();
        } catch (IOException | GeneralSecurityException failure) {
            throw new StoreException(StoreCodes.INTERNAL, "a password cannot be sealed: " + failure, failure);
        }
    }

    synchronized byte[] open(byte[] sealed) throws StoreException {
        try {
            if (sealed.length < 1 + NONCE_BYTES || sealed[0] != FORMAT) {
                throw new StoreException(StoreCodes.DAMAGED, "a sealed password has an unknown form");
            }
            if (key == null) {
                if (file == null) {
                    throw new StoreException(StoreCodes.DAMAGED, "there is no key for the passwords");
                }
                key = read();
            }
            Cipher cipher = Cipher.getInstance("AES/GCM/NoPadding");
            cipher.init(Cipher.DECRYPT_MODE, key, new GCMParameterSpec(TAG_BITS, sealed, 1, NONCE_BYTES));
            return cipher.doFinal(sealed, 1 + NONCE_BYTES, sealed.length - 1 - NONCE_BYTES);
        } catch (IOException | GeneralSecurityException failure) {
            throw new StoreException(StoreCodes.DAMAGED, "a password cannot be opened with " + file, failure);
        }
    }

    private byte[] fresh(int length) {
        if (random == null) {
            random = new SecureRandom();
        }
        byte[] bytes = new byte[length];
        random.nextBytes(bytes);
        return bytes;
    }

    private SecretKeySpec read() throws IOException, StoreException {
        byte[] bytes = Files.readAllBytes(file);
        if (bytes.length != KEY_BYTES) {
            throw new StoreException(StoreCodes.DAMAGED, file + " is not a key");
        }
        return new SecretKeySpec(bytes, "AES");
    }

    /**
     * The key appears under its name complete and on the disk, or not at all: nobody reads half of one, and no
     * password is stored that a key lost in a power failure sealed. Of two processes the first one's key counts.
     */
    private SecretKeySpec readOrMake() throws IOException, StoreException {
        try {
            return read();
        } catch (NoSuchFileException first) {
            byte[] drawn = fresh(KEY_BYTES);
            Path draft = file.resolveSibling(file.getFileName() + "." + Long.toHexString(random.nextLong()));
            try {
                write(draft, drawn);
                Files.createLink(file, draft);
                try (FileChannel folder = FileChannel.open(file.getParent(), StandardOpenOption.READ)) {
                    folder.force(true);
                }
            } catch (FileAlreadyExistsException raced) {
                // The other process's key is as good.
            } finally {
                Files.deleteIfExists(draft);
            }
            return read();
        }
    }

    private static void write(Path path, byte[] bytes) throws IOException {
        FileAttribute<?> ownerOnly =
            PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rw-------"));
        try (FileChannel channel = FileChannel.open(path,
                EnumSet.of(StandardOpenOption.CREATE_NEW, StandardOpenOption.WRITE), ownerOnly)) {
            channel.write(ByteBuffer.wrap(bytes));
            channel.force(true);
        }
    }
}
