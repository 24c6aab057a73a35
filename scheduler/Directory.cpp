#include <scheduler/Directory.h>

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace mesk::host {
namespace {

std::set<std::string> setOf(const std::vector<std::string>& names) { return {names.begin(), names.end()}; }

bool holds(const std::vector<Reference>& references, const Reference& reference) {
  return std::find(references.begin(), references.end(), reference) != references.end();
}

/// The report on a definition that is new, or whose parts of these names differ.
Applied applied(const char* what, const std::string& name, bool isNew, const std::vector<std::string>& changes) {
  if (isNew) return {name, Applied::Kind::kCreated, {}, what};
  return {name, changes.empty() ? Applied::Kind::kUnchanged : Applied::Kind::kChanged, changes, what};
}

}  // namespace

const char* textOf(Applied::Kind kind) {
  switch (kind) {
    case Applied::Kind::kCreated:
      return "created";
    case Applied::Kind::kChanged:
      return "changed";
    case Applied::Kind::kUnchanged:
      break;
  }
  return "unchanged";
}

UserDefinition Directory::user(const std::string& name) {
  return {name, administration_.isSuperuser(name), administration_.isAdministrator(name)};
}

GroupDefinition Directory::group(const std::string& name) {
  GroupDefinition group{name, {}};
  for (const std::string& member : administration_.members(name)) group.members.emplace_back(member);
  return group;
}

ContactDefinition Directory::contact(const std::string& name) {
  return {name, administration_.contactAddress(name, Administration::AddressKind::kEmail).value_or(""),
          administration_.contactAddress(name, Administration::AddressKind::kPager).value_or("")};
}

GroupDefinition Directory::contactGroup(const std::string& name) {
  GroupDefinition group{name, {}};
  for (const std::string& member : administration_.contactsOf(name).value_or(std::vector<std::string>{})) {
    group.members.emplace_back(member);
  }
  return group;
}

std::vector<Applied> Directory::apply(const TaskFile& file) {
  std::vector<Applied> report;
  if (!file.users.empty()) {
    const auto users = setOf(administration_.users());
    for (const UserDefinition& wanted : file.users) {
      const std::string& name = wanted.name.name;
      std::vector<std::string> changes;
      if (!users.contains(name)) {
        administration_.createUser(name, wanted.superuser, wanted.admin);
      } else {
        const UserDefinition is = user(name);
        if (is.superuser != wanted.superuser) changes.emplace_back("superuser");
        if (is.admin != wanted.admin) changes.emplace_back("admin");
        if (!changes.empty()) administration_.changeUser(name, wanted.superuser, wanted.admin);
      }
      report.push_back(applied("user", name, !users.contains(name), changes));
    }
  }
  if (!file.groups.empty()) {
    const auto groups = setOf(administration_.groups());
    for (const GroupDefinition& wanted : file.groups) {
      const std::string& name = wanted.name.name;
      std::vector<std::string> changes;
      if (!groups.contains(name)) administration_.createGroup(name);
      const GroupDefinition is = group(name);
      for (const Reference& member : is.members) {
        if (holds(wanted.members, member)) continue;
        administration_.removeMember(name, member.name);
        changes = {"members"};
      }
      for (const Reference& member : wanted.members) {
        if (holds(is.members, member)) continue;
        administration_.addMember(name, member.name);
        changes = {"members"};
      }
      report.push_back(applied("group", name, !groups.contains(name), changes));
    }
  }
  if (!file.contacts.empty()) {
    const auto contacts = setOf(administration_.contacts());
    for (const ContactDefinition& wanted : file.contacts) {
      const std::string& name = wanted.name.name;
      std::vector<std::string> changes;
      if (contacts.contains(name)) {
        const ContactDefinition is = contact(name);
        if (is.email != wanted.email) changes.emplace_back("email");
        if (is.pager != wanted.pager) changes.emplace_back("pager");
      }
      if (!contacts.contains(name) || !changes.empty()) {
        administration_.putContact(name, wanted.email, wanted.pager);
      }
      report.push_back(applied("contact", name, !contacts.contains(name), changes));
    }
  }
  if (!file.contactGroups.empty()) {
    const auto groups = setOf(administration_.contactGroups());
    for (const GroupDefinition& wanted : file.contactGroups) {
      const std::string& name = wanted.name.name;
      const bool isNew = !groups.contains(name);
      const bool same = !isNew && contactGroup(name) == wanted;
      if (!same) administration_.putContactGroup(name, namesOf(wanted.members));
      report.push_back(applied("contact group", name, isNew,
                               same ? std::vector<std::string>{} : std::vector<std::string>{"members"}));
    }
  }
  return report;
}

}  // namespace mesk::host
