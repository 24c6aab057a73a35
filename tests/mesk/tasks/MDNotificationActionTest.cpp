// Whom a task tells when it finishes.
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <platform/Contacts.h>
#include <platform/Memory.h>

#include <cstdio>
#include <fstream>

#include "ContactService.h"

namespace mesk::test {
namespace {

const char* const kCollection = "Ljava/util/Collection;";

/// What a list of names answered, its memory given back.
struct Names {
  Outcome outcome;
  bool hasArray;
  Strings names;  ///< "(null)" for a name that is none
  bool operator==(const Names&) const = default;
};
void PrintTo(const Names& names, std::ostream* out) {
  *out << "rc " << names.outcome.rc << ", sqlCode " << names.outcome.sqlCode << ", "
       << (names.hasArray ? "array:" : "no array");
  for (const std::string& name : names.names) *out << " [" << name << "]";
}
const Names kNoNames{{0, 0}, false, {}};

class MDNotificationActionTest : public WrapperTest<MDNotificationAction> {
 protected:
  MDNotificationActionTest() : WrapperTest("MDNotificationAction") {}

  using List = int (MDNotificationAction::*)(ThreadContext&, jobject, char**&, int&, int&);

  Names ask(List list, MDNotificationAction& action) {
    char** names = reinterpret_cast<char**>(1);
    int count = 77;
    Names result{kNonsense, false, {}};
    result.outcome.rc = std::invoke(list, action, ctx, context, names, count, result.outcome.sqlCode);
    result.hasArray = names != nullptr;
    for (int i = 0; i < count; ++i) {
      result.names.emplace_back(names[i] == nullptr ? "(null)" : names[i]);
      // The list of everybody is the action's own work, the others are Java's texts.
      if (list == &MDNotificationAction::retrieveAllContactNameList) {
        delete[] names[i];
      } else {
        ::operator delete(names[i]);
      }
    }
    delete[] names;
    EXPECT_EQ(jni.locals(), 0);
    return result;
  }
  Names everybody() { return ask(&MDNotificationAction::retrieveAllContactNameList, live); }

  void contactsAre(const Strings& names) { namesAre("MDNotificationAction.retrieveContactNameList", names); }
  void groupsAre(const Strings& names) { namesAre("MDNotificationAction.retrieveContactGroupNameList", names); }

  void namesAre(const char* method, const Strings& names) {
    std::vector<jobject> texts;
    texts.reserve(names.size());
    for (const std::string& text : names) texts.push_back(javaString(text.c_str()));
    script.on(method).returnsList(texts);
  }

