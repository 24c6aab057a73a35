package com.orvik.kelvo.common.parl.api;

/** A session of the fake store. */
public class Context {}
