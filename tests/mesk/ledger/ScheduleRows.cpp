// Schedule rules, shared named schedules, and their homes.
#include <mesk/ledger/Patterns.h>

namespace mesk::test::ledger {

void addScheduleRows(Rows& /*rows*/) {}

}  // namespace mesk::test::ledger
