// Users, groups and rights, and what commands ask for.
#include <fmt/format.h>

#include <algorithm>
#include <map>

#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <scheduler/Commands.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Utf8.h>

namespace mesk::host {
namespace {

TaskRight rightOf(const std::string& word) {
  return *std::find_if(kRights.begin(), kRights.end(), [&word](TaskRight right) { return textOf(right) == word; });
}

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// Whom the session works for, as messages call him.
std::string userOf(const Session& session) { return inCapitals(session.user()); }

template <class P>
int setRight(MDTask& task, Session& session, TaskRight right, P& principal, bool allowed) {
  ThreadContext& ctx = session.ctx();
  int sqlCode = 0;
  int rc = 0;
  switch (right) {
    case TaskRight::kRead:
      rc = task.setReadPermission(ctx, session.context(), principal, allowed ? 1 : 0, sqlCode);
      break;
    case TaskRight::kUpdate:
      rc = task.setUpdatePermission(ctx, session.context(), principal, allowed ? 1 : 0, sqlCode);
      break;
    case TaskRight::kExecute:
      rc = task.setExecutePermission(ctx, session.context(), principal, allowed ? 1 : 0, sqlCode);
      break;
  }
  return rc;
}

int changeRights(const Invocation& invocation, bool allowed) {
  OpenStore store(invocation);
  Session& session = store.session();
  Administration administration(session);
  const bool toGroup = !invocation.group.empty();
  const std::string whom = inCapitals(toGroup ? invocation.group : invocation.name);
  const std::string who = fmt::format("{} {}", toGroup ? "group" : "user", whom);
  const auto id = administration.taskID(invocation.task);
  if (!id) store.definitions().find(invocation.task);  // tells, with a name like it
  if (!contains(toGroup ? administration.groups() : administration.users(), whom)) {
    throw HostError(kExitNotFound,
                    fmt::format("there is no {}; 'meskctl {} list' shows all", who, toGroup ? "group" : "user"));
  }
  session.transact([&] {
    int rc = 0;
    int sqlCode = 0;
    MDTask task(session.ctx(), session.context(), rc, sqlCode);
    session.check(rc, sqlCode, "making a task");
    task.setTaskID(session.ctx(), id.value_or(0));
    for (const std::string& word : invocation.rights) {
      if (toGroup) {
        MDGroup group(session.ctx(), whom.c_str());
        rc = setRight(task, session, rightOf(word), group, allowed);
      } else {
        MDUser user(session.ctx(), whom.c_str());
        rc = setRight(task, session, rightOf(word), user, allowed);
      }
      session.check(rc, 0, fmt::format("changing the rights on task '{}'", invocation.task));
    }
  });
  if (invocation.json) {
    printJson(Json{{"task", invocation.task},
                   {toGroup ? "group" : "user", whom},
                   {"rights", invocation.rights},
                   {"allowed", allowed}});
  } else {
    say(invocation, fmt::format("{} {} the right{} {} on task '{}'", who, allowed ? "has" : "no longer has",
                                invocation.rights.size() == 1 ? "" : "s", joined(invocation.rights), invocation.task));
  }
  return kExitOk;
}

/// Does a change of users or groups in one transaction, and says so.
template <class Change>
int administer(const Invocation& invocation, const std::string& done, Change change) {
  OpenStore store(invocation);
  Administration administration(store.session());
  store.session().transact([&] { change(administration); });
  if (invocation.json) {
    Json object{{"done", invocation.command}};
    if (!invocation.name.empty()) object["name"] = inCapitals(invocation.name);
    if (!invocation.group.empty()) object["group"] = inCapitals(invocation.group);
    printJson(object);
  } else {
    say(invocation, done);
  }
  return kExitOk;
}

std::string rankText(bool superuser, bool administrator) {
  if (superuser) return administrator ? "superuser, administrator" : "superuser";
  return administrator ? "administrator" : "";
}

}  // namespace

void OpenStore::require(const Invocation& invocation, const std::string& task, const Needs& needs) {
  Administration administration(session_);
  if (administration.isSuperuser(session_.user()) ||
      (needs.administrator && administration.isAdministrator(session_.user())))
    return;
  if (needs.rights.empty()) {
    if (!needs.administrator) return;
    const std::string user = userOf(session_);
    throw HostError(kExitRefused, fmt::format("{} may not {}{}: that is for superusers and administrators", user,
                                              invocation.command, task.empty() ? "" : fmt::format(" '{}'", task)));
  }
  if (!administration.taskID(task)) return;
  for (const TaskRight right : needs.rights) {
    if (!contains(administration.tasksWith(right), task)) throw lacking(invocation, task, right);
  }
}

HostError OpenStore::lacking(const Invocation& invocation, const std::string& task, TaskRight right) {
  const std::string user = userOf(session_);
  return {kExitRefused,
          fmt::format("{} may not {} '{}': the right '{}' on it is missing; 'meskctl grant {} {} --to {}' by an "
                      "administrator gives it",
                      user, invocation.command, task, textOf(right), textOf(right), shellLine({task}), user)};
}

void OpenStore::requireVisible(const Invocation& invocation, Administration::Counted kind) {
  Administration administration(session_);
  if (administration.isSuperuser(session_.user()) || administration.count(kind) == 0) return;
  throw HostError(kExitRefused,
                  fmt::format("{} may not {}: the right 'read' is missing on every task; 'meskctl grant read TASK --to "
                              "{}' by an administrator gives it",
                              userOf(session_), invocation.command, userOf(session_)));
}

std::string refusalText(const Invocation& invocation, const std::string& what) {
  return fmt::format("no right to {}{}: {}", invocation.command,
                     invocation.task.empty() ? "" : fmt::format(" '{}'", invocation.task), what);
}

int grantCommand(const Invocation& invocation) { return changeRights(invocation, true); }

int revokeCommand(const Invocation& invocation) { return changeRights(invocation, false); }

int whoamiCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  Administration administration(session);
  const std::string user = userOf(session);
  const bool known = contains(administration.users(), user);
  const bool superuser = administration.isSuperuser(user);
  const bool administrator = administration.isAdministrator(user);
  std::vector<std::string> groups;
  for (const std::string& group : administration.groups()) {
    if (contains(administration.members(group), user)) groups.push_back(group);
  }
  std::map<std::string, std::vector<std::string>> tasks;
  for (const TaskRight right : kRights) {
    for (const std::string& task : administration.tasksWith(right)) tasks[task].emplace_back(textOf(right));
  }
  if (invocation.json) {
    Json object{{"user", user},
                {"known", known},
                {"superuser", superuser},
                {"administrator", administrator},
                {"groups", groups}};
    Json array = Json::array();
    for (const auto& [task, rights] : tasks) array.push_back({{"task", task}, {"rights", rights}});
    object["tasks"] = array;
    printJson(object);
    return kExitOk;
  }
  std::string out = fmt::format("User:    {}{}\n", user, known ? "" : ", whom the store does not know");
  if (superuser || administrator) out += fmt::format("Is:      {}\n", rankText(superuser, administrator));
  if (!groups.empty()) out += fmt::format("Groups:  {}\n", joined(groups));
  if (tasks.empty()) out += "Tasks:   no right on any\n";
  print(out);
  if (tasks.empty()) return kExitOk;
  Table table({{"TASK"}, {"RIGHTS"}});
  for (const auto& [task, rights] : tasks) table.add({task, joined(rights)});
  print(table);
  return kExitOk;
}

