#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include <scheduler/Files.h>
#include <scheduler/RandomRule.h>
#include <scheduler/Scratch.h>
#include <scheduler/TaskFile.h>

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
    }
    const std::string file = writeTaskFile(written);
    const TaskFileResult result = parse(file);
    ASSERT_EQ(result.errors, Lines{}) << file;
    ASSERT_EQ(result.tasks, tasks) << file;
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