  ContactService service;
};

TEST_F(MDNotificationActionTest, EachPropertyIsOneJavaPropertyOfItsType) {
  Clob text(ctx, javaString("it failed"));
  property("getNotificationActionID()J", &MDNotificationAction::getNotificationActionID, "setNotificationActionID(J)V",
           &MDNotificationAction::setNotificationActionID, 5000000000LL + 1);
  property("getParentTaskID()J", &MDNotificationAction::getParentTaskID, "setParentTaskID(J)V",
           &MDNotificationAction::setParentTaskID, 5000000000LL + 2);
  property("getParentSuffix()I", &MDNotificationAction::getParentSuffix, "setParentSuffix(I)V",
           &MDNotificationAction::setParentSuffix, 103);
  property("getSubject()Ljava/lang/String;", &MDNotificationAction::getSubject, "setSubject(Ljava/lang/String;)V",
           &MDNotificationAction::setSubject, "Subject 4");
  reads("getPagerSubject()Ljava/lang/String;", &MDNotificationAction::getPagerSubject,
        "PagerSubject of the fake store");
  property("getEmailMessage()Ljava/sql/Clob;", &MDNotificationAction::getEmailMessage,
           "setEmailMessage(Ljava/sql/Clob;)V", &MDNotificationAction::setEmailMessage, &text);
  property("getEmailMessageString()Ljava/lang/String;", &MDNotificationAction::getEmailMessageString,
           "setEmailMessageString(Ljava/lang/String;)V", &MDNotificationAction::setEmailMessageString,
           "EmailMessageString 7");
  property("getPagerMessage()Ljava/sql/Clob;", &MDNotificationAction::getPagerMessage,
           "setPagerMessage(Ljava/sql/Clob;)V", &MDNotificationAction::setPagerMessage, &text);
  reads("getPagerMessageString()Ljava/lang/String;", &MDNotificationAction::getPagerMessageString,
        "PagerMessageString of the fake store");
  reads("getJournalMessageString()Ljava/lang/String;", &MDNotificationAction::getJournalMessageString,
        "JournalMessageString of the fake store");
  reads("getSender()Ljava/lang/String;", &MDNotificationAction::getSender, "Sender of the fake store");
  property("getMessageType()I", &MDNotificationAction::getMessageType, "setMessageType(I)V",
           &MDNotificationAction::setMessageType, 112);
  property("getNotificationCondition()I", &MDNotificationAction::getNotificationCondition,
           "setNotificationCondition(I)V", &MDNotificationAction::setNotificationCondition, 113);
  property("getUseEmailMessage()I", &MDNotificationAction::getUseEmailMessage, "setUseEmailMessage(I)V",
           &MDNotificationAction::setUseEmailMessage, 114);
}

TEST_F(MDNotificationActionTest, CreatingMakesAJavaRecord) {
  checkCreation(
      [&](int& rc, int& sqlCode) { return std::make_unique<MDNotificationAction>(ctx, context, rc, sqlCode); });
}

TEST_F(MDNotificationActionTest, WrappingTakesTheSecondReferenceAndIgnoresTheFirst) {
  const MDNotificationAction action(ctx, newFake("MDTask"), record);
  EXPECT_TRUE(ctx.env->IsSameObject(action.object, record));
}

TEST_F(MDNotificationActionTest, StoreOperationsReportAndDoNotLog) {
  const Operation<MDNotificationAction> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](MDNotificationAction& target, int& sqlCode) { return target.insert(ctx, context, sqlCode); })},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](MDNotificationAction& target, int& sqlCode) { return target.update(ctx, context, sqlCode); })},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](MDNotificationAction& target, int& sqlCode) { return target.deleteIt(ctx, context, sqlCode); })},
      {"getReferenceID", storeMethod("", "J"), "getReferenceID(context, exception)",
       byOutputs([&](MDNotificationAction& target, int& rc, int& sqlCode) {
         EXPECT_EQ(target.getReferenceID(ctx, context, rc, sqlCode), 0);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
  script.on("MDNotificationAction.getReferenceID").returnsLong(0x123456789ALL);
  int rc = 77, sqlCode = 77;
  EXPECT_EQ(live.getReferenceID(ctx, context, rc, sqlCode), 0x123456789ALL);
}

// The two lists of names.

struct NameList {
  const char* method;
  int (MDNotificationAction::*list)(ThreadContext&, jobject, char**&, int&, int&);
};
const NameList kNameLists[] = {
    {"retrieveContactNameList", &MDNotificationAction::retrieveContactNameList},
    {"retrieveContactGroupNameList", &MDNotificationAction::retrieveContactGroupNameList},
};

TEST_F(MDNotificationActionTest, ListsOfNamesReportTheStoresCode) {
  for (const NameList& each : kNameLists) {
    const ListOperation<MDNotificationAction, char> list{
        each.method, 30014, ListForm::sizeAndGet,
        [&](MDNotificationAction& action, char**& names, int& count, int& sqlCode) {
          return std::invoke(each.list, action, ctx, context, names, count, sqlCode);
        }};
    const std::string recorded = std::string(each.method) + "(context, exception)";
    checkOperation({list.method, storeMethod("", kCollection), recorded.c_str(), asOperation(list)});
  }
}

TEST_F(MDNotificationActionTest, NamesComeInTheirOrderAndAnEmptyOneIsNull) {
  for (const NameList& each : kNameLists) {
    const std::string method = std::string("MDNotificationAction.") + each.method;
    script.on(method.c_str()).returnsList({javaString("bob"), javaString(""), nullptr, javaString("ann")});
    EXPECT_EQ(ask(each.list, live), (Names{{0, 0}, true, {"bob", "(null)", "(null)", "ann"}}));
  }
}

TEST_F(MDNotificationActionTest, ANameWithoutMemoryIsNull) {
  for (const NameList& each : kNameLists) {
    namesAre((std::string("MDNotificationAction.") + each.method).c_str(), {"ann", "bob", "cy"});
    const LogCapture log;
    {
      const AllocationFault fault(AllocationFault::kNew, 5);  // the array, two for ann, one for bob
      EXPECT_EQ(ask(each.list, live), (Names{{0, 0}, true, {"ann", "(null)", "cy"}}));
    }
    EXPECT_EQ(log.lines(), Strings{"0x10080161/10 \"Scheduler out of memory.\""});
    const AllocationFault fault(AllocationFault::kNew, 1);
    EXPECT_EQ(ask(each.list, live), kNoNames);
  }
}

TEST_F(MDNotificationActionTest, NoNamesAreNoArrayAndOnly30014SaysSo) {
  for (const NameList& each : kNameLists) {
    const std::string method = std::string("MDNotificationAction.") + each.method;
    script.on(method.c_str()).returnsList({});
    EXPECT_EQ(ask(each.list, live), kNoNames);
    script.reset();
    script.on(method.c_str()).returns(static_cast<jobject>(nullptr));
    EXPECT_EQ(ask(each.list, live), kNoNames);
    script.reset();
    script.on(method.c_str()).code(30014, 100);
    EXPECT_EQ(ask(each.list, live), kNoNames);
    script.reset();
    script.on(method.c_str()).code(30013, 100);
    EXPECT_EQ(ask(each.list, live), (Names{{30013, 100}, false, {}}));
    script.reset();
    script.on(method.c_str()).code(4711, -803).returnsList({javaString("ann")});
    EXPECT_EQ(ask(each.list, live), (Names{{4711, -803}, false, {}}));
    script.reset();
    script.on(method.c_str()).returnsList({javaString("ann")});
    for (const char* const part : {"size", "get"}) {
      jni.failMethod(part);
      EXPECT_EQ(ask(each.list, live), kNoNames);
      jni.heal();
    }
  }
}

// Everybody.

TEST_F(MDNotificationActionTest, EverybodyIsTheContactsThenTheMembersOfTheGroupsEachOnce) {
  contactsAre({"ann", "bob"});
  groupsAre({"ops"});
  service.groups["ops"] = {{"bob", "cy"}};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann", "bob", "cy"}}));
  EXPECT_EQ(script.calls(), (Strings{"MDNotificationAction.retrieveContactNameList(context, exception)",
                                     "MDNotificationAction.retrieveContactGroupNameList(context, exception)"}));
}

TEST_F(MDNotificationActionTest, ANameIsOnceAmongContactsAmongMembersAndAcrossGroups) {
  contactsAre({"ann", "bob", "ann"});
  groupsAre({"ops", "night", "ops"});
  service.groups["ops"] = {{"dan", "cy", "dan"}};
  service.groups["night"] = {{"eve", "ann", "cy"}};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann", "bob", "dan", "cy", "eve"}}));
}

TEST_F(MDNotificationActionTest, ANameThatBeginsAnotherIsAnother) {
  contactsAre({"bobby", "bob", "bobbyson"});
  groupsAre({"ops"});
  service.groups["ops"] = {{"bo", "Bob"}};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"bobby", "bob", "bobbyson", "bo", "Bob"}}));
}

