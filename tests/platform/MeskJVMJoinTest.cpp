#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include <platform/MeskJVM.h>
#include "Java.h"
#include "Support.h"

namespace {

using mesk::MeskJVM;

/// The JVM library of the first `java` on the path.
std::string library() {
  const std::string java = support::run("sh -c 'readlink -f \"$(command -v java)\"'").out;
  return std::filesystem::path(java).parent_path().parent_path() / "lib" / "server" / "libjvm.so";
}

TEST(MeskJVMJoinTest, JvmThatTheHostCreatedIsJoinedAndItsEndIsNoticed) {
  MeskJVM* service = MeskJVM::getInstance();
  EXPECT_EQ(service->getJVM(), nullptr);

  void* handle = dlopen(library().c_str(), RTLD_NOW);
  ASSERT_NE(handle, nullptr) << dlerror();
  EXPECT_EQ(service->getJVM(), nullptr) << "the library alone is no JVM";
  auto* create = reinterpret_cast<jint (*)(JavaVM**, void**, void*)>(dlsym(handle, "JNI_CreateJavaVM"));
  ASSERT_NE(create, nullptr);
  JavaVMInitArgs arguments{};
  JavaVMOption option{};
  option.optionString = const_cast<char*>("-Dmesk.test=host");
  arguments.version = JNI_VERSION_10;
  arguments.nOptions = 1;
  arguments.options = &option;
  JavaVM* jvm = nullptr;
  void* env = nullptr;
  ASSERT_EQ(create(&jvm, &env, &arguments), JNI_OK);

  EXPECT_EQ(service->getJVM(), jvm);
  // What would fail if a JVM had to be found does not matter now.
  setenv("JAVA_HOME", "/nonexistent", 1);
  setenv("PATH", "/nonexistent", 1);
  unsetenv("MESK_CLASSPATH");
  EXPECT_EQ(service->createJVM(), MeskJVM::kOk) << service->lastError();
  EXPECT_EQ(service->getJVM(), jvm);
  EXPECT_TRUE(java::isAttached(jvm)) << "joining leaves the thread as it was";

  jvm->DestroyJavaVM();
  EXPECT_EQ(service->getJVM(), nullptr);
}

}  // namespace
