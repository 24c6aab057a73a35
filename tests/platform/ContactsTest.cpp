#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <platform/CodePage.h>
#include <platform/Contacts.h>
#include "Support.h"

namespace {

constexpr std::uint32_t kVersion = 81;

class ContactsTest : public testing::Test {
 protected:
  ContactsTest() { mesk::setContactsFile(path_.c_str()); }
  ~ContactsTest() override {
    mesk::setContactsFile(nullptr);
    mesk::setContactSource(nullptr);
  }

  void contacts(const std::string& text) { support::write(path_, text); }

  /// Asks in two calls, as callers do; a failure in either is the code.
  std::vector<std::string> group(const char* name, std::int32_t expectedCode = 0) {
    ContactGroupRequest request{name, 0, nullptr};
    ContactSqlca sqlca{};
    EXPECT_EQ(getAllContactNamesInGroup(kVersion, &request, &sqlca), 0);
    EXPECT_EQ(sqlca.sqlCode, expectedCode);
    if (sqlca.sqlCode != 0) return {};
    std::vector<std::string> buffers(request.count, std::string(128, '?'));
    std::vector<char*> names;
    names.reserve(buffers.size());
    for (std::string& buffer : buffers) names.push_back(buffer.data());
    request.names = names.data();
    EXPECT_EQ(getAllContactNamesInGroup(kVersion, &request, &sqlca), 0);
    EXPECT_EQ(sqlca.sqlCode, 0);
    std::vector<std::string> found;
    for (std::uint32_t i = 0; i < request.count; ++i) found.emplace_back(names[i]);
    return found;
  }

