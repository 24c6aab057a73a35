// platform_probe MODE: does one thing with the platform library and ends.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include <platform/CodePage.h>
#include <platform/Log.h>
#include <platform/Memory.h>
#include <platform/MeskJVM.h>
#include <platform/Trace.h>

namespace {

int leak() {
  std::int32_t result = 1;
  return _ossMemAlloc(24, 0, &result, "Probe", 77) == nullptr || result != 0 ? 1 : 0;
}

int freeTwice() {
  void* block = _ossMemAlloc(24, 0, nullptr, "Probe", 77);
  _ossMemFree(block, "Probe", 78);
  _ossMemFree(block, "Probe", 79);
  return 0;
}

int log() {
  const std::int32_t code = -300;
  ossLog(nullptr, 0x10080140, 0, 10, 3, 2, static_cast<const void*>(&code), sizeof code, mesk::kLogInteger,
         static_cast<const void*>("hello"), std::size_t{5}, mesk::kLogText);
  return 0;
}

int trace() {
  if (g_pGTCB->traceOn == 0) return 3;
  _gtraceEntry(ossThreadID(), 0x1AE80186, 0, 1000000);
  return 0;
}

int codePage() {
  std::printf("%u\n", sqlogetcpcc());
  return 0;
}

int jvm() {
  mesk::MeskJVM* service = mesk::MeskJVM::getInstance();
  const int result = service->createJVM();
  std::printf("result %d\n%s\n", result, service->lastError());
  if (result != mesk::MeskJVM::kOk) return 0;

  JNIEnv* env = nullptr;
  if (service->getJVM()->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr) != JNI_OK) return 1;
  jclass system = env->FindClass("java/lang/System");
  jmethodID get = env->GetStaticMethodID(system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;");
  for (const char* name : {"java.class.path", "java.library.path"}) {
    auto value = static_cast<jstring>(env->CallStaticObjectMethod(system, get, env->NewStringUTF(name)));
    std::printf("%s=%s\n", name, env->GetStringUTFChars(value, nullptr));
  }
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  struct Mode {
    const char* name;
    int (*run)();
  };
  constexpr Mode kModes[] = {{"leak", leak},   {"freeTwice", freeTwice}, {"log", log},
                             {"trace", trace}, {"codePage", codePage},   {"jvm", jvm}};
  for (const Mode& mode : kModes) {
    if (count == 2 && std::strcmp(arguments[1], mode.name) == 0) return mode.run();
  }
  return 2;
}