int userAddCommand(const Invocation& invocation) {
  return administer(invocation, fmt::format("user {} is known", inCapitals(invocation.name)),
                    [&](Administration& administration) {
                      administration.createUser(invocation.name, invocation.superuser, invocation.administrator);
                    });
}

int userChangeCommand(const Invocation& invocation) {
  const std::string rank = rankText(invocation.superuser, invocation.administrator);
  return administer(invocation,
                    fmt::format("user {} is {}", inCapitals(invocation.name),
                                rank.empty() ? "neither superuser nor administrator" : rank),
                    [&](Administration& administration) {
                      administration.changeUser(invocation.name, invocation.superuser, invocation.administrator);
                    });
}

int userRemoveCommand(const Invocation& invocation) {
  return administer(invocation, fmt::format("user {} is removed", inCapitals(invocation.name)),
                    [&](Administration& administration) { administration.deleteUser(invocation.name); });
}

int userListCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Administration administration(store.session());
  Json array = Json::array();
  Table table({{"USER"}, {"IS"}});
  for (const std::string& name : administration.users()) {
    const bool superuser = administration.isSuperuser(name);
    const bool administrator = administration.isAdministrator(name);
    array.push_back({{"user", name}, {"superuser", superuser}, {"administrator", administrator}});
    table.add({name, rankText(superuser, administrator)});
  }
  if (invocation.json) {
    printJson(array);
  } else {
    print(table);
  }
  return kExitOk;
}

int groupAddCommand(const Invocation& invocation) {
  return administer(invocation, fmt::format("group {} is made", inCapitals(invocation.name)),
                    [&](Administration& administration) { administration.createGroup(invocation.name); });
}

int groupRemoveCommand(const Invocation& invocation) {
  return administer(invocation, fmt::format("group {} is removed", inCapitals(invocation.name)),
                    [&](Administration& administration) { administration.deleteGroup(invocation.name); });
}

int groupListCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Administration administration(store.session());
  Json array = Json::array();
  Table table({{"GROUP"}, {"MEMBERS"}});
  for (const std::string& name : administration.groups()) {
    const auto members = administration.members(name);
    array.push_back({{"group", name}, {"members", members}});
    table.add({name, joined(members)});
  }
  if (invocation.json) {
    printJson(array);
  } else if (array.empty()) {
    say(invocation, "There are no groups.");
  } else {
    print(table);
  }
  return kExitOk;
}

int groupJoinCommand(const Invocation& invocation) {
  return administer(
      invocation, fmt::format("user {} is in group {}", inCapitals(invocation.name), inCapitals(invocation.group)),
      [&](Administration& administration) { administration.addMember(invocation.group, invocation.name); });
}

int groupLeaveCommand(const Invocation& invocation) {
  return administer(
      invocation,
      fmt::format("user {} is no longer in group {}", inCapitals(invocation.name), inCapitals(invocation.group)),
      [&](Administration& administration) { administration.removeMember(invocation.group, invocation.name); });
}

}  // namespace mesk::host
