#include <scheduler/Administration.h>

#include <fmt/format.h>

#include <mesk/bridge/PARLException.h>

namespace mesk::host {

const char* textOf(TaskRight right) {
  switch (right) {
    case TaskRight::kRead:
      return "read";
    case TaskRight::kUpdate:
      return "update";
    default:
      return "execute";
  }
}

Administration::Administration(Session& session)
    : session_(session), class_(session, "com/orvik/kelvo/mesk/admin/Administration") {}

std::string Administration::nameOf(const MDObject& principal) {
  ThreadContext& ctx = session_.ctx();
  const jmethodID getName = ctx.env->GetMethodID(principal.objectClass, "getName", "()Ljava/lang/String;");
  session_.check(getName == nullptr ? kUnreached : 0, 0, "reading the name of a user or group");
  return text(
      MDObject::jStringToString(ctx, static_cast<jstring>(ctx.env->CallObjectMethod(principal.object, getName))));
}

void Administration::createUser(const std::string& name, bool superuser, bool admin) {
  class_.call(fmt::format("adding user '{}'", name), "createUser", name, superuser, admin);
}

void Administration::changeUser(const std::string& name, bool superuser, bool admin) {
  class_.call(fmt::format("changing user '{}'", name), "changeUser", name, superuser, admin);
}

void Administration::deleteUser(const std::string& name) {
  class_.call(fmt::format("removing user '{}'", name), "deleteUser", name);
}

std::vector<std::string> Administration::users() { return names("listing the users", "listUsers"); }

void Administration::createGroup(const std::string& name) {
  class_.call(fmt::format("adding group '{}'", name), "createGroup", name);
}

void Administration::deleteGroup(const std::string& name) {
  class_.call(fmt::format("removing group '{}'", name), "deleteGroup", name);
}

std::vector<std::string> Administration::groups() { return names("listing the groups", "listGroups"); }

void Administration::addMember(const std::string& group, const std::string& user) {
  class_.call(fmt::format("adding '{}' to group '{}'", user, group), "addMember", group, user);
}

void Administration::removeMember(const std::string& group, const std::string& user) {
  class_.call(fmt::format("removing '{}' from group '{}'", user, group), "removeMember", group, user);
}

std::vector<std::string> Administration::members(const std::string& group) {
  std::vector<std::string> result;
  class_.attempt("listMembers", &result, group);
  class_.check(fmt::format("listing the members of group '{}'", group), kStoreNothing);
  return result;
}

bool Administration::isSuperuser(const std::string& user) { return ask(user, &MDUser::isSuperuser); }

bool Administration::isAdministrator(const std::string& user) { return ask(user, &MDUser::isAdmin); }

bool Administration::ask(const std::string& user, int (MDUser::*question)(ThreadContext&, jobject, int&, int&)) {
  int rc = 0;
  int sqlCode = 0;
  MDUser record(session_.ctx(), user.c_str());
  const int answer = (record.*question)(session_.ctx(), session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, fmt::format("looking up user '{}'", user));
  return answer != 0;
}

std::vector<std::string> Administration::tasksWith(TaskRight right) {
  std::vector<std::string> result;
  class_.attempt("listTasksWith", &result, static_cast<int>(right));
  class_.check("listing the tasks with a right", kStoreNothing);
  return result;
}

std::optional<long long> Administration::taskID(const std::string& name) {
  long long id = 0;
  class_.attempt("taskID", &id, name);
  if (!class_.check(fmt::format("looking up task '{}'", name), kStoreNotFound)) return std::nullopt;
  return id;
}

std::optional<std::string> Administration::taskOfRun(long long run) {
  std::string name;
  class_.attempt("taskOfRun", &name, run);
  if (!class_.check(fmt::format("looking up run {}", run), kStoreNotFound)) return std::nullopt;
  return name;
}

int Administration::count(Counted kind) {
  return class_.call<int>("counting what there is", "count", static_cast<int>(kind));
}

void Administration::putContact(const std::string& name, const std::string& email, const std::string& pager) {
  class_.call(fmt::format("defining contact '{}'", name), "putContact", name, email, pager);
}

void Administration::removeContact(const std::string& name) {
  class_.call(fmt::format("removing contact '{}'", name), "removeContact", name);
}

std::vector<std::string> Administration::contacts() { return names("listing the contacts", "listContacts"); }

std::optional<std::string> Administration::contactAddress(const std::string& name, AddressKind kind) {
  std::string address;
  class_.attempt("contactAddress", &address, name, static_cast<int>(kind));
  if (!class_.check(fmt::format("reading contact '{}'", name), kStoreNotFound)) return std::nullopt;
  return address;
}

void Administration::putContactGroup(const std::string& name, const std::vector<std::string>& members) {
  class_.call(fmt::format("defining contact group '{}'", name), "putContactGroup", name, members);
}

void Administration::removeContactGroup(const std::string& name) {
  class_.call(fmt::format("removing contact group '{}'", name), "removeContactGroup", name);
}

std::vector<std::string> Administration::contactGroups() {
  return names("listing the contact groups", "listContactGroups");
}

std::optional<std::vector<std::string>> Administration::contactsOf(const std::string& group) {
  std::vector<std::string> result;
  if (class_.attempt("contactsOf", &result, group) == kStoreNothing) return result;
  if (!class_.check(fmt::format("reading contact group '{}'", group), kStoreNotFound)) return std::nullopt;
  return result;
}

void Administration::setGroupMembers(const TaskKey& task, const std::vector<TaskKey>& members) {
  std::vector<long long> ids;
  std::vector<int> suffixes;
  for (const TaskKey& member : members) {
    ids.push_back(member.id);
    suffixes.push_back(member.suffix);
  }
  class_.call(fmt::format("setting the steps of task {}", task.id), "setGroupMembers", task.id, task.suffix, ids,
              suffixes);
}

void Administration::setSuccessCodes(const TaskKey& task, const std::vector<SuccessCode>& codes) {
  std::vector<int> numbers;
  std::vector<std::string> conditions;
  for (const SuccessCode& code : codes) {
    numbers.push_back(code.code);
    conditions.emplace_back(1, code.condition);
  }
  class_.call(fmt::format("setting the success codes of task {}", task.id), "setSuccessCodes", task.id, task.suffix,
              numbers, conditions);
}

void Administration::setContacts(long long notificationActionID, const std::vector<std::string>& contacts,
                                 const std::vector<std::string>& groups) {
  class_.call("setting whom a notification goes to", "setContacts", notificationActionID, contacts, groups);
}

void Administration::addSharedSchedule(const TaskKey& task, long long scheduleID) {
  class_.call(fmt::format("adding a shared schedule to task {}", task.id), "addSharedSchedule", task.id, task.suffix,
              scheduleID);
}

void Administration::removeSharedSchedule(const TaskKey& task, long long scheduleID) {
  class_.call(fmt::format("removing a shared schedule from task {}", task.id), "removeSharedSchedule", task.id,
              task.suffix, scheduleID);
}

void Administration::addScheduleRule(long long scheduleID, long long ruleID) {
  class_.call("adding a rule to a shared schedule", "addScheduleRule", scheduleID, ruleID);
}

void Administration::removeScheduleRule(long long scheduleID, long long ruleID) {
  class_.call("removing a rule from a shared schedule", "removeScheduleRule", scheduleID, ruleID);
}

std::vector<std::unique_ptr<MDTaskHistory>> Administration::steps(long long run) {
  jobject list = nullptr;
  class_.attemptObject("listSteps", "java/util/ArrayList", list, run);
  class_.check(fmt::format("listing the steps of run {}", run), kStoreNothing);
  std::vector<std::unique_ptr<MDTaskHistory>> records;
  class_.each(list, [&](jobject element) { records.push_back(wrapped<MDTaskHistory>(session_.ctx(), element)); });
  session_.ctx().env->DeleteLocalRef(list);
  return records;
}

void Administration::recordFollowOn(long long run, long long followOnActionID, const TaskKey& task,
                                    long long taskExecID) {
  class_.call(fmt::format("recording what followed run {}", run), "recordFollowOn", run, followOnActionID, task.id,
              task.suffix, taskExecID);
}

std::vector<std::string> Administration::names(const std::string& what, const char* method) {
  std::vector<std::string> result;
  class_.attempt(method, &result);
  class_.check(what, kStoreNothing);
  return result;
}

}  // namespace mesk::host
