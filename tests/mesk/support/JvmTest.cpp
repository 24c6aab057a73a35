#include <mesk/support/JvmTest.h>

#include <platform/MeskJVM.h>

#include <stdexcept>

namespace mesk::test {
namespace {

constexpr jint kLocalsOfATest = 256;

ThreadContext& contextOfProgram() {
  static ThreadContext context;
  if (context.env == nullptr) throw std::runtime_error(MeskJVM::getInstance()->lastError());
  return context;
}

jobject newStoreContext(JNIEnv* env) {
  const JniTable::Pause pause(env);
  const LocalRef<jclass> cls(env, env->FindClass("com/orvik/kelvo/common/parl/api/Context"));
  if (!cls) throw std::runtime_error("the fake store is not on the class path");
  const LocalRef<> local(env, env->NewObject(cls.get(), env->GetMethodID(cls.get(), "<init>", "()V")));
  return env->NewGlobalRef(local.get());
}

}  // namespace

JniTest::JniTest() : ctx(contextOfProgram()), jni(ctx.env) {
  const JniTable::Pause pause(ctx.env);
  ctx.env->PushLocalFrame(kLocalsOfATest);
}

JniTest::~JniTest() {
  EXPECT_EQ(jni.locals(), 0) << "local references left behind";
  EXPECT_EQ(jni.globals(), 0) << "global references left behind";
  EXPECT_FALSE(takePendingException()) << "an exception of Java left pending";
  const JniTable::Pause pause(ctx.env);
  ctx.env->PopLocalFrame(nullptr);
}

JvmTest::JvmTest() : script(ctx.env), context(newStoreContext(ctx.env)) { script.reset(); }

JvmTest::~JvmTest() {
  const JniTable::Pause pause(ctx.env);
  ctx.env->DeleteGlobalRef(context);
}

jobject JvmTest::newFake(const char* className) {
  const JniTable::Pause pause(ctx.env);
  JNIEnv* const env = ctx.env;
  const LocalRef<jclass> cls(env, env->FindClass((std::string("com/orvik/kelvo/mesk/metadata/") + className).c_str()));
  const jmethodID constructor =
      env->GetMethodID(cls.get(), "<init>",
                       "(Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)V");
  const jobject made = env->NewObject(cls.get(), constructor, context, static_cast<jobject>(nullptr));
  script.forget();
  return made;
}

jstring JniTest::javaString(const char* text) {
  const JniTable::Pause pause(ctx.env);
  return ctx.env->NewStringUTF(text);
}

bool JniTest::takePendingException() {
  const JniTable::Pause pause(ctx.env);
  if (!ctx.env->ExceptionCheck()) return false;
  ctx.env->ExceptionDescribe();  // clears it too
  return true;
}

std::string taken(char* text) {
  std::string result = text == nullptr ? "(null)" : text;
  ::operator delete(text);
  return result;
}

}  // namespace mesk::test
