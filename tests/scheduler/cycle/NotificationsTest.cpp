// Who is told of the end of a run: what comes into the outbox with its record.
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/values/Clob.h>
#include <platform/Contacts.h>
#include <scheduler/Outbox.h>

#include "Workshop.h"

namespace mesk::host {
namespace {

using Names = std::vector<std::string>;

enum : int { kByEmail = 1, kByPager = 2, kByBoth = 3 };

class NotificationsTest : public SchedulerTest {
 protected:
  void SetUp() override {
    setContactSource([this](const std::string& group) { return Administration(*session_).contactsOf(group); });
    session_->transact([&] {
      Administration admin(*session_);
      admin.putContact("ann", "ann@example.com", "ann@pager.example.com");
      admin.putContact("bob", "bob@example.com", "");
      admin.putContact("mute", "", "");
      admin.putContactGroup("ops", {"bob", "ann"});
    });
    load_ = addTask({.name = "load"});
    sql("UPDATE task SET owner = 'GRACE', version = version + 1 WHERE task_id = " + std::to_string(load_));
  }
  ~NotificationsTest() override { setContactSource({}); }

  struct Notice {
    EndCondition condition = kAtEveryEnd;
    int type = kByEmail;
    Names contacts = {"ann"};
    Names groups = {};
    const char* subject = nullptr;
    const char* message = nullptr;
    const char* pagerMessage = nullptr;  ///< null: the pager gets the e-mail's
  };

  long long addNotice(const Notice& what) { return addNotice(load_, what); }
  long long addNotice(long long parent, const Notice& what) {
    long long id = 0;
    session_->transact([&] {
      int rc = 0;
      int sqlCode = 0;
      MDNotificationAction action(ctx(), session_->context(), rc, sqlCode);
      id = action.getReferenceID(ctx(), session_->context(), rc, sqlCode);
      action.setNotificationActionID(ctx(), id);
      action.setNotificationCondition(ctx(), what.condition);
      action.setMessageType(ctx(), what.type);
      action.setUseEmailMessage(ctx(), what.pagerMessage == nullptr ? 1 : 0);
      if (what.subject != nullptr) action.setSubject(ctx(), what.subject);
      if (what.message != nullptr) action.setEmailMessageString(ctx(), what.message);
      if (what.pagerMessage != nullptr) {
        const jstring words = MDObject::stringTojString(ctx(), what.pagerMessage);
        Clob message(ctx(), words);
        ctx().env->DeleteLocalRef(words);
        action.setPagerMessage(ctx(), &message);
      }
      session_->check(action.insert(ctx(), session_->context(), sqlCode), sqlCode, "insert notice");
      const auto owner = task(parent);
      session_->check(owner->addNotificationAction(ctx(), session_->context(), action, sqlCode), sqlCode, "add notice");
      Administration(*session_).setContacts(id, what.contacts, what.groups);
    });
    return id;
  }

  void run(int returnCode = 0) {
    ask(load_);
    runDue();
    end(returnCode);
  }

  /// Takes all messages out of the box.
  std::vector<Message> messages() {
    std::vector<Message> all;
    session_->transact([&] {
      Outbox box(*session_);
      while (const auto posted = box.next(clockMillis())) {
        all.push_back(posted->message);
        box.sent(posted->id, clockMillis());
      }
    });
    return all;
  }

  Names addresses() {
    Names all;
    for (const Message& message : messages()) all.push_back(message.address);
    return all;
  }

