// Warehouse tasks, really run: meskd, its runner, the agent, two databases.
#include "Daemon.h"

namespace mesk::host {
namespace {

class AgentTest : public DaemonTest {
 protected:
  AgentTest() {
    sql("source",
        "CREATE TABLE sales (id INTEGER, item TEXT, price REAL, picture BLOB);"
        "INSERT INTO sales VALUES (1, 'tea', 2.5, x'00ff'), (2, 'Gebäck', NULL, NULL), (3, '', 1, x'')");
    sql("target", "CREATE TABLE facts (id INTEGER PRIMARY KEY, item TEXT, price REAL, picture BLOB)");
  }

  std::string database(const std::string& name) const { return scratch_.at(name + ".db"); }

  std::string sql(const std::string& name, const std::string& statements) const {
    return printed(fmt::format("sqlite3 '{}' \"{}\" 2>&1", database(name), statements));
  }

  /// A task that copies sales into facts, with more lines of its `warehouse`.
  void makeStep(const std::string& more = "", const std::string& table = "facts") const {
    ctl({"apply", scratch_.write("steps.yaml", fmt::format("mesk: 1\ntasks:\n"
                                                           "  - name: copy\n    type: warehouse\n    warehouse:\n"
                                                           "      source: jdbc:sqlite:{}\n"
                                                           "      query: SELECT * FROM sales ORDER BY id\n"
                                                           "      target: jdbc:sqlite:{}\n"
                                                           "      table: {}\n{}",
                                                           database("source"), database("target"), table, more))});
  }

  void runStep() const {
    ctl({"run", "copy"});
    Process daemon(meskd({"--exit-when-idle"}));
    EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  }

  std::string output() const {
    return query("SELECT execution_results FROM task_result ORDER BY task_history_id DESC LIMIT 1");
  }
};

TEST_F(AgentTest, RowsArriveWithTheirTypesAndAreCounted) {
  makeStep();
  runStep();
  EXPECT_EQ(history(), outcome(kSucceeded, 0)) << output();
  EXPECT_EQ(sql("target", "SELECT id, quote(item), quote(price), quote(picture) FROM facts ORDER BY id"),
            "1|'tea'|2.5|X'00FF'\n2|'Gebäck'|NULL|NULL\n3|''|1.0|X''\n");
  EXPECT_NE(output().find("added to facts: edition 1"), std::string::npos) << output();
  EXPECT_EQ(query("SELECT total_successful_executions || ' ' || total_row_count || ' ' || (total_byte_count > 0)"
                  " FROM task_statistic"),
            "1 3 1\n");
}

TEST_F(AgentTest, EachSuccessfulRunIsTheNextEdition) {
  makeStep("      mode: replace\n");
  runStep();
  sql("target", "ALTER TABLE facts RENAME TO hidden");
  runStep();
  EXPECT_EQ(history(), outcome(kSucceeded, 0) + outcome(kFailed, 3)) << output();
  sql("target", "ALTER TABLE hidden RENAME TO facts");
  sql("source", "DELETE FROM sales WHERE id = 1");
  runStep();
  EXPECT_NE(output().find("in place of what was in facts: edition 2"), std::string::npos) << output();
  EXPECT_EQ(sql("target", "SELECT group_concat(id) FROM facts"), "2,3\n");
}

TEST_F(AgentTest, ARowThatTheTargetDoesNotTakeTakesAllBack) {
  sql("target", "INSERT INTO facts (id) VALUES (3)");
  makeStep("      batch: 1\n      retries: 2\n");
  runStep();
  EXPECT_EQ(history(), outcome(kFailed, 3));
  EXPECT_NE(output().find("after 2 more tries"), std::string::npos) << output();
  EXPECT_NE(output().find("target: "), std::string::npos) << output();
  EXPECT_EQ(sql("target", "SELECT group_concat(id) FROM facts"), "3\n");
  EXPECT_EQ(query("SELECT total_failed_executions || ' ' || total_row_count FROM task_statistic"), "1 0\n");
}

TEST_F(AgentTest, ASourceThatIsNotThereHasACodeOfItsOwn) {
  std::filesystem::remove(database("source"));
  makeStep();
  runStep();
  EXPECT_EQ(history(), outcome(kFailed, 2)) << output();
  EXPECT_NE(output().find("source: "), std::string::npos) << output();
}

TEST_F(AgentTest, OptionsReachTheStepAsTheyAreAndSecretsNobody) {
  const std::string name = " pass\\word = : # ä.txt";
  scratch_.write(name, "hunter2-secret\n");
  makeStep(fmt::format("      source-user: 'ada\\ =:#!'\n      source-password-file: '{}'\n", scratch_.at(name)));
  runStep();
  EXPECT_EQ(history(), outcome(kSucceeded, 0)) << output();
  std::filesystem::remove(scratch_.at(name));
  runStep();
  EXPECT_EQ(history(), outcome(kSucceeded, 0) + outcome(kFailed, 1));
  EXPECT_NE(output().find("cannot read the password file " + scratch_.at(name)), std::string::npos) << output();
  EXPECT_EQ(query(".dump").find("hunter2-secret"), std::string::npos);
}

TEST_F(AgentTest, WhatIsNoWarehouseRunIsRefused) {
  makeTasks();
  ctl({"run", "mark"});
  Process daemon(meskd({"--exit-when-idle"}));
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  const auto agent = [&](const std::string& environment) {
    return printed(fmt::format("env -i PATH=\"$PATH\" {} {} 2>&1; echo $?", environment, MESK_AGENT));
  };
  const std::string run = query("SELECT task_history_id FROM task_history");
  EXPECT_EQ(agent(fmt::format("MESK_STORE='{}' MESK_RUN={}", store(), run.substr(0, run.size() - 1))),
            "mesk-agent: 'mark' is no warehouse task\n1\n");
  EXPECT_EQ(agent("MESK_RUN=1"),
            "mesk-agent: MESK_STORE is not set: this program is started by meskd for warehouse tasks\n1\n");
  EXPECT_EQ(agent("MESK_RUN=0 MESK_STORE=x"),
            "mesk-agent: MESK_RUN: expected a whole number from 1 to 9223372036854775807\n1\n");
}

}  // namespace
}  // namespace mesk::host
