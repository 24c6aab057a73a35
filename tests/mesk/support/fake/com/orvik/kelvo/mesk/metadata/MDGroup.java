package com.orvik.kelvo.mesk.metadata;

import com.orvik.kelvo.mesk.fake.Script;

/** A group of the fake store. */
public class MDGroup {
    private final String name;

    public MDGroup(String name) {
        this.name = name;
        Script.construct(this, name);
    }

    @Override
    public String toString() {
        return "MDGroup:" + name;
    }
}