  support::Directory directory_;
  std::string path_ = directory_.file("contacts");
};

using Names = std::vector<std::string>;

TEST_F(ContactsTest, MembersComeInTheOrderOfTheFile) {
  contacts("ops: bob, cy\nothers: dan\n");
  EXPECT_EQ(group("ops"), (Names{"bob", "cy"}));
  EXPECT_EQ(group("others"), (Names{"dan"}));
}

TEST_F(ContactsTest, BlanksCommentsAndSeveralLinesOfAGroup) {
  contacts("# people\n\n  ops :  ann  smith ,,\tbob # and more\r\nnight: cy\nops: dan\n");
  EXPECT_EQ(group("ops"), (Names{"ann  smith", "bob", "dan"}));
}

TEST_F(ContactsTest, GroupWithoutMembersHasCountZero) {
  contacts("empty:\n");
  EXPECT_EQ(group("empty"), Names{});
}

TEST_F(ContactsTest, UnknownGroupHasACode) {
  contacts("ops: bob\n");
  group("op", mesk::kContactGroupUnknown);
  group("OPS", mesk::kContactGroupUnknown);
}

TEST_F(ContactsTest, MissingFileHasACode) { group("ops", mesk::kContactsUnreadable); }

TEST_F(ContactsTest, FileIsReadAnewByEachRequest) {
  contacts("ops: bob\n");
  EXPECT_EQ(group("ops"), (Names{"bob"}));
  contacts("ops: cy\n");
  EXPECT_EQ(group("ops"), (Names{"cy"}));
}

TEST_F(ContactsTest, NamesThatGrewInNumberBetweenTheCallsDoNotOverrun) {
  contacts("ops: ann, bob, cy\n");
  char first[128];
  char second[128] = "untouched";
  char* names[] = {first, second};
  ContactGroupRequest request{"ops", 1, names};
  ContactSqlca sqlca{};
  getAllContactNamesInGroup(kVersion, &request, &sqlca);
  EXPECT_EQ(request.count, 1u);
  EXPECT_STREQ(first, "ann");
  EXPECT_STREQ(second, "untouched");
}

TEST_F(ContactsTest, NamesThatBecameFewerBetweenTheCallsAreCounted) {
  contacts("ops: ann\n");
  char first[128];
  char second[128];
  char* names[] = {first, second};
  ContactGroupRequest request{"ops", 2, names};
  ContactSqlca sqlca{};
  getAllContactNamesInGroup(kVersion, &request, &sqlca);
  EXPECT_EQ(request.count, 1u);
}

TEST_F(ContactsTest, LongNameIsCutBetweenCharacters) {
  mesk::setProcessCodePage(mesk::kUtf8CodePage);
  const std::string longName = std::string(126, 'x') + "\u00E9tienne";
  contacts("ops: " + longName + ", " + std::string(127, 'y') + "\n");
  EXPECT_EQ(group("ops"), (Names{std::string(126, 'x'), std::string(127, 'y')}));
  mesk::setProcessCodePage(0);
}

TEST_F(ContactsTest, BadRequestsHaveACode) {
  contacts("ops: bob\n");
  ContactSqlca sqlca{};
  EXPECT_EQ(getAllContactNamesInGroup(kVersion, nullptr, &sqlca), 0);
  EXPECT_EQ(sqlca.sqlCode, mesk::kContactsBadRequest);
  ContactGroupRequest request{"ops", 0, nullptr};
  EXPECT_EQ(getAllContactNamesInGroup(80, &request, &sqlca), 0);
  EXPECT_EQ(sqlca.sqlCode, mesk::kContactsBadRequest);
}

TEST_F(ContactsTest, EnvironmentNamesTheFileUnlessItWasSet) {
  contacts("ops: bob\n");
  const std::string other = directory_.file("other");
  support::write(other, "ops: eve\n");
  setenv("MESK_CONTACTS", other.c_str(), 1);
  EXPECT_EQ(group("ops"), (Names{"bob"}));
  mesk::setContactsFile(nullptr);
  EXPECT_EQ(group("ops"), (Names{"eve"}));
  unsetenv("MESK_CONTACTS");
  group("ops", mesk::kContactsUnreadable);
}

TEST_F(ContactsTest, AHostsOwnSourceIsAskedBeforeTheFile) {
  contacts("ops: bob\nnight: cy\n");
  std::vector<std::string> asked;
  mesk::setContactSource([&](const std::string& name) -> std::optional<Names> {
    asked.push_back(name);
    if (name == "ops") return Names{"ann", "dan, the other"};
    if (name == "empty") return Names{};
    return std::nullopt;
  });
  EXPECT_EQ(group("ops"), (Names{"ann", "dan, the other"}));
  EXPECT_EQ(group("empty"), Names{});
  EXPECT_EQ(group("night"), (Names{"cy"})) << "a group that only the file has";
  group("nobody", mesk::kContactGroupUnknown);
  EXPECT_EQ(asked.front(), "ops");
  EXPECT_EQ(asked.back(), "nobody");

  mesk::setContactSource(nullptr);
  EXPECT_EQ(group("ops"), (Names{"bob"}));
}

TEST_F(ContactsTest, WithASourceThereNeedBeNoFile) {
  mesk::setContactSource([](const std::string& name) -> std::optional<Names> {
    if (name == "ops") return Names{"ann"};
    return std::nullopt;
  });
  EXPECT_EQ(group("ops"), (Names{"ann"}));
  group("night", mesk::kContactsUnreadable);
}

TEST_F(ContactsTest, ASourceThatThrowsHasACode) {
  contacts("ops: bob\n");
  mesk::setContactSource([](const std::string&) -> std::optional<Names> { throw std::runtime_error("no store"); });
  group("ops", mesk::kContactsUnreadable);
}

TEST_F(ContactsTest, ASourceMayBeSetWhileOthersAsk) {
  contacts("ops: file\n");
  const mesk::ContactSource ann = [](const std::string&) { return std::optional(Names{"ann"}); };
  const mesk::ContactSource bob = [](const std::string&) { return std::optional(Names{"bob"}); };
  std::atomic<bool> over = false;
  std::atomic<int> wrong = 0;
  std::atomic<int> answers = 0;
  support::onThreads(4, [&](int i) {
    if (i == 0) {
      for (int round = 0; round < 500 || answers < 500; ++round) mesk::setContactSource(round % 2 == 0 ? ann : bob);
      over = true;
      return;
    }
    while (!over) {
      char name[128];
      char* names[] = {name};
      ContactGroupRequest request{"ops", 1, names};
      ContactSqlca sqlca{};
      getAllContactNamesInGroup(kVersion, &request, &sqlca);
      ++answers;
      const std::string_view got = name;
      if (sqlca.sqlCode != 0 || request.count != 1 || (got != "ann" && got != "bob" && got != "file")) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

}  // namespace