TEST_F(MDNotificationActionTest, AGroupIsAskedForItsCountAndThenForItsNames) {
  groupsAre({"ops", "night"});
  service.groups["ops"] = {{"ann", "bob"}};
  service.groups["night"] = {{"cy"}};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann", "bob", "cy"}}));
  EXPECT_EQ(service.requests, (Strings{"81 ops 0 null", "81 ops 2 names", "81 night 0 null", "81 night 1 names"}));
#ifndef NDEBUG
  EXPECT_EQ(service.bufferBytes, (std::vector<std::size_t>{128, 128, 128}));
#endif
  EXPECT_EQ(reportLiveBlocks(nullptr, nullptr), 0u);
}

TEST_F(MDNotificationActionTest, ANameOf127BytesFits) {
  groupsAre({"ops"});
  service.groups["ops"] = {{std::string(127, 'x')}};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {std::string(127, 'x')}}));
}

TEST_F(MDNotificationActionTest, AGroupWithoutMembersIsAskedOnce) {
  contactsAre({"ann"});
  groupsAre({"empty"});
  service.groups["empty"] = {};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann"}}));
  EXPECT_EQ(service.requests, Strings{"81 empty 0 null"});
}

TEST_F(MDNotificationActionTest, AGroupThatTheServiceCannotListIsLeftOut) {
  contactsAre({"ann"});
  groupsAre({"unknown", "uncounted", "unnamed", "ops"});
  service.groups["uncounted"] = {.members = {"dan"}, .countCode = -2};
  service.groups["unnamed"] = {.members = {"eve"}, .namesCode = -2};
  service.groups["ops"] = {{"bob"}};
  const LogCapture log;
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann", "bob"}}));
  EXPECT_EQ(service.requests, (Strings{"81 unknown 0 null", "81 uncounted 0 null", "81 unnamed 0 null",
                                       "81 unnamed 1 names", "81 ops 0 null", "81 ops 1 names"}));
  EXPECT_EQ(log.lines(), Strings{});
  EXPECT_EQ(reportLiveBlocks(nullptr, nullptr), 0u);
}

