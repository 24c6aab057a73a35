#include <scheduler/TaskParts.h>

#include <fmt/ranges.h>

#include <algorithm>
#include <span>

#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/values/Clob.h>

namespace mesk::host {
namespace {

enum Kind : int { kRead = 0, kUpdate = 1, kExecute = 2 };  // of rights, as the store numbers them

bool& allowed(Right& right, Kind kind) {
  switch (kind) {
    case kRead:
      return right.read;
    case kUpdate:
      return right.update;
    case kExecute:
      break;
  }
  return right.execute;
}

}  // namespace

std::vector<std::vector<Reference>> TaskParts::steps(MDTask& task, const std::vector<int>& stages) {
  std::vector<std::vector<Reference>> result;
  std::size_t room = 0;  // in the stage that is being filled
  for (const auto& member : session_.related("the steps of a task", task, &MDTask::retrieveTaskGroupMemberList)) {
    if (room == 0) {
      room = result.size() < stages.size() ? static_cast<std::size_t>(stages[result.size()]) : 1;
      result.emplace_back();
    }
    result.back().emplace_back(text(member->getTaskName(ctx_)));
    --room;
  }
  return result;
}

std::vector<SuccessCode> TaskParts::success(MDTask& task) {
  tSuccessRelation* relations = nullptr;
  int count = 0;
  int sqlCode = 0;
  const int rc = task.retrieveAllCodeCondition(ctx_, session_.context(), relations, count, sqlCode);
  const std::unique_ptr<tSuccessRelation[]> array(relations);
  session_.check(rc, sqlCode, "listing the success codes of a task");
  std::vector<SuccessCode> codes;
  codes.reserve(static_cast<std::size_t>(count));
  for (const tSuccessRelation& relation : std::span(array.get(), static_cast<std::size_t>(count))) {
    codes.push_back({relation.condition, relation.code});
  }
  return codes;
}

std::vector<StoredFollowOn> TaskParts::followOns(MDTask& task) {
  std::vector<StoredFollowOn> result;
  for (auto& record : session_.related("the follow-ons of a task", task, &MDTask::retrieveFollowOnActionList)) {
    FollowOn part;
    part.on = static_cast<EndCondition>(record->getFollowOnCondition(ctx_));
    part.action = static_cast<FollowOnKind>(record->getAction(ctx_));
    for (const auto& target :
         session_.related("the tasks of a follow-on", *record, &MDFollowOnAction::retrieveTaskList)) {
      part.tasks.emplace_back(text(target->getTaskName(ctx_)));
    }
    result.push_back({std::move(record), std::move(part)});
  }
  return result;
}

std::vector<std::string> TaskParts::names(const char* what, MDNotificationAction& action,
                                          int (MDNotificationAction::*retrieve)(ThreadContext&, jobject, char**&, int&,
                                                                                int&)) {
  char** items = nullptr;
  int count = 0;
  int sqlCode = 0;
  const int rc = (action.*retrieve)(ctx_, session_.context(), items, count, sqlCode);
  const std::unique_ptr<char*[]> array(items);
  std::vector<std::string> result;
  result.reserve(static_cast<std::size_t>(count));
  for (char* const name : std::span(array.get(), static_cast<std::size_t>(count))) result.push_back(text(name));
  session_.check(rc, sqlCode, what);
  return result;
}

std::vector<StoredNotification> TaskParts::notifications(MDTask& task) {
  std::vector<StoredNotification> result;
  for (auto& record : session_.related("the notifications of a task", task, &MDTask::retrieveNotificationActionList)) {
    Notification part;
    part.on = static_cast<EndCondition>(record->getNotificationCondition(ctx_));
    part.by = static_cast<MessageKind>(record->getMessageType(ctx_));
    part.subject = text(record->getSubject(ctx_));
    part.message = text(record->getEmailMessageString(ctx_));
    if (record->getUseEmailMessage(ctx_) == 0) {
      const std::unique_ptr<Clob> own(record->getPagerMessage(ctx_));
      if (own != nullptr) part.pagerMessage = text(own->getString(ctx_));
    }
    for (std::string& name :
         names("listing the contacts of a notification", *record, &MDNotificationAction::retrieveContactNameList)) {
      part.to.emplace_back(std::move(name));
    }
    for (std::string& name : names("listing the contact groups of a notification", *record,
                                   &MDNotificationAction::retrieveContactGroupNameList)) {
      part.groups.emplace_back(std::move(name));
    }
    result.push_back({std::move(record), std::move(part)});
  }
  return result;
}

std::vector<Right> TaskParts::rights(MDTask& task) {
  std::vector<Right> rights;
  const auto add = [&](const MDObject& principal, bool isGroup, Kind kind) {
    const std::string name = administration_.nameOf(principal);
    auto right = std::find_if(rights.begin(), rights.end(), [&](const Right& known) {
      return known.isGroup == isGroup && known.principal.name == name;
    });
    if (right == rights.end()) {
      rights.push_back({name, isGroup});
      right = rights.end() - 1;
    }
    allowed(*right, kind) = true;
  };
  int sqlCode = 0;
  for (const Kind kind : {kRead, kUpdate, kExecute}) {
    int count = 0;
    MDUser** users = nullptr;
    int rc = task.getUsersWithPermission(ctx_, session_.context(), kind, users, count, sqlCode);
    for (const auto& user : owned(users, count)) add(*user, false, kind);
    session_.check(rc, sqlCode, "listing the rights on a task");
    count = 0;
    MDGroup** groups = nullptr;
    rc = task.getGroupsWithPermission(ctx_, session_.context(), kind, groups, count, sqlCode);
    for (const auto& group : owned(groups, count)) add(*group, true, kind);
    session_.check(rc, sqlCode, "listing the rights on a task");
  }
  std::stable_sort(rights.begin(), rights.end(), [](const Right& a, const Right& b) {
    return std::tie(a.isGroup, a.principal.name) < std::tie(b.isGroup, b.principal.name);
  });
  return rights;
}

bool TaskParts::isSuperuser(const std::string& user) { return Administration(session_).isSuperuser(user); }

std::vector<std::string> TaskParts::starts(MDTask& task) {
  std::vector<std::string> names;
  for (const auto& member : session_.related("the steps of a task", task, &MDTask::retrieveTaskGroupMemberList)) {
    names.push_back(text(member->getTaskName(ctx_)));
  }
  for (const StoredFollowOn& followOn : followOns(task)) {
    if (followOn.part.action != kRunTask) continue;
    for (const Reference& target : followOn.part.tasks) names.push_back(target.name);
  }
  return names;
}

void TaskParts::setSteps(const MDTask& task, const std::vector<std::vector<Reference>>& steps, const Find& find) {
  std::vector<TaskKey> members;
  for (const auto& stage : steps) {
    for (const Reference& step : stage) members.push_back(keyOf(find(step.name)));
  }
  administration_.setGroupMembers(keyOf(task), members);
}

std::vector<std::string> TaskParts::changeSuccess(MDTask& task, const std::vector<SuccessCode>& wanted) {
  if (success(task) == wanted) return {};
  administration_.setSuccessCodes(keyOf(task), wanted);
  return {"success"};
}

std::vector<std::string> TaskParts::changeFollowOns(MDTask& task, const std::vector<FollowOn>& wanted,
                                                    const Find& find) {
  auto stored = followOns(task);
  return exchange(
      "follow-ons", stored, wanted, [](const StoredFollowOn& is) { return is.part; },
      [&](StoredFollowOn& is) {
        int sqlCode = 0;
        session_.check(is.record->deleteIt(ctx_, session_.context(), sqlCode), sqlCode, "removing a follow-on");
      },
      [&](const FollowOn& part) { addFollowOn(task, part, find); });
}

void TaskParts::addFollowOn(MDTask& task, const FollowOn& followOn, const Find& find) {
  const std::string what =
      fmt::format("adding the follow-on '{} {}'", textOf(followOn.action), fmt::join(namesOf(followOn.tasks), ", "));
  int rc = 0;
  int sqlCode = 0;
  MDFollowOnAction action(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, what);
  action.setFollowOnActionID(ctx_, action.getReferenceID(ctx_, session_.context(), rc, sqlCode));
  session_.check(rc, sqlCode, what);
  action.setFollowOnCondition(ctx_, static_cast<int>(followOn.on));
  action.setAction(ctx_, static_cast<int>(followOn.action));
  session_.check(task.addFollowOnAction(ctx_, session_.context(), action, sqlCode), sqlCode, what);
  for (const Reference& target : followOn.tasks) {
    session_.check(action.addTask(ctx_, session_.context(), find(target.name), sqlCode), sqlCode, what);
  }
}

std::vector<std::string> TaskParts::changeNotifications(MDTask& task, const std::vector<Notification>& wanted) {
  auto stored = notifications(task);
  return exchange(
      "notifications", stored, wanted, [](const StoredNotification& is) { return is.part; },
      [&](StoredNotification& is) {
        int sqlCode = 0;
        session_.check(is.record->deleteIt(ctx_, session_.context(), sqlCode), sqlCode, "removing a notification");
      },
      [&](const Notification& part) { addNotification(task, part); });
}

void TaskParts::addNotification(MDTask& task, const Notification& notification) {
  const std::string what = "adding a notification";
  int rc = 0;
  int sqlCode = 0;
  MDNotificationAction action(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, what);
  const long long id = action.getReferenceID(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, what);
  action.setNotificationActionID(ctx_, id);
  action.setNotificationCondition(ctx_, static_cast<int>(notification.on));
  action.setMessageType(ctx_, static_cast<int>(notification.by));
  action.setSubject(ctx_, notification.subject.c_str());
  action.setEmailMessageString(ctx_, notification.message.c_str());
  action.setUseEmailMessage(ctx_, notification.pagerMessage.empty() ? 1 : 0);
  if (!notification.pagerMessage.empty()) {
    const jstring own = MDObject::stringTojString(ctx_, notification.pagerMessage.c_str());
    Clob message(ctx_, own);
    ctx_.env->DeleteLocalRef(own);
    action.setPagerMessage(ctx_, &message);
  }
  session_.check(task.addNotificationAction(ctx_, session_.context(), action, sqlCode), sqlCode, what);
  administration_.setContacts(id, namesOf(notification.to), namesOf(notification.groups));
}

std::vector<std::string> TaskParts::changeRights(MDTask& task, const std::vector<Right>& wanted) {
  if (wanted.empty()) return {};
  const auto stored = rights(task);
  bool changed = false;
  for (const Right& right : wanted) {
    Right before{right.principal, right.isGroup};
    for (const Right& is : stored) {
      if (is.isGroup == right.isGroup && is.principal == right.principal) before = is;
    }
    if (before == right) continue;
    changed = true;
    if (right.isGroup) {
      setRight<MDGroup>(task, right, before);
    } else {
      setRight<MDUser>(task, right, before);
    }
  }
  return changed ? std::vector<std::string>{"rights"} : std::vector<std::string>{};
}

template <class Principal>
void TaskParts::setRight(MDTask& task, const Right& right, const Right& before) {
  Principal principal(ctx_, right.principal.name.c_str());
  const auto set = [&](bool was, bool is, auto operation) {
    if (was == is) return;
    int sqlCode = 0;
    const int rc = (task.*operation)(ctx_, session_.context(), principal, is ? 1 : 0, sqlCode);
    session_.check(rc, sqlCode, fmt::format("changing the rights of '{}'", right.principal.name));
  };
  using Set = int (MDTask::*)(ThreadContext&, jobject, Principal&, int, int&);
  set(before.read, right.read, static_cast<Set>(&MDTask::setReadPermission));
  set(before.execute, right.execute, static_cast<Set>(&MDTask::setExecutePermission));
  // Last, because whoever gives it up himself can give and take nothing after it.
  set(before.update, right.update, static_cast<Set>(&MDTask::setUpdatePermission));
}

}  // namespace mesk::host
