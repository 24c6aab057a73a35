package com.orvik.kelvo.mesk.metadata;

/** A group of users by name. Names are compared in capitals. */
public final class MDGroup {
    private final String name;

    /** A group with this name, which may be null; whether the store knows it shows when it is asked. */
    public MDGroup(String name) {
        this.name = name;
    }

    public String getName() {
        return name;
    }

    @Override
    public String toString() {
        return String.valueOf(name);
    }
}
