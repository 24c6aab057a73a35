#include <mesk/session/MDGroup.h>

#include <mesk/bridge/StoreCall.h>
#include <mesk/session/Principal.h>

namespace mesk {

MDGroup::MDGroup(ThreadContext& ctx, const char* name) {
  if (!bindClass(ctx, metadataClass<"MDGroup">)) return;
  const jmethodID constructor = textConstructor(ctx);
  if (constructor != nullptr) constructFromText(ctx, constructor, PrincipalName(name, "MDGroup").text());
}

MDGroup::MDGroup(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

}  // namespace mesk
