#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <platform/Clock.h>
#include <scheduler/Delivery.h>

namespace mesk::host {
namespace {

constexpr std::int64_t kStart = 1'800'000'000'000;
constexpr std::int64_t kThreeDays = std::int64_t{3} * 86400;

struct Failure {
  std::string why;
  std::int64_t retryAt = -1;  ///< -1: given up
};

/// A box in memory.
class FakeBox : public MessageBox {
 public:
  void post(long long id, const std::string& address = "ann@example.org") {
    Waiting& waiting = waiting_[id];
    waiting.posted.id = id;
    waiting.posted.message.address = address;
    waiting.next = clockMillis();
  }
  bool contains(long long id) const { return waiting_.contains(id); }
  std::int64_t retryAt(long long id) const { return waiting_.at(id).next; }

  std::optional<PostedMessage> next(std::int64_t now) override {
    const Waiting* found = nullptr;
    for (const auto& [id, waiting] : waiting_) {
      if (waiting.next <= now && (found == nullptr || waiting.next < found->next)) found = &waiting;
    }
    if (found == nullptr) return std::nullopt;
    return found->posted;
  }
  std::optional<std::int64_t> nextTry() override {
    std::optional<std::int64_t> first;
    for (const auto& [id, waiting] : waiting_) first = std::min(first.value_or(waiting.next), waiting.next);
    return first;
  }
  void sent(long long id, std::int64_t) override {
    if (broken) throw std::runtime_error("the store fails");
    notes[id].push_back({"sent", -1});
    waiting_.erase(id);
  }
  void failed(long long id, const std::string& why, std::optional<std::int64_t> retryAt) override {
    if (broken) throw std::runtime_error("the store fails");
    notes[id].push_back({why, retryAt.value_or(-1)});
    if (!retryAt) {
      waiting_.erase(id);
      return;
    }
    waiting_.at(id).next = *retryAt;
    ++waiting_.at(id).posted.tries;
  }

  std::map<long long, std::vector<Failure>> notes;
  bool broken = false;

 private:
  struct Waiting {
    PostedMessage posted;
    std::int64_t next = 0;
  };
  std::map<long long, Waiting> waiting_;
};

class FakeTransport : public MailTransport {
 public:
  SendResult send(const PostedMessage& posted) override {
    tried.push_back(posted.id);
    return answer(posted.id);
  }
  void rest() override { ++rests; }
  void interrupt() override {}

  std::function<SendResult(long long)> answer = [](long long) { return SendResult{}; };
  std::vector<long long> tried;
  int rests = 0;
};

class DeliveryTest : public testing::Test {
 protected:
  DeliveryTest() { setClock(kStart); }
  ~DeliveryTest() override { resetClock(); }

  void round() {
    delivery_.round([] { return true; });
  }
  using Ids = std::vector<long long>;

