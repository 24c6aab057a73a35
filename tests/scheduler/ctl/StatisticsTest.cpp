// What is told of runs beyond each by itself: steps below their groups, and how tasks performed.
#include "Ctl.h"

namespace mesk::host {
namespace {

class StatisticsTest : public CtlTest {
 protected:
  /// Changes the store behind everybody's back.
  std::string sql(const std::string& statement) const {
    const Answer answer = program({"sqlite3", store_, statement});
    EXPECT_EQ(answer.code, 0) << answer.error;
    return answer.out;
  }

  /// Tasks of these names, each of which has run once, in this order.
  void haveRun(const Words& names) const {
    std::string tasks;
    for (const std::string& name : names) tasks += "  - {name: " + name + ", script: 'echo " + name + "'}\n";
    ASSERT_EQ(apply(tasks).code, 0);
    for (const std::string& name : names) done({"run", name});
    runDue();
    long long start = 1767225600000;
    for (const std::string& name : names) {
      sql("UPDATE task_history SET start_time = " + std::to_string(start += 1000) + " WHERE task_name = '" + name +
          "'");
    }
  }

  /// The run of task `step` becomes one of a step of the group `group`.
  void putBelow(const std::string& step, const std::string& group) const {
    sql("UPDATE task_history SET root_task_history_id = (SELECT task_history_id FROM task_history WHERE task_name = '" +
        group + "') WHERE task_name = '" + step + "'");
    sql("UPDATE task_history SET task_type = 2 WHERE task_name = '" + group + "'");
  }

  /// A statistic with these values, in the order of its columns from the totals on.
  void setStatistic(const std::string& task, const std::string& values) const {
    sql("DELETE FROM task_statistic WHERE task_id = (SELECT task_id FROM task WHERE task_name = '" + task + "')");
    sql("INSERT INTO task_statistic SELECT task_id, suffix, " + values + ", 1 FROM task WHERE task_name = '" + task +
        "'");
  }

  /// The cells under a title of a table whose columns are apart by two blanks.
  static Words column(const std::string& table, const std::string& title) {
    std::istringstream lines(table);
    std::string line;
    std::getline(lines, line);
    const std::size_t at = line.find(title);
    EXPECT_NE(at, std::string::npos) << table;
    Words cells;
    while (std::getline(lines, line)) {
      const std::size_t end = line.find("  ", at);
      cells.push_back(at < line.size() ? line.substr(at, end == std::string::npos ? end : end - at) : "");
    }
    return cells;
  }

