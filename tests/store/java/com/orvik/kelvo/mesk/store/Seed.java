package com.orvik.kelvo.mesk.store;

import java.util.Random;

/** Random numbers that can be had again: the environment's MESK_SEED, or else a seed of its own, which is printed. */
final class Seed {
    private Seed() {
    }

    static Random random(String test) {
        String given = System.getenv("MESK_SEED");
        long seed = given == null || given.isEmpty() ? new Random().nextLong() : Long.parseLong(given);
        System.out.println(test + ": MESK_SEED=" + seed);
        return new Random(seed);
    }
}
