// What each command asks of its user, from the table of commands itself: a command without an expectation fails.
#include <set>

#include "CommandNames.h"
#include "Ctl.h"

namespace mesk::host {
namespace {

using Rights = std::set<std::string>;

/// What a command is called with here, and whom it is for.
struct Expectation {
  Words words;
  Rights enough;        ///< the rights each of which alone is enough; none: nobody's single right is
  std::string missing;  ///< what one without any right is told to lack; empty: it is for everybody
  bool ofTask = true;   ///< it is about the task, whose name is then told
};

constexpr const char* kAdministrators = "superusers and administrators";

class RightsTest : public CtlTest {
 protected:
  void SetUp() override {
    const std::string file =
        scratch_.write("store.yaml",
                       "mesk: 1\n"
                       "users: [{name: ada}, {name: bob}]\n"
                       "groups: [{name: crew, members: [bob]}]\n"
                       "schedules: [{name: nights, rules: [{every: 1 day, start: 2090-01-01 02:30}]}]\n"
                       "tasks:\n"
                       "  - {name: guarded, script: echo secret, schedules: [nights]}\n"
                       "  - {name: other, script: echo other}\n");
    ASSERT_EQ(done({"apply", file, "-q"}).out, "");
    done({"run", "guarded", "-q"});
    runDue();
    const Json runs = json({"history"});
    ASSERT_EQ(runs.size(), 1U);
    run_ = std::to_string(runs[0].at("run").get<long long>());
    changed_ = scratch_.write("changed.yaml", "mesk: 1\ntasks:\n  - {name: guarded, script: echo changed}\n");
  }

  std::map<std::string, Expectation> expectations() const {
    return {
        {"apply", {{changed_}, {}, "the right 'read'"}},
        {"export", {{"guarded"}, {"read"}, "the right 'read'"}},
        {"list", {{}, {"read"}, "the right 'read'", false}},
        {"show", {{"guarded"}, {"read"}, "the right 'read'"}},
        {"queue", {{}, {"read"}, "the right 'read'", false}},
        {"next", {{"guarded"}, {"read"}, "the right 'read'"}},
        {"run", {{"guarded"}, {"execute"}, "the right 'execute'"}},
        {"enable", {{"guarded"}, {}, "the right 'read'"}},
        {"disable", {{"guarded"}, {}, "the right 'read'"}},
        {"history", {{}, {"read"}, "the right 'read'", false}},
        {"log", {{run_}, {"read"}, "the right 'read'"}},
        {"stats", {{"guarded"}, {"read"}, "the right 'read'"}},
        {"delete", {{"guarded", "--yes"}, {}, "the right 'read'"}},
        {"schedule list", {{}, {}, ""}},
        {"schedule show", {{"nights"}, {}, ""}},
        {"schedule delete", {{"nights", "--yes"}, {}, kAdministrators, false}},
        {"grant", {{"execute", "guarded", "--to", "bob"}, {"update"}, "the right 'update'"}},
        {"revoke", {{"execute", "guarded", "--from", "bob"}, {"update"}, "the right 'update'"}},
        {"whoami", {{}, {}, ""}},
        {"user add", {{"eve"}, {}, kAdministrators, false}},
        {"user change", {{"ada", "--superuser"}, {}, kAdministrators, false}},
        {"user remove", {{"bob"}, {}, kAdministrators, false}},
        {"user list", {{}, {}, ""}},
        {"group add", {{"night"}, {}, kAdministrators, false}},
        {"group remove", {{"crew"}, {}, kAdministrators, false}},
        {"group list", {{}, {}, ""}},
        {"group join", {{"crew", "ada"}, {}, kAdministrators, false}},
        {"group leave", {{"crew", "bob"}, {}, kAdministrators, false}},
        {"codes", {{}, {}, ""}},
        {"completion", {{"bash"}, {}, ""}},
    };
  }

  /// Does every command as a user who has one right on the task, or none, and tells what was otherwise than expected.
  Words mismatches(const std::string& user, const std::string& right) const {
    Words wrong;
    auto expected = expectations();
    for (const std::string& name : commandNames()) {
      const auto found = expected.find(name);
      if (found == expected.end()) {
        wrong.push_back(name + ": nobody said whom it is for");
        continue;
      }
      const Expectation& expectation = found->second;
      Words words{"--user", user};
      for (std::istringstream parts(name); parts >> words.emplace_back();) continue;
      words.pop_back();
      words.insert(words.end(), expectation.words.begin(), expectation.words.end());
      const Answer answer = ctl(words);
      const bool allowed = expectation.missing.empty() || expectation.enough.contains(right);
      const auto says = [&answer](const std::string& text) { return answer.error.find(text) != std::string::npos; };
      if (allowed && answer.code != 0) wrong.push_back(name + " is refused: " + answer.error);
      if (!allowed && answer.code != 5) wrong.push_back(name + " is not refused: " + answer.out);
      if (!allowed && answer.code == 5) {
        const bool named =
            says("ADA ") && says(name) && (!expectation.ofTask || says("'guarded'")) && answer.out.empty();
        // Of one who has some right, the one that is missing may be another.
        const bool lacks = right.empty() ? says(expectation.missing) : says("the right '") || says(kAdministrators);
        if (!named || !lacks) wrong.push_back(name + " is refused without saying what is missing: " + answer.error);
      }
      expected.erase(found);
    }
    for (const auto& [name, expectation] : expected) wrong.push_back(name + ": there is no such command");
    return wrong;
  }

