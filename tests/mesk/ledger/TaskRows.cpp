// MDTask and its home.
#include <mesk/ledger/Patterns.h>

namespace mesk::test::ledger {

void addTaskRows(Rows& /*rows*/) {}

}  // namespace mesk::test::ledger
