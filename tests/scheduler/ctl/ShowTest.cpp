// What 'show' and 'schedule' tell of tasks that have everything, and what 'apply' and 'export' do with it.
#include <set>

#include "Ctl.h"

namespace mesk::host {
namespace {

constexpr const char* kFile = R"(mesk: 1
users: [{name: ada}, {name: bob}]
groups: [{name: ops, members: [ada, bob]}]
contacts:
  - {name: ann, email: ann@example.org, pager: 5@pager.example.org}
contact-groups:
  - {name: night, members: [ann, x@example.org]}
schedules:
  - name: nightly
    description: When nobody works
    rules:
      - {every: day, start: 2090-01-01 02:00}
      - {every: week, on: monday, start: 2090-01-01 03:00}
tasks:
  - name: load
    description: Loads
    owner: ada
    script: echo loaded
    success: [0, "<= 3"]
    schedules: nightly
    schedule: [{every: day, start: 2090-01-01 10:00}]
    follow-ons:
      - {on: success, run: report}
      - {on: failure, disable: [load, report]}
    notifications:
      - {on: failure, by: both, to: [ann, z@example.org], groups: night, subject: "${task} failed", message: m, pager-message: p}
    rights:
      - {user: bob, may: read}
      - {group: ops, may: [read, execute]}
  - {name: report, script: echo reported}
  - {name: copy, type: warehouse, schedules: nightly, success: [0, 2],
     warehouse: {source: "jdbc:a", source-user: ada, source-password-file: /secret/file, target: "jdbc:b", table: orders,
                 mode: replace, batch: 50, retries: 2, retry-interval: 90s, query: SELECT 1 AS n}}
  - {name: group, type: group, steps: [copy, [load, report]], stop-at-failure: false}
)";

class ShowTest : public CtlTest {
 protected:
  ShowTest() { EXPECT_EQ(ctl({"apply", scratch_.write("all.yaml", kFile)}).code, 0); }

  void expectParts(const std::string& text, const Words& parts) const {
    for (const std::string& part : parts) EXPECT_NE(text.find(part), std::string::npos) << part << "\nnot in\n" << text;
  }
};

TEST_F(ShowTest, ATaskIsShownWithAllThatHangsOnIt) {
  expectParts(
      done({"show", "load"}).out,
      {"Task:         load\n", "Description:  Loads\n", "Type:         script\n", "Owner:        ada\n",
       "Success:      0, < 4\n", "Step of:      group\n",
       "Schedule:\n  every day from 2090-01-01 10:00:00\n"
       "  every day from 2090-01-01 02:00:00 (shared schedule 'nightly')\n"
       "  every week on monday from 2090-01-01 03:00:00 (shared schedule 'nightly')\n",
       "Next starts:\n  2090-01-01 02:00:00 UTC  every day from 2090-01-01 02:00:00 (shared schedule 'nightly')\n"
       "  2090-01-01 10:00:00 UTC  every day from 2090-01-01 10:00:00\n",
       "Follow-ons:\n  on success, run report\n  on failure, disable load, report\n",
       "Notifications:\n  on failure, by both, to ann, z@example.org, group night: ${task} failed\n",
       "Rights:\n  BOB: read\n  group OPS: read, execute\n", "Last runs:    none\n", "Script:\n  echo loaded\n"});
  expectParts(done({"show", "report"}).out, {"Runs after:   load\n", "Success:      0\n", "Schedule:     none\n"});
}

TEST_F(ShowTest, AGroupIsShownStageByStage) {
  const std::string out = done({"show", "group"}).out;
  expectParts(out, {"Type:         group\n", "Steps:\n  1. copy\n  2. load, report together\n",
                    "If one fails: the next are started all the same\n"});
  for (const char* part : {"Script", "Processor", "Timeout"}) EXPECT_EQ(out.find(part), std::string::npos) << part;
}

TEST_F(ShowTest, AWarehouseTaskIsShownWithItsQueryAndNoPassword) {
  expectParts(done({"show", "copy"}).out,
              {"Type:         warehouse\n", "From:         jdbc:a as ada\n", "To:           jdbc:b\n",
               "Table:        orders, replace, 50 rows at once\n", "Copy again:   up to 2 times, after 1m30s\n",
               "Success:      0, 2\n", "Query:\n  SELECT 1 AS n\n"});
}

TEST_F(ShowTest, AllOfItIsThereInJson) {
  const Json load = json({"show", "load"});
  EXPECT_EQ(load.at("type"), "script");
  EXPECT_EQ(load.at("success"), Json::array({"0", "< 4"}));
  EXPECT_EQ(load.at("schedule"), Json::array({"every day from 2090-01-01 10:00:00"}));
  EXPECT_EQ(load.at("schedules"),
            Json::parse(R"([{"schedule": "nightly", "rules": ["every day from 2090-01-01 02:00:00",
                             "every week on monday from 2090-01-01 03:00:00"]}])"));
  EXPECT_EQ(load.at("followOns"), Json::parse(R"([{"on": "success", "action": "run", "tasks": ["report"]},
                                                  {"on": "failure", "action": "disable", "tasks": ["load", "report"]}])"));
  EXPECT_EQ(load.at("notifications"),
            Json::parse(R"([{"on": "failure", "by": "both", "to": ["ann", "z@example.org"], "groups": ["night"],
                             "subject": "${task} failed", "message": "m", "pagerMessage": "p"}])"));
  EXPECT_EQ(load.at("rights"), Json::parse(R"([{"user": "BOB", "read": true, "update": false, "execute": false},
                                               {"group": "OPS", "read": true, "update": false, "execute": true}])"));
  EXPECT_EQ(load.at("stepOf"), Json::array({"group"}));
  EXPECT_EQ(load.at("next").size(), 5U);
  EXPECT_TRUE(load.at("lastRuns").empty());
  EXPECT_TRUE(load.at("warehouse").is_null());
  EXPECT_EQ(json({"show", "report"}).at("runsAfter"), Json::array({"load"}));
  const Json group = json({"show", "group"});
  EXPECT_EQ(group.at("steps"), Json::parse(R"([["copy"], ["load", "report"]])"));
  EXPECT_EQ(group.at("stopAtFailure"), false);
  EXPECT_EQ(json({"show", "copy"}).at("warehouse"),
            Json::parse(R"({"source": "jdbc:a", "sourceUser": "ada", "sourcePasswordFile": "/secret/file",
                            "target": "jdbc:b", "targetUser": "", "targetPasswordFile": "", "table": "orders",
                            "mode": "replace", "batch": 50, "retries": 2, "retryIntervalSeconds": 90})"));
}

