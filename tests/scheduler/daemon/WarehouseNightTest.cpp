// The example of a warehouse, from the task file to the mails.
#include <scheduler/mail/MailServer.h>

#include <algorithm>
#include <map>

#include "Daemon.h"

namespace mesk::host {
namespace {

using Json = nlohmann::json;

class WarehouseNightTest : public DaemonTest {
 protected:
  WarehouseNightTest() {
    std::string text = readFile(MESK_EXAMPLES "/warehouse-night.yaml");
    const std::string name = "mesk-warehouse";
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
      text.replace(at, name.size(), scratch_.at("warehouse"));
    }
    file_ = scratch_.write("warehouse-night.yaml", text);
    ctl({"apply", file_});
  }

  void night(const MailServer& server) const {
    ctl({"run", "shop-orders"});
    Process daemon(
        meskd({"--smtp", server.url(), "--mail-from", "mesk@example.org", "--exit-when-idle", "--limit", "2"}));
    EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  }

  std::string database(const std::string& name, const std::string& sql) const {
    return printed(fmt::format("sqlite3 '{}/{}.db' \"{}\"", scratch_.at("warehouse"), name, sql));
  }

  /// Name, status and return code of each run, in the order of their names.
  std::string runs() const {
    return query(
        "SELECT task_name || ' ' || running_status || ' ' || return_code FROM task_history"
        " ORDER BY task_name, task_history_id");
  }

  static std::vector<std::pair<std::string, std::string>> mails(const MailServer& server) {
    std::vector<std::pair<std::string, std::string>> result;
    for (const Json& mail : server.mails()) result.emplace_back(mail["envelope"][1], mail["subject"]);
    std::sort(result.begin(), result.end());
    return result;
  }

  std::string file_;
};

TEST_F(WarehouseNightTest, OneRequestFillsTheWarehouseAndTellsThoseWhoCare) {
  MailServer server(scratch_);
  night(server);
  EXPECT_EQ(runs(),
            "check-totals 2 4\nextract-orders 2 0\nload-customers 2 0\nload-sales 2 0\nmake-tables 2 0\n"
            "sales-report 2 0\nshop-orders 2 0\nwarehouse-night 2 0\n")
      << query("SELECT journal_result FROM task_history");

  EXPECT_EQ(database("staging", "SELECT count(*) FROM orders"), "500\n");
  EXPECT_EQ(database("warehouse", "SELECT sum(orders), sum(cents) FROM sales"),
            database("shop", "SELECT count(*), sum(cents) FROM orders"));
  EXPECT_EQ(database("warehouse", "SELECT orders FROM customers WHERE customer = 'cash'"), "10\n");

  const std::string group = query("SELECT task_history_id FROM task_history WHERE task_name = 'warehouse-night'");
  EXPECT_EQ(query("SELECT count(*) FROM task_history WHERE root_task_history_id = " + group), "6\n");
  const std::string report = query("SELECT task_history_id FROM task_history WHERE task_name = 'sales-report'");
  const std::string subject = "Best sellers, run " + report.substr(0, report.size() - 1);
  EXPECT_EQ(mails(server), (std::vector<std::pair<std::string, std::string>>{
                               {"4912345@pager.example.org", subject},
                               {"ada@example.org", subject},
                               {"ada@example.org", "The warehouse is filled"},
                               {"otto@example.org", subject},
                           }))
      << server.mails();
  for (const Json& mail : server.mails()) {
    const std::string body = mail["body"];
    EXPECT_EQ(body.find("${"), std::string::npos) << body;
    if (mail["envelope"][1] == "otto@example.org") {
      EXPECT_NE(body.find("item "), std::string::npos) << body;
    }
  }
  EXPECT_EQ(query("SELECT count(*) FROM outbox"), "0\n");

  EXPECT_EQ(query("SELECT t.task_name || ' ' || s.total_row_count FROM task_statistic s JOIN task t USING (task_id)"
                  " WHERE s.total_row_count > 0 ORDER BY t.task_name"),
            "extract-orders 500\nload-customers 18\nload-sales 12\nshop-orders 500\nwarehouse-night 530\n");
}

TEST_F(WarehouseNightTest, ASecondNightReplacesWhatTheFirstCopied) {
  MailServer server(scratch_);
  night(server);
  night(server);
  EXPECT_EQ(database("warehouse", "SELECT sum(orders), sum(cents) FROM sales"),
            database("shop", "SELECT count(*), sum(cents) FROM orders"));
  EXPECT_EQ(mails(server).size(), 8U);
  EXPECT_EQ(query("SELECT s.total_successful_executions || ' ' || s.total_row_count FROM task_statistic s"
                  " JOIN task t USING (task_id) WHERE t.task_name = 'extract-orders'"),
            "2 1500\n");
  EXPECT_NE(query("SELECT execution_results FROM task_result ORDER BY task_history_id").find("edition 2"),
            std::string::npos);
}

TEST_F(WarehouseNightTest, ANightThatFailsIsToldToTheOnesOnCallAndKeepsTheCopies) {
  MailServer server(scratch_);
  night(server);
  database("warehouse", "DROP TABLE customers; CREATE VIEW customers AS SELECT 1 AS customer");
  night(server);
  EXPECT_NE(runs().find("load-customers 3 3\n"), std::string::npos) << runs();
  EXPECT_NE(runs().find("warehouse-night 3 3\n"), std::string::npos) << runs();
  EXPECT_EQ(query("SELECT count(*) FROM task_history WHERE task_name = 'check-totals'"), "1\n");
  const auto sent = mails(server);
  EXPECT_EQ(std::count(sent.begin(), sent.end(),
                       std::pair<std::string, std::string>("otto@example.org", "warehouse-night failed")),
            1)
      << server.mails();
  EXPECT_EQ(sent.size(), 4U + 2U) << server.mails();
  EXPECT_EQ(query("SELECT schedule_enable FROM task WHERE task_name = 'warehouse-backup'"), "0\n");
}

TEST_F(WarehouseNightTest, TheFileIsWhatTheStoreHas) {
  EXPECT_EQ(query("SELECT count(*) FROM task_exec"), "3\n") << "one schedule plans three tasks";
  const Json again = Json::parse(printed(fmt::format("{} --json --store '{}' apply '{}'", MESK_CTL, store(), file_)));
  EXPECT_EQ(again.size(), 17U);
  for (const Json& line : again) EXPECT_EQ(line["result"], "unchanged") << line;
}

}  // namespace
}  // namespace mesk::host