  long long load_ = 0;
};

TEST_F(NotificationsTest, AMessageComesIntoTheBoxWithTheRecordOfTheRun) {
  addNotice({.subject = "${task} ${status} ($$5)", .message = "Run ${run}: ${return-code}\n${output}"});
  launcher_.outputText = "copied\n";
  run(3);
  EXPECT_EQ(mails_, 1);
  const std::string number = std::to_string(recordOf("load").run);
  EXPECT_EQ(recordOf("load").notifications, "e-mail whenever it ends: load failed ($5)\n");
  const auto all = messages();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].kind, kMessageEmail);
  EXPECT_EQ(all[0].recipient, "ann");
  EXPECT_EQ(all[0].address, "ann@example.com");
  EXPECT_EQ(all[0].sender, "GRACE");
  EXPECT_EQ(all[0].subject, "load failed ($5)");
  EXPECT_EQ(all[0].body, "Run " + number + ": 3\ncopied\n");
  EXPECT_NE(recordOf("load").notifications.find("sent"), std::string::npos) << "the box adds to the record";
}

TEST_F(NotificationsTest, AnActionWithoutTextsHasTheUsualOnes) {
  addNotice({.type = kByBoth});
  run();
  const auto all = messages();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].subject, "load: succeeded");
  EXPECT_NE(all[0].body.find("Return code: 0"), std::string::npos) << all[0].body;
  EXPECT_NE(all[0].body.find("hello"), std::string::npos);
  EXPECT_EQ(all[1].kind, kMessagePager);
  EXPECT_EQ(all[1].address, "ann@pager.example.com");
  EXPECT_EQ(all[1].subject, "load: succeeded");
  EXPECT_EQ(all[1].body.rfind("load: succeeded, return code 0", 0), 0U) << all[1].body;
}

TEST_F(NotificationsTest, ThePagerGetsItsOwnMessageOrTheEmails) {
  addNotice({.type = kByPager, .message = "long", .pagerMessage = "short ${task}"});
  addNotice({.type = kByPager, .message = "long ${task}"});
  run();
  const auto all = messages();
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].body, "short load");
  EXPECT_EQ(all[1].body, "long load");
}

TEST_F(NotificationsTest, TheConditionSaysAtWhichEnd) {
  addNotice({.condition = kAtSuccess, .contacts = {"good@example.com"}});
  addNotice({.condition = kAtFailure, .contacts = {"bad@example.com"}});
  addNotice({.condition = kAtEveryEnd, .contacts = {"any@example.com"}});
  run(0);
  EXPECT_EQ(addresses(), (Names{"good@example.com", "any@example.com"}));
  run(1);
  EXPECT_EQ(addresses(), (Names{"bad@example.com", "any@example.com"}));
  ask(load_);
  runDue();
  restart();
  EXPECT_EQ(recordOf("load").status, kRunInterrupted);
  EXPECT_EQ(addresses(), (Names{"bad@example.com", "any@example.com"}));
}

TEST_F(NotificationsTest, GroupsAreResolvedAndNobodyIsToldTwice) {
  addNotice({.contacts = {"ann", "direct@example.com"}, .groups = {"ops"}});
  run();
  EXPECT_EQ(addresses(), (Names{"ann@example.com", "direct@example.com", "bob@example.com"}));
}

TEST_F(NotificationsTest, WhoCannotBeToldIsALineAndTheRunIsAsItWas) {
  addNotice({.type = kByBoth, .contacts = {"mute", "bob", "ann"}});
  run();
  const RunRecord record = recordOf("load");
  EXPECT_EQ(record.status, kRunSucceeded);
  EXPECT_EQ(record.notifications,
            "e-mail and pager whenever it ends: load: succeeded\n"
            "e-mail to mute: not sent: no such address is known\n"
            "pager to mute: not sent: no such address is known\n"
            "pager to bob: not sent: no such address is known\n");
  EXPECT_EQ(reports_.size(), 3U);
  EXPECT_EQ(addresses(), (Names{"bob@example.com", "ann@example.com", "ann@pager.example.com"}));
}

TEST_F(NotificationsTest, AContactThatIsGoneIsALine) {
  addNotice({.contacts = {"bob", "ann"}});
  sql("DELETE FROM contact WHERE contact_name = 'bob'");
  run();
  EXPECT_NE(recordOf("load").notifications.find("e-mail to bob: not sent: there is no such contact\n"),
            std::string::npos)
      << recordOf("load").notifications;
  EXPECT_EQ(addresses(), Names{"ann@example.com"});
}

