#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include <platform/MeskJVM.h>
#include "Java.h"

namespace {

using mesk::MeskJVM;

TEST(MeskJVMRefusedTest, RefusalNamesTheOptionAndALaterCallTriesAgain) {
  const char* given = std::getenv("MESK_JVM_OPTIONS");
  const std::string good = given == nullptr ? "" : given;
  MeskJVM* service = MeskJVM::getInstance();

  setenv("MESK_JVM_OPTIONS", (good + " -XX:NoSuchOption=1").c_str(), 1);
  EXPECT_EQ(service->createJVM(), MeskJVM::kJvmRefused);
  EXPECT_EQ(service->getJVM(), nullptr);
  const std::string reason = service->lastError();
  EXPECT_NE(reason.find("libjvm.so"), std::string::npos) << reason;
  EXPECT_NE(reason.find("NoSuchOption"), std::string::npos) << reason;

  // The reason is there for every thread, in words of its own.
  std::string elsewhere;
  const char* text = nullptr;
  std::thread([&] {
    text = MeskJVM::getInstance()->lastError();
    elsewhere = text;
  }).join();
  EXPECT_EQ(elsewhere, reason);

  setenv("MESK_JVM_OPTIONS", good.c_str(), 1);
  ASSERT_EQ(service->createJVM(), MeskJVM::kOk) << service->lastError();
  EXPECT_STREQ(service->lastError(), "");
  ASSERT_NE(service->getJVM(), nullptr);
  EXPECT_EQ(java::Attached(service->getJVM()).property("file.separator"), "/");
}

}  // namespace
