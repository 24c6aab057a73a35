// What hangs on tasks: made, changed, kept, read back and taken away by task files.
#include <scheduler/Administration.h>
#include <scheduler/Notice.h>
#include <scheduler/Utf8.h>

#include <thread>

#include "Defining.h"

namespace mesk::host {
namespace {

using Lines = std::vector<std::string>;

class PartsTest : public DefinitionsTest {
 protected:
  /// The keys of the actions of a task.
  std::vector<long long> actionsOf(const std::string& name) {
    const auto stored = definitions_.find(name);
    std::vector<long long> ids;
    for (const auto& action : session_->related("actions", *stored, &MDTask::retrieveFollowOnActionList)) {
      ids.push_back(action->getFollowOnActionID(ctx()));
    }
    for (const auto& action : session_->related("actions", *stored, &MDTask::retrieveNotificationActionList)) {
      ids.push_back(action->getNotificationActionID(ctx()));
    }
    return ids;
  }

  /// "ADA: read", ..: who was given what on a task.
  Lines rightsOn(const std::string& name) {
    Lines lines;
    for (const Right& right : TaskParts(*session_).rights(*definitions_.find(name))) {
      if (!right.isGroup && inCapitals(session_->user()) == right.principal.name) continue;
      lines.push_back(std::string(right.isGroup ? "group " : "") + right.principal.name + ": " + allowedText(right));
    }
    return lines;
  }

