#include <mesk/bridge/MDObject.h>
#include <mesk/support/JvmTest.h>
#include <platform/MeskJVM.h>

#include <memory>
#include <thread>

namespace mesk::test {
namespace {

class MDObjectTest : public JvmTest {
 protected:
  /// A java.util.Date, which can be cloned; until the test ends, not counted.
  jobject newDate() {
    const JniTable::Pause pause(ctx.env);
    const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass("java/util/Date"));
    return ctx.env->NewObject(cls.get(), ctx.env->GetMethodID(cls.get(), "<init>", "(J)V"), jlong{4711});
  }

  bool same(jobject one, jobject other) { return ctx.env->IsSameObject(one, other) == JNI_TRUE; }
};

TEST_F(MDObjectTest, HoldsTwoReferencesAndNothingElse) {
  EXPECT_EQ(sizeof(MDObject), 2 * sizeof(jobject));
  EXPECT_EQ(offsetof(MDObject, objectClass), sizeof(jobject));
  EXPECT_FALSE(std::is_polymorphic_v<MDObject>);
  EXPECT_FALSE(std::is_copy_constructible_v<MDObject>);
}

TEST_F(MDObjectTest, NullMakesADeadWrapperWithoutAJniCall) {
  {
    const MDObject dead(ctx, nullptr);
    EXPECT_EQ(dead.object, nullptr);
    EXPECT_EQ(dead.objectClass, nullptr);
  }
  EXPECT_EQ(jni.calls(), 0);
}

TEST_F(MDObjectTest, WrapsWithGlobalReferencesAndLeavesTheCallersAlone) {
  const jobject date = newDate();
  {
    const MDObject wrapper(ctx, date);
    EXPECT_EQ(jni.globals(), 2);
    EXPECT_EQ(jni.locals(), 0);
    EXPECT_EQ(ctx.env->GetObjectRefType(wrapper.object), JNIGlobalRefType);
    EXPECT_EQ(ctx.env->GetObjectRefType(wrapper.objectClass), JNIGlobalRefType);
    EXPECT_TRUE(same(wrapper.object, date));
    EXPECT_EQ(ctx.env->IsInstanceOf(date, wrapper.objectClass), JNI_TRUE);
  }
  EXPECT_EQ(jni.globals(), 0);
  EXPECT_EQ(ctx.env->GetObjectRefType(date), JNILocalRefType);
}

TEST_F(MDObjectTest, ARefusedReferenceToTheObjectMakesADeadWrapper) {
  jni.fail(JniTable::kNewGlobalRef, 1);
  const MDObject dead(ctx, newDate());
  EXPECT_EQ(dead.object, nullptr);
  EXPECT_EQ(dead.objectClass, nullptr);
}

TEST_F(MDObjectTest, ARefusedReferenceToTheClassLeavesOnlyTheObjectToRelease) {
  jni.fail(JniTable::kNewGlobalRef, 2);
  const MDObject half(ctx, newDate());
  EXPECT_NE(half.object, nullptr);
  EXPECT_EQ(half.objectClass, nullptr);
  EXPECT_EQ(jni.globals(), 1);
}

TEST_F(MDObjectTest, AMissingClassLeavesOnlyTheObjectToRelease) {
  jni.fail(JniTable::kGetObjectClass, 1);
  const MDObject half(ctx, newDate());
  EXPECT_NE(half.object, nullptr);
  EXPECT_EQ(half.objectClass, nullptr);
}

TEST_F(MDObjectTest, CloneGivesALocalReferenceToTheCopy) {
  MDObject wrapper(ctx, newDate());
  const LocalRef<> copy(ctx.env, wrapper.clone(ctx));
  ASSERT_TRUE(copy);
  EXPECT_EQ(jni.locals(), 1);
  EXPECT_FALSE(same(copy.get(), wrapper.object));
  const jmethodID getTime = ctx.env->GetMethodID(wrapper.objectClass, "getTime", "()J");
  EXPECT_EQ(ctx.env->CallLongMethod(copy.get(), getTime), 4711);
}

TEST_F(MDObjectTest, CloneWithoutTheMethodIsNull) {
  MDObject wrapper(ctx, newDate());
  jni.failMethod("clone");
  EXPECT_EQ(wrapper.clone(ctx), nullptr);
  EXPECT_EQ(jni.javaCalls(), 0);
}

TEST_F(MDObjectTest, CloneOfADeadWrapperIsNull) {
  MDObject dead(ctx, nullptr);
  EXPECT_EQ(dead.clone(ctx), nullptr);
  EXPECT_EQ(jni.calls(), 0);
}

/// How the JVM knows the calling thread.
jint attachment() {
  void* env = nullptr;
  return MeskJVM::getInstance()->getJVM()->GetEnv(&env, JNI_VERSION_1_8);
}

TEST_F(MDObjectTest, ADeadWrapperAttachesTheThreadThatDeletesIt) {
  auto dead = std::make_unique<MDObject>(ctx, nullptr);
  std::thread([&] {
    EXPECT_EQ(attachment(), JNI_EDETACHED);
    dead.reset();
    EXPECT_EQ(attachment(), JNI_OK);
    MeskJVM::getInstance()->getJVM()->DetachCurrentThread();
  }).join();
}

TEST_F(MDObjectTest, AThreadThatNeverTouchedJavaMayDeleteAWrapper) {
  auto wrapper = std::make_unique<MDObject>(ctx, newDate());
  std::thread([&] {
    wrapper.reset();
    EXPECT_EQ(attachment(), JNI_OK);
    MeskJVM::getInstance()->getJVM()->DetachCurrentThread();
  }).join();
  EXPECT_EQ(jni.globals(), 2);
  jni.forget();  // deleted on the other thread, as the next test counts
}

TEST_F(MDObjectTest, AWrapperReleasesBothReferencesOnWhateverThreadItDies) {
  auto wrapper = std::make_unique<MDObject>(ctx, newDate());
  jni.forget();
  std::thread([&] {
    ThreadContext other;
    {
      const JniTable there(other.env);
      wrapper.reset();
      EXPECT_EQ(there.globals(), -2);
    }
    other.destroy();
    EXPECT_EQ(attachment(), JNI_EDETACHED);
  }).join();
}

}  // namespace
}  // namespace mesk::test
