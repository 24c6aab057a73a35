// Java without a JVM: the objects that the queue asks, behind JNI's own function tables.
//
// A program that links this has no JVM; the JVM service that it gives its threads to is here. What these objects do
// not know ends the program: an entry of the table that nobody filled is null.
#pragma once

#include <jni.h>

namespace mesk::test {

/// The store behind the fake objects.
struct FakeStore {
  long long nextKey = 0;    ///< what `getReferenceID` answers, one more each time
  int refusedCreation = 0;  ///< the n-th record from now on is not made, 1 being the next; 0 refuses none
  int insertCode = 0;       ///< what `insert` reports
};

/// A thread's own methods, shared objects: asking a property takes no lock and orders nothing between threads, so that
/// a thread sanitizer sees every access to an object that the caller's own latch does not guard.
class FakeJava {
 public:
  static FakeStore store;

  /// A new object of a class, as a local reference.
  static jobject newObject(const char* className);

  static void deleteLocal(jobject object);

  /// Objects that somebody holds a reference to.
  static long objects();
};

}  // namespace mesk::test
