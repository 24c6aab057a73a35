// What the store knows and no record of libmesk expresses: users, groups, contacts, members, success codes.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <mesk/bridge/MDObject.h>
#include <mesk/history/MDTaskHistory.h>
#include <mesk/session/MDUser.h>
#include <scheduler/Session.h>
#include <scheduler/StoreClass.h>
#include <scheduler/SuccessCode.h>

namespace mesk::host {

/// A task by its key.
struct TaskKey {
  long long id = 0;
  int suffix = 0;

  auto operator<=>(const TaskKey&) const = default;  // NOLINT(modernize-use-nullptr): no pointer is compared
};

/// What one may do with a task, and with what belongs to it.
enum class TaskRight : int { kRead = 0, kUpdate = 1, kExecute = 2 };

inline constexpr std::array kRights{TaskRight::kRead, TaskRight::kUpdate, TaskRight::kExecute};

/// "read", "update", "execute"
const char* textOf(TaskRight right);

/// The store's Administration on a session. Each operation is part of the session's transaction; what fails is thrown
/// as StoreError, with what the store says of it. One thread.
class Administration {
 public:
  enum class AddressKind : int { kEmail = 1, kPager = 2 };
  enum class Counted : int { kTasks = 1, kExecutions = 2, kRuns = 3 };

  explicit Administration(Session& session);

  /// Of a user or a group that libmesk lists, whose name is not on its surface.
  std::string nameOf(const MDObject& principal);

  // Users and groups. Names are kept in capitals.
  void createUser(const std::string& name, bool superuser, bool admin);
  void changeUser(const std::string& name, bool superuser, bool admin);
  void deleteUser(const std::string& name);
  std::vector<std::string> users();
  void createGroup(const std::string& name);
  void deleteGroup(const std::string& name);
  std::vector<std::string> groups();
  void addMember(const std::string& group, const std::string& user);
  void removeMember(const std::string& group, const std::string& user);
  std::vector<std::string> members(const std::string& group);

  bool isSuperuser(const std::string& user);
  bool isAdministrator(const std::string& user);

  /// The names of the tasks that the session's user has the right on, in order.
  std::vector<std::string> tasksWith(TaskRight right);

  // For whoever asks, whatever he may read: the task with suffix 0 of a name, and the name of the task that ran;
  // nothing when there is no such task or run. How many records of a kind there are.
  std::optional<long long> taskID(const std::string& name);
  std::optional<std::string> taskOfRun(long long run);
  int count(Counted kind);

  // Contacts and groups of them. An empty address is none.
  void putContact(const std::string& name, const std::string& email, const std::string& pager);
  void removeContact(const std::string& name);
  std::vector<std::string> contacts();
  /// Empty when the contact has no such address; nothing when there is no such contact.
  std::optional<std::string> contactAddress(const std::string& name, AddressKind kind);
  void putContactGroup(const std::string& name, const std::vector<std::string>& members);
  void removeContactGroup(const std::string& name);
  std::vector<std::string> contactGroups();
  /// Nothing when there is no such group.
  std::optional<std::vector<std::string>> contactsOf(const std::string& group);

  // Parts of a task, of an action, of a shared schedule; 'set' replaces what was there.
  void setGroupMembers(const TaskKey& task, const std::vector<TaskKey>& members);
  void setSuccessCodes(const TaskKey& task, const std::vector<SuccessCode>& codes);
  void setContacts(long long notificationActionID, const std::vector<std::string>& contacts,
                   const std::vector<std::string>& groups);
  void addSharedSchedule(const TaskKey& task, long long scheduleID);
  void removeSharedSchedule(const TaskKey& task, long long scheduleID);
  void addScheduleRule(long long scheduleID, long long ruleID);
  void removeScheduleRule(long long scheduleID, long long ruleID);

  /// The records of the steps of a group's run, in the order of their keys: of those alone that are directly its own.
  std::vector<std::unique_ptr<MDTaskHistory>> steps(long long run);

  /// Says that an action fired on a task at the end of a run; that it did so already is a failure. `taskExecID` is
  /// the execution that it queued, -1 for none.
  void recordFollowOn(long long run, long long followOnActionID, const TaskKey& task, long long taskExecID);

 private:
  bool ask(const std::string& user, int (MDUser::*question)(ThreadContext&, jobject, int&, int&));
  std::vector<std::string> names(const std::string& what, const char* method);

  Session& session_;
  StoreClass class_;
};

}  // namespace mesk::host
