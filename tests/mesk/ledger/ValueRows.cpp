// Dates, formats and large objects.
#include <mesk/ledger/Patterns.h>
#include <mesk/values/SimpleDateFormat.h>

namespace mesk::test::ledger {

void addValueRows(Rows& rows) {
  ClassRows<Blob> blob(rows, std::string(kMetadata) + "MDBlob");
  blob.wraps();
  blob.get("length", &Blob::length);
}

}  // namespace mesk::test::ledger
