#include <mesk/session/MDGroup.h>

#include <mesk/bridge/StoreCall.h>
#include <mesk/session/Principal.h>

namespace mesk {

MDGroup::MDGroup(ThreadContext& ctx, const char* name) {
  if (bindClass(ctx, metadataClass<"MDGroup">)) constructFromText(ctx, PrincipalName(name, "MDGroup").text());
}

MDGroup::MDGroup(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

}  // namespace mesk