TEST_F(MDNotificationActionTest, AGroupThatBecameSmallerBetweenTheRequestsGivesWhatIsLeft) {
  groupsAre({"ops"});
  service.groups["ops"] = {.members = {"ann"}, .grownBy = 2};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann"}}));
  EXPECT_EQ(service.requests, (Strings{"81 ops 0 null", "81 ops 3 names"}));
}

TEST_F(MDNotificationActionTest, BothListsEmptyAreNobody) {
  script.on("MDNotificationAction.retrieveContactNameList").code(30014, 100);
  script.on("MDNotificationAction.retrieveContactGroupNameList").code(30014, 100);
  EXPECT_EQ(everybody(), kNoNames);
  EXPECT_EQ(service.requests, Strings{});
}

TEST_F(MDNotificationActionTest, OneListEmptyLeavesTheOther) {
  script.on("MDNotificationAction.retrieveContactNameList").code(30014, 100);
  groupsAre({"ops"});
  service.groups["ops"] = {{"bob"}};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"bob"}}));
  script.reset();
  contactsAre({"ann"});
  script.on("MDNotificationAction.retrieveContactGroupNameList").code(30014, 100);
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann"}}));
}

TEST_F(MDNotificationActionTest, AFailureOfEitherListEndsTheOperation) {
  for (const int code : {4711, 30013}) {
    script.on("MDNotificationAction.retrieveContactNameList").code(code, -803);
    EXPECT_EQ(everybody(), (Names{{code, -803}, false, {}}));
    EXPECT_EQ(script.calls(), Strings{"MDNotificationAction.retrieveContactNameList(context, exception)"});
    script.reset();
    contactsAre({"ann"});
    script.on("MDNotificationAction.retrieveContactGroupNameList").code(code, -803);
    EXPECT_EQ(everybody(), (Names{{code, -803}, false, {}}));
    script.reset();
  }
  EXPECT_EQ(service.requests, Strings{});
}