  static Words tasksOf(const Json& runs) {
    Words names;
    for (const Json& run : runs) names.push_back(run.at("task"));
    return names;
  }
};

// 2026-01-01 00:00 UTC and the next four days.
constexpr const char* kNightly =
    "1767225600000, 3, 1, 3725, 60, 7000, "
    "1767571200123, 5, 6, 7, 1767312000000, 1, 2, 3, 1767398400000, 3600, 20, 30, 1767484800000, 119, 40, 6000, "
    "1767225600000, 1, 0, 50";

TEST_F(StatisticsTest, StepsStandBelowTheirGroupInTheOrderOfTheirRuns) {
  haveRun({"before", "all", "fetch", "inner", "deep", "load", "after"});
  putBelow("fetch", "all");
  putBelow("inner", "all");
  putBelow("deep", "inner");
  putBelow("load", "all");
  const Words expected{"after", "all", "fetch", "inner", "deep", "load", "before"};
  const Json runs = json({"history"});
  ASSERT_EQ(tasksOf(runs), expected);
  EXPECT_TRUE(runs[0].at("parent").is_null());
  EXPECT_TRUE(runs[1].at("parent").is_null());
  EXPECT_EQ(runs[2].at("parent"), runs[1].at("run"));
  EXPECT_EQ(runs[3].at("parent"), runs[1].at("run"));
  EXPECT_EQ(runs[4].at("parent"), runs[3].at("run"));
  EXPECT_EQ(runs[5].at("parent"), runs[1].at("run"));
  const std::string table = done({"history"}).out;
  std::size_t at = 0;
  for (const char* const name : {" after ", " all ", " └ fetch ", " └ inner ", "   └ deep ", " └ load ", " before "}) {
    const std::size_t next = table.find(name, at);
    ASSERT_NE(next, std::string::npos) << name << " in\n" << table;
    at = next;
  }
}

TEST_F(StatisticsTest, ARunOfAGroupHasItsStepsBelowIt) {
  ASSERT_EQ(apply("  - {name: fetch, script: 'true'}\n  - {name: load, script: 'true'}\n"
                  "  - {name: all, type: group, steps: [fetch, load]}\n")
                .code,
            0);
  done({"run", "all"});
  runDue();
  const Json runs = json({"history"});
  ASSERT_EQ(tasksOf(runs), (Words{"all", "fetch", "load"}));
  EXPECT_TRUE(runs[0].at("parent").is_null());
  for (const std::size_t step : {1U, 2U}) {
    EXPECT_EQ(runs[step].at("parent"), runs[0].at("run"));
    EXPECT_EQ(runs[step].at("cause"), "step");
  }
  EXPECT_EQ(json({"history", "all"}), runs);
}

TEST_F(StatisticsTest, StepsDoNotCountAndComeWithTheirGroup) {
  haveRun({"before", "all", "fetch", "load", "after"});
  putBelow("fetch", "all");
  putBelow("load", "all");
  EXPECT_EQ(tasksOf(json({"history", "-n", "1"})), Words{"after"});
  EXPECT_EQ(tasksOf(json({"history", "-n", "2"})), (Words{"after", "all", "fetch", "load"}));
  EXPECT_EQ(tasksOf(json({"history", "all"})), (Words{"all", "fetch", "load"}));
}

TEST_F(StatisticsTest, TheRunsOfAStepStandByThemselves) {
  haveRun({"all", "fetch"});
  putBelow("fetch", "all");
  const Json runs = json({"history", "fetch"});
  ASSERT_EQ(tasksOf(runs), Words{"fetch"});
  EXPECT_FALSE(runs[0].at("parent").is_null());
  EXPECT_EQ(done({"history", "fetch"}).out.find("└"), std::string::npos);
}

TEST_F(StatisticsTest, AStepWhoseGroupsRunIsGoneStandsByItself) {
  haveRun({"all", "fetch"});
  putBelow("fetch", "all");
  sql("DELETE FROM task_result WHERE task_history_id IN (SELECT task_history_id FROM task_history WHERE task_name = "
      "'all')");
  sql("DELETE FROM task_history WHERE task_name = 'all'");
  EXPECT_EQ(tasksOf(json({"history"})), Words{"fetch"});
}

TEST_F(StatisticsTest, HistoryAndLogTellRowsAndBytes) {
  haveRun({"load"});
  sql("UPDATE task_history SET row_count = 12, byte_count = 34567");
  const Json run = json({"history"}).at(0);
  EXPECT_EQ(run.at("rows"), 12);
  EXPECT_EQ(run.at("bytes"), 34567);
  const std::string table = done({"history"}).out;
  EXPECT_EQ(column(table, "BYTES"), Words{"34567"}) << table;
  EXPECT_NE(table.find("    12  34567  run now"), std::string::npos) << table;
  EXPECT_EQ(json({"log", std::to_string(run.at("run").get<int>())}).at("rows"), 12);
}

TEST_F(StatisticsTest, TasksThatHaveNotRunHaveNoStatistic) {
  apply("  - {name: new, script: 'true'}\n");
  EXPECT_EQ(done({"stats"}).out, "No task has run yet.\n");
  EXPECT_EQ(json({"stats"}), Json::array());
  EXPECT_EQ(done({"stats", "new"}).out, "task 'new' has not run yet\n");
  EXPECT_EQ(json({"stats", "new"}), Json::array());
  EXPECT_EQ(done({"stats", "new", "-q"}).out, "");
  const Answer unknown = ctl({"stats", "nwe"});
  EXPECT_EQ(unknown.code, 4);
  EXPECT_NE(unknown.error.find("'new'"), std::string::npos) << unknown.error;
}

TEST_F(StatisticsTest, RunsCountAsTheyEnd) {
  apply(
      "  - {name: good, script: 'printf 12345; echo rows=7 >\"$MESK_COUNTS\"'}\n"
      "  - {name: bad, script: 'exit 3'}\n");
  for (const char* const name : {"good", "good", "bad"}) done({"run", name});
  runDue();
  const Json all = json({"stats"});
  ASSERT_EQ(tasksOf(all), (Words{"bad", "good"}));
  EXPECT_EQ(all[0].at("runs"), 1);
  EXPECT_EQ(all[0].at("failed"), 1);
  const Json& good = all[1];
  EXPECT_EQ(good.at("runs"), 2);
  EXPECT_EQ(good.at("succeeded"), 2);
  EXPECT_EQ(good.at("rows"), 14);
  EXPECT_EQ(good.at("bytes"), 10);
  const Json runs = json({"history", "good"});
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0].at("rows"), 7);
  EXPECT_EQ(runs[0].at("bytes"), 5);
  EXPECT_EQ(good.at("last").at("startMs"), runs[0].at("startMs"));
  EXPECT_EQ(good.at("firstStartMs"), runs[1].at("startMs"));
  EXPECT_EQ(good.at("largest").at("startMs"), runs[1].at("startMs")) << "the earlier of two equal ones";
}