TEST_F(ShowTest, TheLastRunsAreShownTheLastFirst) {
  for (int i = 0; i < 6; ++i) {
    done({"run", "report"});
    runDue();
  }
  const Json runs = json({"show", "report"}).at("lastRuns");
  ASSERT_EQ(runs.size(), 5U);
  for (std::size_t i = 0; i < runs.size(); ++i) {
    EXPECT_EQ(runs[i].at("status"), "succeeded");
    if (i > 0) {
      EXPECT_LT(runs[i].at("run"), runs[i - 1].at("run"));
    }
  }
  expectParts(done({"show", "report"}).out, {"Last runs:\n  " + runs[0].at("run").dump() + "  2", "UTC  succeeded\n"});
}

TEST_F(ShowTest, TheQueueAndTheNextStartsKnowSharedRules) {
  const Json next = json({"next", "copy", "-n", "1"});
  EXPECT_EQ(next.at(0).at("why"), "every day from 2090-01-01 02:00:00 (shared schedule 'nightly')");
  int shared = 0;
  for (const Json& execution : json({"queue"})) {
    shared += execution.at("cause").get<std::string>().ends_with("(shared schedule 'nightly')") ? 1 : 0;
  }
  EXPECT_EQ(shared, 4) << "two rules of two tasks";
}

TEST_F(ShowTest, WhatIsExportedAppliesAsTheSame) {
  const std::string exported = done({"export"}).out;
  for (const Json& entry : json({"apply", scratch_.write("export.yaml", exported)})) {
    EXPECT_EQ(entry.at("result"), "unchanged") << entry;
  }
  environment_["MESK_STORE"] = scratch_.at("other.db");
  const Json report = json({"apply", scratch_.at("export.yaml")});
  for (const Json& entry : report) EXPECT_EQ(entry.at("result"), "created") << entry;
  EXPECT_EQ(done({"export"}).out, exported);
  std::set<std::string> keys;
  for (const Json& entry : report) {
    for (const auto& [key, value] : entry.items()) keys.insert(key);
  }
  EXPECT_EQ(keys, (std::set<std::string>{"user", "group", "contact", "contactGroup", "schedule", "task", "result",
                                         "changes"}));
}

