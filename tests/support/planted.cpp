// Does one thing that a checker has to find, named by its argument, and would end well without one.
//   planted FAULT
#include <platform/MeskJVM.h>

#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <thread>

namespace {

/// Keeps the compiler from knowing what it is given.
template <class T>
T* unknown(T* pointer) {
  T* volatile hidden = pointer;
  return hidden;
}

/// Keeps the compiler from leaving out what makes it.
void use(int value) { [[maybe_unused]] volatile int kept = value; }

int useAfterFree() {
  int* const value = unknown(new int(1));
  delete value;
  use(*unknown(value));
  return 0;
}

int overflow() {
  char* const text = unknown(new char[8]);
  text[8] = 'x';
  delete[] text;
  return 0;
}

int wrongDelete() {
  delete unknown(new int[4]);
  return 0;
}

int leak() {
  *unknown(new char[100]) = 'x';
  return 0;
}

int uninitialised() {
  const int* const value = unknown(new int);
  if (*value == 1) std::puts("it happens to be 1");
  delete value;
  return 0;
}

int signedOverflow() {
  int most = std::numeric_limits<int>::max();
  use(*unknown(&most) + 1);
  return 0;
}

int race() {
  int counted = 0;
  std::thread other([&] { ++counted; });
  ++counted;
  other.join();
  use(counted);
  return 0;
}

// ---- with a JVM ---------------------------------------------------------------------------------------------------

JNIEnv* attached() {
  mesk::MeskJVM& service = *mesk::MeskJVM::getInstance();
  if (service.createJVM() != mesk::MeskJVM::kOk) throw std::bad_alloc();
  void* env = nullptr;
  service.getJVM()->AttachCurrentThread(&env, nullptr);
  return static_cast<JNIEnv*>(env);
}

/// The JVM reads the text, not this program.
int freedTextToJava() {
  JNIEnv* const env = attached();
  char* const text = unknown(new char[8]{"nightly"});
  delete[] text;
  env->NewStringUTF(unknown(text));
  return 0;
}

int leakBesideJava() {
  attached();
  return leak();
}

int raceBesideJava() {
  attached();
  return race();
}

// ---- misuse of JNI ------------------------------------------------------------------------------------------------

/// What the library does on purpose.
int uncheckedException() {
  JNIEnv* const env = attached();
  jstring const text = env->NewStringUTF("nightly");
  jclass const cls = env->GetObjectClass(text);
  env->CallIntMethod(text, env->GetMethodID(cls, "length", "()I"));
  env->FindClass("java/lang/String");
  return 0;
}

int pendingException() {
  JNIEnv* const env = attached();
  env->FindClass("no/such/Class");
  env->FindClass("java/lang/String");
  env->ExceptionClear();
  return 0;
}

int freedReference() {
  JNIEnv* const env = attached();
  jstring const text = env->NewStringUTF("nightly");
  env->DeleteLocalRef(text);
  env->GetStringLength(text);
  return 0;
}

constexpr struct {
  const char* name;
  int (*plant)();
} kFaults[] = {{"use-after-free", useAfterFree},
               {"overflow", overflow},
               {"wrong-delete", wrongDelete},
               {"leak", leak},
               {"uninitialised", uninitialised},
               {"signed-overflow", signedOverflow},
               {"race", race},
               {"freed-text-to-java", freedTextToJava},
               {"leak-beside-java", leakBesideJava},
               {"race-beside-java", raceBesideJava},
               {"unchecked-exception", uncheckedException},
               {"pending-exception", pendingException},
               {"freed-reference", freedReference}};

}  // namespace

int main(int argc, char** argv) {
  for (const auto& fault : kFaults) {
    if (argc == 2 && std::strcmp(argv[1], fault.name) == 0) return fault.plant();
  }
  std::fprintf(stderr, "usage: planted FAULT\n");
  return 2;
}
