// The scheduler's latch.
#include <gtest/gtest.h>
#include <mesk/session/MDUtility.h>

#include <thread>
#include <vector>

namespace mesk::test {
namespace {

class SessionLatchTest : public ::testing::Test {
 protected:
  SessionLatchTest() { MDUtility::initLatch(); }
  ~SessionLatchTest() override {
    delete MDUtility::mdLock;
    MDUtility::mdLock = nullptr;
  }
};

TEST(SessionLatchBeforeTest, ThereIsNoneBeforeItIsMade) { EXPECT_EQ(MDUtility::mdLock, nullptr); }

TEST_F(SessionLatchTest, IsMadeFree) {
  ASSERT_NE(MDUtility::mdLock, nullptr);
  EXPECT_EQ(*MDUtility::mdLock, 0);
}

TEST_F(SessionLatchTest, IsHeldUntilItIsFreed) {
  MDUtility::getLatch();
  EXPECT_NE(*MDUtility::mdLock, 0);
  MDUtility::freeLatch();
  EXPECT_EQ(*MDUtility::mdLock, 0);
}

TEST_F(SessionLatchTest, IsMadeAnewWithoutTouchingAnEarlierOne) {
  OSSLatch* const earlier = MDUtility::mdLock;
  MDUtility::getLatch();
  MDUtility::initLatch();
  EXPECT_NE(MDUtility::mdLock, earlier);
  EXPECT_NE(*earlier, 0);
  EXPECT_EQ(*MDUtility::mdLock, 0);
  delete earlier;
}

TEST_F(SessionLatchTest, AWaiterSeesWhatTheHolderDid) {
  for (int round = 0; round < 1000; ++round) {
    int value = 0;
    MDUtility::getLatch();
    std::thread waiter([&] {
      MDUtility::getLatch();
      EXPECT_EQ(value, 1);
      MDUtility::freeLatch();
    });
    value = 1;
    MDUtility::freeLatch();
    waiter.join();
  }
}

TEST_F(SessionLatchTest, EightThreadsLoseNoUpdate) {
  int count = 0;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] {
        for (int round = 0; round < 10000; ++round) {
          MDUtility::getLatch();
          ++count;
          MDUtility::freeLatch();
        }
      });
    }
  }
  EXPECT_EQ(count, 80000);
}

}  // namespace
}  // namespace mesk::test
