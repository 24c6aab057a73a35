// That the tools of the tests see what they are there to see.
#include <gtest/gtest-spi.h>
#include <mesk/bridge/MDObject.h>
#include <mesk/bridge/PARLException.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <platform/Memory.h>

#include <memory>
#include <new>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

class SupportTest : public JvmTest {};

TEST_F(SupportTest, TheTableCountsWhatTheLibraryMakesAndDeletes) {
  EXPECT_EQ(jni.made(), 0);
  {
    PARLException exception(ctx);
    EXPECT_EQ(jni.globals(), 2);
    EXPECT_EQ(jni.locals(), 0);
    EXPECT_EQ(jni.javaCalls(), 1);
    EXPECT_EQ(exception.getRC(ctx), 0);
    EXPECT_EQ(jni.javaCalls(), 2);
  }
  EXPECT_EQ(jni.globals(), 0);
}

TEST_F(SupportTest, TheTableSeesAReferenceThatIsLeftBehind) {
  const jclass cls = ctx.env->FindClass("java/lang/Object");
  EXPECT_EQ(jni.locals(), 1);
  const jobject global = ctx.env->NewGlobalRef(cls);
  EXPECT_EQ(jni.globals(), 1);
  ctx.env->DeleteGlobalRef(global);
  ctx.env->DeleteLocalRef(cls);
}

TEST_F(SupportTest, WhatThePauseCoversIsNotCounted) {
  {
    const JniTable::Pause pause(ctx.env);
    const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass("java/lang/Object"));
  }
  EXPECT_EQ(jni.calls(), 0);
}

TEST_F(SupportTest, WhatTheJdksNativesDoMeanwhileIsNotCounted) {
  const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass("java/io/File"));
  const jmethodID constructor = ctx.env->GetMethodID(cls.get(), "<init>", "(Ljava/lang/String;)V");
  const LocalRef<> file(ctx.env, ctx.env->NewObject(cls.get(), constructor, javaString("/")));
  const jmethodID list = ctx.env->GetMethodID(cls.get(), "list", "()[Ljava/lang/String;");
  const int calls = jni.calls();
  const int made = jni.made();
  { const LocalRef<> names(ctx.env, ctx.env->CallObjectMethod(file.get(), list)); }
  EXPECT_EQ(jni.calls(), calls + 2);
  EXPECT_EQ(jni.made(), made + 1);
}

TEST_F(SupportTest, ClassesMethodsAndCallsFailOnDemand) {
  jni.noteLookups();
  jni.failClass("java/lang/Object");
  EXPECT_EQ(ctx.env->FindClass("java/lang/Object"), nullptr);
  jni.heal();
  const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass("java/lang/Object"));
  ASSERT_TRUE(cls);
  jni.failMethod("hashCode");
  EXPECT_EQ(ctx.env->GetMethodID(cls.get(), "hashCode", "()I"), nullptr);
  jni.heal();
  EXPECT_NE(ctx.env->GetMethodID(cls.get(), "hashCode", "()I"), nullptr);
  EXPECT_EQ(jni.lookups(), (Strings{"java/lang/Object", "java/lang/Object", "java/lang/Object.hashCode()I",
                                    "java/lang/Object.hashCode()I"}));
  EXPECT_EQ(jni.failedLookups(), (Strings{"java/lang/Object", "java/lang/Object.hashCode()I"}));

  jni.fail(JniTable::kNewGlobalRef, 2);
  const jobject first = ctx.env->NewGlobalRef(cls.get());
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(ctx.env->NewGlobalRef(cls.get()), nullptr);
  ctx.env->DeleteGlobalRef(first);
  EXPECT_FALSE(takePendingException());
}

TEST_F(SupportTest, AnswersAreUsedInOrderAndTheLastOneStays) {
  script.on("MDTask.getReferenceID").returnsLong(5);
  script.on("MDTask.getReferenceID").returnsLong(6);
  const jobject task = newFake("MDTask");
  const LocalRef<jclass> cls(ctx.env, ctx.env->GetObjectClass(task));
  const jmethodID method = ctx.env->GetMethodID(
      cls.get(), "getReferenceID",
      "(Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)J");
  EXPECT_EQ(ctx.env->CallLongMethod(task, method, context, nullptr), 5);
  EXPECT_EQ(ctx.env->CallLongMethod(task, method, context, nullptr), 6);
  EXPECT_EQ(ctx.env->CallLongMethod(task, method, context, nullptr), 6);
  EXPECT_EQ(script.count("MDTask.getReferenceID(context, null)"), 3);
  EXPECT_EQ(script.calls().size(), 3u);
  script.forget();
  EXPECT_TRUE(script.calls().empty());
}

TEST_F(SupportTest, OneAllocationFailsOnDemand) {
  {
    const AllocationFault fault(AllocationFault::kNew, 2);
    const std::unique_ptr<int> first(new (std::nothrow) int(1));
    const std::unique_ptr<int[]> second(new (std::nothrow) int[8]);
    const std::unique_ptr<int> third(new (std::nothrow) int(3));
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
  }
  const AllocationFault fault(AllocationFault::kWorkMemory, 1);
  std::int32_t failed = 0;
  EXPECT_EQ(_ossMemAlloc(8, 1, &failed, "SupportTest", 1), nullptr);
  EXPECT_NE(failed, 0);
}

TEST_F(SupportTest, LogAndTraceAreCapturedWithCopiesOfTheirItems) {
  const LogCapture log;
  {
    std::int32_t number = -300;
    std::string text = "task";
    ossLog(nullptr, 0x10080140, 0, 10, 3, 2, static_cast<const void*>(&number), sizeof number,
           static_cast<std::int32_t>(kLogInteger), static_cast<const void*>(text.data()), text.size(),
           static_cast<std::int32_t>(kLogText));
    number = 0;
    text = "gone";
  }
  EXPECT_EQ(log.lines(), (Strings{"0x10080140/10 -300 \"task\""}));

  const TraceCapture trace;
  ASSERT_NE(g_pGTCB->traceOn, 0u);
  const std::int32_t code = 4711;
  _gtraceEntry(ossThreadID(), 0x1AE801AD, 0, 1000000);
  _gtraceErrorVar(ossThreadID(), 0x1AE801AD, 20, 4, 0, 1, 0, sizeof code, &code);
  _gtraceExit(ossThreadID(), 0x1AE801AD, &code, 0);
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AD", "error 0x1AE801AD/20 4711", "exit 0x1AE801AD 4711"}));
}

}  // namespace
}  // namespace mesk::test
