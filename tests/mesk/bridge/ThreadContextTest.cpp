#include <gtest/gtest.h>
#include <mesk/bridge/MDObject.h>
#include <mesk/bridge/ThreadContext.h>
#include <platform/MeskJVM.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> calls;
JavaVM* existingJvm = nullptr;
JavaVM* creatableJvm = nullptr;
jint attachResult = 0;
JNIEnv* attachedEnv = nullptr;

jint attachThread(JavaVM*, void** env, void* arguments) {
  calls.emplace_back(arguments == nullptr ? "attach" : "attach with arguments");
  if (attachResult == 0) *env = attachedEnv;
  return attachResult;
}

jint detachThread(JavaVM*) {
  calls.emplace_back("detach");
  return 0;
}

void deleteGlobalRef(JNIEnv*, jobject) { calls.emplace_back("DeleteGlobalRef"); }

}  // namespace

// In place of the platform's.
namespace mesk {

MeskJVM* MeskJVM::getInstance() {
  static MeskJVM service;
  calls.emplace_back("getInstance");
  return &service;
}

JavaVM* MeskJVM::getJVM() {
  calls.emplace_back("getJVM");
  return existingJvm;
}

int MeskJVM::createJVM() {
  calls.emplace_back("createJVM");
  existingJvm = creatableJvm;
  return existingJvm == nullptr ? kJvmRefused : kOk;
}

}  // namespace mesk

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

constexpr const char* kAttachError = "Error: cannot attach to current thread!!\n";

class ThreadContextTest : public ::testing::Test {
 protected:
  ThreadContextTest() {
    invocation_.AttachCurrentThread = attachThread;
    invocation_.DetachCurrentThread = detachThread;
    vm_.functions = &invocation_;
    natives_.DeleteGlobalRef = deleteGlobalRef;
    env_.functions = &natives_;
    attachedEnv = &env_;
    attachResult = 0;
    existingJvm = creatableJvm = nullptr;
    calls.clear();
    ::testing::internal::CaptureStderr();
  }

  std::string written() { return ::testing::internal::GetCapturedStderr(); }

  ~ThreadContextTest() override { calls.clear(); }

  JNIInvokeInterface_ invocation_{};
  JavaVM vm_{};
  JNINativeInterface_ natives_{};
  JNIEnv env_{};
};

TEST_F(ThreadContextTest, DefaultAttachesToTheJvmThatThereIs) {
  existingJvm = &vm_;
  const ThreadContext ctx;
  EXPECT_EQ(ctx.jvm, &vm_);
  EXPECT_EQ(ctx.env, &env_);
  EXPECT_EQ(ctx.attached, 1);
  EXPECT_EQ(calls, (Strings{"getInstance", "getJVM", "attach"}));
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, DefaultHasTheJvmCreatedOnceWhenThereIsNone) {
  creatableJvm = &vm_;
  const ThreadContext ctx;
  EXPECT_EQ(ctx.jvm, &vm_);
  EXPECT_EQ(ctx.attached, 1);
  EXPECT_EQ(calls, (Strings{"getInstance", "getJVM", "createJVM", "getJVM", "attach"}));
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, DefaultWithoutAnyJvmSaysSoOnceAndCreatesOnlyOnce) {
  const ThreadContext ctx;
  EXPECT_EQ(ctx.jvm, nullptr);
  EXPECT_EQ(ctx.env, nullptr);
  EXPECT_EQ(ctx.attached, 0);
  EXPECT_EQ(calls, (Strings{"getInstance", "getJVM", "createJVM", "getJVM"}));
  EXPECT_EQ(written(), kAttachError);
}

TEST_F(ThreadContextTest, DefaultThatIsRefusedSaysSoAndIsNotAttached) {
  existingJvm = &vm_;
  attachResult = JNI_ENOMEM;
  const ThreadContext ctx;
  EXPECT_EQ(ctx.jvm, &vm_);
  EXPECT_EQ(ctx.env, nullptr);
  EXPECT_EQ(ctx.attached, 0);
  EXPECT_EQ(written(), kAttachError);
}