TEST_F(StatisticsTest, TheTotalsOfAllTasksComeByName) {
  apply("  - {name: nightly, script: 'true'}\n  - {name: hourly, script: 'true'}\n  - {name: new, script: 'true'}\n");
  setStatistic("nightly", kNightly);
  std::string once = "1767225600000, 1, 0, 0, 0, 0";
  for (int i = 0; i < 5; ++i) once += ", 1767225600000, 0, 0, 0";
  setStatistic("hourly", once);
  EXPECT_EQ(
      done({"stats"}).out,
      "TASK     RUNS  SUCCEEDED  FAILED  ELAPSED  ROWS  BYTES  FIRST                    LAST\n"
      "hourly      1          1       0       0s     0      0  2026-01-01 00:00:00 UTC  2026-01-01 00:00:00 UTC\n"
      "nightly     4          3       1   1h2m5s    60   7000  2026-01-01 00:00:00 UTC  2026-01-05 00:00:00 UTC\n");
  EXPECT_EQ(tasksOf(json({"stats"})), (Words{"hourly", "nightly"}));
}

TEST_F(StatisticsTest, OneTaskHasItsOutstandingRunsToo) {
  apply("  - {name: nightly, script: 'true'}\n");
  setStatistic("nightly", kNightly);
  EXPECT_EQ(done({"stats", "nightly"}).out,
            "TASK     RUNS  SUCCEEDED  FAILED  ELAPSED  ROWS  BYTES  FIRST                    LAST\n"
            "nightly     4          3       1   1h2m5s    60   7000  2026-01-01 00:00:00 UTC  2026-01-05 00:00:00 UTC\n"
            "\n"
            "RUN       START                    ELAPSED  ROWS  BYTES\n"
            "last      2026-01-05 00:00:00 UTC       5s     6      7\n"
            "fastest   2026-01-02 00:00:00 UTC       1s     2      3\n"
            "slowest   2026-01-03 00:00:00 UTC       1h    20     30\n"
            "largest   2026-01-04 00:00:00 UTC    1m59s    40   6000\n"
            "smallest  2026-01-01 00:00:00 UTC       1s     0     50\n");
  const Json all = json({"stats", "nightly"});
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all, json({"stats"}));
  const auto run = [](const char* start, long long millis, int elapsed, int rows, int bytes) {
    return Json{{"start", start}, {"startMs", millis}, {"elapsedSeconds", elapsed}, {"rows", rows}, {"bytes", bytes}};
  };
  EXPECT_EQ(all[0], (Json{{"task", "nightly"},
                          {"runs", 4},
                          {"succeeded", 3},
                          {"failed", 1},
                          {"elapsedSeconds", 3725},
                          {"rows", 60},
                          {"bytes", 7000},
                          {"firstStart", "2026-01-01T00:00:00.000+00:00"},
                          {"firstStartMs", 1767225600000},
                          {"last", run("2026-01-05T00:00:00.123+00:00", 1767571200123, 5, 6, 7)},
                          {"fastest", run("2026-01-02T00:00:00.000+00:00", 1767312000000, 1, 2, 3)},
                          {"slowest", run("2026-01-03T00:00:00.000+00:00", 1767398400000, 3600, 20, 30)},
                          {"largest", run("2026-01-04T00:00:00.000+00:00", 1767484800000, 119, 40, 6000)},
                          {"smallest", run("2026-01-01T00:00:00.000+00:00", 1767225600000, 1, 0, 50)}}));
}

TEST_F(StatisticsTest, TotalsAtTheirLimitAreShownAndRunsCountBeyondIt) {
  apply("  - {name: old, script: 'true'}\n");
  std::string full = "1767225600000, 2147483647, 2147483647, 2147483647, 2147483647, 2147483647";
  for (int i = 0; i < 5; ++i) full += ", 1767225600000, 2147483647, 2147483647, 2147483647";
  setStatistic("old", full);
  const Json old = json({"stats", "old"}).at(0);
  EXPECT_EQ(old.at("runs"), 4294967294);
  EXPECT_EQ(old.at("elapsedSeconds"), 2147483647);
  EXPECT_EQ(done({"stats", "old"}).code, 0);
}

TEST_F(StatisticsTest, ADeletedTaskTakesItsStatisticAlong) {
  apply("  - {name: nightly, script: 'true'}\n");
  setStatistic("nightly", kNightly);
  done({"delete", "nightly", "--yes"});
  EXPECT_EQ(json({"stats"}), Json::array());
  EXPECT_EQ(ctl({"stats", "nightly"}).code, 4);
}

}  // namespace
}  // namespace mesk::host
