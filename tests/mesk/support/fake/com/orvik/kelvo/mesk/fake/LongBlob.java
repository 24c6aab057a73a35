package com.orvik.kelvo.mesk.fake;

/** A blob of zeros that is as long as it is told to be. */
public final class LongBlob {
    private final long length;

    public LongBlob(long length) {
        this.length = length;
    }

    public long length() {
        return length;
    }

    public byte[] getBytes(long position, int count) {
        Script.call(this, "getBytes", position, count);
        return new byte[count];
    }
}