TEST_F(NotificationsTest, ABoxThatTakesNothingIsALineAndTheRunIsAsItWas) {
  addNotice({});
  sql("CREATE TRIGGER full BEFORE INSERT ON outbox BEGIN SELECT RAISE(ABORT, 'no more'); END");
  run();
  EXPECT_EQ(recordOf("load").status, kRunSucceeded);
  EXPECT_NE(recordOf("load").notifications.find("e-mail to ann: not sent: "), std::string::npos);
  EXPECT_EQ(mails_, 0) << "nothing to send";
  EXPECT_EQ(reports_.size(), 1U);
}

TEST_F(NotificationsTest, WhoeverSwitchedThemOffGetsNone) {
  addNotice({});
  const long long exec = ask(load_);
  sql("UPDATE task_exec SET use_notification = 0 WHERE task_exec_id = " + std::to_string(exec));
  runDue();
  end(0);
  EXPECT_TRUE(messages().empty()) << "not wanted for this run";
  sql("UPDATE task SET notification_enable = 0, version = version + 1 WHERE task_id = " + std::to_string(load_));
  run();
  EXPECT_TRUE(messages().empty()) << "not wanted for the task";
  EXPECT_EQ(mails_, 0);
}

TEST_F(NotificationsTest, AnAttemptThatIsTriedAgainTellsNobodyAndAStepTellsAtItsEnd) {
  const long long tough = addTask({.name = "tough", .retryCount = 1});
  addNotice(tough, {.subject = "${task} ${attempts}"});
  const long long night = addGroup({.name = "night"}, {tough});
  addNotice(night, {.subject = "${task} ${status}", .message = "${output}"});
  ask(night);
  runDue();
  endOf("tough", 1);
  EXPECT_TRUE(messages().empty());
  runDue();
  endOf("tough", 1);
  const auto step = messages();
  ASSERT_EQ(step.size(), 1U);
  EXPECT_EQ(step[0].subject, "tough 2");
  runDue();
  const auto group = messages();
  ASSERT_EQ(group.size(), 1U);
  EXPECT_EQ(group[0].subject, "night failed");
  EXPECT_EQ(group[0].body.rfind("tough: failed (return code 1, run ", 0), 0U) << "what its steps came to";
}

TEST_F(NotificationsTest, TheEndOfALongOutputIsToldWithoutHalfACharacter) {
  addNotice({.message = "${output}"});
  launcher_.outputText.clear();
  for (int i = 0; i < 3000; ++i) launcher_.outputText += "\xC3\xA4";
  launcher_.outputText += "x";
  run();
  const auto all = messages();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].body.size(), 4095U) << "4096 would begin in the middle of one";
  EXPECT_EQ(all[0].body, launcher_.outputText.substr(launcher_.outputText.size() - 4095));
}

TEST_F(NotificationsTest, AnEndThatIsNotStoredTellsNobodyAndTheNextOneTellsOnce) {
  addNotice({});
  ask(load_);
  runDue();
  sql("CREATE TRIGGER dies BEFORE INSERT ON task_statistic BEGIN SELECT RAISE(ABORT, 'dies'); END");
  EXPECT_THROW(end(0), StoreError);
  EXPECT_EQ(mails_, 0);
  EXPECT_TRUE(messages().empty());
  sql("DROP TRIGGER dies");
  RunStatus status;
  status.endedMillis = kStart;
  launcher_.endedAway[launcher_.started[0].first] = status;
  restart();
  EXPECT_EQ(mails_, 1);
  EXPECT_EQ(addresses(), Names{"ann@example.com"});
  restart();
  EXPECT_TRUE(messages().empty());
}

}  // namespace
}  // namespace mesk::host