  FakeBox box_;
  FakeTransport transport_;
  Delivery delivery_{box_, transport_, kThreeDays};
};

TEST_F(DeliveryTest, WhatIsDueGoesOutOnceAndTheLongestWaitFirst) {
  box_.post(2);
  setClock(kStart + 1);
  box_.post(1);
  round();
  round();
  EXPECT_EQ(transport_.tried, (Ids{2, 1}));
  EXPECT_EQ(box_.notes[1].back().why, "sent");
  EXPECT_EQ(box_.nextTry(), std::nullopt);
}

TEST_F(DeliveryTest, AServerThatTakesItLaterIsTriedAtGrowingDistances) {
  transport_.answer = [](long long) { return SendResult{SendResult::kLater, "busy"}; };
  box_.post(1);
  std::vector<std::int64_t> waits;
  for (int i = 0; i < 8; ++i) {
    const std::int64_t now = *box_.nextTry();
    setClock(now - 1);
    round();
    EXPECT_EQ(transport_.tried.size(), static_cast<std::size_t>(i)) << "not before it is due";
    setClock(now);
    round();
    waits.push_back((box_.retryAt(1) - now) / 1000);
  }
  EXPECT_EQ(waits, (std::vector<std::int64_t>{10, 30, 60, 300, 900, 900, 900, 900}));
  EXPECT_EQ(box_.notes[1].back().why, "busy");
}

TEST_F(DeliveryTest, AMessageIsGivenUpWhenItsWaitsReachTheLimit) {
  transport_.answer = [](long long) { return SendResult{SendResult::kLater, "busy"}; };
  box_.post(1);
  std::int64_t last = 0;
  while (const auto next = box_.nextTry()) {
    last = *next;
    setClock(*next);
    round();
  }
  EXPECT_EQ(box_.notes[1].back().retryAt, -1);
  EXPECT_EQ(box_.notes[1].back().why, "busy");
  EXPECT_LE(last - kStart, kThreeDays * 1000);
  EXPECT_GT(last - kStart, (kThreeDays - 900) * 1000);
}

TEST_F(DeliveryTest, WithALimitOfNothingThereIsOneTry) {
  EXPECT_EQ(Delivery(box_, transport_, 0).waitSeconds(0), std::nullopt);
  EXPECT_EQ(Delivery(box_, transport_, 9).waitSeconds(0), std::nullopt);
  EXPECT_EQ(Delivery(box_, transport_, 10).waitSeconds(0), 10);
  EXPECT_EQ(Delivery(box_, transport_, 39).waitSeconds(1), std::nullopt);
  EXPECT_EQ(Delivery(box_, transport_, 40).waitSeconds(1), 30);
}

TEST_F(DeliveryTest, TimeInWhichNobodyTriedCountsForNothing) {
  transport_.answer = [](long long) { return SendResult{SendResult::kLater, "busy"}; };
  box_.post(1);
  setClock(kStart + 10 * kThreeDays * 1000);
  round();
  EXPECT_TRUE(box_.contains(1)) << "a scheduler that was away gives nothing up for that";
}

TEST_F(DeliveryTest, WhatIsRefusedForGoodIsGivenUpAtOnce) {
  transport_.answer = [](long long id) {
    return id == 1 ? SendResult{SendResult::kRefused, "550 no such user"} : SendResult{};
  };
  box_.post(1);
  box_.post(2);
  round();
  EXPECT_EQ(box_.notes[1].size(), 1U);
  EXPECT_EQ(box_.notes[1].back().retryAt, -1);
  EXPECT_EQ(box_.notes[1].back().why, "550 no such user");
  EXPECT_EQ(box_.notes[2].back().why, "sent");
}

TEST_F(DeliveryTest, OneMessageThatHasToWaitHoldsNoOtherUp) {
  transport_.answer = [](long long id) { return id == 1 ? SendResult{SendResult::kLater, "full"} : SendResult{}; };
  for (long long id = 1; id <= 3; ++id) box_.post(id);
  round();
  EXPECT_EQ(transport_.tried, (Ids{1, 2, 3}));
  EXPECT_TRUE(box_.contains(1));
  EXPECT_FALSE(box_.contains(2) || box_.contains(3));
}

TEST_F(DeliveryTest, AServerThatIsDownIsAskedOnceARound) {
  transport_.answer = [](long long) { return SendResult{SendResult::kUnreachable, "connection refused"}; };
  for (long long id = 1; id <= 50; ++id) box_.post(id);
  round();
  EXPECT_EQ(transport_.tried, Ids{1});
  for (long long id = 1; id <= 50; ++id) {
    ASSERT_EQ(box_.notes[id].size(), 1U);
    EXPECT_EQ(box_.retryAt(id), kStart + 10'000);
    EXPECT_EQ(box_.notes[id].back().why, "connection refused");
  }
  transport_.answer = [](long long) { return SendResult{}; };
  setClock(kStart + 10'000);
  round();
  EXPECT_EQ(transport_.tried.size(), 51U);
  EXPECT_EQ(box_.nextTry(), std::nullopt);
}

TEST_F(DeliveryTest, WhatComesDuringARoundWaitsForTheNext) {
  transport_.answer = [&](long long id) {
    setClock(clockMillis() + 60'000);
    if (id == 1) box_.post(2);
    return SendResult{SendResult::kLater, "slow"};
  };
  box_.post(1);
  round();
  EXPECT_EQ(transport_.tried, Ids{1}) << "nor is a message tried twice in one round, however long that takes";
}

TEST_F(DeliveryTest, ARoundEndsWhenItIsTold) {
  for (long long id = 1; id <= 3; ++id) box_.post(id);
  delivery_.round([&] { return transport_.tried.size() < 2; });
  EXPECT_EQ(transport_.tried.size(), 2U);
  EXPECT_TRUE(box_.contains(3));
  EXPECT_EQ(transport_.rests, 1);
}

TEST_F(DeliveryTest, AnInterruptedMessageStaysAsItWas) {
  transport_.answer = [](long long) { return SendResult{SendResult::kInterrupted, ""}; };
  box_.post(1);
  box_.post(2);
  round();
  EXPECT_EQ(transport_.tried, Ids{1});
  EXPECT_TRUE(box_.notes.empty());
  EXPECT_EQ(box_.retryAt(1), kStart);
}

TEST_F(DeliveryTest, AMessageThatWasSentIsNotSentAgainBecauseTheStoreFailed) {
  box_.post(1);
  box_.broken = true;
  EXPECT_THROW(round(), std::runtime_error);
  EXPECT_THROW(round(), std::runtime_error);
  box_.broken = false;
  round();
  EXPECT_EQ(transport_.tried, Ids{1});
  EXPECT_EQ(box_.notes[1].back().why, "sent");
}

TEST_F(DeliveryTest, WhatIsNoAddressReachesNoServer) {
  box_.post(1, "ann@example.org\r\nRCPT TO:<eve@example.org>");
  round();
  EXPECT_TRUE(transport_.tried.empty());
  EXPECT_EQ(box_.notes[1].back().retryAt, -1);
  EXPECT_EQ(box_.notes[1].back().why, "not an address");
}

}  // namespace
}  // namespace mesk::host
