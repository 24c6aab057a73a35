// Follow-on and notification actions, messages, and the agent client.
#include <mesk/ledger/Patterns.h>

namespace mesk::test::ledger {

void addActionRows(Rows& /*rows*/) {}

}  // namespace mesk::test::ledger
