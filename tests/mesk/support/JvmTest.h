// The fixture of every test that needs Java.
#pragma once

#include <gtest/gtest.h>
#include <mesk/bridge/Reference.h>
#include <mesk/bridge/ThreadContext.h>
#include <mesk/support/JniTable.h>
#include <mesk/support/Script.h>

#include <string>

namespace mesk::test {

/// One JVM a program. A test that leaves a local or global reference behind, or an exception of Java pending, fails.
class JniTest : public ::testing::Test {
 protected:
  JniTest();
  ~JniTest() override;

  /// A new Java string, not counted, that lives until the test ends.
  jstring javaString(const char* text);

  /// Whether an exception of Java is pending; shows and clears it.
  bool takePendingException();

  ThreadContext& ctx;  ///< of the test's thread
  JniTable jni;        ///< laid over `ctx.env` for as long as the test lives
};

/// With the fake store, and a fresh script for each test.
class JvmTest : public JniTest {
 protected:
  JvmTest();
  ~JvmTest() override;

  /// A new fake record or home by its class name without package, made with `context`; not recorded, not counted.
  /// A local reference that lives until the test ends.
  jobject newFake(const char* className);

  Script script;
  jobject context;  ///< what store operations take; a global reference of the fixture
};

/// The text that an operation handed out, deleted here; "(null)" for null.
std::string taken(char* text);

}  // namespace mesk::test
