#include <gtest/gtest.h>

#include <cstdlib>
#include <latch>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <platform/MeskJVM.h>
#include "Java.h"

namespace {

using mesk::MeskJVM;

// One process has one JVM, so this is one story.
TEST(MeskJVMRaceTest, SixteenThreadsThatRaceGetOneJvm) {
  const char* given = std::getenv("MESK_JVM_OPTIONS");
  const std::string options = std::string(given == nullptr ? "" : given) + "  -Dmesk.test=first \t -Dmesk.test=last ";
  setenv("MESK_JVM_OPTIONS", options.c_str(), 1);
  setenv("MESK_CLASSPATH", "/nonexistent/a.jar:/nonexistent/b.jar", 1);

  MeskJVM* service = MeskJVM::getInstance();
  EXPECT_EQ(MeskJVM::getInstance(), service);
  EXPECT_EQ(service->getJVM(), nullptr) << "asking must not create one";
  EXPECT_EQ(service->getJVM(), nullptr);

  constexpr int kThreads = 16;
  std::latch start(kThreads);
  std::vector<JavaVM*> seen(kThreads, nullptr);
  std::vector<int> results(kThreads, 1);
  std::vector<char> attached(kThreads, 1);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      results[i] = service->createJVM();
      seen[i] = service->getJVM();
      attached[i] = seen[i] != nullptr && java::isAttached(seen[i]) ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_NE(seen[0], nullptr) << service->lastError();
  for (std::size_t i = 0; i < kThreads; ++i) {
    EXPECT_EQ(results[i], MeskJVM::kOk);
    EXPECT_EQ(seen[i], seen[0]);
    EXPECT_EQ(attached[i], 0) << "creating leaves no thread attached";
  }
  EXPECT_STREQ(service->lastError(), "");

  java::Attached env(seen[0]);
  EXPECT_EQ(env.property("mesk.test"), "last");
  EXPECT_EQ(env.property("java.class.path"), "/nonexistent/a.jar:/nonexistent/b.jar");
  EXPECT_NE(env.property("java.library.path").find("/jni"), std::string::npos);
}

}  // namespace
