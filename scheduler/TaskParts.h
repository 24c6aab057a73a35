// What hangs on a task beside its record and its rules: steps, success codes, shared schedules, actions, rights.
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDTask.h>
#include <scheduler/Administration.h>
#include <scheduler/Session.h>
#include <scheduler/TaskFile.h>

namespace mesk::host {

struct StoredFollowOn {
  std::unique_ptr<MDFollowOnAction> record;
  FollowOn part;
};

struct StoredNotification {
  std::unique_ptr<MDNotificationAction> record;
  Notification part;
};

/// Keeps those of `stored` that are wanted too, whatever their place, removes the others and adds what is new. Answers
/// what was done, as "steps: 1 added" for the name "steps".
template <class Stored, class Part, class PartOf, class Remove, class Add>
std::vector<std::string> exchange(const char* name, std::vector<Stored>& stored, std::vector<Part> wanted,
                                  PartOf partOf, Remove remove, Add add) {
  int removed = 0;
  for (Stored& is : stored) {
    const auto same = std::find(wanted.begin(), wanted.end(), partOf(is));
    if (same != wanted.end()) {
      wanted.erase(same);
    } else {
      remove(is);
      ++removed;
    }
  }
  for (const Part& part : wanted) add(part);
  std::vector<std::string> changes;
  if (!wanted.empty()) changes.push_back(fmt::format("{}: {} added", name, wanted.size()));
  if (removed > 0) changes.push_back(fmt::format("{}: {} removed", name, removed));
  return changes;
}

/// Reads and changes parts of tasks, as part of the session's transaction. What goes wrong is thrown as StoreError.
/// One thread.
class TaskParts {
 public:
  /// The task of a name that a definition refers to, which there is.
  using Find = std::function<MDTask&(const std::string& name)>;

  explicit TaskParts(Session& session) : session_(session), ctx_(session.ctx()), administration_(session) {}

  TaskKey keyOf(const MDTask& task) const { return {task.getTaskID(ctx_), task.getSuffix(ctx_)}; }

  /// Of a group, by the stages of its run options; members that these say nothing of come one by one.
  std::vector<std::vector<Reference>> steps(MDTask& task, const std::vector<int>& stages);
  std::vector<SuccessCode> success(MDTask& task);
  std::vector<StoredFollowOn> followOns(MDTask& task);
  std::vector<StoredNotification> notifications(MDTask& task);

  /// Those that were given, by name, users first; a superuser's are among them only when they were given.
  std::vector<Right> rights(MDTask& task);
  bool isSuperuser(const std::string& user);

  /// Names of tasks that a task starts: its steps, and those that it runs when it ends.
  std::vector<std::string> starts(MDTask& task);

  /// The tasks become members in their order; how they run together is not kept here.
  void setSteps(const MDTask& task, const std::vector<std::vector<Reference>>& steps, const Find& find);

  // Each answers what was changed.
  std::vector<std::string> changeSuccess(MDTask& task, const std::vector<SuccessCode>& wanted);
  std::vector<std::string> changeFollowOns(MDTask& task, const std::vector<FollowOn>& wanted, const Find& find);
  std::vector<std::string> changeNotifications(MDTask& task, const std::vector<Notification>& wanted);

  /// Those of `wanted` become exactly so; those of others stay.
  std::vector<std::string> changeRights(MDTask& task, const std::vector<Right>& wanted);

 private:
  std::vector<std::string> names(const char* what, MDNotificationAction& action,
                                 int (MDNotificationAction::*retrieve)(ThreadContext&, jobject, char**&, int&, int&));
  void addFollowOn(MDTask& task, const FollowOn& followOn, const Find& find);
  void addNotification(MDTask& task, const Notification& notification);
  template <class Principal>
  void setRight(MDTask& task, const Right& right, const Right& before);

  Session& session_;
  ThreadContext& ctx_;
  Administration administration_;
};

}  // namespace mesk::host
