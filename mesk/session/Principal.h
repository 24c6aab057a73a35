// What users and groups have in common: a name in capitals, and rights on records of the store.
#pragma once

#include <mesk/bridge/MDObject.h>
#include <mesk/bridge/Signature.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>

namespace mesk {

/// A name in capitals, in the platform's work memory. Null when there is no memory for it.
class PrincipalName {
 public:
  /// `source` names the class that asks, for the memory's tag.
  PrincipalName(const char* name, const char* source);
  ~PrincipalName();
  PrincipalName(const PrincipalName&) = delete;
  PrincipalName& operator=(const PrincipalName&) = delete;

  const char* text() const { return text_; }

 private:
  char* text_;
  const char* source_;
};

template <class P>
inline constexpr auto principalType = metadataType<"MDUser">;
template <>
inline constexpr auto principalType<MDGroup> = metadataType<"MDGroup">;

/// Whether `principal` has the right that `method` of `record` asks for: 1 exactly when Java answered true.
template <class P>
int askPermission(ThreadContext& ctx, const MDObject& record, const char* method, jobject context, const P& principal,
                  int& rc, int& sqlCode) {
  rc = kUnreached;
  StoreCall call(ctx, sqlCode);
  if (!isLive(principal)) return 0;
  const jboolean answer =
      call.invoke<jboolean>(record, method, storeSignature<principalType<P>, "Z">, context, principal.object);
  rc = call.finish();
  return rc == 0 && answer == JNI_TRUE ? 1 : 0;
}

/// Gives or takes the right; `allowed` goes to Java by its low byte.
template <class P>
int changePermission(ThreadContext& ctx, const MDObject& record, const char* method, jobject context,
                     const P& principal, int allowed, int& sqlCode) {
  return callStoreWith(ctx, record, method, storeSignature<joined<principalType<P>, "Z">, "V">, sqlCode, context,
                       principal, static_cast<jboolean>(allowed));
}

/// Who holds the kind of right `permission` on `record`. Code 30013, nobody, counts as success; when no list came the
/// SQL code is told whatever the code.
template <class P>
int listHolders(ThreadContext& ctx, const MDObject& record, const char* method, jobject context, int permission,
                P**& holders, int& count, int& sqlCode) {
  holders = nullptr;
  count = 0;
  StoreCall call(ctx, sqlCode);
  {
    const auto list = call.invoke<LocalRef<>>(record, method, storeSignature<"I", kArrayListType>, context,
                                              static_cast<jint>(permission));
    if (call.code() == 0 || call.code() == kNothingInHome) {
      if (list) {
        readArray(ctx, list, holders, count,
                  [&](const LocalRef<>& element) { return newWrapper<P>(ctx, element.get()); });
      } else {
        call.fetchSqlCode();
      }
    }
  }
  return call.finish(kNothingInHome);
}

}  // namespace mesk
