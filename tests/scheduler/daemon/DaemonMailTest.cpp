// Messages on their way from the store to a mail server.
#include <netinet/in.h>
#include <scheduler/mail/MailServer.h>
#include <sys/socket.h>

#include <map>

#include "Daemon.h"

namespace mesk::host {
namespace {

using Json = nlohmann::json;

class DaemonMailTest : public DaemonTest {
 protected:
  /// Makes the store, with a run that messages can be about.
  DaemonMailTest() {
    makeTasks();
    ctl({"run", "mark"});
    Process daemon(meskd({"--exit-when-idle"}));
    EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
    run_ = query("SELECT task_history_id FROM task_history");
    run_.pop_back();
  }

  Words mailing(const std::string& url, const Words& more = {}) const {
    Words words = meskd({"--smtp", url, "--mail-from", "mesk@example.org"});
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  /// Puts a message into the box, due at a moment of milliseconds since 1970.
  void post(int id, const std::string& address, long long due = 0) const {
    query(fmt::format(
        "INSERT INTO outbox (outbox_id, task_history_id, notification_action_id, kind, recipient, address, sender,"
        " subject, body, tries, next_try) VALUES ({0}, {1}, {0}, 1, 'Ann', '{2}', 'ADA', 'about {0}', 'body', 0, {3})",
        id, run_, address, due));
  }

  std::string waiting() const { return query("SELECT outbox_id || ' ' || tries FROM outbox ORDER BY outbox_id"); }
  std::string results() const { return query("SELECT notification_results FROM task_history"); }

  static std::vector<std::string> subjects(const MailServer& server) {
    std::vector<std::string> result;
    for (const Json& mail : server.mails()) result.push_back(mail["subject"]);
    return result;
  }

  std::string run_;
};

using Texts = std::vector<std::string>;

TEST_F(DaemonMailTest, WhatWaitsIsSentBeforeAnIdleOneEnds) {
  MailServer server(scratch_);
  post(1, "ann@example.org");
  post(2, "bob@example.org");
  post(3, "cy@example.org", 99'999'999'999'999);
  Process daemon(mailing(server.url(), {"--exit-when-idle"}));
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(subjects(server), (Texts{"about 1", "about 2"}));
  EXPECT_EQ(waiting(), "3 0\n") << "what is not due is not waited for";
  EXPECT_NE(results().find("ann@example.org"), std::string::npos) << results();
  EXPECT_NE(results().find("bob@example.org"), std::string::npos) << results();
  EXPECT_EQ(server.mails()[0]["envelope"], (Json{"mesk@example.org", "ann@example.org"}));
}

TEST_F(DaemonMailTest, AServerThatIsDownKeepsNothingFromRunningOrEnding) {
  MailServer server(scratch_);
  const std::string url = server.url();
  server.stop();
  post(1, "ann@example.org");
  post(2, "bob@example.org");
  ctl({"run", "mark"});
  Process daemon(mailing(url, {"--exit-when-idle"}));
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(waiting(), "1 1\n2 1\n") << "tried, and kept for later";
  EXPECT_EQ(query("SELECT count(*) FROM task_history WHERE running_status = 2"), "2\n");
  EXPECT_NE(query("SELECT last_error FROM outbox").find("Couldn't connect"), std::string::npos);
}

TEST_F(DaemonMailTest, ARefusedRecipientIsGivenUpWithALineInTheRunsRecord) {
  MailServer server(scratch_);
  server.refuse(scratch_, "gone@example.org 550 5.1.1 nobody here\nfull@example.org 452 4.2.2 full\n");
  post(1, "gone@example.org");
  post(2, "full@example.org");
  post(3, "ann@example.org");
  Process daemon(mailing(server.url(), {"--exit-when-idle"}));
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(subjects(server), Texts{"about 3"});
  EXPECT_EQ(waiting(), "2 1\n");
  EXPECT_NE(results().find("nobody here"), std::string::npos) << results();
  EXPECT_EQ(query("SELECT last_error FROM outbox"), "the server said: 452 4.2.2 full\n");
}

TEST_F(DaemonMailTest, WhatIsGivenUpAfterItsTimeSaysSo) {
  MailServer server(scratch_);
  server.refuse(scratch_, "ann@example.org 451 4.3.0 later\n");
  post(1, "ann@example.org");
  Process daemon(mailing(server.url(), {"--exit-when-idle", "--mail-give-up", "0s"}));
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(waiting(), "");
  EXPECT_NE(results().find("451 4.3.0 later"), std::string::npos) << results();
}

TEST_F(DaemonMailTest, AServerThatSaysNothingDelaysNoRunAndNoStop) {
  // A name in the file system would do as well: all that matters is that the server takes the call and is silent.
  const UniqueFd silent(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(::bind(silent.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(::listen(silent.get(), 1), 0);
  ASSERT_EQ(::getsockname(silent.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
  post(1, "ann@example.org");
  Process daemon(mailing(fmt::format("smtp://127.0.0.1:{}", ntohs(address.sin_port)), {"--stop-timeout", "0s"}));
  daemon.awaitReady();
  const UniqueFd call(::accept(silent.get(), nullptr, nullptr));
  ctl({"run", "wait"});
  awaitBegun();
  letEnd(0);
  daemon.kill(SIGTERM);
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(waiting(), "1 0\n") << "an interrupted mail counts for nothing";
}

TEST_F(DaemonMailTest, AKilledOneLeavesEachMessageInTheBoxOrInTheServer) {
  MailServer server(scratch_);
  for (int id = 1; id <= 5; ++id) post(id, "ann@example.org");
  {
    Process killed(mailing(server.url()));
    killed.awaitWords("message 2 was sent");
    killed.kill(SIGKILL);
    EXPECT_EQ(killed.awaitEnd(), 128 + SIGKILL);
  }
  Process next(mailing(server.url(), {"--exit-when-idle"}));
  EXPECT_EQ(next.awaitEnd(), 0) << next.said();
  EXPECT_EQ(waiting(), "");
  std::map<std::string, std::string> ids;
  for (const Json& mail : server.mails()) {
    const auto [known, isNew] = ids.emplace(mail["subject"], mail["id"]);
    EXPECT_EQ(known->second, mail["id"]) << "a mail that came twice can be told";
  }
  EXPECT_EQ(ids.size(), 5U);
}

TEST_F(DaemonMailTest, WithoutAServerMessagesWaitAndThatIsSaidOnce) {
  post(1, "ann@example.org");
  Process daemon(meskd({"--exit-when-idle"}));
  EXPECT_EQ(daemon.awaitEnd(), 0);
  const std::string words = "messages wait in the store";
  const std::size_t first = daemon.said().find(words);
  EXPECT_NE(first, std::string::npos) << daemon.said();
  EXPECT_EQ(daemon.said().find(words, first + 1), std::string::npos) << daemon.said();
  EXPECT_EQ(waiting(), "1 0\n");
}

TEST_F(DaemonMailTest, ThePasswordOfTheServerStandsInNoLogAndNoCommandLine) {
  const std::string login = scratch_.write("login", "ada\nhunter2-secret\n");
  MailServer server(scratch_, {"--login", login});
  post(1, "ann@example.org");
  const std::string password = scratch_.write("password", "wrong-hunter2-secret\n");
  const Words more{"--smtp-user", "ada", "--smtp-password-file", password, "--log", scratch_.at("log")};
  {
    Process daemon(mailing(server.url(), more));
    daemon.awaitReady();
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
      if (process.path().filename().string().find_first_not_of("0123456789") != std::string::npos) continue;
      try {
        EXPECT_EQ(readFile(process.path() / "cmdline").find("hunter2-secret"), std::string::npos) << process.path();
      } catch (const std::system_error&) {
        continue;  // ended meanwhile
      }
    }
    daemon.kill(SIGTERM);
    EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  }
  EXPECT_EQ(waiting(), "1 1\n");
  query("UPDATE outbox SET next_try = 0");
  scratch_.write("password", "hunter2-secret\n");
  Process daemon(mailing(server.url(), {"--exit-when-idle", "--smtp-user", "ada", "--smtp-password-file", password}));
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(subjects(server), Texts{"about 1"});
  for (const std::string& said : {daemon.said(), readFile(scratch_.at("log")), query(".dump")}) {
    EXPECT_EQ(said.find("hunter2-secret"), std::string::npos) << said;
    EXPECT_EQ(said.find("aHVudGVyMi1zZWNyZXQ"), std::string::npos) << said;
  }
  EXPECT_NE(readFile(scratch_.at("log")).find("535"), std::string::npos);
}

}  // namespace
}  // namespace mesk::host
