// The fixture of tests on the real store.
#pragma once

#include <mesk/support/JvmTest.h>

#include <string>
#include <vector>

namespace mesk::test {

/// A store of its own for each test, in a new folder. Each lookup is noted; one that fails fails the test.
class StoreTest : public JniTest {
 protected:
  StoreTest();
  ~StoreTest() override;

  /// A new session of user JOE; until `disconnect` or the end of the test.
  jobject connect();
  void disconnect(jobject session);

  std::string folder;
  std::string file;  ///< the store's
  int rc = 0;
  int sqlCode = 0;

 private:
  std::vector<jobject> sessions_;
};

}  // namespace mesk::test