TEST_F(ShowTest, ApplyReportsEachKindOfDefinition) {
  environment_["MESK_STORE"] = scratch_.at("other.db");
  const Words dry{"apply", scratch_.at("all.yaml"), "--dry-run"};
  const std::string expected =
      "WHAT           NAME     RESULT   CHANGES\n"
      "user           ADA      created\n"
      "user           BOB      created\n"
      "group          OPS      created\n"
      "contact        ann      created\n"
      "contact group  night    created\n"
      "schedule       nightly  created\n"
      "task           load     created\n"
      "task           report   created\n"
      "task           copy     created\n"
      "task           group    created\n";
  EXPECT_EQ(done(dry).out, expected + "Nothing was changed: this was a dry run.\n");
  EXPECT_EQ(done({"apply", scratch_.at("all.yaml")}).out, expected);
}

TEST_F(ShowTest, AFileThatDoesNotFitTheStoreIsRefusedWithItsLines) {
  const std::string before = done({"export"}).out;
  const std::string file = scratch_.write(
      "bad.yaml",
      "mesk: 1\ntasks:\n  - {name: report, script: x, follow-ons: [{on: end, run: [group,\n      nothing]}]}\n");
  for (const Words& words : {Words{"apply", file}, Words{"apply", file, "--dry-run"}}) {
    const Answer answer = ctl(words);
    EXPECT_EQ(answer.code, 3);
    const std::string forever = file + ":3: these tasks would start each other for ever: ";
    EXPECT_EQ(answer.error, forever + "report -> group -> load -> report\n" + forever + "report -> group -> report\n" +
                                file + ":4: 'run': neither this file nor the store has a task 'nothing'\n" +
                                "meskctl: nothing was applied: 3 errors in " + file + "\n");
  }
  EXPECT_EQ(done({"export"}).out, before);
  environment_["MESK_STORE"] = scratch_.at("other.db");
  const Answer answer = ctl({"apply", file, "--dry-run"});
  EXPECT_EQ(answer.code, 3) << "also when there is no store yet";
  EXPECT_NE(answer.error.find("'group'"), std::string::npos) << answer.error;
}

TEST_F(ShowTest, ATaskThatOthersNeedIsNotDeleted) {
  const Answer answer = ctl({"delete", "report", "--yes"});
  EXPECT_EQ(answer.code, 5);
  EXPECT_EQ(
      answer.error,
      "meskctl: task 'report' cannot be deleted; it is a step of 'group'; the end of 'load' would run it; the end "
      "of 'load' would disable it; change these tasks first\n");
}

TEST_F(ShowTest, SharedSchedulesAreListedShownAndDeleted) {
  EXPECT_EQ(done({"schedule", "list"}).out,
            "SCHEDULE  RULES  TASKS       DESCRIPTION\n"
            "nightly       2  copy, load  When nobody works\n");
  EXPECT_EQ(done({"schedule", "show", "nightly"}).out,
            "Schedule:     nightly\n"
            "Description:  When nobody works\n"
            "Tasks:        copy, load\n"
            "Rules:\n"
            "  every day from 2090-01-01 02:00:00\n"
            "  every week on monday from 2090-01-01 03:00:00\n");
  const Json shown = json({"schedule", "show", "nightly"});
  EXPECT_EQ(shown.at("tasks"), Json::array({"copy", "load"}));
  EXPECT_EQ(json({"schedule", "list"}), Json::array({shown}));

  Answer answer = ctl({"schedule", "delete", "nightly"});
  EXPECT_EQ(answer.code, 2);
  EXPECT_EQ(answer.error, "meskctl: deleting shared schedule 'nightly' cannot be undone: confirm it with --yes\n");
  answer = ctl({"schedule", "delete", "nightly", "--yes"});
  EXPECT_EQ(answer.code, 5);
  EXPECT_EQ(answer.error, "meskctl: shared schedule 'nightly' cannot be deleted: it is used by 'copy', 'load'\n");
  answer = ctl({"schedule", "show", "nihgtl"});
  EXPECT_EQ(answer.code, 4);

  done({"delete", "group", "--yes"});
  done({"delete", "copy", "--yes"});
  done({"delete", "load", "--yes"});
  EXPECT_EQ(done({"schedule", "delete", "nightly", "--yes"}).out, "shared schedule 'nightly' is deleted\n");
  EXPECT_EQ(done({"schedule", "list"}).out, "There are no shared schedules; 'meskctl apply FILE' defines some.\n");
  EXPECT_EQ(json({"schedule", "list"}), Json::array());
}

}  // namespace
}  // namespace mesk::host
