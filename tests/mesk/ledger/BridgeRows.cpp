// ThreadContext, MDObject and PARLException.
#include <mesk/bridge/PARLException.h>
#include <mesk/ledger/Patterns.h>

namespace mesk::test::ledger {
namespace {

/// What every wrapper inherits, to be called by its own name.
struct Accessors : MDObject {
  using MDObject::getBlob;
  using MDObject::getClob;
  using MDObject::getDate;
  using MDObject::getInt;
  using MDObject::getLong;
  using MDObject::getString;
  using MDObject::getTime;
  using MDObject::getTimestamp;
  using MDObject::MDObject;
  using MDObject::setBlob;
  using MDObject::setClob;
  using MDObject::setDate;
  using MDObject::setInt;
  using MDObject::setLong;
  using MDObject::setString;
  using MDObject::setTime;
  using MDObject::setTimestamp;
};

}  // namespace

void addBridgeRows(Rows& rows) {
  ClassRows<PARLException> exception(rows, kExceptionClass);
  exception.wraps();
  (void)sizeof(Accessors);
}

}  // namespace mesk::test::ledger