TEST_F(MDNotificationActionTest, WhatCannotBeAskedIsMinus300) {
  const Names unreached{{-300, 0}, false, {}};
  EXPECT_EQ(ask(&MDNotificationAction::retrieveAllContactNameList, dead), unreached);
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  EXPECT_EQ(everybody(), unreached);
  jni.heal();
  jni.failMethod("retrieveContactNameList");
  EXPECT_EQ(everybody(), unreached);
  EXPECT_EQ(script.calls(), Strings{});
  jni.heal();
  jni.failMethod("retrieveContactGroupNameList");
  contactsAre({"ann"});
  EXPECT_EQ(everybody(), unreached);
  jni.heal();
}

TEST_F(MDNotificationActionTest, NullNamesAreNobody) {
  script.on("MDNotificationAction.retrieveContactNameList").returnsList({nullptr, javaString("ann"), javaString("")});
  script.on("MDNotificationAction.retrieveContactGroupNameList").returnsList({nullptr, javaString("ops")});
  service.groups["ops"] = {{"", "bob"}};
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann", "bob"}}));
  EXPECT_EQ(service.requests, (Strings{"81 ops 0 null", "81 ops 2 names"}));
}

// The allocations one after the other: array and twice two for the names of Java; then a copy and a place in the
// table for each name; then the array and a copy of each for the caller.
TEST_F(MDNotificationActionTest, WithoutMemoryNamesAreLeftOutOrNull) {
  script.on("MDNotificationAction.retrieveContactGroupNameList").code(30014);
  contactsAre({"ann", "bob"});
  const Strings both{"ann", "bob"};
  const std::pair<unsigned, Names> expected[] = {
      {1, kNoNames},                            // the array of Java's names
      {5, {{0, 0}, true, {"ann"}}},             // bob, made native
      {6, {{0, 0}, true, {"bob"}}},             // the copy of ann
      {7, {{0, 0}, true, {"bob"}}},             // room in the table for one
      {8, {{0, 0}, true, {"ann"}}},             // the copy of bob
      {9, {{0, 0}, true, {"ann"}}},             // room in the table for two
      {10, kNoNames},                           // the array for the caller
      {11, {{0, 0}, true, {"(null)", "bob"}}},  // ann for the caller
      {12, {{0, 0}, true, {"ann", "(null)"}}},  // bob for the caller
      {13, {{0, 0}, true, both}},               // no allocation
  };
  for (const auto& [n, names] : expected) {
    SCOPED_TRACE(n);
    const AllocationFault fault(AllocationFault::kNew, n);
    EXPECT_EQ(everybody(), names);
  }
}

TEST_F(MDNotificationActionTest, ANameThatThereIsNoMemoryToCompareIsLeftOut) {
  contactsAre({"ann", "bob", "cy"});
  for (const auto& [buffer, left] : std::vector<std::pair<unsigned, Strings>>{
           {1, {"bob", "cy"}}, {2, {"ann", "cy"}}, {3, {"ann", "cy"}}, {4, {"ann", "bob"}}, {6, {"ann", "bob"}}}) {
    service.buffersUntilNoMemory = buffer;
    EXPECT_EQ(everybody(), (Names{{0, 0}, true, left})) << "buffer " << buffer;
    EXPECT_EQ(service.buffersUntilNoMemory, 0u);
  }
}

TEST_F(MDNotificationActionTest, AGroupWithoutWorkMemoryIsLeftOut) {
  contactsAre({"ann"});
  groupsAre({"ops"});
  service.groups["ops"] = {{"bob", "cy"}};
  for (const unsigned n : {1u, 2u, 3u}) {
    const AllocationFault fault(AllocationFault::kWorkMemory, n);
    EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann"}})) << n;
    EXPECT_EQ(reportLiveBlocks(nullptr, nullptr), 0u);
  }
  EXPECT_EQ(service.requests, (Strings{"81 ops 0 null", "81 ops 0 null", "81 ops 0 null"}));
  const AllocationFault fault(AllocationFault::kWorkMemory, 4);
  EXPECT_EQ(everybody(), (Names{{0, 0}, true, {"ann", "bob", "cy"}}));
}

}  // namespace
}  // namespace mesk::test
