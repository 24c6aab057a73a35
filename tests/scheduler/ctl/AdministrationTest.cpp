// The store's Administration as the host reaches it.
#include <scheduler/Administration.h>

#include "Defining.h"

namespace mesk::host {
namespace {

using Names = std::vector<std::string>;

class AdministrationTest : public SchedulerTest {
 protected:
  AdministrationTest() : administration_(*session_) {}

  /// The store's answer to what must fail, with what is told of it.
  template <class Work>
  std::pair<int, std::string> failureOf(Work work) {
    try {
      work();
    } catch (const StoreError& error) {
      return {error.code(), error.what()};
    }
    return {0, "done"};
  }

  Administration administration_;
};

TEST_F(AdministrationTest, UsersAndGroupsComeAndGo) {
  administration_.createUser("ada", false, true);
  administration_.createUser("m\xc3\xbcller", false, false);
  administration_.createGroup("ops");
  administration_.addMember("ops", "ada");
  const Names users = administration_.users();
  EXPECT_NE(std::find(users.begin(), users.end(), "M\xc3\x9cLLER"), users.end());
  EXPECT_EQ(administration_.groups(), Names{"OPS"});
  EXPECT_EQ(administration_.members("ops"), Names{"ADA"});
  administration_.removeMember("ops", "ada");
  EXPECT_EQ(administration_.members("ops"), Names{});
  administration_.deleteGroup("ops");
  EXPECT_EQ(administration_.groups(), Names{});
  administration_.deleteUser("ada");
  EXPECT_EQ(administration_.users().size(), users.size() - 1);
}

TEST_F(AdministrationTest, ContactsAreWhatWasPut) {
  using Kind = Administration::AddressKind;
  EXPECT_EQ(administration_.contacts(), Names{});
  EXPECT_EQ(administration_.contactAddress("ann", Kind::kEmail), std::nullopt);
  administration_.putContact("ann", "ann@example.org", "");
  EXPECT_EQ(administration_.contactAddress("ann", Kind::kEmail), "ann@example.org");
  EXPECT_EQ(administration_.contactAddress("ann", Kind::kPager), "");
  EXPECT_EQ(administration_.contactAddress("x@y", Kind::kPager), "x@y");
  EXPECT_EQ(administration_.contactsOf("night"), std::nullopt);
  administration_.putContactGroup("night", {"x@y", "ann"});
  EXPECT_EQ(administration_.contactsOf("night"), (Names{"x@y", "ann"}));
  administration_.putContactGroup("night", {});
  EXPECT_EQ(administration_.contactsOf("night"), Names{});
  EXPECT_EQ(administration_.contactGroups(), Names{"night"});
  administration_.removeContactGroup("night");
  administration_.removeContact("ann");
  EXPECT_EQ(administration_.contactGroups(), Names{});
  EXPECT_EQ(administration_.contacts(), Names{});
}

TEST_F(AdministrationTest, WhatTheStoreSaysOfAFailureIsTold) {
  const auto [code, told] = failureOf([&] { administration_.deleteUser("nobody-here"); });
  EXPECT_EQ(code, kStoreNotFound);
  EXPECT_NE(told.find("there is no user NOBODY-HERE"), std::string::npos) << told;
  EXPECT_EQ(failureOf([&] { administration_.recordFollowOn(1, 2, {3, 0}, -1); }).first, kStoreNotFound);
}

TEST_F(AdministrationTest, AMethodThatTheStoreLacksIsAFailureAndTheNextCallWorks) {
  StoreClass store(*session_, "com/orvik/kelvo/mesk/admin/Administration");
  EXPECT_EQ(store.attempt("noSuchMethod", kNoResult, std::string("a"), 1), -300);
  EXPECT_THROW(store.check("asking for it"), StoreError);
  StoreClass nothing(*session_, "com/orvik/kelvo/mesk/admin/NoSuchClass");
  EXPECT_EQ(nothing.attempt("listUsers", kNoResult), -300);
  EXPECT_THROW(nothing.check("asking for it"), StoreError);
  EXPECT_EQ(administration_.users().size(), 1U);
}

TEST_F(AdministrationTest, NothingIsThereUntilItIsCommitted) {
  administration_.putContact("ann", "ann@example.org", "");
  session_->rollback();
  EXPECT_EQ(administration_.contacts(), Names{});
}

}  // namespace
}  // namespace mesk::host
