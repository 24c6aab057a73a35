// What holds for the rights on every record that has them.
#pragma once

#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/support/WrapperTest.h>

#include <functional>
#include <string>

namespace mesk::test {

/// A fixture for a wrapper with the three questions and the three changes, for users and for groups.
template <class W>
class GuardedTest : public WrapperTest<W> {
 protected:
  using WrapperTest<W>::WrapperTest;

  void checkRights() {
    MDUser user(this->ctx, "joe");
    MDGroup group(this->ctx, "ops");
    MDUser noUser(this->ctx, static_cast<jobject>(nullptr));
    MDGroup noGroup(this->ctx, static_cast<jobject>(nullptr));
    checkRight<MDUser>("Read", &W::getReadPermission, &W::setReadPermission, user, noUser);
    checkRight<MDGroup>("Read", &W::getReadPermission, &W::setReadPermission, group, noGroup);
    checkRight<MDUser>("Update", &W::getUpdatePermission, &W::setUpdatePermission, user, noUser);
    checkRight<MDGroup>("Update", &W::getUpdatePermission, &W::setUpdatePermission, group, noGroup);
    checkRight<MDUser>("Execute", &W::getExecutePermission, &W::setExecutePermission, user, noUser);
    checkRight<MDGroup>("Execute", &W::getExecutePermission, &W::setExecutePermission, group, noGroup);
  }

 private:
  template <class P>
  using Question = int (W::*)(ThreadContext&, jobject, P&, int&, int&);
  template <class P>
  using Change = int (W::*)(ThreadContext&, jobject, P&, int, int&);

  template <class P>
  void checkRight(const char* right, Question<P> ask, Change<P> change, P& principal, P& nobody) {
    constexpr bool kUser = std::is_same_v<P, MDUser>;
    const std::string get = std::string("get") + right + "Permission";
    const std::string set = std::string("set") + right + "Permission";
    const std::string type =
        kUser ? "Lcom/orvik/kelvo/mesk/metadata/MDUser;" : "Lcom/orvik/kelvo/mesk/metadata/MDGroup;";
    const std::string shown = kUser ? "MDUser:JOE" : "MDGroup:OPS";
    SCOPED_TRACE(std::string(right) + " for " + shown);

    const std::string asked = get + "(context, " + shown + ", exception)";
    this->checkOperation(
        {get.c_str(), storeMethod(type, "Z"), asked.c_str(), this->byOutputs([&](W& target, int& rc, int& sqlCode) {
           EXPECT_EQ(std::invoke(ask, target, this->ctx, this->context, principal, rc, sqlCode), 0);
         })});
    for (const int allowed : {0, 1, 0x101, 0x100}) {
      const std::string changed =
          set + "(context, " + shown + (allowed % 256 == 1 ? ", true" : ", false") + ", exception)";
      this->checkOperation(
          {set.c_str(), storeMethod(type + "Z", "V"), changed.c_str(), this->byResult([&](W& target, int& sqlCode) {
             return std::invoke(change, target, this->ctx, this->context, principal, allowed, sqlCode);
           })});
    }

    const auto answers = [&](P& whom, int expected, Outcome outcome) {
      Outcome o = kNonsense;
      EXPECT_EQ(std::invoke(ask, this->live, this->ctx, this->context, whom, o.rc, o.sqlCode), expected);
      EXPECT_EQ(o, outcome);
    };
    const std::string scripted = this->name + "." + get;
    this->script.reset();
    this->script.on(scripted.c_str()).returnsBoolean(true);
    answers(principal, 1, {0, 0});
    this->script.reset();
    this->script.on(scripted.c_str()).code(4711, -803).returnsBoolean(true);
    answers(principal, 0, {4711, -803});
    this->script.reset();
    answers(nobody, 0, {-300, 0});
    int sqlCode = 77;
    EXPECT_EQ(std::invoke(change, this->live, this->ctx, this->context, nobody, 1, sqlCode), -300);
    EXPECT_EQ(sqlCode, 0);
    EXPECT_EQ(this->script.calls(), Strings{});
  }
};

}  // namespace mesk::test
