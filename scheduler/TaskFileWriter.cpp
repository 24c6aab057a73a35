// Writes task files.
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <set>

#include <scheduler/TaskFile.h>

namespace mesk::host {

namespace {

class Writer {
 public:
  std::string write(const TaskFile& file) {
    out_ << YAML::BeginMap;
    out_ << YAML::Key << "mesk" << YAML::Value << kTaskFileVersion;
    list("users", file.users, [this](const UserDefinition& user) { writeUser(user); });
    list("groups", file.groups, [this](const GroupDefinition& group) { writeGroup(group); });
    list("contacts", file.contacts, [this](const ContactDefinition& contact) { writeContact(contact); });
    list("contact-groups", file.contactGroups, [this](const GroupDefinition& group) { writeGroup(group); });
    list("schedules", file.schedules, [this](const ScheduleDefinition& schedule) { writeSchedule(schedule); });
    out_ << YAML::Key << "tasks" << YAML::Value << YAML::BeginSeq;
    for (const TaskDefinition& task : file.tasks) writeTask(task);
    out_ << YAML::EndSeq << YAML::EndMap;
    return std::string(out_.c_str()) + "\n";
  }

 private:
  // Quoted unless nothing in it could mean anything to YAML.
  void value(const std::string& text) {
    const auto isPlain = [](unsigned char c) {
      return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_' ||
             c == '.' || c == '/' || c == ' ';
    };
    const bool plain = !text.empty() && std::all_of(text.begin(), text.end(), isPlain) && text.front() != ' ' &&
                       text.back() != ' ' && text.front() != '-' && text.front() != '.';
    static const std::set<std::string> kWords{"null", "Null", "NULL", "true", "false", "yes", "no", "on", "off"};
    if (plain && !kWords.contains(text)) {
      out_ << text;
    } else {
      out_ << YAML::DoubleQuoted << text;
    }
  }

  void entry(const char* key, const std::string& text) {
    out_ << YAML::Key << key << YAML::Value;
    value(text);
  }

  void entryUnless(const char* key, const std::string& text, const std::string& usual) {
    if (text != usual) entry(key, text);
  }

  void flag(const char* key, bool is) { out_ << YAML::Key << key << YAML::Value << (is ? "true" : "false"); }

  // The elements under the key, unless there are none.
  template <class Element, class Write>
  void list(const char* key, const std::vector<Element>& elements, Write write) {
    if (elements.empty()) return;
    out_ << YAML::Key << key << YAML::Value << YAML::BeginSeq;
    for (const Element& element : elements) write(element);
    out_ << YAML::EndSeq;
  }

  void sequence(const std::vector<Reference>& names) {
    out_ << YAML::Flow << YAML::BeginSeq;
    for (const Reference& name : names) value(name.name);
    out_ << YAML::EndSeq;
  }

  void namesUnlessNone(const char* key, const std::vector<Reference>& list) {
    if (list.empty()) return;
    out_ << YAML::Key << key << YAML::Value;
    sequence(list);
  }

  // As it stands when YAML keeps every character of it so; quoted when not.
  void longText(const char* key, const std::string& text) {
    out_ << YAML::Key << key << YAML::Value;
    const bool asIs =
        text.size() > 1 && text.front() != '\n' && text.front() != ' ' && text.back() == '\n' &&
        text[text.size() - 2] != '\n' && text.find("\n \n") == std::string::npos &&
        std::all_of(text.begin(), text.end(), [](unsigned char c) { return c == '\n' || (c >= 0x20 && c < 0x7f); });
    if (asIs) {
      out_ << YAML::Literal << text.substr(0, text.size() - 1);  // the block itself ends the last line
    } else {
      out_ << YAML::DoubleQuoted << text;
    }
  }

  void writeUser(const UserDefinition& user) {
    out_ << YAML::BeginMap;
    entry("name", user.name.name);
    if (user.superuser) flag("superuser", true);
    if (user.admin) flag("admin", true);
    out_ << YAML::EndMap;
  }

  void writeGroup(const GroupDefinition& group) {
    out_ << YAML::BeginMap;
    entry("name", group.name.name);
    namesUnlessNone("members", group.members);
    out_ << YAML::EndMap;
  }

  void writeContact(const ContactDefinition& contact) {
    out_ << YAML::BeginMap;
    entry("name", contact.name.name);
    entryUnless("email", contact.email, "");
    entryUnless("pager", contact.pager, "");
    out_ << YAML::EndMap;
  }

  void writeSchedule(const ScheduleDefinition& schedule) {
    out_ << YAML::BeginMap;
    entry("name", schedule.name.name);
    entryUnless("description", schedule.description, "");
    writeRules("rules", schedule.rules);
    out_ << YAML::EndMap;
  }

