// Stands in the place of a JVM library and refuses to start a JVM, with the code that FAKE_JVM_CODE says.
#include <jni.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using Print = jint (*)(FILE*, const char*, va_list);

void print(const JavaVMInitArgs& arguments, const char* format, ...) {
  for (jint i = 0; i < arguments.nOptions; ++i) {
    if (std::strcmp(arguments.options[i].optionString, "vfprintf") != 0) continue;
    va_list values;
    va_start(values, format);
    reinterpret_cast<Print>(arguments.options[i].extraInfo)(stderr, format, values);
    va_end(values);
  }
}

}  // namespace

extern "C" JNIEXPORT jint JNICALL JNI_CreateJavaVM(JavaVM** /*jvm*/, void** /*env*/, void* arguments) {
  const int code = std::atoi(std::getenv("FAKE_JVM_CODE"));
  print(*static_cast<JavaVMInitArgs*>(arguments), "no JVM,\n%s %d\n", "only", code);
  return code;
}

extern "C" JNIEXPORT jint JNICALL JNI_GetCreatedJavaVMs(JavaVM** /*jvms*/, jsize /*most*/, jsize* count) {
  *count = 0;
  return JNI_OK;
}
