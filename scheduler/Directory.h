// Users, contacts, and groups of both, as task files define them, in the store.
#pragma once

#include <string>
#include <vector>

#include <scheduler/Administration.h>
#include <scheduler/Applied.h>
#include <scheduler/Session.h>
#include <scheduler/TaskFile.h>

namespace mesk::host {

/// Part of the session's transaction. What goes wrong is thrown as StoreError. One thread.
class Directory {
 public:
  explicit Directory(Session& session) : administration_(session) {}

  UserDefinition user(const std::string& name);
  GroupDefinition group(const std::string& name);
  ContactDefinition contact(const std::string& name);
  GroupDefinition contactGroup(const std::string& name);

  /// Makes those that the file names as it defines them; others stay. Answers a report for each, in the order of the
  /// file's parts.
  std::vector<Applied> apply(const TaskFile& file);

  Administration& administration() { return administration_; }

 private:
  Administration administration_;
};

}  // namespace mesk::host
