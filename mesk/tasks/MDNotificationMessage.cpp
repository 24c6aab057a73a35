#include <mesk/tasks/MDNotificationMessage.h>

#include <mesk/bridge/StoreCall.h>
#include <mesk/history/MDTaskHistory.h>
#include <mesk/tasks/MDTask.h>

namespace mesk {
namespace {

constexpr auto kMessageClass = metadataClass<"MDNotificationMessage">;

}  // namespace

MDNotificationMessage::MDNotificationMessage(ThreadContext& ctx) {
  if (bindClass(ctx, kMessageClass)) construct(ctx, "()V");
}

char* MDNotificationMessage::getResolvedMessage(ThreadContext& ctx, jobject context, MDTask* task,
                                                MDTaskHistory* history, const char* text1, const char* text2) const {
  if (!isLive(*this) || task == nullptr || !isLive(*task) || history == nullptr || !isLive(*history)) return nullptr;
  const LocalRef<jstring> first(ctx.env, stringTojString(ctx, text1));
  const LocalRef<jstring> second(ctx.env, stringTojString(ctx, text2));
  return jStringToString(ctx, callMethod<LocalRef<jstring>>(
                                  ctx, *this, "getResolvedMessage",
                                  joined<"(", kContextType, metadataType<"MDTask">, metadataType<"MDTaskHistory">,
                                         kStringType, kStringType, ")", kStringType>,
                                  context, task->object, history->object, first.get(), second.get())
                                  .release());
}

char* MDNotificationMessage::getMRIMessage(ThreadContext& ctx, int messageNumber) {
  const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass(kMessageClass));
  if (!cls) return nullptr;
  const jmethodID method = ctx.env->GetStaticMethodID(cls.get(), "getMRIMessage", joined<"(I)", kStringType>);
  if (method == nullptr) return nullptr;
  return jStringToString(
      ctx, invokeStatic<LocalRef<jstring>>(ctx, cls.get(), method, static_cast<jint>(messageNumber)).release());
}

}  // namespace mesk