  /// Says why a task or schedule cannot be deleted.
  std::string refusalOf(const std::string& task) {
    try {
      definitions_.remove(task);
    } catch (const HostError& error) {
      EXPECT_EQ(error.exitCode(), kExitRefused);
      return error.what();
    }
    return "deleted";
  }
};

constexpr const char* kEverything = R"(
users:
  - {name: ada}
  - {name: bob, admin: true}
groups:
  - {name: ops, members: [ada, bob]}
contacts:
  - {name: ann, email: ann@example.org, pager: 5@pager.example.org}
  - {name: cy}
contact-groups:
  - {name: night, members: [cy, x@example.org, ann]}
schedules:
  - {name: nightly, description: d, rules: [{every: day, start: 2026-01-01 02:00}, {every: week, on: monday, start: 2026-01-01 03:00}]}
  - {name: yearly, rules: [{every: year, start: 2026-06-01 00:00}]}
tasks:
  - name: a
    owner: ada
    script: x
    success: [0, "< 4", "!= 9"]
    schedules: [yearly, nightly]
    follow-ons:
      - {on: success, run: [b, c]}
      - {on: failure, enable: b}
      - {on: end, disable: [a]}
    notifications:
      - {on: failure, by: both, to: [ann, z@example.org], groups: [night], subject: "s ${task}", message: "m\n", pager-message: p}
      - {on: end, by: pager, to: cy, message: only}
      - {on: success, groups: night}
    rights:
      - {user: bob, may: [read, execute]}
      - {group: ops, may: [read]}
  - {name: b, script: x, schedule: [{every: day, start: 2026-01-01 10:00}]}
  - {name: c, script: x}
  - name: w
    type: warehouse
    warehouse: {source: "jdbc:a", target: "jdbc:b", table: t, query: "SELECT 1", mode: replace, batch: 5, retries: 1, retry-interval: 1m}
  - {name: inner, type: group, steps: [[b, c]], stop-at-failure: false}
  - {name: outer, type: group, steps: [w, [inner, a]]}
)";

TEST_F(PartsTest, EverythingReadsBackAsItWasApplied) {
  const TaskFileResult file = parseTaskFile("mesk: 1\n" + std::string(kEverything), "f.yaml");
  ASSERT_EQ(file.errors, Lines{});
  applyText(kEverything);
  for (const TaskDefinition& task : file.tasks) {
    TaskDefinition expected = task;
    if (expected.owner.empty()) expected.owner = session_->user();
    EXPECT_EQ(readTask(task.name), expected) << task.name;
  }
  const TaskFile again = definitions_.exported({});
  EXPECT_EQ(again.users, file.users);
  EXPECT_EQ(again.groups, file.groups);
  EXPECT_EQ(again.contacts, file.contacts);
  EXPECT_EQ(again.contactGroups, file.contactGroups);
  EXPECT_EQ(again.schedules, file.schedules);
}

TEST_F(PartsTest, TheSameFileAndItsExportChangeNothing) {
  applyText(kEverything);
  const std::string first = exported();
  const auto actions = actionsOf("a");
  const auto queue = plan();
  setClock(kStart + kMinute);
  EXPECT_EQ(changesOf(kEverything), Lines{});
  const TaskFileResult file = parseTaskFile(first, "e.yaml");
  ASSERT_EQ(file.errors, Lines{});
  for (const Applied& applied : definitions_.apply(file, false, [](std::size_t) {})) {
    EXPECT_EQ(applied.kind, Applied::Kind::kUnchanged) << applied.name;
  }
  EXPECT_EQ(exported(), first);
  EXPECT_EQ(actionsOf("a"), actions);
  EXPECT_EQ(plan(), queue);
  EXPECT_EQ(session_->millis(definitions_.find("a")->getModified(ctx())), kStart);
}

TEST_F(PartsTest, AnExportMakesTheSameInAnotherStore) {
  applyText(kEverything);
  const std::string first = exported();
  std::thread([&] {
    Session other(StoreAddress("jdbc:sqlite:" + (folder_ / "other.mesk").string() + "?mesk.durability=off"));
    Definitions there(other);
    const TaskFileResult file = parseTaskFile(first, "e.yaml");
    there.apply(file, false, [](std::size_t) {});
    EXPECT_EQ(writeTaskFile(there.exported({})), first);
  }).join();
}

TEST_F(PartsTest, TheExportOfSomeTasksHasWhatTheyReferTo) {
  applyText(kEverything);
  applyText("contacts: [{name: spare}]\nschedules: [{name: unused, rules: []}]\ntasks: [{name: plain, script: x}]\n");
  const TaskFile all = definitions_.exported({});
  EXPECT_EQ(all.contacts.size(), 3U);
  EXPECT_EQ(all.schedules.size(), 3U);
  const TaskFile some = definitions_.exported({"a"});
  EXPECT_EQ(some.tasks.size(), 1U);
  EXPECT_EQ(some.users.size(), 2U);
  EXPECT_EQ(some.groups.size(), 1U);
  EXPECT_EQ(some.contacts.size(), 2U);
  EXPECT_EQ(some.contactGroups.size(), 1U);
  EXPECT_EQ(some.schedules.size(), 2U);
  const TaskFile plain = definitions_.exported({"plain"});
  EXPECT_TRUE(plain.users.empty() && plain.groups.empty() && plain.contacts.empty() && plain.contactGroups.empty() &&
              plain.schedules.empty());
}

TEST_F(PartsTest, EachPartThatChangesIsNamed) {
  applyText(
      "contacts: [{name: ann}]\nschedules: [{name: s, rules: []}]\nusers: [{name: ada}]\n"
      "tasks: [{name: b, script: x}, {name: g, type: group, steps: [b]}, {name: a, script: x}]\n");
  const std::pair<const char*, const char*> rows[] = {
      {"name: a, script: x, success: ['< 4']", "success"},
      {"name: a, script: x, success: ['< 4', 9]", "success"},
      {"name: a, script: x", "success"},
      {"name: a, script: x, schedules: s", "schedules: 1 added"},
      {"name: a, script: x", "schedules: 1 removed"},
      {"name: a, script: x, follow-ons: [{on: end, run: b}, {on: end, enable: b}]", "follow-ons: 2 added"},
      {"name: a, script: x, follow-ons: [{on: end, enable: b}, {on: success, run: b}]",
       "follow-ons: 1 added, follow-ons: 1 removed"},
      {"name: a, script: x, notifications: [{on: end, to: ann}]", "follow-ons: 2 removed, notifications: 1 added"},
      {"name: a, script: x, notifications: [{on: end, to: ann, message: m}]",
       "notifications: 1 added, notifications: 1 removed"},
      {"name: a, script: x, rights: [{user: ada, may: read}]", "notifications: 1 removed, rights"},
      {"name: a, script: x, rights: [{user: ada, may: []}]", "rights"},
      {"name: g, type: group, steps: [[b, a]]", "steps"},
      {"name: g, type: group, steps: [b, a]", "steps"},
      {"name: g, type: group, steps: [a, b]", "steps"},
      {"name: g, type: group, steps: [a, b], stop-at-failure: false", "stop-at-failure"},
      {"name: g, script: y", "type, script, stop-at-failure, steps"},
      {"name: g, type: warehouse, warehouse: {source: 'jdbc:a', target: 'jdbc:b', table: t, query: y}",
       "type, warehouse"},
      {"name: g, type: warehouse, warehouse: {source: 'jdbc:a', target: 'jdbc:b', table: u, query: z}",
       "query, warehouse"},
      {"name: g, type: group, steps: [b]", "type, script, warehouse, steps"},
  };
  for (const auto& [task, changes] : rows) {
    const std::string name(1, task[6]);
    EXPECT_EQ(changesOf("tasks: [{" + std::string(task) + "}]\n"),
              Lines{"task " + name + ": changed (" + changes + ")"})
        << task;
    EXPECT_EQ(changesOf("tasks: [{" + std::string(task) + "}]\n"), Lines{}) << task;
  }
}

TEST_F(PartsTest, ActionsThatStayKeepTheirRecords) {
  applyText(
      "tasks: [{name: b, script: x}, {name: a, script: x, follow-ons: [{on: end, run: b}, {on: end, enable: b}],"
      " notifications: [{on: end, to: x@y}, {on: end, to: z@y}]}]\n");
  const auto before = actionsOf("a");
  applyText(
      "tasks: [{name: a, script: x, follow-ons: [{on: end, enable: b}, {on: end, disable: b}],"
      " notifications: [{on: success, to: x@y}, {on: end, to: z@y}]}]\n");
  const auto after = actionsOf("a");
  ASSERT_EQ(after.size(), 4U);
  EXPECT_EQ(after[0], before[1]);
  EXPECT_EQ(after[2], before[3]);
  EXPECT_EQ(std::count(before.begin(), before.end(), after[1]), 0);
  EXPECT_EQ(std::count(before.begin(), before.end(), after[3]), 0);
}

TEST_F(PartsTest, UsersContactsAndTheirGroupsAreMadeAndChanged) {
  const char* const first =
      "users: [{name: ada}]\ngroups: [{name: ops, members: ada}]\ncontacts: [{name: ann, email: a@b}]\n"
      "contact-groups: [{name: night, members: [ann]}]\ntasks: []\n";
  EXPECT_EQ(changesOf(first),
            (Lines{"user ADA: created", "group OPS: created", "contact ann: created", "contact group night: created"}));
  EXPECT_EQ(changesOf(first), Lines{});
  EXPECT_EQ(changesOf("users: [{name: ada, admin: true}, {name: bob}]\ngroups: [{name: ops, members: bob}]\n"
                      "contacts: [{name: ann, pager: a@b}]\ncontact-groups: [{name: night, members: [x@y, ann]}]\n"
                      "tasks: []\n"),
            (Lines{"user ADA: changed (admin)", "user BOB: created", "group OPS: changed (members)",
                   "contact ann: changed (email, pager)", "contact group night: changed (members)"}));
  EXPECT_EQ(Administration(*session_).members("OPS"), Lines{"BOB"});
  EXPECT_EQ(changesOf("tasks: []\n"), Lines{}) << "what the file does not name stays";
  EXPECT_EQ(Administration(*session_).contactsOf("night"), (Lines{"x@y", "ann"}));
}

TEST_F(PartsTest, WhenTheStoreRefusesAPartNothingIsApplied) {
  const std::string self = inCapitals(session_->user());
  try {
    applyText("contacts: [{name: ann}]\nusers: [{name: " + self + "}]\ntasks: [{name: a, script: x}]\n");
    FAIL() << "the last superuser is none any more";
  } catch (const StoreError& error) {
    EXPECT_EQ(error.code(), kStoreInUse);
    EXPECT_NE(std::string(error.what()).find("the last superuser"), std::string::npos) << error.what();
  }
  EXPECT_TRUE(definitions_.tasks().empty());
  EXPECT_EQ(Administration(*session_).contacts(), Lines{});
}

TEST_F(PartsTest, AReferenceToNothingIsRefusedAndNothingIsApplied) {
  const std::string before = exported();
  EXPECT_EQ(
      refusalsOf("contacts: [{name: ann}]\ntasks:\n  - {name: a, script: x,\n     follow-ons: [{on: end, run: b}],\n"
                 "     schedules: s}\n"),
      (Lines{"f.yaml:5: 'run': neither this file nor the store has a task 'b'",
             "f.yaml:6: 'schedules': neither this file nor the store has a shared schedule 's'"}));
  EXPECT_EQ(exported(), before);
  applyText("schedules: [{name: s, rules: []}]\ntasks: [{name: b, script: x}]\n");
  EXPECT_EQ(refusalsOf("tasks:\n  - {name: a, script: x, follow-ons: [{on: end, run: b}], schedules: s}\n"), Lines{});
}

TEST_F(PartsTest, ACircleThroughTheStoreIsRefused) {
  applyText(
      "tasks:\n  - {name: b, script: x}\n  - {name: a, script: x, follow-ons: [{on: success, run: b}]}\n"
      "  - {name: g, type: group, steps: [a]}\n");
  const std::string before = exported();
  EXPECT_EQ(refusalsOf("tasks:\n  - {name: b, script: x, follow-ons: [{on: failure, run: g}]}\n"),
            Lines{"f.yaml:3: these tasks would start each other for ever: b -> g -> a -> b"});
  EXPECT_EQ(exported(), before);
  EXPECT_EQ(refusalsOf("tasks:\n  - {name: b, script: x, follow-ons: [{on: failure, disable: g}]}\n"), Lines{});
}

TEST_F(PartsTest, GroupsMayChangePlaces) {
  applyText("tasks: [{name: a, script: x}, {name: g, type: group, steps: [h]}, {name: h, type: group, steps: [a]}]\n");
  applyText("tasks: [{name: h, type: group, steps: [g]}, {name: g, type: group, steps: [a]}]\n");
  EXPECT_EQ(readTask("h").steps, (std::vector<std::vector<Reference>>{{"g"}}));
  EXPECT_EQ(readTask("g").steps, (std::vector<std::vector<Reference>>{{"a"}}));
}

TEST_F(PartsTest, ATaskThatOthersNeedIsNotDeletedAndTheyAreNamed) {
  applyText(
      "tasks:\n  - {name: a, script: x, follow-ons: [{on: end, disable: a}]}\n  - {name: g, type: group, steps: [a]}\n"
      "  - {name: b, script: x, follow-ons: [{on: end, run: a}, {on: failure, disable: a}]}\n");
  EXPECT_EQ(
      refusalOf("a"),
      "task 'a' cannot be deleted; it is a step of 'g'; the end of 'b' would run it; the end of 'b' would disable "
      "it; change these tasks first");
  EXPECT_EQ(readTask("g").steps.size(), 1U);
  applyText("tasks: [{name: b, script: x}]\n");
  EXPECT_EQ(refusalOf("a"), "task 'a' cannot be deleted; it is a step of 'g'; change these tasks first");
  EXPECT_EQ(refusalOf("g"), "deleted");
  EXPECT_EQ(refusalOf("a"), "deleted");
}

TEST_F(PartsTest, WhoStartsATaskIsKnown) {
  applyText(
      "tasks:\n  - {name: a, script: x}\n  - {name: g, type: group, steps: [a]}\n  - {name: h, type: group, steps: [b, "
      "a]}\n"
      "  - {name: b, script: x, follow-ons: [{on: end, run: a}, {on: success, run: a}]}\n"
      "  - {name: c, script: x, follow-ons: [{on: end, enable: a}]}\n");
  const auto starters = definitions_.startersOf(*definitions_.find("a"));
  EXPECT_EQ(starters.groups, (Lines{"g", "h"}));
  EXPECT_EQ(starters.predecessors, Lines{"b"});
}

TEST_F(PartsTest, RightsAreThoseThatTheFileListsAndOthersStay) {
  applyText(
      "users: [{name: ada}, {name: bob}, {name: cy}]\ngroups: [{name: ops}]\n"
      "tasks: [{name: a, script: x, rights: [{user: ada, may: [read, execute]}, {group: ops, may: read}]}]\n");
  EXPECT_EQ(rightsOn("a"), (Lines{"ADA: read, execute", "group OPS: read"}));
  EXPECT_EQ(changesOf("tasks: [{name: a, script: x}]\n"), Lines{});
  EXPECT_EQ(rightsOn("a"), (Lines{"ADA: read, execute", "group OPS: read"}));
  applyText("tasks: [{name: a, script: x, rights: [{user: ada, may: update}, {user: bob, may: read}]}]\n");
  EXPECT_EQ(rightsOn("a"), (Lines{"ADA: update", "BOB: read", "group OPS: read"}));
  applyText("tasks: [{name: a, script: x, rights: [{user: ada, may: []}, {group: ops, may: []}]}]\n");
  EXPECT_EQ(rightsOn("a"), Lines{"BOB: read"});
}

TEST_F(PartsTest, TheOwnerHasAllRightsUnlessTheFileListsHim) {
  applyText("users: [{name: ada}, {name: bob}]\ntasks: [{name: a, owner: ada, script: x}]\n");
  EXPECT_EQ(rightsOn("a"), Lines{"ADA: read, update, execute"});
  EXPECT_EQ(readTask("a").rights, std::vector<Right>{}) << "what goes without saying is not said";
  EXPECT_EQ(changesOf("tasks: [{name: a, owner: bob, script: x}]\n"), Lines{"task a: changed (owner, rights)"});
  EXPECT_EQ(rightsOn("a"), (Lines{"ADA: read, update, execute", "BOB: read, update, execute"}));
  applyText("tasks: [{name: a, owner: bob, script: x, rights: [{user: bob, may: read}, {user: ada, may: []}]}]\n");
  EXPECT_EQ(rightsOn("a"), Lines{"BOB: read"});
  EXPECT_EQ(readTask("a").rights, (std::vector<Right>{{"BOB", false, true, false, false}}));
  applyText("tasks: [{name: a, owner: bob, script: x, rights: [{user: bob, may: []}]}]\n");
  EXPECT_EQ(readTask("a").rights, (std::vector<Right>{{"BOB", false, false, false, false}}));
}

TEST_F(PartsTest, ADryRunReportsAllAndChangesNothing) {
  const std::string before = exported();
  std::vector<std::string> dry;
  for (const Applied& applied : applyText(kEverything, true))
    dry.push_back(std::string(applied.what) + " " + applied.name);
  EXPECT_EQ(exported(), before);
  std::vector<std::string> real;
  for (const Applied& applied : applyText(kEverything)) real.push_back(std::string(applied.what) + " " + applied.name);
  EXPECT_EQ(dry, real);
  EXPECT_EQ(real.size(), 14U);
}

TEST_F(PartsTest, ASwitchInSomebodysTransactionIsHisToCommit) {
  applyText(
      "schedules: [{name: s, rules: [{every: day, start: 2026-01-01 02:00}]}]\n"
      "tasks: [{name: a, script: x, schedules: s, schedule: [{every: day, start: 2026-01-01 10:00}]}]\n");
  Notice watch = Notice::watch(session_->address().path());
  watch.drain();
  EXPECT_TRUE(definitions_.switchSchedule(*definitions_.find("a"), false));
  EXPECT_EQ(plan(), Lines{});
  session_->rollback();
  EXPECT_EQ(plan(), (Lines{"a 02:00", "a 10:00"}));
  EXPECT_TRUE(definitions_.switchSchedule(*definitions_.find("a"), false));
  EXPECT_FALSE(definitions_.switchSchedule(*definitions_.find("a"), false));
  session_->commit();
  EXPECT_EQ(plan(), Lines{});
  EXPECT_TRUE(definitions_.switchSchedule(*definitions_.find("a"), true));
  session_->commit();
  EXPECT_EQ(plan(), (Lines{"a 02:00", "a 10:00"}));
  EXPECT_FALSE(watch.drain()) << "whoever commits tells it";
}

}  // namespace
}  // namespace mesk::host