  void writeTask(const TaskDefinition& task) {
    const TaskDefinition usual;
    out_ << YAML::BeginMap;
    entry("name", task.name);
    entryUnless("description", task.description, "");
    entry("type", textOf(task.type));
    entryUnless("category", task.category, "");
    entryUnless("owner", task.owner, "");
    entryUnless("run-as", task.runAs, "");
    entryUnless("directory", task.directory, "");
    entryUnless("processor", task.processor, usual.processor);
    if (task.type == kScriptTask) longText("script", task.script);
    writeSteps(task);
    if (task.options.warehouse) writeWarehouse(*task.options.warehouse, task.script);
    entryUnless("arguments", task.arguments, "");
    writeOptions(task.options);
    if (task.retryCount != 0 || task.retryIntervalSeconds != 0) {
      out_ << YAML::Key << "retry" << YAML::Value << YAML::Flow << YAML::BeginMap;
      entry("count", std::to_string(task.retryCount));
      entry("interval", durationText(task.retryIntervalSeconds));
      out_ << YAML::EndMap;
    }
    if (!task.success.empty()) {
      out_ << YAML::Key << "success" << YAML::Value << YAML::Flow << YAML::BeginSeq;
      for (const SuccessCode& code : task.success) value(textOf(code));
      out_ << YAML::EndSeq;
    }
    if (!task.enabled) flag("enabled", false);
    writeRules("schedule", task.schedule);
    namesUnlessNone("schedules", task.schedules);
    list("follow-ons", task.followOns, [this](const FollowOn& followOn) { writeFollowOn(followOn); });
    list("notifications", task.notifications,
         [this](const Notification& notification) { writeNotification(notification); });
    list("rights", task.rights, [this](const Right& right) { writeRight(right); });
    out_ << YAML::EndMap;
  }

  void writeSteps(const TaskDefinition& task) {
    if (task.type != kGroupTask) return;
    out_ << YAML::Key << "steps" << YAML::Value << YAML::BeginSeq;
    for (const std::vector<Reference>& stage : task.steps) {
      if (stage.size() == 1) {
        value(stage[0].name);
      } else {
        sequence(stage);
      }
    }
    out_ << YAML::EndSeq;
    if (!task.stopAtFailure) flag("stop-at-failure", false);
  }

  void writeWarehouse(const Warehouse& warehouse, const std::string& query) {
    const Warehouse usual;
    out_ << YAML::Key << "warehouse" << YAML::Value << YAML::BeginMap;
    entry("source", warehouse.source);
    entryUnless("source-user", warehouse.sourceUser, "");
    entryUnless("source-password-file", warehouse.sourcePasswordFile, "");
    longText("query", query);
    entry("target", warehouse.target);
    entryUnless("target-user", warehouse.targetUser, "");
    entryUnless("target-password-file", warehouse.targetPasswordFile, "");
    entry("table", warehouse.table);
    entryUnless("mode", textOf(warehouse.mode), textOf(usual.mode));
    if (warehouse.batch != usual.batch) entry("batch", std::to_string(warehouse.batch));
    if (warehouse.retries != usual.retries) entry("retries", std::to_string(warehouse.retries));
    if (warehouse.retryIntervalSeconds != usual.retryIntervalSeconds) {
      entry("retry-interval", durationText(warehouse.retryIntervalSeconds));
    }
    out_ << YAML::EndMap;
  }

  void writeFollowOn(const FollowOn& followOn) {
    out_ << YAML::BeginMap;
    entry("on", textOf(followOn.on));
    out_ << YAML::Key << textOf(followOn.action) << YAML::Value;
    sequence(followOn.tasks);
    out_ << YAML::EndMap;
  }

  void writeNotification(const Notification& notification) {
    out_ << YAML::BeginMap;
    entry("on", textOf(notification.on));
    entry("by", textOf(notification.by));
    namesUnlessNone("to", notification.to);
    namesUnlessNone("groups", notification.groups);
    entryUnless("subject", notification.subject, "");
    if (!notification.message.empty()) longText("message", notification.message);
    if (!notification.pagerMessage.empty()) longText("pager-message", notification.pagerMessage);
    out_ << YAML::EndMap;
  }

  void writeRight(const Right& right) {
    out_ << YAML::BeginMap;
    entry(right.isGroup ? "group" : "user", right.principal.name);
    out_ << YAML::Key << "may" << YAML::Value << YAML::Flow << YAML::BeginSeq;
    if (right.read) out_ << "read";
    if (right.update) out_ << "update";
    if (right.execute) out_ << "execute";
    out_ << YAML::EndSeq << YAML::EndMap;
  }

  void writeOptions(const RunOptions& options) {
    const RunOptions usual;
    if (!options.environment.empty()) {
      out_ << YAML::Key << "environment" << YAML::Value << YAML::BeginMap;
      for (const auto& [name, text] : options.environment) {
        out_ << YAML::Key << name << YAML::Value << YAML::DoubleQuoted << text;
      }
      out_ << YAML::EndMap;
    }
    if (options.timeoutSeconds != usual.timeoutSeconds) entry("timeout", durationText(options.timeoutSeconds));
    if (options.outputLimit != usual.outputLimit) entry("output-limit", sizeText(options.outputLimit));
    if (options.missed != usual.missed) entry("missed", textOf(options.missed));
    if (options.interrupted != usual.interrupted) entry("interrupted", textOf(options.interrupted));
    if (options.overlap != usual.overlap) entry("overlap", textOf(options.overlap));
  }

  void writeRules(const char* key, const std::vector<ScheduleRule>& rules) {
    out_ << YAML::Key << key << YAML::Value;
    if (rules.empty()) out_ << YAML::Flow;
    out_ << YAML::BeginSeq;
    for (const ScheduleRule& rule : rules) writeRule(rule);
    out_ << YAML::EndSeq;
  }

  void writeRule(const ScheduleRule& rule) {
    out_ << YAML::BeginMap;
    if (rule.recurring == 0) {
      entry("once", startText(rule));
    } else {
      entry("every", intervalText(rule));
      entryUnless("on", onText(rule), "");
      entry("start", startText(rule));
      entryUnless("end", endText(rule), "");
      if (isAfterEnd(rule)) entry("after", "end");
    }
    out_ << YAML::EndMap;
  }

  YAML::Emitter out_;
};

}  // namespace

std::string writeTaskFile(const TaskFile& file) { return Writer().write(file); }

}  // namespace mesk::host
