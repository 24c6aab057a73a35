// What only shows when a file is seen as a whole, and beside a store.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include <scheduler/TaskFile.h>

namespace mesk::host {
namespace {

using Lines = std::vector<std::string>;

/// What is wrong with a file beside a store that has these.
Lines errorsOf(const std::string& text, const KnownNames& known = {}) {
  const TaskFileResult file = parseTaskFile(text, "f.yaml");
  EXPECT_EQ(file.errors, Lines{}) << text;
  return checkReferences(file, known);
}

/// A store's tasks and whom they start.
KnownNames storeOf(const std::map<std::string, Lines>& starts) {
  KnownNames known;
  for (const auto& [task, started] : starts) known.tasks.insert(task);
  known.starts = [starts](const std::string& task) { return starts.at(task); };
  return known;
}

constexpr const char* kAllReferences = R"(mesk: 1
groups:
  - {name: operators,
     members: [ada]}
contact-groups:
  - {name: on-call,
     members: [ann,
       night@example.org]}
tasks:
  - name: a
    script: x
    schedules:
      - nightly
    follow-ons:
      - {on: end, run:
           b}
      - {on: end, enable: [c,
           d]}
      - {on: end, disable: e}
    notifications:
      - {on: end, to: [cy, z@example.org],
         groups: [others]}
    rights:
      - {user: bob, may: []}
      - {group: nobodies,
         may: [read]}
  - {name: g, type: group, steps: [a, [f,
       h]]}
)";

TEST(TaskFileCheckTest, AReferenceToNothingIsToldInItsLine) {
  const std::string at = "f.yaml:";
  const std::string none = ": neither this file nor the store has a ";
  EXPECT_EQ(errorsOf(kAllReferences),
            (Lines{at + "4: 'members'" + none + "user 'ADA'", at + "7: 'members'" + none + "contact 'ann'",
                   at + "13: 'schedules'" + none + "shared schedule 'nightly'", at + "16: 'run'" + none + "task 'b'",
                   at + "17: 'enable'" + none + "task 'c'", at + "18: 'enable'" + none + "task 'd'",
                   at + "19: 'disable'" + none + "task 'e'", at + "21: 'to'" + none + "contact 'cy'",
                   at + "22: 'groups'" + none + "contact group 'others'", at + "24: 'user'" + none + "user 'BOB'",
                   at + "25: 'group'" + none + "group 'NOBODIES'", at + "27: 'steps'" + none + "task 'f'",
                   at + "28: 'steps'" + none + "task 'h'"}));
}

TEST(TaskFileCheckTest, WhatTheStoreHasMayBeReferredTo) {
  KnownNames known = storeOf({{"b", {}}, {"c", {}}, {"d", {}}, {"e", {}}, {"f", {}}, {"h", {}}});
  known.users = {"ADA", "BOB"};
  known.groups = {"NOBODIES"};
  known.contacts = {"ann", "cy"};
  known.contactGroups = {"others"};
  known.schedules = {"nightly"};
  EXPECT_EQ(errorsOf(kAllReferences, known), Lines{});
}

TEST(TaskFileCheckTest, WhatTheFileDefinesMayBeReferredToBeforeItStandsThere) {
  EXPECT_EQ(errorsOf(R"(mesk: 1
tasks:
  - {name: a, script: x, follow-ons: [{on: end, run: b}], notifications: [{on: end, to: ann, groups: on-call}],
     rights: [{group: operators, may: read}, {user: Ada, may: read}], schedules: nightly}
  - {name: b, script: x}
schedules: [{name: nightly, rules: []}]
contact-groups: [{name: on-call, members: ann}]
contacts: [{name: ann}]
groups: [{name: Operators, members: [ADA]}]
users: [{name: ada}]
)"),
            Lines{});
}

TEST(TaskFileCheckTest, NamesOfContactsAreExact) {
  const Lines errors = errorsOf(
      "mesk: 1\ncontacts: [{name: Ann}]\ntasks:\n"
      "  - {name: a, script: x, notifications: [{on: end, to: ann}]}\n");
  EXPECT_EQ(errors, Lines{"f.yaml:4: 'to': neither this file nor the store has a contact 'ann'"});
}

/// The circles that are told of tasks with these texts, each on a line from 3 on.
Lines circles(const Lines& tasks, const KnownNames& known = {}) {
  std::string text = "mesk: 1\ntasks:\n";
  for (const std::string& task : tasks) text += "  - {" + task + "}\n";
  return errorsOf(text, known);
}

const std::string kForever = "these tasks would start each other for ever: ";

TEST(TaskFileCheckTest, TasksThatRunEachOtherAreACircle) {
  EXPECT_EQ(circles({"name: a, script: x, follow-ons: [{on: success, run: a}]"}),
            Lines{"f.yaml:3: " + kForever + "a -> a"});
  EXPECT_EQ(circles({"name: a, script: x, follow-ons: [{on: success, run: b}]",
                     "name: b, script: x, follow-ons: [{on: failure, run: [c]}]",
                     "name: c, script: x, follow-ons: [{on: end, run: a}]"}),
            Lines{"f.yaml:5: " + kForever + "a -> b -> c -> a"});
}

TEST(TaskFileCheckTest, AGroupThatContainsItselfIsACircle) {
  EXPECT_EQ(circles({"name: g, type: group, steps: [g]"}), Lines{"f.yaml:3: " + kForever + "g -> g"});
  EXPECT_EQ(circles({"name: g, type: group, steps: [a, h]", "name: h, type: group, steps: [[a, i]]",
                     "name: i, type: group, steps: [g]", "name: a, script: x"}),
            Lines{"f.yaml:5: " + kForever + "g -> h -> i -> g"});
}

TEST(TaskFileCheckTest, AStepThatRunsItsGroupIsACircle) {
  EXPECT_EQ(circles({"name: g, type: group, steps: [a]", "name: a, script: x, follow-ons: [{on: end, run: g}]"}),
            Lines{"f.yaml:4: " + kForever + "g -> a -> g"});
}

TEST(TaskFileCheckTest, TasksThatSwitchEachOtherAreNone) {
  EXPECT_EQ(circles({"name: a, script: x, follow-ons: [{on: end, enable: [a, b]}, {on: failure, disable: [a, b]}]",
                     "name: b, script: x, follow-ons: [{on: end, disable: a}]"}),
            Lines{});
}

TEST(TaskFileCheckTest, TwoWaysToATaskAreNone) {
  EXPECT_EQ(circles({"name: a, script: x, follow-ons: [{on: end, run: [b, c]}]",
                     "name: b, script: x, follow-ons: [{on: end, run: d}]",
                     "name: c, script: x, follow-ons: [{on: end, run: d}]", "name: d, script: x"}),
            Lines{});
}

TEST(TaskFileCheckTest, ACircleAcrossFileAndStoreIsToldInALineOfTheFile) {
  const KnownNames known = storeOf({{"s", {"t"}}, {"t", {"u", "a"}}, {"u", {}}});
  EXPECT_EQ(circles({"name: a, script: x, follow-ons: [{on: end, run: s}]"}, known),
            Lines{"f.yaml:3: " + kForever + "a -> s -> t -> a"});
}

TEST(TaskFileCheckTest, WhatTheFileSaysOfATaskReplacesWhatTheStoreSays) {
  const KnownNames known = storeOf({{"a", {"b"}}, {"b", {"a"}}});
  EXPECT_EQ(circles({"name: a, script: x, follow-ons: [{on: end, run: b}]", "name: b, script: x"}, known), Lines{});
}

TEST(TaskFileCheckTest, EveryCircleIsTold) {
  EXPECT_EQ(circles({"name: a, script: x, follow-ons: [{on: end, run: a}]",
                     "name: b, script: x, follow-ons: [{on: end, run: b}]"}),
            (Lines{"f.yaml:3: " + kForever + "a -> a", "f.yaml:4: " + kForever + "b -> b"}));
}

TEST(TaskFileCheckTest, ALongChainIsNoTrouble) {
  constexpr int kTasks = 20'000;
  TaskFile file;
  file.path = "f.yaml";
  for (int i = 0; i < kTasks; ++i) {
    TaskDefinition task;
    task.name = "t" + std::to_string(i);
    task.followOns = {{kAtEveryEnd, kRunTask, {"t" + std::to_string((i + 1) % kTasks)}}};
    file.tasks.push_back(task);
  }
  EXPECT_EQ(checkReferences(file, {}).size(), 1U);
  file.tasks.back().followOns.clear();
  EXPECT_EQ(checkReferences(file, {}), Lines{});
}

TEST(TaskFileCheckTest, NoMoreErrorsAreToldThanAnyoneReads) {
  TaskFile file;
  TaskDefinition task;
  task.name = "a";
  for (int i = 0; i < 50; ++i) task.schedules.emplace_back("s" + std::to_string(i));
  file.tasks = {task};
  EXPECT_EQ(checkReferences(file, {}).size(), kTaskFileErrors);
}

}  // namespace
}  // namespace mesk::host
