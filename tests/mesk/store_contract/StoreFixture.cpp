#include "StoreFixture.h"

#include <mesk/session/MDUtility.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace mesk::test {

StoreTest::StoreTest() {
  std::string pattern = (std::filesystem::temp_directory_path() / "mesk-store-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for the store");
  folder = pattern;
  file = folder + "/test.mesk";
  jni.noteLookups();
}

StoreTest::~StoreTest() {
  while (!sessions_.empty()) disconnect(sessions_.back());
  EXPECT_EQ(jni.failedLookups(), std::vector<std::string>{});
  std::filesystem::remove_all(folder);
}

jobject StoreTest::connect() {
  const jobject session = MDUtility::connectMD(ctx, file.c_str(), nullptr, "joe", "pw", rc, sqlCode);
  if (session == nullptr || rc != 0) throw std::runtime_error("cannot connect: " + std::to_string(rc));
  sessions_.push_back(session);
  return session;
}

void StoreTest::disconnect(jobject session) {
  sessions_.erase(std::find(sessions_.begin(), sessions_.end(), session));
  EXPECT_EQ(MDUtility::disconnectMD(ctx, session, sqlCode), 0);
}

}  // namespace mesk::test