TEST_F(ThreadContextTest, FromAJvmAttachesWithoutTheService) {
  const ThreadContext ctx(&vm_);
  EXPECT_EQ(ctx.jvm, &vm_);
  EXPECT_EQ(ctx.env, &env_);
  EXPECT_EQ(ctx.attached, 1);
  EXPECT_EQ(calls, Strings{"attach"});
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, FromNoJvmSaysSoOnceAndIsNotAttached) {
  const ThreadContext ctx(static_cast<JavaVM*>(nullptr));
  EXPECT_EQ(ctx.jvm, nullptr);
  EXPECT_EQ(ctx.env, nullptr);
  EXPECT_NE(ctx.attached, 1);
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(written(), kAttachError);
}

TEST_F(ThreadContextTest, FromAJvmThatRefusesSaysSoAndIsNotAttached) {
  attachResult = JNI_ERR;
  const ThreadContext ctx(&vm_);
  EXPECT_EQ(ctx.env, nullptr);
  EXPECT_EQ(ctx.attached, 0);
  EXPECT_EQ(written(), kAttachError);
}

TEST_F(ThreadContextTest, FromAnEnvironmentTouchesOnlyTheService) {
  ThreadContext ctx(&env_);
  EXPECT_EQ(ctx.jvm, nullptr);
  EXPECT_EQ(ctx.env, &env_);
  EXPECT_EQ(ctx.attached, 0);
  EXPECT_EQ(calls, Strings{"getInstance"});
  calls.clear();
  ctx.destroy();
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, FromBothMakesNoCallAndNeverDetaches) {
  ThreadContext ctx(&vm_, &env_);
  EXPECT_EQ(ctx.jvm, &vm_);
  EXPECT_EQ(ctx.env, &env_);
  EXPECT_EQ(ctx.attached, 0);
  ctx.destroy();
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, AttachDoesAsTheDefaultWithoutAWord) {
  ThreadContext ctx(nullptr, nullptr);
  ctx.attach();
  EXPECT_EQ(ctx.attached, 0);
  EXPECT_EQ(calls, (Strings{"getInstance", "getJVM", "createJVM", "getJVM"}));

  existingJvm = &vm_;
  attachResult = JNI_ERR;
  calls.clear();
  ctx.attach();
  EXPECT_EQ(ctx.attached, 0);
  EXPECT_EQ(calls, (Strings{"getInstance", "getJVM", "attach"}));

  attachResult = 0;
  ctx.attach();
  EXPECT_EQ(ctx.env, &env_);
  EXPECT_EQ(ctx.attached, 1);
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, ARefusedAttachLeavesTheFlagOfAnEarlierOne) {
  existingJvm = &vm_;
  ThreadContext ctx;
  attachResult = JNI_ERR;
  ctx.attach();
  EXPECT_EQ(ctx.attached, 1);
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, DestroyDetachesAndClearsNothing) {
  ThreadContext ctx(&vm_);
  calls.clear();
  ctx.destroy();
  EXPECT_EQ(calls, Strings{"detach"});
  EXPECT_EQ(ctx.attached, 1);
  EXPECT_EQ(ctx.env, &env_);
  ctx.destroy();
  EXPECT_EQ(calls, (Strings{"detach", "detach"}));
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, SetEnvReplacesTheEnvironmentAndNothingElse) {
  ThreadContext ctx(&vm_);
  calls.clear();
  JNIEnv other{};
  ctx.setEnv(&other);
  EXPECT_EQ(ctx.env, &other);
  EXPECT_EQ(ctx.jvm, &vm_);
  EXPECT_EQ(ctx.attached, 1);
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, ADeadWrapperDiesByAttachingItsThreadForGood) {
  existingJvm = &vm_;
  {
    ThreadContext ctx(&vm_, &env_);
    const MDObject dead(ctx, nullptr);
  }
  EXPECT_EQ(calls, (Strings{"getInstance", "getJVM", "attach"}));
  EXPECT_EQ(written(), "");
}

TEST_F(ThreadContextTest, WithoutAJvmAWrapperReleasesNothing) {
  {
    ThreadContext ctx(&vm_, &env_);
    const MDObject dead(ctx, nullptr);
  }
  EXPECT_EQ(calls, (Strings{"getInstance", "getJVM"}));
  EXPECT_EQ(written(), "");
}

}  // namespace
}  // namespace mesk::test
