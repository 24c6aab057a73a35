#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <scheduler/Files.h>
#include <scheduler/RandomRule.h>
#include <scheduler/Scratch.h>
#include <scheduler/TaskFile.h>
#include <scheduler/Utf8.h>

namespace mesk::host {
namespace {

using Lines = std::vector<std::string>;

TaskFileResult parse(const std::string& text) { return parseTaskFile(text, "tasks.yaml"); }

// The errors of a task with these lines more, from line 3 on.
Lines errorsOf(const std::string& more) {
  return parse("mesk: 1\ntasks: [{name: a, script: x,\n" + more + "}]\n").errors;
}

std::string errorOf(const std::string& more) {
  const Lines errors = errorsOf(more);
  if (errors.empty()) return "none";
  EXPECT_EQ(errors.size(), 1U) << errors[1];
  return errors[0];
}

TEST(TaskFileTest, AllThatATaskCanSayIsRead) {
  const TaskFileResult result = parse(R"(# a comment
mesk: 1
tasks:
  - name: largest-files
    description: Größte
    type: script
    category: housekeeping
    owner: alice
    run-as: bob
    directory: /var/tmp
    processor: /bin/bash
    script: |
      echo "one"
        two
    arguments: "a 'b c'"
    environment: {NAME: value, OTHER: "a: b"}
    timeout: 5m
    output-limit: 64KiB
    retry: {count: 2, interval: 30s}
    missed: all
    interrupted: rerun
    overlap: skip
    enabled: false
    schedule:
      - every: 15 minutes
        start: 2026-01-01 00:00
        end: 2026-12-31
        after: end
      - {every: 1 week, on: monday, start: 2026-01-01 00:00:30}
      - {start: 2026-01-01 00:00, on: second tuesday, every: 1 month}
      - {every: day, start: 2026-01-01 00:00}
      - {once: 2026-12-24 18:00}
)");
  ASSERT_EQ(result.errors, Lines{});
  ASSERT_EQ(result.tasks.size(), 1U);
  const TaskDefinition& task = result.tasks[0];
  EXPECT_EQ(task.line, 4);
  EXPECT_EQ(task.name, "largest-files");
  EXPECT_EQ(task.description, "Größte");
  EXPECT_EQ(task.category, "housekeeping");
  EXPECT_EQ(task.owner, "alice");
  EXPECT_EQ(task.runAs, "bob");
  EXPECT_EQ(task.directory, "/var/tmp");
  EXPECT_EQ(task.processor, "/bin/bash");
  EXPECT_EQ(task.script, "echo \"one\"\n  two\n");
  EXPECT_EQ(task.arguments, "a 'b c'");
  EXPECT_EQ(task.options.environment, (std::map<std::string, std::string>{{"NAME", "value"}, {"OTHER", "a: b"}}));
  EXPECT_EQ(task.options.timeoutSeconds, 300);
  EXPECT_EQ(task.options.outputLimit, 65536);
  EXPECT_EQ(task.retryCount, 2);
  EXPECT_EQ(task.retryIntervalSeconds, 30);
  EXPECT_EQ(task.options.missed, RunOptions::Missed::kAll);
  EXPECT_EQ(task.options.interrupted, RunOptions::Interrupted::kRerun);
  EXPECT_EQ(task.options.overlap, RunOptions::Overlap::kSkip);
  EXPECT_FALSE(task.enabled);
  Lines words;
  for (const ScheduleRule& rule : task.schedule) words.push_back(wordsOf(rule));
  EXPECT_EQ(
      words,
      (Lines{"every 15 minutes after the end of the previous run from 2026-01-01 00:00:00 until 2026-12-31",
             "every week on monday from 2026-01-01 00:00:30", "every month on second tuesday from 2026-01-01 00:00:00",
             "every day from 2026-01-01 00:00:00", "once at 2026-12-24 18:00:00"}));
  EXPECT_EQ(task.schedule[0].line, 25);
}

TEST(TaskFileTest, AllThatAFileCanSayBesideTasksIsRead) {
  const TaskFileResult result = parse(R"(mesk: 1
users:
  - {name: ada, superuser: true}
  - {name: müller, admin: true}
groups:
  - name: ops
    members: [Ada,
      MÜLLER]
  - {name: empty}
contacts:
  - {name: Ann, email: ann@example.org, pager: 5@pager.example.org}
  - {name: cy}
contact-groups:
  - {name: on-call, members: [cy, night@example.org]}
schedules:
  - name: nightly
    description: Größte
    rules:
      - {every: day, start: 2026-01-01 02:00}
      - {once: 2026-12-24 18:00}
  - {name: never, rules: []}
tasks: []
)");
  ASSERT_EQ(result.errors, Lines{});
  EXPECT_EQ(result.path, "tasks.yaml");
  EXPECT_EQ(result.users, (std::vector<UserDefinition>{{"ADA", true, false}, {"MÜLLER", false, true}}));
  EXPECT_EQ(result.users[1].name.line, 4);
  EXPECT_EQ(result.groups, (std::vector<GroupDefinition>{{"OPS", {"ADA", "MÜLLER"}}, {"EMPTY", {}}}));
  EXPECT_EQ(result.groups[0].members[1].line, 8);
  EXPECT_EQ(result.contacts,
            (std::vector<ContactDefinition>{{"Ann", "ann@example.org", "5@pager.example.org"}, {"cy", "", ""}}));
  EXPECT_EQ(result.contactGroups, (std::vector<GroupDefinition>{{"on-call", {"cy", "night@example.org"}}}));
  ASSERT_EQ(result.schedules.size(), 2U);
  EXPECT_EQ(result.schedules[0], (ScheduleDefinition{"nightly",
                                                     "Größte",
                                                     {ruleFromWords("every day from 2026-01-01 02:00"),
                                                      ruleFromWords("once at 2026-12-24 18:00")}}));
  EXPECT_EQ(result.schedules[1], (ScheduleDefinition{"never", "", {}}));
}

TEST(TaskFileTest, AllThatFollowsATaskIsRead) {
  const TaskFileResult result = parse(R"(mesk: 1
tasks:
  - name: a
    script: x
    success: [0, "<= 3", "!= -1"]
    schedules: nightly
    follow-ons:
      - {on: success, run: b}
      - {on: failure, enable: [b, c]}
      - {on: end, disable: a}
    notifications:
      - {on: failure, to: ann}
      - on: end
        by: both
        to: [ann, x@example.org]
        groups: [on-call]
        subject: s
        message: |
          m
        pager-message: p
      - {on: success, by: pager, groups: g}
    rights:
      - {user: ada, may: [read, execute]}
      - {group: ops, may: update}
      - {user: bob, may: []}
)");
  ASSERT_EQ(result.errors, Lines{});
  const TaskDefinition& task = result.tasks.at(0);
  EXPECT_EQ(task.success, (std::vector<SuccessCode>{{'=', 0}, {'<', 4}, {'!', -1}}));
  EXPECT_EQ(task.schedules, std::vector<Reference>{"nightly"});
  EXPECT_EQ(task.followOns, (std::vector<FollowOn>{{kAtSuccess, kRunTask, {"b"}},
                                                   {kAtFailure, kEnableTask, {"b", "c"}},
                                                   {kAtEveryEnd, kDisableTask, {"a"}}}));
  EXPECT_EQ(task.notifications, (std::vector<Notification>{
                                    {kAtFailure, kMessageEmail, {"ann"}, {}, "", "", ""},
                                    {kAtEveryEnd, kMessageBoth, {"ann", "x@example.org"}, {"on-call"}, "s", "m\n", "p"},
                                    {kAtSuccess, kMessagePager, {}, {"g"}, "", "", ""}}));
  EXPECT_EQ(task.rights, (std::vector<Right>{{"ADA", false, true, false, true},
                                             {"OPS", true, false, true, false},
                                             {"BOB", false, false, false, false}}));
}

TEST(TaskFileTest, AGroupIsReadStageByStage) {
  const TaskFileResult result = parse(
      "mesk: 1\ntasks:\n  - {name: g, type: group, steps: [a, [b, c], [d]], stop-at-failure: false, overlap: skip}\n"
      "  - {name: h, type: group, steps: [g]}\n");
  ASSERT_EQ(result.errors, Lines{});
  EXPECT_EQ(result.tasks[0].type, kGroupTask);
  EXPECT_EQ(result.tasks[0].steps, (std::vector<std::vector<Reference>>{{"a"}, {"b", "c"}, {"d"}}));
  EXPECT_FALSE(result.tasks[0].stopAtFailure);
  EXPECT_TRUE(result.tasks[1].stopAtFailure);
}

TEST(TaskFileTest, AWarehouseTaskIsRead) {
  const Scratch scratch;
  scratch.write("q.sql", "SELECT 2\n");
  scratch.write("tasks.yaml", R"(mesk: 1
tasks:
  - name: w
    type: warehouse
    success: [0, 2]
    timeout: 5m
    warehouse:
      source: jdbc:a
      source-user: ada
      source-password-file: /a
      query: SELECT 1
      target: jdbc:b
      target-user: bob
      target-password-file: /b
      table: t
      mode: replace
      batch: 10
      retries: 3
      retry-interval: 1m
  - {name: v, type: warehouse, warehouse: {source: "jdbc:a", target: "jdbc:b", table: t, query-file: q.sql}}
)");
  const TaskFileResult result = readTaskFile(scratch.at("tasks.yaml"));
  ASSERT_EQ(result.errors, Lines{});
  EXPECT_EQ(result.tasks[0].type, kWarehouseTask);
  EXPECT_EQ(result.tasks[0].script, "SELECT 1");
  EXPECT_EQ(result.tasks[0].options.warehouse,
            (Warehouse{"jdbc:a", "ada", "/a", "jdbc:b", "bob", "/b", "t", Warehouse::Mode::kReplace, 10, 3, 60}));
  EXPECT_EQ(result.tasks[1].script, "SELECT 2\n");
  EXPECT_EQ(result.tasks[1].options.warehouse->batch, 1000);
  EXPECT_EQ(result.tasks[1].options.warehouse->mode, Warehouse::Mode::kAppend);
}

TEST(TaskFileTest, WhatIsNotSaidHasItsDefault) {
  const TaskFileResult result = parse("mesk: 1\ntasks:\n  - {name: a, script: 'true'}\n");
  ASSERT_EQ(result.errors, Lines{});
  TaskDefinition expected;
  expected.name = "a";
  expected.script = "true";
  EXPECT_EQ(result.tasks, std::vector{expected});
  EXPECT_EQ(result.tasks[0].processor, "/bin/sh");
  EXPECT_TRUE(result.tasks[0].enabled);
  EXPECT_EQ(result.tasks[0].options.missed, RunOptions::Missed::kOnce);
}

TEST(TaskFileTest, AnEmptyListOfTasksIsATaskFile) { EXPECT_EQ(parse("mesk: 1\ntasks: []\n").errors, Lines{}); }

TEST(TaskFileTest, AFileThatIsNoTaskFileIsRefused) {
  const std::string keys =
      "tasks.yaml:1: expected a task file with keys of: mesk, users, groups, contacts, contact-groups, schedules, "
      "tasks";
  EXPECT_EQ(parse("").errors, Lines{keys});
  EXPECT_EQ(parse("hello").errors, Lines{keys});
  EXPECT_EQ(parse("- 1").errors, Lines{keys});
  EXPECT_EQ(parse("tasks: []").errors, Lines{"tasks.yaml:1: expected 'mesk: 1', the version of the format"});
  EXPECT_EQ(parse("mesk: 2\ntasks: []").errors, Lines{"tasks.yaml:1: 'mesk': expected a whole number from 1 to 1"});
  EXPECT_EQ(parse("mesk: 1").errors, Lines{"tasks.yaml:1: expected 'tasks', a list of tasks"});
  EXPECT_EQ(parse("mesk: 1\ntasks: {}").errors, Lines{"tasks.yaml:2: 'tasks': expected a list of tasks"});
  EXPECT_EQ(parse("mesk: 1\ntasks: []\n---\nmesk: 1\n").errors, Lines{"tasks.yaml:4: a task file is one document"});
  EXPECT_EQ(parse("mesk: 1\ntasks: []\n\xff\n").errors, Lines{"tasks.yaml:3: the text is not UTF-8"});
  const Lines malformed = parse("mesk: 1\ntasks:\n  - {name: a\n").errors;
  ASSERT_EQ(malformed.size(), 1U);
  EXPECT_TRUE(malformed[0].starts_with("tasks.yaml:4: this is not YAML: ")) << malformed[0];
  EXPECT_EQ(readTaskFile("/nowhere/tasks.yaml").errors, Lines{"/nowhere/tasks.yaml: No such file or directory"});
}

TEST(TaskFileTest, EachMistakeIsNamedWithItsLineAndWhatWasExpected) {
  const std::pair<const char*, const char*> rows[] = {
      {"nmae: b",
       "'nmae' is no key of a task; expected one of: name, description, type, category, owner, run-as, "
       "directory, processor, script, script-file, steps, warehouse, arguments, environment, timeout, "
       "output-limit, retry, stop-at-failure, success, missed, interrupted, overlap, enabled, schedule, "
       "schedules, follow-ons, notifications, rights"},
      {"owner: a,\nowner: b", "'owner' stands twice in a task"},
      {"[a]: b", "expected a word as key of a task"},
      {"type: sql", "'type': expected one of: script, group, warehouse"},
      {"description: [a]", "'description': expected a text"},
      {"description: ", "'description': expected a text"},
      {"category: \"a\\nb\"", "'category': expected one line without control characters"},
      {"owner: \"a\\0\"", "'owner': a text cannot hold the character U+0000"},
      {"directory: tmp", "'directory': expected a path that begins with /"},
      {"processor: ''", "'processor': expected a program"},
      {"arguments: \"a 'b\"", "'arguments': no closing ' for the one at character 3"},
      {"environment: [A]", "expected a mapping of names to values"},
      {"environment: {1A: secret}", "'environment': '1A' cannot be the name of a variable"},
      {"environment: {MESK_A: secret}", "'environment': 'MESK_A': names with MESK_ are the scheduler's own"},
      {"environment: {A: [secret]}", "'environment': 'A': expected a text"},
      {"timeout: 5", "'timeout': expected a duration such as 90s, 5m, 1h30m or 1d"},
      {"timeout: 0s", "'timeout': expected at least 1s"},
      {"timeout: 400d", "'timeout': expected a duration of at most 366d"},
      {"output-limit: 64KB", "'output-limit': expected a size such as 4096, 64KiB or 1MiB"},
      {"output-limit: 1", "'output-limit': expected a size from 1KiB to 64MiB"},
      {"retry: 3", "expected a retry with keys of: count, interval"},
      {"retry: {interval: 5s}", "'retry': a retry needs a 'count'"},
      {"retry: {count: -1}", "'count': expected a whole number from 0 to 1000"},
      {"retry: {count: 1, delay: 5s}", "'delay' is no key of a retry; expected one of: count, interval"},
      {"missed: maybe", "'missed': expected one of: once, all, skip"},
      {"interrupted: maybe", "'interrupted': expected one of: leave, rerun"},
      {"overlap: maybe", "'overlap': expected one of: wait, skip"},
      {"enabled: yes", "'enabled': expected true or false"},
      {"stop-at-failure: true", "'stop-at-failure' does not go with 'type: script'"},
      {"success: 0", "'success': expected a list of return codes"},
      {"success: [ok]", "'success': expected a return code such as 0, != 4, < 8, <= 3, > 7 or >= 8"},
      {"success: [[0]]", "'success': expected a return code such as 0, != 4, < 8, <= 3, > 7 or >= 8"},
      {"success: [<= 3, < 4]", "'success': '< 4' stands twice"},
      {"schedules: {a: b}", "'schedules': expected a name or a list of names"},
      {"schedules: [[a]]", "'schedules': expected a text"},
      {"schedules: ['']", "'schedules': expected 1 to 128 characters"},
      {"schedules: [a, b, a]", "'schedules': 'a' stands twice"},
      {"follow-ons: a", "'follow-ons': expected a list of follow-ons"},
      {"follow-ons: [a]", "expected a follow-on with keys of: on, run, enable, disable"},
      {"follow-ons: [{run: a}]", "a follow-on needs an 'on'"},
      {"follow-ons: [{on: never, run: a}]", "'on': expected one of: success, failure, end"},
      {"follow-ons: [{on: end}]", "a follow-on has one of 'run', 'enable' and 'disable'"},
      {"follow-ons: [{on: end, run: a, enable: b}]", "a follow-on has one of 'run', 'enable' and 'disable'"},
      {"follow-ons: [{on: end, run: []}]", "'run': expected at least one task"},
      {"follow-ons: [{on: end, run: [a, a]}]", "'run': 'a' stands twice"},
      {"follow-ons: [{on: end, run: a, after: 5m}]",
       "'after' is no key of a follow-on; expected one of: on, run, enable, disable"},
      {"notifications: a", "'notifications': expected a list of notifications"},
      {"notifications: [a]",
       "expected a notification with keys of: on, by, to, groups, subject, message, pager-message"},
      {"notifications: [{to: a}]", "a notification needs an 'on'"},
      {"notifications: [{on: end}]", "a notification needs a 'to' or 'groups'"},
      {"notifications: [{on: end, to: a, by: post}]", "'by': expected one of: email, pager, both"},
      {"notifications: [{on: end, to: [a, a]}]", "'to': 'a' stands twice"},
      {"notifications: [{on: end, to: 'a@'}]", "'to': expected an address such as ann@example.org"},
      {"notifications: [{on: end, groups: ['']}]", "'groups': expected 1 to 127 bytes"},
      {"notifications: [{on: end, to: a, subject: \"a\\nb\"}]",
       "'subject': expected one line without control characters"},
      {"notifications: [{on: end, to: a, message: [a]}]", "'message': expected a text"},
      {"notifications: [{on: end, to: a, pager-message: a}]",
       "'pager-message': goes with 'by: pager' or 'by: both' only"},
      {"rights: {ada: read}", "'rights': expected a list of rights"},
      {"rights: [ada]", "expected a right with keys of: user, group, may"},
      {"rights: [{may: read}]", "a right needs a 'user' or a 'group'"},
      {"rights: [{user: a, group: b, may: read}]", "a right has either 'user' or 'group'"},
      {"rights: [{user: a}]", "a right needs a 'may', [] for nothing"},
      {"rights: [{user: a, may: write}]", "'may': expected one of: read, update, execute"},
      {"rights: [{user: a, may: [read, read]}]", "'may': 'read' stands twice"},
      {"rights: [{user: a, may: read}, {group: a, may: read}, {user: A, may: update}]", "'user': 'A' stands twice"},
      {"schedule: daily", "'schedule': expected a list of rules, [] for none"},
      {"schedule: [daily]", "expected a schedule with keys of: every, once, on, start, end, after"},
      {"schedule: [{evry: day}]", nullptr},
      {"schedule: [{start: 2026-01-01 00:00}]", "a rule needs an 'every' or a 'once'"},
      {"schedule: [{every: day, once: 2026-01-01 00:00}]", "a rule has either 'every' or 'once'"},
      {"schedule: [{once: 2026-01-01 00:00, on: monday}]", "'on' does not go with 'once'"},
      {"schedule: [{once: tomorrow}]", "'once': expected a date and a time such as 2026-12-24 18:00"},
      {"schedule: [{every: day}]", "a rule with 'every' needs a 'start'"},
      {"schedule: [{every: 0 minutes, start: 2026-01-01 00:00}]", "'every': expected 1 to 1000 minutes"},
      {"schedule: [{every: 32 days, start: 2026-01-01 00:00}]", "'every': expected 1 to 31 days"},
      {"schedule: [{every: day, start: 2026-02-30 00:00}]", "'start': the calendar has no day 2026-02-30"},
      {"schedule: [{every: day, start: 2026-02-01 00:00, end: 2026-01-31}]", "'end': the end is before the start"},
      {"schedule: [{every: day, on: monday, start: 2026-01-01 00:00}]", "'on': only weeks and months have an 'on'"},
      {"schedule: [{every: week, on: funday, start: 2026-01-01 00:00}]",
       "'on': expected a weekday, sunday to saturday"},
      {"schedule: [{every: day, after: start, start: 2026-01-01 00:00}]", "'after': expected: end"},
      {"schedule: [{every: week, after: end, start: 2026-01-01 00:00}]",
       "'after': only minutes, hours and days can be counted from the end of the previous run"},
  };
  for (const auto& [more, expected] : rows) {
    if (expected == nullptr) continue;
    const std::string line = std::string(more).find(",\nowner") == std::string::npos ? "3" : "4";
    EXPECT_EQ(errorOf(more), "tasks.yaml:" + line + ": " + expected) << more;
  }
  EXPECT_EQ(errorsOf("schedule: [{evry: day}]"),
            (Lines{"tasks.yaml:3: 'evry' is no key of a schedule; expected one of: every, once, on, start, end, after",
                   "tasks.yaml:3: a rule needs an 'every' or a 'once'"}));
}

// The errors of a task of a type with these lines more, from line 3 on.
Lines errorsOf(const std::string& type, const std::string& more) {
  return parse("mesk: 1\ntasks: [{name: a, type: " + type + ",\n" + more + "}]\n").errors;
}

TEST(TaskFileTest, EachTypeHasItsOwnKeys) {
  const std::pair<const char*, const char*> values[] = {
      {"run-as", "b"},
      {"directory", "/"},
      {"processor", "p"},
      {"script", "s"},
      {"script-file", "/dev/null"},
      {"steps", "[b]"},
      {"warehouse", "{source: 'jdbc:a', target: 'jdbc:b', table: t, query: q}"},
      {"arguments", "a"},
      {"environment", "{A: b}"},
      {"timeout", "5m"},
      {"output-limit", "1MiB"},
      {"retry", "{count: 1}"},
      {"stop-at-failure", "true"},
      {"success", "[0]"},
      {"interrupted", "rerun"}};
  const std::map<std::string, std::set<std::string>> wrong{
      {"script", {"steps", "warehouse", "stop-at-failure"}},
      {"group",
       {"run-as", "directory", "processor", "script", "script-file", "warehouse", "arguments", "environment", "timeout",
        "output-limit", "retry", "success", "interrupted"}},
      {"warehouse", {"directory", "processor", "script", "script-file", "steps", "arguments", "stop-at-failure"}}};
  const std::map<std::string, std::string> work{{"script", "script"}, {"group", "steps"}, {"warehouse", "warehouse"}};
  for (const auto& [type, keys] : wrong) {
    std::string needed;
    for (const auto& [key, value] : values) {
      if (key == work.at(type)) needed = std::string(key) + ": " + value;
    }
    for (const auto& [key, value] : values) {
      if (key == work.at(type) || (type == "script" && std::string(key) == "script-file")) continue;
      const Lines expected =
          keys.contains(key) ? Lines{"tasks.yaml:3: '" + std::string(key) + "' does not go with 'type: " + type + "'"}
                             : Lines{};
      EXPECT_EQ(errorsOf(type, needed + ", " + key + ": " + value), expected) << type << " " << key;
    }
  }
}

TEST(TaskFileTest, AGroupNeedsStepsOnceEach) {
  const std::pair<const char*, const char*> rows[] = {
      {"steps: a", "'steps': expected a list of tasks, or of lists of tasks that run together"},
      {"steps: []", "'steps': expected at least one step"},
      {"steps: [[]]", "'steps': expected tasks that run together"},
      {"steps: [{b: c}]", "'steps': expected a text"},
      {"steps: [b, ['']]", "'steps': expected 1 to 128 characters"},
      {"steps: [b, [c, b]]", "'steps': 'b' stands twice"},
      {"steps: [[b, [c]]]", "'steps': expected a text"},
  };
  for (const auto& [more, expected] : rows) {
    EXPECT_EQ(errorsOf("group", more), Lines{"tasks.yaml:3: " + std::string(expected)}) << more;
  }
  EXPECT_EQ(errorsOf("group", "enabled: true"), Lines{"tasks.yaml:2: a group needs 'steps'"});
}

TEST(TaskFileTest, AWarehouseTaskSaysWhatItCopies) {
  const std::string good = "warehouse: {source: 'jdbc:a', target: 'jdbc:b', table: t, query: q";
  const std::pair<const char*, const char*> rows[] = {
      {"mode: both", "'mode': expected one of: append, replace"},
      {"batch: 0", "'batch': expected a whole number from 1 to 100000"},
      {"retries: 1001", "'retries': expected a whole number from 0 to 1000"},
      {"retry-interval: 5", "'retry-interval': expected a duration such as 90s, 5m, 1h30m or 1d"},
      {"source-user: ''", "'source-user': expected 1 to 128 characters"},
      {"target-password-file: b", "'target-password-file': expected a path that begins with /"},
      {"query-file: q.sql", "a warehouse has either 'query' or 'query-file'"},
      {"password: topsecret",
       "'password' is no key of a warehouse; expected one of: source, source-user, source-password-file, query, "
       "query-file, target, target-user, target-password-file, table, mode, batch, retries, retry-interval"},
  };
  for (const auto& [more, expected] : rows) {
    EXPECT_EQ(errorsOf("warehouse", good + ", " + more + "}"), Lines{"tasks.yaml:3: " + std::string(expected)}) << more;
  }
  EXPECT_EQ(errorsOf("warehouse", "enabled: true"), Lines{"tasks.yaml:2: a warehouse task needs a 'warehouse'"});
  EXPECT_EQ(errorsOf("warehouse", "warehouse: {}"),
            (Lines{"tasks.yaml:3: a warehouse needs a 'source'", "tasks.yaml:3: a warehouse needs a 'target'",
                   "tasks.yaml:3: a warehouse needs a 'table'",
                   "tasks.yaml:3: a warehouse needs a 'query' or a 'query-file'"}));
  EXPECT_EQ(
      errorsOf("warehouse", "warehouse: {source: a, target: 'jdbc:b?user=x&Password=topsecret', table: t, query: ''}"),
      (Lines{"tasks.yaml:3: 'source': expected a JDBC URL, which begins with jdbc:",
             "tasks.yaml:3: 'target': a password does not belong in a URL, but in a file that only its reader can open",
             "tasks.yaml:3: 'query': expected a query of 1 byte to 1MiB"}));
}

TEST(TaskFileTest, WhatStandsBesideTasksIsCheckedToo) {
  const std::string longest(127, 'n');
  const std::pair<std::string, std::string> rows[] = {
      {"users: ada", "'users': expected a list of users"},
      {"users: [ada]", "expected a user with keys of: name, superuser, admin"},
      {"users: [{admin: true}]", "a user needs a 'name'"},
      {"users: [{name: ''}]", "'name': expected 1 to 128 characters"},
      {"users: [{name: a, admin: yes}]", "'admin': expected true or false"},
      {"users: [{name: a, password: topsecret}]",
       "'password' is no key of a user; expected one of: name, superuser, admin"},
      {"users: [{name: a}, {name: A}]", "'name': a user 'A' stands already in line 2"},
      {"groups: [{members: []}]", "a group needs a 'name'"},
      {"groups: [{name: a, members: [b, B]}]", "'members': 'B' stands twice"},
      {"groups: [{name: a}, {name: A}]", "'name': a group 'A' stands already in line 2"},
      {"contacts: [{}]", "a contact needs a 'name'"},
      {"contacts: [{name: " + longest + "}]", "none"},
      {"contacts: [{name: " + longest + "n}]", "'name': expected 1 to 127 bytes"},
      {"contacts: [{name: a@b}]", "'name': expected a name without @, which would be an address"},
      {"contacts: [{name: a, email: b}]", "'email': expected an address such as ann@example.org"},
      {"contacts: [{name: a, email: 'b <b@c>'}]", "'email': expected an address such as ann@example.org"},
      {"contacts: [{name: a, pager: '@b'}]", "'pager': expected an address such as ann@example.org"},
      {"contacts: [{name: a}, {name: A}]", "none"},
      {"contacts: [{name: a}, {name: a}]", "'name': a contact 'a' stands already in line 2"},
      {"contact-groups: [{name: a, members: [b@c, b@c]}]", "'members': 'b@c' stands twice"},
      {"contact-groups: [{name: a@b}]", "'name': expected a name without @, which would be an address"},
      {"schedules: [{name: a}]", "a shared schedule needs 'rules'"},
      {"schedules: [{name: a, rules: daily}]", "'rules': expected a list of rules, [] for none"},
      {"schedules: [{name: a, rules: [{every: day}]}]", "a rule with 'every' needs a 'start'"},
      {"schedules: [{name: a, rules: []}, {name: a, rules: []}]",
       "'name': a shared schedule 'a' stands already in line 2"},
  };
  for (const auto& [more, expected] : rows) {
    const Lines errors = parse("mesk: 1\n" + more + "\ntasks: []\n").errors;
    EXPECT_EQ(errors, expected == "none" ? Lines{} : Lines{"tasks.yaml:2: " + expected}) << more;
  }
}

TEST(TaskFileTest, NamesAreThereShortAndUnique) {
  EXPECT_EQ(parse("mesk: 1\ntasks:\n  - script: x\n").errors, Lines{"tasks.yaml:3: a task needs a 'name'"});
  EXPECT_EQ(parse("mesk: 1\ntasks:\n  - {name: '', script: x}\n").errors,
            Lines{"tasks.yaml:3: 'name': expected 1 to 128 characters"});
  std::string longest;
  for (int i = 0; i < 128; ++i) longest += "ä";
  EXPECT_EQ(parse("mesk: 1\ntasks:\n  - {name: " + longest + ", script: x}\n").errors, Lines{});
  EXPECT_EQ(parse("mesk: 1\ntasks:\n  - {name: " + longest + "a, script: x}\n").errors,
            Lines{"tasks.yaml:3: 'name': expected at most 128 characters"});
  EXPECT_EQ(
      parse("mesk: 1\ntasks:\n  - {name: a, script: x}\n  - {name: b, script: x}\n  - {name: a, script: x}\n").errors,
      Lines{"tasks.yaml:5: 'name': a task 'a' stands already in line 3"});
}

TEST(TaskFileTest, ATaskHasOneScript) {
  EXPECT_EQ(parse("mesk: 1\ntasks:\n  - name: a\n").errors,
            Lines{"tasks.yaml:3: a task needs a 'script' or a 'script-file'"});
  EXPECT_EQ(errorOf("script-file: x"), "tasks.yaml:2: a task has either 'script' or 'script-file'");
  EXPECT_EQ(parse("mesk: 1\ntasks:\n  - {name: a, script: ''}\n").errors,
            Lines{"tasks.yaml:3: 'script': expected a script of 1 byte to 1MiB"});
}

TEST(TaskFileTest, AScriptFileIsReadFromBesideTheTaskFile) {
  const Scratch scratch;
  scratch.write("a.sh", "echo a\n");
  scratch.write("b.sh", "echo \xff\n");
  scratch.write("c.sh", "");
  scratch.write("tasks.yaml", "mesk: 1\ntasks:\n  - {name: a, script-file: a.sh}\n");
  const TaskFileResult good = readTaskFile(scratch.at("tasks.yaml"));
  ASSERT_EQ(good.errors, Lines{});
  EXPECT_EQ(good.tasks[0].script, "echo a\n");
  scratch.write("tasks.yaml",
                "mesk: 1\ntasks:\n  - {name: b, script-file: b.sh}\n  - {name: c, script-file: c.sh}\n"
                "  - {name: d, script-file: d.sh}\n");
  const std::string at = scratch.at("tasks.yaml");
  EXPECT_EQ(readTaskFile(at).errors,
            (Lines{at + ":3: 'script-file': " + scratch.at("b.sh") + " is not UTF-8",
                   at + ":4: 'script-file': expected a script of 1 byte to 1MiB",
                   at + ":5: 'script-file': cannot read " + scratch.at("d.sh") + ": No such file or directory"}));
}

TEST(TaskFileTest, AllErrorsComeTogetherInTheOrderOfTheirLines) {
  const TaskFileResult result = parse(
      "mesk: 1\ntasks:\n  - name: a\n    script: x\n    missed: maybe\n    timeout: soon\n    schedule:\n"
      "      - every: day\n        start: never\n      - evry: day\n        every: 5\n        start: 2026-01-01 "
      "00:00\n");
  EXPECT_TRUE(result.tasks.empty());
  EXPECT_EQ(
      result.errors,
      (Lines{"tasks.yaml:5: 'missed': expected one of: once, all, skip",
             "tasks.yaml:6: 'timeout': expected a duration such as 90s, 5m, 1h30m or 1d",
             "tasks.yaml:9: 'start': expected a date and a time such as 2026-12-24 18:00",
             "tasks.yaml:10: 'evry' is no key of a schedule; expected one of: every, once, on, start, end, after",
             "tasks.yaml:11: 'every': expected an interval such as 15 minutes, 2 hours, day, week, 3 months or year"}));
}

TEST(TaskFileTest, NoMoreErrorsAreToldThanAnyoneReads) {
  std::string text = "mesk: 1\ntasks:\n";
  for (int i = 0; i < 50; ++i) text += "  - {}\n";
  EXPECT_EQ(parse(text).errors.size(), kTaskFileErrors);
}

TEST(TaskFileTest, NoErrorTellsAValueOfTheEnvironment) {
  for (const char* more :
       {"environment: {A: [topsecret]}", "environment: {A: {topsecret: topsecret}}", "environment: {1: topsecret}",
        "environment: [topsecret]", "environment: {A: \"topsecret\\0\"}"}) {
    EXPECT_EQ(errorOf(more).find("topsecret"), std::string::npos) << more;
  }
}

// Without what does not go with the type.
void toGroup(TaskDefinition& task) {
  const TaskDefinition usual;
  task.type = kGroupTask;
  task.runAs = task.directory = task.script = task.arguments = "";
  task.processor = usual.processor;
  task.retryCount = task.retryIntervalSeconds = 0;
  task.options = {};
}

void toWarehouse(TaskDefinition& task) {
  const TaskDefinition usual;
  task.type = kWarehouseTask;
  task.directory = task.arguments = "";
  task.processor = usual.processor;
  task.options.warehouse.emplace();
  task.options.warehouse->source = "jdbc:source";
  task.options.warehouse->target = "jdbc:target";
  task.options.warehouse->table = "t";
}

TEST(TaskFileTest, TasksComeBackFromTheirFile) {
  std::mt19937_64 random(randomSeed());
  const auto upTo = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); };
  const std::vector<std::string> pieces{"a",      "B",      "7",          " ",    "  ",   "\n",  "\t",  "#",  ": ",
                                        "- ",     "'",      "\"",         "\\",   "{",    "}",   "[",   "]",  ",",
                                        "&",      "*",      "!",          "|",    ">",    "%",   "@",   "`",  "~",
                                        "ä",      "日",     "\U0001F600", "null", "true", "---", "...", "\r", "\x7f",
                                        "\u0085", "\u2028", "\ufeff",     "\x01", "?",    "0x1", "1e3", "<<"};
  const auto text = [&](std::size_t most, bool line) {
    std::string result;
    for (std::size_t i = upTo(most); i > 0; --i) {
      const std::string& piece = pieces[upTo(pieces.size() - 1)];
      const bool control = piece.size() == 1 && (static_cast<unsigned char>(piece[0]) < 0x20 || piece[0] == 0x7f);
      if (!line || !control) result += piece;
    }
    return result;
  };
  const auto names = [&](std::size_t most) {
    std::vector<Reference> result;
    for (std::size_t i = upTo(most); i > 0; --i) {
      std::string name = "n" + std::to_string(i) + text(3, true);
      std::erase(name, '@');
      result.emplace_back(name);
    }
    return result;
  };
  for (int round = 0; round < 400; ++round) {
    TaskFile written;
    std::vector<TaskDefinition>& tasks = written.tasks;
    tasks.resize(upTo(3));
    for (TaskDefinition& task : tasks) {
      task.name = "t" + std::to_string(&task - tasks.data()) + text(5, true);
      task.description = text(8, false);
      task.category = text(3, true);
      task.owner = text(3, true);
      task.runAs = text(3, true);
      if (upTo(1) == 0) task.directory = "/" + text(3, true);
      task.processor = "p" + text(3, true);
      task.script = "s" + text(12, false);
      if (upTo(1) == 0) task.script = text(3, false) + "echo\n" + text(5, false) + "x\n";
      task.arguments = "a" + std::string(upTo(2), ' ') + "b";
      if (upTo(1) == 0) task.options.environment = {{"A", text(4, false)}, {"B_2", text(4, false)}};
      task.options.timeoutSeconds = static_cast<std::int64_t>(upTo(100000));
      task.options.outputLimit = RunOptions::kLeastOutput + static_cast<std::int64_t>(upTo(1 << 20));
      task.options.missed = static_cast<RunOptions::Missed>(upTo(2));
      task.options.interrupted = static_cast<RunOptions::Interrupted>(upTo(1));
      task.options.overlap = static_cast<RunOptions::Overlap>(upTo(1));
      task.retryCount = static_cast<int>(upTo(3));
      task.retryIntervalSeconds = static_cast<int>(upTo(100));
      task.enabled = upTo(1) == 0;
      for (std::size_t i = upTo(3); i > 0; --i) task.schedule.push_back(randomRule(random));
      task.schedules = names(2);
      for (std::size_t i = upTo(2); i > 0; --i) {
        task.followOns.push_back(
            {static_cast<EndCondition>(upTo(2)), static_cast<FollowOnKind>(1 + upTo(2)), names(2)});
        task.followOns.back().tasks.emplace_back("last");
      }
      for (std::size_t i = upTo(2); i > 0; --i) {
        Notification notification;
        notification.on = static_cast<EndCondition>(upTo(2));
        notification.by = static_cast<MessageKind>(1 + upTo(2));
        notification.to = {"ann", "x@example.org"};
        notification.groups = names(2);
        notification.subject = text(4, true);
        notification.message = text(8, false);
        if (notification.by != kMessageEmail) notification.pagerMessage = text(4, false);
        task.notifications.push_back(notification);
      }
      for (const Reference& name : names(3)) {
        task.rights.push_back({inCapitals(name.name), upTo(1) == 0, upTo(1) == 0, upTo(1) == 0, upTo(1) == 0});
      }
      const std::size_t type = upTo(3);
      if (type == 0) {
        toGroup(task);
        for (std::size_t i = 1 + upTo(3); i > 0; --i) {
          task.steps.emplace_back();
          for (std::size_t j = upTo(2) + 1; j > 0; --j) {
            task.steps.back().emplace_back("s" + std::to_string(i) + std::to_string(j) + text(3, true));
          }
        }
        task.stopAtFailure = upTo(1) == 0;
        continue;
      }
      for (const int code : {0, 3, -7}) {
        constexpr char kConditions[] = {'=', '!', '<', '>'};
        if (upTo(1) == 0) task.success.push_back({kConditions[upTo(3)], code});
      }
      if (type == 1) {
        toWarehouse(task);
        Warehouse& warehouse = *task.options.warehouse;
        warehouse.sourceUser = text(3, true);
        if (upTo(1) == 0) warehouse.targetPasswordFile = "/" + text(3, true);
        warehouse.mode = static_cast<Warehouse::Mode>(upTo(1));
        warehouse.batch = static_cast<std::int64_t>(1 + upTo(99'999));
        warehouse.retries = static_cast<std::int64_t>(upTo(1000));
        warehouse.retryIntervalSeconds = static_cast<std::int64_t>(upTo(1000));
      }
    }
    for (const Reference& name : names(3)) written.users.push_back({inCapitals(name.name), upTo(1) == 0, upTo(1) == 0});
    for (const Reference& name : names(3)) written.groups.push_back({inCapitals(name.name), {"A", "B \xc3\x9c"}});
    for (const Reference& name : names(3)) written.contacts.push_back({name, "a@b", upTo(1) == 0 ? "" : "c@d"});
    for (const Reference& name : names(3)) written.contactGroups.push_back({name, names(3)});
    for (const Reference& name : names(3)) {
      written.schedules.push_back({name, text(6, false), {}});
      for (std::size_t i = upTo(2); i > 0; --i) written.schedules.back().rules.push_back(randomRule(random));
    }
    const std::string file = writeTaskFile(written);
    const TaskFileResult result = parse(file);
    ASSERT_EQ(result.errors, Lines{}) << file;
    ASSERT_EQ(result.tasks, tasks) << file;
    ASSERT_EQ(result.users, written.users) << file;
    ASSERT_EQ(result.groups, written.groups) << file;
    ASSERT_EQ(result.contacts, written.contacts) << file;
    ASSERT_EQ(result.contactGroups, written.contactGroups) << file;
    ASSERT_EQ(result.schedules, written.schedules) << file;
  }
}

TEST(TaskFileTest, AWrittenFileIsOneThatPeopleCanRead) {
  TaskDefinition task;
  task.name = "nightly backup";
  task.script = "echo a\necho b\n";
  task.options.timeoutSeconds = 5400;
  task.schedule = {ruleFromWords("every 2 weeks on friday from 2026-01-01 02:00"),
                   ruleFromWords("once at 2026-12-24 18:00")};
  TaskFile file;
  file.tasks = {task};
  EXPECT_EQ(writeTaskFile(file), R"(mesk: 1
tasks:
  - name: nightly backup
    type: script
    script: |
      echo a
      echo b
    timeout: 1h30m
    schedule:
      - every: 2 weeks
        on: friday
        start: "2026-01-01 02:00:00"
      - once: "2026-12-24 18:00:00"
)");
}

TEST(TaskFileTest, TheHousekeepingExampleUsesEveryKindOfInterval) {
  const TaskFileResult result = readTaskFile(MESK_EXAMPLES "/housekeeping.yaml");
  ASSERT_EQ(result.errors, Lines{});
  std::set<std::string> kinds;
  for (const TaskDefinition& task : result.tasks) {
    for (const ScheduleRule& rule : task.schedule) {
      kinds.insert(rule.recurring == 0 ? "once" : std::to_string(rule.intervalType));
      if (isAfterEnd(rule)) kinds.insert("after end");
    }
  }
  EXPECT_EQ(kinds, (std::set<std::string>{"0", "1", "2", "3", "4", "5", "6", "after end", "once"}));
}

}  // namespace
}  // namespace mesk::host
