#include <mesk/bridge/StoreCall.h>

namespace mesk {

int StoreCall::finish(int emptyCode) {
  if (code_ == emptyCode) return 0;
  if (reached_ && code_ != 0) fetchSqlCode();
  return code_;
}

}  // namespace mesk