  /// All that is in the store but the keys that sessions reserve.
  std::string dump() const {
    const Answer answer = program({"sqlite3", store_, ".dump"});
    EXPECT_EQ(answer.code, 0) << answer.error;
    std::string text;
    std::string line;
    for (std::istringstream lines(answer.out); std::getline(lines, line);) {
      if (line.find("key_sequence") == std::string::npos) text += line + "\n";
    }
    return text;
  }

  void grantAda(const Words& rights) const {
    Words words{"grant"};
    words.insert(words.end(), rights.begin(), rights.end());
    words.insert(words.end(), {"guarded", "--to", "ada"});
    done(words);
  }

  std::string run_;
  std::string changed_;
};

TEST_F(RightsTest, WithoutRightsEveryCommandIsRefusedAndNothingChanges) {
  const std::string before = dump();
  EXPECT_EQ(mismatches("ada", ""), Words());
  EXPECT_EQ(dump(), before);
}

TEST_F(RightsTest, TheComparisonFindsACommandThatIsNotRefused) { EXPECT_NE(mismatches("root", ""), Words()); }

TEST_F(RightsTest, WithTheRightToReadAloneWhatReadsWorks) {
  grantAda({"read"});
  const std::string before = dump();
  EXPECT_EQ(mismatches("ada", "read"), Words());
  EXPECT_EQ(dump(), before);
}

TEST_F(RightsTest, WithTheRightToUpdateAloneRightsAreGivenAndTaken) {
  grantAda({"update"});
  EXPECT_EQ(mismatches("ada", "update"), Words());
}

TEST_F(RightsTest, WithTheRightToExecuteAloneTheTaskIsRunAsItIsDefined) {
  grantAda({"execute"});
  EXPECT_EQ(mismatches("ada", "execute"), Words());
  runDue();
  EXPECT_EQ(json({"history", "guarded"}).size(), 2U);
}

TEST_F(RightsTest, WithReadAndUpdateTheTaskIsChangedAndDeleted) {
  grantAda({"read", "update"});
  for (const Words& words : {Words{"disable", "guarded"}, Words{"enable", "guarded"}, Words{"apply", changed_},
                             Words{"delete", "guarded", "--yes"}}) {
    Words all{"--user", "ada"};
    all.insert(all.end(), words.begin(), words.end());
    const Answer answer = ctl(all);
    EXPECT_EQ(answer.code, 0) << words[0] << ": " << answer.error;
  }
  EXPECT_EQ(json({"list"}).size(), 1U);
}

TEST_F(RightsTest, ListsShowWhatMayBeRead) {
  grantAda({"read"});
  EXPECT_EQ(json({"list"}).size(), 2U);
  environment_["MESK_USER"] = "ada";
  const Json tasks = json({"list"});
  ASSERT_EQ(tasks.size(), 1U);
  EXPECT_EQ(tasks[0].at("task"), "guarded");
  EXPECT_EQ(done({"export"}).out.find("echo other"), std::string::npos);
  const Json me = json({"whoami"});
  EXPECT_EQ(me.at("user"), "ADA");
  EXPECT_EQ(me.at("superuser"), false);
  EXPECT_EQ(me.at("tasks"), Json::parse(R"([{"task": "guarded", "rights": ["read"]}])"));
}

TEST_F(RightsTest, AGroupsRightsAreItsMembers) {
  done({"grant", "read", "execute", "guarded", "--to-group", "crew"});
  const Answer run = ctl({"--user", "bob", "run", "guarded"});
  EXPECT_EQ(run.code, 0) << run.error;
  EXPECT_EQ(json({"--user", "bob", "whoami"}).at("groups"), Json::parse(R"(["CREW"])"));
  done({"group", "leave", "crew", "bob"});
  EXPECT_EQ(ctl({"--user", "bob", "run", "guarded"}).code, 5);
}

TEST_F(RightsTest, AnAdministratorMakesTasksAndGivesRightsButHasNone) {
  done({"user", "change", "ada", "--admin"});
  environment_["MESK_USER"] = "ada";
  EXPECT_EQ(ctl({"show", "guarded"}).code, 5);
  EXPECT_EQ(apply("  - {name: mine, script: echo mine}\n").code, 0);
  EXPECT_EQ(json({"list"}).size(), 1U);
  done({"grant", "read", "guarded", "--to", "ada"});
  done({"show", "guarded"});
  const Answer rise = ctl({"user", "change", "ada", "--superuser"});
  EXPECT_EQ(rise.code, 5);
  EXPECT_NE(rise.error.find("ADA is no superuser"), std::string::npos) << rise.error;
}

TEST_F(RightsTest, WhatCannotBeGrantedIsToldWithItsReason) {
  EXPECT_NE(ctl({"grant", "read", "guarded", "--to", "nobody"}).error.find("there is no user NOBODY"),
            std::string::npos);
  EXPECT_NE(ctl({"grant", "read", "guardde", "--to", "ada"}).error.find("did you mean 'guarded'?"), std::string::npos);
  EXPECT_EQ(ctl({"grant", "see", "guarded", "--to", "ada"}).code, 2);
  EXPECT_EQ(ctl({"grant", "read", "guarded"}).code, 2);
  EXPECT_EQ(ctl({"grant", "read", "guarded", "--to", "ada", "--to-group", "crew"}).code, 2);
}

TEST_F(RightsTest, MeskdWorksForASuperuserOnly) {
  // The maker of a store is one; here he is none any more.
  done({"user", "add", "boss", "--superuser"});
  done({"--user", "boss", "user", "change", json({"whoami"}).at("user"), "--admin"});
  const Answer answer = program({MESK_D, "--exit-when-idle"});
  EXPECT_EQ(answer.code, 5);
  EXPECT_NE(answer.error.find(" is no superuser of the store " + store_), std::string::npos) << answer.error;
}

}  // namespace
}  // namespace mesk::host
