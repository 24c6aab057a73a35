#include <mesk/ledger/Row.h>

namespace mesk::test::ledger {

Run::~Run() {
  for (Kept& kept : kept_) {
    kept.wrapper->object = kept.object;
    kept.wrapper->objectClass = kept.objectClass;
  }
  kept_.clear();
  JNIEnv* const env = ctx.env;
  for (const jobject local : locals_) {
    if (!recording_.nameOf(local).starts_with("?")) env->DeleteLocalRef(local);
  }
  if (context_ != nullptr && recording_.nameOf(context_) == "context") env->DeleteGlobalRef(context_);
}

jobject Run::context() {
  if (context_ == nullptr) {
    const jobject local = local_("com/orvik/kelvo/common/parl/api/Context");
    context_ = ctx.env->NewGlobalRef(local);
    ctx.env->DeleteLocalRef(local);
    recording_.know(context_, "context");
  }
  return context_;
}

jobject Run::object(const std::string& className, const std::string& name) {
  const jobject made = local_(className);
  locals_.push_back(made);
  recording_.know(made, name);
  return made;
}

jbyteArray Run::bytes(int count, const std::string& name) {
  const jbyteArray made = ctx.env->NewByteArray(count);
  locals_.push_back(made);
  recording_.know(made, name);
  return made;
}

jstring Run::text(const std::string& utf8, const std::string& name) {
  const jstring made = ctx.env->NewStringUTF(utf8.c_str());
  locals_.push_back(made);
  recording_.know(made, name);
  return made;
}

jobject Run::local_(const std::string& className) {
  JNIEnv* const env = ctx.env;
  const LocalRef<jclass> cls(env, env->FindClass(className.c_str()));
  return env->AllocObject(cls.get());
}

void Run::keep_(std::shared_ptr<void> owner, MDObject& wrapper, const std::string& name) {
  recording_.know(wrapper.object, name);
  recording_.know(wrapper.objectClass, name + ".class");
  kept_.push_back({std::move(owner), &wrapper, wrapper.object, wrapper.objectClass});
}

std::string Run::owned(char* text) {
  if (text == nullptr) return "null";
  atEnd_.push_back([text] { ::operator delete(text); });
  return quoted(text);
}

void Run::givesBytes(signed char* bytes, int count) {
  say("gives " + (bytes == nullptr ? "null" : show(count) + " bytes"));
  atEnd_.push_back([bytes] { ::operator delete(bytes); });
}

void Run::givesLocal(jobject reference) {
  say("gives reference " + show(recording_.nameOf(reference)));
  if (reference != nullptr) atEnd_.push_back([this, reference] { ctx.env->DeleteLocalRef(reference); });
}

void Run::givesGlobal(jobject reference) {
  say("gives reference " + show(recording_.nameOf(reference)));
  if (reference != nullptr) atEnd_.push_back([this, reference] { ctx.env->DeleteGlobalRef(reference); });
}

void Run::deleteGiven() {
  recording_.count([this] {
    for (const auto& work : atEnd_) work();
  });
  atEnd_.clear();
}

}  // namespace mesk::test::ledger
