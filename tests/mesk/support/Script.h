// Drives the fake store: what it answers, and what it was asked.
#pragma once

#include <jni.h>

#include <string>
#include <vector>

namespace mesk::test {

/// What one call of a method is answered with; what is not said stays: code 0, and no result (null, 0, false).
class Answer {
 public:
  explicit Answer(JNIEnv* env) : env_(env) {}

  /// What goes into the exception object.
  Answer& code(int code, int sqlCode = 0, int sqlState = 0);
  Answer& returns(jobject result);  ///< any object, which stays the caller's; null
  Answer& returns(const char* text);
  Answer& returnsInt(int result);
  Answer& returnsLong(long long result);
  Answer& returnsBoolean(bool result);
  /// A java.util.ArrayList of these.
  Answer& returnsList(const std::vector<jobject>& elements);

 private:
  JNIEnv* env_;
};

/// A method is named "MDTask.insert", a constructor "new MDTask". Calls of the driver itself are never counted.
class Script {
 public:
  explicit Script(JNIEnv* env) : env_(env) {}

  /// Begins a new answer. Answers to one method are used up in order; the last one stays.
  Answer on(const char* method);

  /// The operations on the store so far, such as "MDTask.insert(context, exception)". Texts stand in quotes, a time as
  /// "Timestamp@" and milliseconds, a record with a key as "MDTask#7", a user as "MDUser:NAME".
  std::vector<std::string> calls() const;

  /// Getters, setters and questions about exception objects so far, such as `MDTask.setOwner("JOE")`.
  std::vector<std::string> properties() const;

  /// How often `call` stands in `calls` or `properties`.
  int count(const std::string& call) const;

  /// Forgets what was asked.
  void forget();

  /// Forgets the answers too.
  void reset();

 private:
  JNIEnv* env_;
};

}  // namespace mesk::test
