// Each command, on a store of its own.
#include <set>

#include "Ctl.h"

namespace mesk::host {
namespace {

// Rules of the far future: nothing fires while a test looks.
constexpr const char* kTwoTasks =
    "  - name: nightly\n"
    "    script: echo night\n"
    "    schedule:\n"
    "      - {every: 1 day, start: 2090-01-01 02:30}\n"
    "      - {every: 1 week, on: monday, start: 2090-01-01 07:00}\n"
    "  - {name: by-hand, script: 'echo \"$#:$1:$2\"', arguments: usual}\n";

Words namesOf(const Json& tasks) {
  Words names;
  for (const Json& task : tasks) names.push_back(task.at("task"));
  return names;
}

std::map<std::string, int> keysByCause(const Json& queue) {
  std::map<std::string, int> keys;
  for (const Json& execution : queue) keys[execution.at("cause")] = execution.at("execution");
  return keys;
}

TEST_F(CtlTest, ApplyMakesTheTasksOfAFile) {
  const Answer answer = apply(kTwoTasks);
  EXPECT_EQ(answer.code, 0) << answer.error;
  EXPECT_EQ(answer.out, "WHAT  NAME     RESULT   CHANGES\ntask  nightly  created\ntask  by-hand  created\n");
  EXPECT_EQ(namesOf(json({"list"})), (Words{"by-hand", "nightly"}));
}

TEST_F(CtlTest, ApplyMakesAllTasksOfTheHousekeepingExample) {
  const Json report = json({"apply", MESK_EXAMPLES "/housekeeping.yaml"});
  EXPECT_GE(report.size(), 8U);
  for (const Json& task : report) EXPECT_EQ(task.at("result"), "created");
  EXPECT_EQ(json({"list"}).size(), report.size());
}

TEST_F(CtlTest, ApplyingAgainChangesNothingAndKeepsTheExecutions) {
  apply(kTwoTasks);
  const Json before = json({"queue"});
  ASSERT_EQ(before.size(), 2U);
  const Json report = json({"apply", scratch_.at("tasks.yaml")});
  for (const Json& task : report) {
    EXPECT_EQ(task.at("result"), "unchanged");
    EXPECT_TRUE(task.at("changes").empty());
  }
  EXPECT_EQ(json({"queue"}), before);
}

TEST_F(CtlTest, AChangeOfOneRuleKeepsTheExecutionsOfTheOthers) {
  apply(kTwoTasks);
  const auto before = keysByCause(json({"queue"}));
  const Answer answer = apply(
      "  - name: nightly\n"
      "    script: echo night\n"
      "    schedule:\n"
      "      - {every: 1 day, start: 2090-01-01 03:30}\n"
      "      - {every: 1 week, on: monday, start: 2090-01-01 07:00}\n");
  EXPECT_EQ(answer.out,
            "WHAT  NAME     RESULT   CHANGES\ntask  nightly  changed  schedule: 1 added, schedule: 1 removed\n");
  const auto after = keysByCause(json({"queue"}));
  const std::string weekly = "every week on monday from 2090-01-01 07:00:00";
  ASSERT_EQ(after.size(), 2U);
  EXPECT_EQ(after.at(weekly), before.at(weekly));
  EXPECT_TRUE(after.contains("every day from 2090-01-01 03:30:00"));
  EXPECT_FALSE(after.contains("every day from 2090-01-01 02:30:00"));
}

TEST_F(CtlTest, ApplyNamesThePartsThatItChanged) {
  apply(kTwoTasks);
  const Answer answer = apply(
      "  - {name: by-hand, script: echo other, arguments: usual, timeout: 5m, retry: {count: 2, interval: 1m}}\n");
  EXPECT_EQ(answer.out, "WHAT  NAME     RESULT   CHANGES\ntask  by-hand  changed  script, timeout, retry\n");
  EXPECT_EQ(namesOf(json({"list"})), (Words{"by-hand", "nightly"})) << "a task that the file does not name stays";
}

TEST_F(CtlTest, AFileWithErrorsChangesNothingAndAllErrorsAreTold) {
  apply(kTwoTasks);
  const std::string before = done({"export"}).out;
  const Answer answer = apply(
      "  - {name: good, script: echo}\n"
      "  - name: bad\n"
      "    type: sql\n"
      "    script: x\n"
      "    schedule:\n"
      "      - {every: 0 minutes, start: 2026-01-01 00:00}\n");
  const std::string file = scratch_.at("tasks.yaml");
  EXPECT_EQ(answer.code, 3);
  EXPECT_EQ(answer.out, "");
  EXPECT_EQ(answer.error, file + ":5: 'type': expected one of: script, group, warehouse\n" + file +
                              ":8: 'every': expected 1 to 1000 minutes\n" +
                              "meskctl: nothing was applied: 2 errors in " + file + "\n");
  EXPECT_EQ(done({"export"}).out, before);
}

TEST_F(CtlTest, AnApplyThatFailsHalfwayLeavesNothing) {
  apply(kTwoTasks);
  const std::string before = done({"export"}).out;
  const Json queue = json({"queue"});
  // The database itself refuses the third of the changes.
  const std::string trigger =
      "CREATE TRIGGER refuse BEFORE INSERT ON task WHEN NEW.task_name = 'c' BEGIN SELECT RAISE(ABORT, 'no'); END;";
  ASSERT_EQ(program({"sqlite3", store_, trigger}).code, 0);
  const std::string rule = "    schedule: [{every: 1 day, start: 2090-01-01 00:00}]\n";
  const Answer answer = apply("  - name: a\n    script: a\n" + rule + "  - name: nightly\n    script: changed\n" +
                              rule + "  - name: c\n    script: c\n" + rule);
  EXPECT_EQ(answer.code, 9);
  EXPECT_NE(answer.error.find("meskctl: adding task 'c': "), std::string::npos) << answer.error;
  EXPECT_EQ(done({"export"}).out, before);
  EXPECT_EQ(json({"queue"}), queue);
  ASSERT_EQ(program({"sqlite3", store_, "DROP TRIGGER refuse"}).code, 0);
  EXPECT_EQ(done({"apply", scratch_.at("tasks.yaml"), "-q"}).out, "") << "nothing but the trigger was in the way";
}

TEST_F(CtlTest, ADryRunTellsWhatWouldChangeAndChangesNothing) {
  const std::string file = scratch_.write("dry.yaml", std::string("mesk: 1\ntasks:\n") + kTwoTasks);
  const Answer first = done({"apply", file, "--dry-run"});
  EXPECT_NE(first.out.find("nightly  created"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(store_));
  apply("  - {name: by-hand, script: echo}\n");
  const std::string before = done({"export"}).out;
  const Answer second = done({"apply", file, "--dry-run"});
  EXPECT_EQ(second.out,
            "WHAT  NAME     RESULT   CHANGES\ntask  nightly  created\ntask  by-hand  changed  script, arguments\n"
            "Nothing was changed: this was a dry run.\n");
  EXPECT_EQ(done({"export"}).out, before);
}

TEST_F(CtlTest, WhatIsExportedAppliesAsTheSameTasks) {
  done({"apply", MESK_EXAMPLES "/housekeeping.yaml", "-q"});
  const std::string all = done({"export"}).out;
  const std::string file = scratch_.write("export.yaml", all);
  for (const Json& task : json({"apply", file})) EXPECT_EQ(task.at("result"), "unchanged") << task;
  const std::string other = scratch_.at("other.db");
  done({"--store", other, "apply", file, "-q"});
  EXPECT_EQ(done({"--store", other, "export"}).out, all);
  const std::string one = done({"export", "second-try"}).out;
  EXPECT_NE(one.find("name: second-try"), std::string::npos);
  EXPECT_EQ(one.find("disk-space"), std::string::npos);
}

TEST_F(CtlTest, TextsOfAnyScriptSurviveWhateverTheLocale) {
  for (const char* locale : {"C", "C.UTF-8"}) {
    environment_["LC_ALL"] = locale;
    apply("  - {name: Übung 漢字 😀, script: \"echo ü\\tß\\n\", description: čeština}\n");
    const Json task = json({"show", "Übung 漢字 😀"});
    EXPECT_EQ(task.at("task"), "Übung 漢字 😀") << locale;
    EXPECT_EQ(task.at("script"), "echo ü\tß\n") << locale;
    EXPECT_EQ(task.at("description"), "čeština") << locale;
  }
}

TEST_F(CtlTest, ListSaysHowEachTaskStands) {
  apply(kTwoTasks);
  EXPECT_EQ(done({"list"}).out,
            "TASK     STATE      NEXT START               LAST START  LAST RESULT  CATEGORY\n"
            "by-hand  idle       -                        -\n"
            "nightly  scheduled  2090-01-01 02:30:00 UTC  -\n");
  EXPECT_EQ(done({"list", "--names"}).out, "by-hand\nnightly\n");
  const Json task = json({"list"}).at(1);
  EXPECT_EQ(task.at("nextStart"), "2090-01-01T02:30:00.000+00:00");
  EXPECT_EQ(task.at("nextStartMs"), 3786921000000);
  EXPECT_TRUE(task.at("lastStart").is_null());
}

TEST_F(CtlTest, TimesAreThoseOfTheZoneWithItsOffset) {
  environment_["TZ"] = "America/New_York";
  apply(kTwoTasks);
  const Json task = json({"list"}).at(1);
  EXPECT_EQ(task.at("nextStart"), "2090-01-01T02:30:00.000-05:00");
  EXPECT_EQ(task.at("nextStartMs"), 3786921000000 + 5 * 3600000);
}

TEST_F(CtlTest, ShowTellsTheDefinitionInWordsAndNoValuesOfTheEnvironment) {
  apply(
      "  - name: full\n"
      "    description: All there is\n"
      "    script: |\n"
      "      echo one\n"
      "      echo two\n"
      "    environment: {TOKEN: hush-hush}\n"
      "    timeout: 90s\n"
      "    retry: {count: 3, interval: 1m}\n"
      "    missed: skip\n"
      "    schedule:\n"
      "      - {every: 1 month, on: last friday, start: 2090-01-01 18:00, end: 2090-12-31}\n");
  const Answer words = done({"show", "full"});
  for (const char* part : {"Description:  All there is\n", "Environment:  TOKEN\n", "Timeout:      1m30s\n",
                           "Retry:        up to 3 times, 1m after the end of an attempt\n", "Missed:       skip\n",
                           "  every month on last friday from 2090-01-01 18:00:00 until 2090-12-31\n",
                           "  2090-01-27 18:00:00 UTC  every month", "  echo one\n  echo two\n"}) {
    EXPECT_NE(words.out.find(part), std::string::npos) << part << "\nis not in\n" << words.out;
  }
  EXPECT_EQ(words.out.find("hush"), std::string::npos);
  const Json task = json({"show", "full"});
  EXPECT_EQ(task.dump().find("hush"), std::string::npos);
  EXPECT_EQ(task.at("environment"), Json::array({"TOKEN"}));
  EXPECT_EQ(task.at("next").size(), 5U);
  EXPECT_NE(done({"export", "full"}).out.find("hush-hush"), std::string::npos) << "an export is the whole definition";
}

TEST_F(CtlTest, NextForetellsTheStartsOfAllRulesInOrder) {
  apply(kTwoTasks);
  const Json next = json({"next", "nightly", "-n", "4"});
  ASSERT_EQ(next.size(), 4U);
  const Words starts{"2090-01-01T02:30:00.000+00:00", "2090-01-02T02:30:00.000+00:00", "2090-01-02T07:00:00.000+00:00",
                     "2090-01-03T02:30:00.000+00:00"};
  for (std::size_t i = 0; i < starts.size(); ++i) EXPECT_EQ(next[i].at("start"), starts[i]);
  EXPECT_EQ(next[2].at("why"), "every week on monday from 2090-01-01 07:00:00");
  EXPECT_EQ(json({"next", "nightly"}).size(), 20U);
  EXPECT_EQ(done({"next", "by-hand"}).out, "task 'by-hand' has no next start\n");
}

TEST_F(CtlTest, NextSaysWhatTheChangesOfTheClocksDo) {
  environment_["TZ"] = "Europe/Berlin";
  apply("  - {name: early, script: echo, schedule: [{every: day, start: '2089-03-20 02:30'}]}\n");
  const Json spring = json({"next", "early", "-n", "3", "--from", "2089-03-26"});
  ASSERT_EQ(spring.size(), 4U) << "a start that is left out has a line and does not count";
  EXPECT_EQ(spring[0].at("start"), "2089-03-26T02:30:00.000+01:00");
  EXPECT_TRUE(spring[0].at("clocks").empty());
  EXPECT_TRUE(spring[1].at("start").is_null());
  EXPECT_TRUE(spring[1].at("startMs").is_null());
  const Json& mark = spring[1].at("clocks").at(0);
  EXPECT_EQ(mark.at("mark"), "skipped");
  EXPECT_EQ(mark.at("asked"), "2089-03-27T02:30:00");
  EXPECT_TRUE(mark.at("is").is_null());
  EXPECT_EQ(mark.at("change"), "2089-03-27T03:00:00.000+02:00");
  EXPECT_EQ(mark.at("text"), "skipped: 02:30 does not exist on 2089-03-27");
  EXPECT_EQ(spring[2].at("start"), "2089-03-28T02:30:00.000+02:00");

  const std::string words = done({"next", "early", "-n", "3", "--from", "2089-03-26"}).out;
  EXPECT_NE(
      words.find("\n-                         every day from 2089-03-20 02:30:00  skipped: 02:30 does not exist on "
                 "2089-03-27\n"),
      std::string::npos)
      << words;
  const Json autumn = json({"next", "early", "-n", "1", "--from", "2089-10-30 00:00"});
  EXPECT_EQ(autumn.at(0).at("clocks").at(0).at("mark"), "second-of-two");
  EXPECT_EQ(done({"next", "early", "-n", "1"}).out.find("CLOCKS"), std::string::npos);
}

TEST_F(CtlTest, NextForetellsInAnotherZoneAndOfADisabledTaskByItsRulesAlone) {
  apply("  - {name: early, script: echo, enabled: false, schedule: [{every: day, start: '2089-03-01 02:30'}]}\n");
  const Json there = json({"next", "early", "-n", "2", "--zone", "America/New_York", "--from", "2089-03-12 03:00"});
  ASSERT_EQ(there.size(), 3U);
  EXPECT_EQ(there[0].at("clocks").at(0).at("asked"), "2089-03-13T02:30:00") << "left out ahead of the first start";
  EXPECT_EQ(there[1].at("start"), "2089-03-14T02:30:00.000-04:00");
  EXPECT_EQ(json({"next", "early", "-n", "1", "--zone", "UTC"}).at(0).at("start"), "2089-03-01T02:30:00.000+00:00");
  EXPECT_EQ(json({"next", "early"}).size(), 0U);

  for (const Words& wrong : {Words{"--zone", "Nowhere"}, Words{"--zone", "right/Europe/Berlin"},
                             Words{"--from", "soon"}, Words{"--from", "2089-02-30"}}) {
    Words words{"next", "early"};
    words.insert(words.end(), wrong.begin(), wrong.end());
    const Answer answer = ctl(words);
    EXPECT_EQ(answer.code, 2) << wrong[1];
    EXPECT_NE(answer.error.find(wrong[1]), std::string::npos) << answer.error;
  }
}

TEST_F(CtlTest, AYearIsDrawnWithItsZoneAndItsMarkedDays) {
  environment_["TZ"] = "Europe/Berlin";
  apply("  - {name: early, script: echo, schedule: [{every: week, on: sunday, start: '2089-01-01 02:30'}]}\n");
  const std::string chart = done({"next", "early", "--chart", "--from", "2089-06-01"}).out;
  EXPECT_TRUE(chart.starts_with("2089, Europe/Berlin: early\n")) << chart;
  EXPECT_NE(chart.find("\nFeb  1 · · · · · 1 · · · · · · 1 "), std::string::npos) << chart;
  EXPECT_NE(chart.find("\nMar  1 · · · · · 1 · · · · · · 1 · · · · · · 1 · · · · · ·!· · · · ·\n"), std::string::npos)
      << chart;
  EXPECT_NE(chart.find("\n! 2089-03-27 skipped: 02:30 does not exist on 2089-03-27\n"), std::string::npos) << chart;
  EXPECT_NE(chart.find("\n! 2089-10-30 02:30 comes twice: this is the second\n"), std::string::npos) << chart;
  const Json object = json({"next", "early", "--chart", "--from", "2089-06-01"});
  EXPECT_EQ(object.at("zone"), "Europe/Berlin");
  EXPECT_EQ(object.at("year"), 2089);
  EXPECT_EQ(object.at("days").size(), 51U) << "51 or 52 Sundays less the one that lacks the time";
  EXPECT_EQ(object.at("days").at("2089-03-20"), 1);
  EXPECT_EQ(object.at("marked").size(), 2U);
}

TEST_F(CtlTest, ARunByHandIsQueuedOnceWithItsArgumentsAndMeskdRunsIt) {
  apply(kTwoTasks);
  done({"run", "by-hand"});
  done({"run", "by-hand", "--", "-x", "two words"});
  const Json queue = json({"queue"});
  EXPECT_EQ(std::count_if(queue.begin(), queue.end(), [](const Json& e) { return e.at("cause") == "run now"; }), 2);
  runDue();
  const Json runs = json({"history", "by-hand"});
  ASSERT_EQ(runs.size(), 2U);
  std::set<std::string> logs;
  for (const Json& run : runs) {
    EXPECT_EQ(run.at("status"), "succeeded");
    EXPECT_EQ(run.at("cause"), "run now");
    logs.insert(json({"log", std::to_string(run.at("run").get<int>())}).at("log"));
  }
  EXPECT_EQ(logs, (std::set<std::string>{"1:usual:\n", "2:-x:two words\n"}));
  EXPECT_EQ(json({"queue"}).size(), 2U) << "only what the schedule queued is left";
}

TEST_F(CtlTest, TheLogTellsTheWholeRunAndOnDemandEachAttempt) {
  apply("  - {name: stubborn, script: 'echo try $MESK_ATTEMPT; exit 7', retry: {count: 1, interval: 0s}}\n");
  done({"run", "stubborn"});
  runDue();
  const Json runs = json({"history"});
  ASSERT_EQ(runs.size(), 1U);
  EXPECT_EQ(runs[0].at("status"), "failed");
  EXPECT_EQ(runs[0].at("returnCode"), 7);
  EXPECT_EQ(runs[0].at("retries"), 1);
  const std::string run = std::to_string(runs[0].at("run").get<int>());
  const Answer log = done({"log", run});
  EXPECT_TRUE(log.out.starts_with("Run " + run + " of stubborn, by run now\n")) << log.out;
  EXPECT_NE(log.out.find(": failed (7)\n\ntry 1\ntry 2\n"), std::string::npos) << log.out;
  EXPECT_EQ(done({"log", run, "-q"}).out, "try 1\ntry 2\n");
  const Json results = json({"log", run, "--results"}).at("attempts");
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(results[0].at("output"), "try 1\n");
  EXPECT_EQ(results[1].at("returnCode"), 7);
  EXPECT_NE(done({"log", run, "--results"}).out.find("Attempt 2, "), std::string::npos);
  EXPECT_EQ(json({"list"}).at(0).at("lastResult"), "failed (7)");
}

TEST_F(CtlTest, HistoryListsTheLastRunsFirstAndThoseOfDeletedTasks) {
  apply("  - {name: a, script: 'true'}\n  - {name: b, script: 'true'}\n");
  EXPECT_EQ(done({"history"}).out, "There are no runs yet.\n");
  EXPECT_EQ(json({"history"}), Json::array());
  for (const char* name : {"a", "b", "a"}) {
    done({"run", name});
    runDue();
  }
  const Json runs = json({"history"});
  EXPECT_EQ(namesOf(runs), (Words{"a", "b", "a"}));
  EXPECT_GT(runs[0].at("run"), runs[2].at("run"));
  EXPECT_EQ(json({"history", "-n", "2"}).size(), 2U);
  EXPECT_EQ(json({"history", "b"}).size(), 1U);
  done({"delete", "b", "--yes"});
  EXPECT_EQ(json({"history", "b"}).size(), 1U);
  EXPECT_EQ(ctl({"history", "c"}).code, 4);
}

TEST_F(CtlTest, ADisabledTaskHasNothingToStartAndAnEnabledOneIsPlannedAnew) {
  apply(kTwoTasks);
  const Json before = json({"next", "nightly"});
  EXPECT_EQ(done({"disable", "nightly"}).out, "task 'nightly' is disabled\n");
  EXPECT_EQ(done({"disable", "nightly"}).out, "task 'nightly' was already disabled\n");
  EXPECT_EQ(json({"queue"}), Json::array());
  EXPECT_EQ(json({"list"}).at(1).at("state"), "disabled");
  EXPECT_TRUE(json({"list"}).at(1).at("nextStart").is_null());
  EXPECT_EQ(done({"next", "nightly"}).out,
            "task 'nightly' has no next start: its schedule is disabled; 'meskctl enable nightly' switches it on\n");
  EXPECT_TRUE(json({"enable", "nightly"}).at("changed"));
  EXPECT_EQ(json({"next", "nightly"}), before);
  EXPECT_EQ(json({"list"}).at(1).at("state"), "scheduled");
}

TEST_F(CtlTest, DeletingATaskTakesItsRulesAndExecutionsAndWantsToBeConfirmed) {
  apply(kTwoTasks);
  const Answer unconfirmed = ctl({"delete", "nightly"});
  EXPECT_EQ(unconfirmed.code, 2);
  EXPECT_EQ(unconfirmed.error, "meskctl: deleting task 'nightly' cannot be undone: confirm it with --yes\n");
  EXPECT_EQ(done({"list", "--names"}).out, "by-hand\nnightly\n");
  EXPECT_EQ(done({"delete", "nightly", "-y"}).out, "task 'nightly' is deleted\n");
  EXPECT_EQ(done({"list", "--names"}).out, "by-hand\n");
  EXPECT_EQ(json({"queue"}), Json::array());
  EXPECT_EQ(program({"sqlite3", store_, "SELECT count(*) FROM schedule_event"}).out, "0\n");
}

TEST_F(CtlTest, QuietCommandsSayNothingWhenAllIsWell) {
  EXPECT_EQ(done({"-q", "apply", scratch_.write("q.yaml", std::string("mesk: 1\ntasks:\n") + kTwoTasks)}).out, "");
  for (const Words& words : {Words{"run", "by-hand"}, Words{"disable", "nightly"}, Words{"enable", "nightly"},
                             Words{"delete", "nightly", "-y"}}) {
    Words quiet = words;
    quiet.emplace_back("--quiet");
    EXPECT_EQ(done(quiet).out, "") << words[0];
  }
}

TEST_F(CtlTest, EveryCommandAnswersInJsonWhenAsked) {
  apply(kTwoTasks);
  done({"run", "by-hand"});
  runDue();
  const std::string run = std::to_string(json({"history"}).at(0).at("run").get<int>());
  for (const Words& words :
       {Words{"apply", scratch_.at("tasks.yaml")}, Words{"export"}, Words{"list"}, Words{"show", "nightly"},
        Words{"queue"}, Words{"next", "nightly"}, Words{"run", "by-hand"}, Words{"disable", "nightly"},
        Words{"enable", "nightly"}, Words{"history"}, Words{"log", run}, Words{"stats"}, Words{"schedule", "list"},
        Words{"codes"}, Words{"delete", "nightly", "-y"}}) {
    EXPECT_TRUE(json(words).is_structured()) << words[0];
  }
}

TEST_F(CtlTest, CodesTellsEachCodeWithItsExitCode) {
  bool found = false;
  for (const Json& code : json({"codes"})) {
    EXPECT_FALSE(code.at("meaning").get<std::string>().empty());
    if (code.at("code") == 30012) {
      found = true;
      EXPECT_EQ(code.at("exitCode"), 5);
    }
  }
  EXPECT_TRUE(found);
}

TEST_F(CtlTest, AppliesAtTheSameTimeAllSucceedAndMakeEachTaskOnce) {
  const std::string file = MESK_EXAMPLES "/housekeeping.yaml";
  const std::string four =
      "for i in 1 2 3 4; do \"$0\" -q apply \"$1\" & all+=($!); done; for one in ${all[@]}; do wait $one || exit 1; "
      "done";
  const Answer answer = program({"bash", "-c", four, MESK_CTL, file});
  EXPECT_EQ(answer.code, 0) << answer.error;
  const Json report = json({"apply", file});
  for (const Json& task : report) EXPECT_EQ(task.at("result"), "unchanged") << task;
  EXPECT_EQ(json({"list"}).size(), report.size());
}

// ---- Completion ----

class CompletionTest : public CtlTest {
 protected:
  /// What bash offers for these words, the last of which is being typed.
  std::set<std::string> offered(const Words& words) const {
    const std::string script =
        "source <(\"$1\" completion bash); shift; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _meskctl; "
        "printf '%s\\n' \"${COMPREPLY[@]}\"";
    Words all{"bash", "-c", script, "bash", MESK_CTL};
    all.insert(all.end(), words.begin(), words.end());
    const Answer answer = program(all);
    EXPECT_EQ(answer.error, "");
    std::set<std::string> lines;
    std::string line;
    for (std::istringstream text(answer.out); std::getline(text, line);) {
      if (!line.empty()) lines.insert(line);
    }
    return lines;
  }
};

TEST_F(CompletionTest, CommandsOptionsAndNamesOfTasksAreOffered) {
  apply(kTwoTasks);
  EXPECT_EQ(offered({MESK_CTL, "hi"}), std::set<std::string>{"history"});
  EXPECT_EQ(offered({MESK_CTL, "show", ""}), (std::set<std::string>{"nightly", "by-hand"}));
  EXPECT_EQ(offered({MESK_CTL, "show", "ni"}), std::set<std::string>{"nightly"});
  EXPECT_EQ(offered({MESK_CTL, "log", "--re"}), std::set<std::string>{"--results"});
  environment_.erase("MESK_STORE");
  EXPECT_EQ(offered({MESK_CTL, "--store", store_, "next", "b"}), std::set<std::string>{"by-hand"});
}

TEST_F(CompletionTest, NamesThatLookLikeCommandsOfTheShellAreNotRun) {
  const std::string trap = scratch_.at("trap");
  apply("  - {name: 'x $(touch " + trap + ")', script: echo}\n");
  EXPECT_EQ(offered({MESK_CTL, "show", "x"}), std::set<std::string>{"x\\ \\$\\(touch\\ " + trap + "\\)"});
  EXPECT_FALSE(std::filesystem::exists(trap));
}

}  // namespace
}  // namespace mesk::host
