// The base of every wrapper: one Java object, reached by method name.
//
// What holds for every wrapper, so that no wrapper repeats it:
//
//  1. A wrapper holds two global references, the object and its class, and no data of its own unless its
//     header says so. It is live when both are non-null. An operation of a dead wrapper does nothing and gives
//     0, null or -300.
//  2. Methods are looked up by name and signature at each call. A method that is not there gives the same
//     results as a dead wrapper. Nothing is thrown across the library's boundary, and pending Java exceptions
//     are neither asked for nor cleared: the store reports through the exception object.
//  3. Operations on the store take the context of `MDUtility::connectMD` and answer 0 for success, -300 when
//     the Java method was never reached, or the store's code. `sqlCode` starts at 0 and is filled only with a
//     code that is not 0. With an object as the result the code comes through `rc`.
//  4. Strings, arrays and wrappers that an operation hands out belong to the caller: `delete` for a string, a
//     buffer and a wrapper, `delete[]` for an array, each element first. An empty Java string is a null native
//     one, and "" goes to Java as null. Texts are in the process code page.
//  5. A `jobject` that an operation returns is a local reference that the caller deletes.
//  6. A wrapper may be used and deleted on any thread, by one thread at a time, each with its own context.
//     Deleting attaches the thread if it was not. Wrappers are not copied.
#pragma once

#include <jni.h>

#include <mesk/bridge/Export.h>
#include <mesk/bridge/ThreadContext.h>

namespace mesk {

class Blob;
class Clob;
class SQLDate;
class SQLTime;
class SCTimestamp;

class MESK_API MDObject {
 public:
  /// Wraps `obj`, which stays the caller's. Null, or a reference that is refused, makes a dead wrapper.
  MDObject(ThreadContext& ctx, jobject obj);
  ~MDObject();
  MDObject(const MDObject&) = delete;
  MDObject& operator=(const MDObject&) = delete;

  /// The result of the Java object's `clone`, a local reference for the caller; null when there is no such method
  /// or the wrapper is dead.
  jobject clone(ThreadContext& ctx);

  /// A new native string, null for a null or empty one or out of memory. Consumes the local reference `s`,
  /// unless there is no memory for the first copy (probe 20 in the log).
  static char* jStringToString(ThreadContext& ctx, jstring s);

  /// A new Java string, a local reference for the caller; null for a null or empty one or out of memory.
  static jstring stringTojString(ThreadContext& ctx, const char* s);

  jobject object;      ///< global reference, null when dead
  jclass objectClass;  ///< global reference, null when dead

 protected:
  /// A dead wrapper, for a constructor that makes its object itself.
  MESK_LOCAL MDObject();

  // One Java property by the name of its method. A null object as a value reaches Java as null.
  void setInt(ThreadContext& ctx, const char* method, int value);
  void setLong(ThreadContext& ctx, const char* method, long long value);
  void setString(ThreadContext& ctx, const char* method, const char* value);
  void setBlob(ThreadContext& ctx, const char* method, Blob* value);
  void setClob(ThreadContext& ctx, const char* method, Clob* value);
  void setDate(ThreadContext& ctx, const char* method, SQLDate* value);
  void setTime(ThreadContext& ctx, const char* method, SQLTime* value);
  void setTimestamp(ThreadContext& ctx, const char* method, SCTimestamp* value);
  int getInt(ThreadContext& ctx, const char* method) const;
  long long getLong(ThreadContext& ctx, const char* method) const;
  char* getString(ThreadContext& ctx, const char* method) const;
  Blob* getBlob(ThreadContext& ctx, const char* method) const;
  Clob* getClob(ThreadContext& ctx, const char* method) const;
  SQLDate* getDate(ThreadContext& ctx, const char* method) const;
  SQLTime* getTime(ThreadContext& ctx, const char* method) const;
  SCTimestamp* getTimestamp(ThreadContext& ctx, const char* method) const;

  /// `objectClass` becomes the class of that name; false when there is none.
  MESK_LOCAL bool bindClass(ThreadContext& ctx, const char* className);

  /// `object` becomes a new object of `objectClass`. False when none was made: the constructor is missing or refuses.
  template <class... Arguments>
  MESK_LOCAL bool construct(ThreadContext& ctx, const char* signature, Arguments... arguments);

  // As `construct`, by the constructor that takes one text: null when it is missing.
  MESK_LOCAL jmethodID textConstructor(ThreadContext& ctx) const;
  MESK_LOCAL void constructFromText(ThreadContext& ctx, jmethodID constructor, const char* text);

  /// A new object of a store class: its constructor gets the context and a fresh exception object.
  MESK_LOCAL void create(ThreadContext& ctx, const char* className, jobject context, int& rc, int& sqlCode);

  // The persistence operations that every entity has.
  MESK_LOCAL int persist(ThreadContext& ctx, const char* method, jobject context, int& sqlCode);
  MESK_LOCAL long long referenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

 private:
  MESK_LOCAL bool keepObject(ThreadContext& ctx, jobject local);
  template <class Value>
  MESK_LOCAL void setProperty(ThreadContext& ctx, const char* method, const char* signature, Value value);
  template <class Wrapper>
  MESK_LOCAL Wrapper* getWrapped(ThreadContext& ctx, const char* method, const char* signature) const;
};

}  // namespace mesk
