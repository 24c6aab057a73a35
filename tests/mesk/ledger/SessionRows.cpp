// The session with the store; users and groups.
#include <mesk/ledger/Patterns.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/session/MDUtility.h>

namespace mesk::test::ledger {

void addSessionRows(Rows& rows) {
  ClassRows<MDUser> user(rows, std::string(kMetadata) + "MDUser");
  user.wraps();
}

}  // namespace mesk::test::ledger
