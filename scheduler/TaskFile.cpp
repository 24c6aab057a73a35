#include <scheduler/TaskFile.h>

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <set>
#include <sstream>
#include <system_error>
#include <tuple>
#include <utility>

#include <scheduler/Files.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Utf8.h>

namespace mesk::host {

namespace {

constexpr std::size_t kLongName = 128;  // characters
constexpr std::size_t kLongText = 4096;
constexpr std::size_t kLongSubject = 200;
constexpr std::size_t kLongMessage = 65536;
constexpr std::size_t kLongContact = 127;  // bytes
constexpr std::size_t kLongAddress = 254;  // bytes
constexpr std::size_t kMostMembers = 1000;
constexpr std::uintmax_t kLongScript = 1 << 20;  // bytes
constexpr int kMostRetries = 1000;

// The keys of each mapping, in the order in which they are listed and written.
const std::vector<std::string> kFileKeys{"mesk", "users", "groups", "contacts", "contact-groups", "schedules", "tasks"};
const std::vector<std::string> kUserKeys{"name", "superuser", "admin"};
const std::vector<std::string> kGroupKeys{"name", "members"};
const std::vector<std::string> kContactKeys{"name", "email", "pager"};
const std::vector<std::string> kScheduleKeys{"name", "description", "rules"};
const std::vector<std::string> kTaskKeys{
    "name",      "description",  "type",        "category",        "owner",      "run-as",        "directory",
    "processor", "script",       "script-file", "steps",           "warehouse",  "arguments",     "environment",
    "timeout",   "output-limit", "retry",       "stop-at-failure", "success",    "missed",        "interrupted",
    "overlap",   "enabled",      "schedule",    "schedules",       "follow-ons", "notifications", "rights"};
const std::vector<std::string> kRetryKeys{"count", "interval"};
const std::vector<std::string> kWarehouseKeys{"source", "source-user", "source-password-file", "query", "query-file",
                                              "target", "target-user", "target-password-file", "table", "mode",
                                              "batch",  "retries",     "retry-interval"};
const std::vector<std::string> kRuleKeys{"every", "once", "on", "start", "end", "after"};
const std::vector<std::string> kFollowOnKeys{"on", "run", "enable", "disable"};
const std::vector<std::string> kNotificationKeys{"on", "by", "to", "groups", "subject", "message", "pager-message"};
const std::vector<std::string> kRightKeys{"user", "group", "may"};

// Those that go with one type of task only, or with two of the three.
struct TypeOfKey {
  const char* key;
  bool script;
  bool group;
  bool warehouse;
};
constexpr TypeOfKey kTypesOfKeys[] = {
    {"run-as", true, false, true},           {"directory", true, false, false},   {"processor", true, false, false},
    {"script", true, false, false},          {"script-file", true, false, false}, {"steps", false, true, false},
    {"warehouse", false, false, true},       {"arguments", true, false, false},   {"environment", true, false, true},
    {"timeout", true, false, true},          {"output-limit", true, false, true}, {"retry", true, false, true},
    {"stop-at-failure", false, true, false}, {"success", true, false, true},      {"interrupted", true, false, true}};

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// Notes where the content of a document begins.
class Beginning : public YAML::EventHandler {
 public:
  void OnDocumentStart(const YAML::Mark&) override { line = 0; }
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark& mark, YAML::anchor_t) override { note(mark); }
  void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override { note(mark); }
  void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t, const std::string&) override { note(mark); }
  void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {
    note(mark);
  }
  void OnSequenceEnd() override {}
  void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t, YAML::EmitterStyle::value) override {
    note(mark);
  }
  void OnMapEnd() override {}

  int line = 0;

 private:
  void note(const YAML::Mark& mark) {
    if (line == 0) line = std::max(mark.line + 1, 1);
  }
};

// Where the content of the second document begins, or 0 when there is none. The parser is not asked for more: with a
// text that is not YAML, such as ",8", it can find another document at the same place for ever.
int lineOfSecondDocument(const std::string& text) {
  std::istringstream stream(text);
  YAML::Parser parser(stream);
  Beginning beginning;
  const bool second = parser.HandleNextDocument(beginning) && parser.HandleNextDocument(beginning);
  return second ? std::max(beginning.line, 1) : 0;
}

// Reads one file into tasks and gathers what is wrong.
class Reader {
 public:
  explicit Reader(const std::string& name) : name_(name) { file_.path = name; }

  TaskFileResult read(const std::string& text) {
    if (const std::size_t bad = findBadUtf8(text); bad != std::string::npos) {
      const auto linesBefore = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(bad), '\n');
      refuse(static_cast<int>(linesBefore) + 1, "the text is not UTF-8");
      return result();
    }
    try {
      const YAML::Node document = YAML::Load(text);
      if (const int line = lineOfSecondDocument(text); line != 0) {
        refuse(line, "a task file is one document");
      } else {
        readFileNode(document);
      }
    } catch (const YAML::Exception& malformed) {
      // It may end with one byte of the character that it complains about.
      refuse(std::max(malformed.mark.line + 1, 1),
             "this is not YAML: " + malformed.msg.substr(0, findBadUtf8(malformed.msg)));
    }
    return result();
  }

 private:
  using Entries = std::map<std::string, YAML::Node>;

  static int lineOf(const YAML::Node& node) { return std::max(node.Mark().line + 1, 1); }

  void refuse(int line, const std::string& what) { errors_.emplace_back(line, what); }

  // Reads one value; what it refuses gets the value's line and the name of its key.
  void reading(const YAML::Node& node, const std::string& key, const std::function<void()>& read) {
    try {
      read();
    } catch (const FormatError& refused) {
      refuse(lineOf(node), "'" + key + "': " + refused.what());
    }
  }

  TaskFileResult result() {
    std::stable_sort(errors_.begin(), errors_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    TaskFileResult result;
    result.path = name_;
    for (const auto& [line, what] : errors_) {
      if (result.errors.size() == kTaskFileErrors) break;
      result.errors.push_back(name_ + ":" + std::to_string(line) + ": " + what);
    }
    if (errors_.empty()) static_cast<TaskFile&>(result) = std::move(file_);
    return result;
  }

  // The entries of a mapping, after refusing what is no mapping, unknown keys and keys that come twice.
  // `keys` empty allows any.
  Entries entriesOf(const YAML::Node& node, const std::string& what, const std::vector<std::string>& keys) {
    Entries entries;
    if (!node.IsMap()) {
      refuse(lineOf(node), "expected " + what + (keys.empty() ? "" : " with keys of: " + joined(keys)));
      return entries;
    }
    for (const auto& entry : node) {
      if (!entry.first.IsScalar()) {
        refuse(lineOf(entry.first), "expected a word as key of " + what);
        continue;
      }
      const std::string& key = entry.first.Scalar();
      if (!keys.empty() && std::find(keys.begin(), keys.end(), key) == keys.end()) {
        refuse(lineOf(entry.first), "'" + key + "' is no key of " + what + "; expected one of: " + joined(keys));
      } else if (!entries.emplace(key, entry.second).second) {
        refuse(lineOf(entry.first), "'" + key + "' stands twice in " + what);
      }
    }
    return entries;
  }

  static std::string scalar(const YAML::Node& node) {
    if (!node.IsScalar()) throw FormatError("expected a text");
    return node.Scalar();
  }

  static std::string text(const YAML::Node& node, std::size_t most) {
    std::string value = scalar(node);
    if (value.find('\0') != std::string::npos) throw FormatError("a text cannot hold the character U+0000");
    if (countCharacters(value) > most) {
      throw FormatError("expected at most " + std::to_string(most) + " characters");
    }
    return value;
  }

  static std::string lineOfText(const YAML::Node& node, std::size_t most) {
    std::string value = text(node, most);
    if (std::any_of(value.begin(), value.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; })) {
      throw FormatError("expected one line without control characters");
    }
    return value;
  }

  // Calls `read` with the value of `key` when there is one.
  void with(const Entries& entries, const char* key, const std::function<void(const YAML::Node&)>& read) {
    const auto found = entries.find(key);
    if (found != entries.end()) reading(found->second, key, [&] { read(found->second); });
  }

  // Calls `read` with each element of a list, after refusing what is none. `what` are the elements.
  void each(const Entries& entries, const char* key, const std::string& what,
            const std::function<void(const YAML::Node&)>& read) {
    with(entries, key, [&](const YAML::Node& list) {
      if (!list.IsSequence()) throw FormatError("expected a list of " + what);
      for (const YAML::Node& element : list) reading(element, key, [&] { read(element); });
    });
  }

  static bool flag(const YAML::Node& node) {
    const std::string word = node.IsScalar() ? node.Scalar() : "";
    if (word != "true" && word != "false") throw FormatError("expected true or false");
    return word == "true";
  }

  template <class Choice>
  static Choice choice(const YAML::Node& node, std::initializer_list<Choice> all) {
    const std::string word = node.IsScalar() ? node.Scalar() : "";
    std::string words;
    for (const Choice one : all) {
      if (word == textOf(one)) return one;
      words += (words.empty() ? "" : ", ") + std::string(textOf(one));
    }
    throw FormatError("expected one of: " + words);
  }

  static std::string path(const YAML::Node& node) {
    std::string value = lineOfText(node, kLongText);
    if (!value.starts_with('/')) throw FormatError("expected a path that begins with /");
    return value;
  }

  static std::string nameText(const YAML::Node& node, std::size_t most = kLongName) {
    std::string value = lineOfText(node, most);
    if (value.empty()) throw FormatError("expected 1 to " + std::to_string(most) + " characters");
    return value;
  }

  static std::string principal(const YAML::Node& node) { return inCapitals(nameText(node)); }

  static std::string contactName(const YAML::Node& node) {
    std::string value = lineOfText(node, kLongName);
    if (value.empty() || value.size() > kLongContact) {
      throw FormatError("expected 1 to " + std::to_string(kLongContact) + " bytes");
    }
    return value;
  }

  static std::string newContactName(const YAML::Node& node) {
    std::string value = contactName(node);
    if (isAddress(value)) throw FormatError("expected a name without @, which would be an address");
    return value;
  }

  // A contact's name, or an address.
  static std::string toldName(const YAML::Node& node) {
    const bool isName = node.IsScalar() && !isAddress(node.Scalar());
    return isName ? contactName(node) : address(node);
  }

  // What the store takes as an address.
  static std::string address(const YAML::Node& node) {
    std::string value = lineOfText(node, kLongText);
    const std::size_t at = value.rfind('@');
    if (at == std::string::npos || at == 0 || at + 1 == value.size() || value.size() > kLongAddress ||
        value.find_first_of(" <>(),;:\"\\") != std::string::npos) {
      throw FormatError("expected an address such as ann@example.org");
    }
    return value;
  }

  // The name of a thing, one of `what`, that no other of these has.
  void readName(const YAML::Node& node, const Entries& entries, const std::string& what, Reference& name,
                std::string (*parse)(const YAML::Node&)) {
    if (!entries.contains("name")) refuse(lineOf(node), "a " + what + " needs a 'name'");
    with(entries, "name", [&](const YAML::Node& value) {
      name = {parse(value), lineOf(value)};
      const auto [first, isNew] = lines_[what].emplace(name.name, name.line);
      if (!isNew) {
        throw FormatError("a " + what + " '" + name.name + "' stands already in line " + std::to_string(first->second));
      }
    });
  }

  // A name, or a list of names, each of them once.
  void readNames(const Entries& entries, const char* key, std::vector<Reference>& names,
                 std::string (*parse)(const YAML::Node&)) {
    const auto readOne = [&](const YAML::Node& value) {
      Reference name(parse(value), lineOf(value));
      if (std::find(names.begin(), names.end(), name) != names.end()) {
        throw FormatError("'" + name.name + "' stands twice");
      }
      names.push_back(std::move(name));
    };
    with(entries, key, [&](const YAML::Node& value) {
      if (value.IsScalar()) return readOne(value);
      if (!value.IsSequence()) throw FormatError("expected a name or a list of names");
      for (const YAML::Node& name : value) reading(name, key, [&] { readOne(name); });
    });
  }

  void readFileNode(const YAML::Node& node) {
    const Entries entries = entriesOf(node, "a task file", kFileKeys);
    if (!node.IsMap()) return;
    if (!entries.contains("mesk")) refuse(lineOf(node), "expected 'mesk: 1', the version of the format");
    with(entries, "mesk",
         [](const YAML::Node& value) { numberFromText(scalar(value), kTaskFileVersion, kTaskFileVersion); });
    each(entries, "users", "users", [this](const YAML::Node& user) { readUser(user); });
    each(entries, "groups", "groups of users",
         [this](const YAML::Node& group) { readGroup(group, "group", file_.groups, principal, principal); });
    each(entries, "contacts", "contacts", [this](const YAML::Node& contact) { readContact(contact); });
    each(entries, "contact-groups", "groups of contacts", [this](const YAML::Node& group) {
      readGroup(group, "contact group", file_.contactGroups, newContactName, toldName);
    });
    each(entries, "schedules", "shared schedules", [this](const YAML::Node& schedule) { readSchedule(schedule); });
    if (!entries.contains("tasks")) refuse(lineOf(node), "expected 'tasks', a list of tasks");
    each(entries, "tasks", "tasks", [this](const YAML::Node& task) { readTask(task); });
  }

  void readUser(const YAML::Node& node) {
    const Entries entries = entriesOf(node, "a user", kUserKeys);
    if (!node.IsMap()) return;
    UserDefinition user;
    readName(node, entries, "user", user.name, principal);
    with(entries, "superuser", [&](const YAML::Node& value) { user.superuser = flag(value); });
    with(entries, "admin", [&](const YAML::Node& value) { user.admin = flag(value); });
    file_.users.push_back(std::move(user));
  }

  void readGroup(const YAML::Node& node, const std::string& what, std::vector<GroupDefinition>& groups,
                 std::string (*parse)(const YAML::Node&), std::string (*parseMember)(const YAML::Node&)) {
    const Entries entries = entriesOf(node, "a " + what, kGroupKeys);
    if (!node.IsMap()) return;
    GroupDefinition group;
    readName(node, entries, what, group.name, parse);
    readNames(entries, "members", group.members, parseMember);
    groups.push_back(std::move(group));
  }

  void readContact(const YAML::Node& node) {
    const Entries entries = entriesOf(node, "a contact", kContactKeys);
    if (!node.IsMap()) return;
    ContactDefinition definition;
    readName(node, entries, "contact", definition.name, newContactName);
    with(entries, "email", [&](const YAML::Node& value) { definition.email = address(value); });
    with(entries, "pager", [&](const YAML::Node& value) { definition.pager = address(value); });
    file_.contacts.push_back(std::move(definition));
  }

  void readSchedule(const YAML::Node& node) {
    const Entries entries = entriesOf(node, "a shared schedule", kScheduleKeys);
    if (!node.IsMap()) return;
    ScheduleDefinition schedule;
    readName(node, entries, "shared schedule", schedule.name, taskName);
    with(entries, "description", [&](const YAML::Node& value) { schedule.description = text(value, kLongText); });
    if (!entries.contains("rules")) refuse(lineOf(node), "a shared schedule needs 'rules'");
    readRules(entries, "rules", schedule.rules);
    file_.schedules.push_back(std::move(schedule));
  }

  static std::string taskName(const YAML::Node& node) { return nameText(node); }

  void readTask(const YAML::Node& node) {
    const Entries entries = entriesOf(node, "a task", kTaskKeys);
    if (!node.IsMap()) return;
    TaskDefinition task;
    task.line = lineOf(node);
    Reference name;
    readName(node, entries, "task", name, taskName);
    task.name = name.name;
    with(entries, "description", [&](const YAML::Node& value) { task.description = text(value, kLongText); });
    with(entries, "type", [&](const YAML::Node& value) {
      task.type = choice(value, {kScriptTask, kGroupTask, kWarehouseTask});
    });
    checkKeys(entries, task.type);
    const std::initializer_list<std::pair<const char*, std::string*>> names{
        {"category", &task.category}, {"owner", &task.owner}, {"run-as", &task.runAs}};
    for (const auto& [key, target] : names) {
      with(entries, key, [&, to = target](const YAML::Node& value) { *to = lineOfText(value, kLongName); });
    }
    with(entries, "directory", [&](const YAML::Node& value) { task.directory = path(value); });
    with(entries, "processor", [&](const YAML::Node& value) {
      task.processor = lineOfText(value, kLongText);
      if (task.processor.empty()) throw FormatError("expected a program");
    });
    readWork(node, entries, task);
    with(entries, "arguments", [&](const YAML::Node& value) {
      task.arguments = text(value, kLongText);
      try {
        shellWords(task.arguments);
      } catch (const ShellWordsError& refused) {
        throw FormatError(refused.what());
      }
    });
    readOptions(entries, task.options);
    with(entries, "retry", [&](const YAML::Node& value) { readRetry(value, task); });
    with(entries, "stop-at-failure", [&](const YAML::Node& value) { task.stopAtFailure = flag(value); });
    readSuccess(entries, task.success);
    with(entries, "enabled", [&](const YAML::Node& value) { task.enabled = flag(value); });
    readRules(entries, "schedule", task.schedule);
    readNames(entries, "schedules", task.schedules, taskName);
    each(entries, "follow-ons", "follow-ons",
         [&](const YAML::Node& followOn) { readFollowOn(followOn, task.followOns); });
    each(entries, "notifications", "notifications",
         [&](const YAML::Node& notification) { readNotification(notification, task.notifications); });
    each(entries, "rights", "rights", [&](const YAML::Node& right) { readRight(right, task.rights); });
    file_.tasks.push_back(std::move(task));
  }

  void checkKeys(const Entries& entries, TaskType type) {
    for (const TypeOfKey& known : kTypesOfKeys) {
      const auto found = entries.find(known.key);
      if (found == entries.end()) continue;
      const bool fits = (type == kScriptTask && known.script) || (type == kGroupTask && known.group) ||
                        (type == kWarehouseTask && known.warehouse);
      if (!fits) {
        refuse(lineOf(found->second), "'" + found->first + "' does not go with 'type: " + textOf(type) + "'");
      }
    }
  }

  // What the task runs.
  void readWork(const YAML::Node& node, const Entries& entries, TaskDefinition& task) {
    switch (task.type) {
      case kScriptTask:
        readText(node, entries, "a task", "script", "script-file", task.script);
        break;
      case kGroupTask:
        if (!entries.contains("steps")) refuse(lineOf(node), "a group needs 'steps'");
        readSteps(entries, task.steps);
        break;
      case kWarehouseTask:
        if (!entries.contains("warehouse")) refuse(lineOf(node), "a warehouse task needs a 'warehouse'");
        with(entries, "warehouse", [&](const YAML::Node& value) { readWarehouse(value, task); });
        break;
    }
  }

  // Stage by stage: a task, or a list of tasks that run together.
  void readSteps(const Entries& entries, std::vector<std::vector<Reference>>& steps) {
    std::set<std::string> known;
    const auto readStep = [&](const YAML::Node& value, std::vector<Reference>& stage) {
      Reference step(nameText(value), lineOf(value));
      if (!known.insert(step.name).second) throw FormatError("'" + step.name + "' stands twice");
      if (known.size() > kMostMembers) {
        throw FormatError("expected at most " + std::to_string(kMostMembers) + " steps");
      }
      stage.push_back(std::move(step));
    };
    each(entries, "steps", "tasks, or of lists of tasks that run together", [&](const YAML::Node& value) {
      std::vector<Reference> stage;
      if (!value.IsSequence()) {
        readStep(value, stage);
      } else {
        for (const YAML::Node& step : value) reading(step, "steps", [&] { readStep(step, stage); });
        if (value.size() == 0) throw FormatError("expected tasks that run together");
      }
      steps.push_back(std::move(stage));
    });
    with(entries, "steps", [](const YAML::Node& value) {
      if (value.IsSequence() && value.size() == 0) throw FormatError("expected at least one step");
    });
  }

  void readWarehouse(const YAML::Node& node, TaskDefinition& task) {
    const Entries entries = entriesOf(node, "a warehouse", kWarehouseKeys);
    if (!node.IsMap()) return;
    Warehouse& warehouse = task.options.warehouse.emplace();
    for (const char* needed : {"source", "target", "table"}) {
      if (!entries.contains(needed)) refuse(lineOf(node), "a warehouse needs a '" + std::string(needed) + "'");
    }
    with(entries, "source", [&](const YAML::Node& value) { warehouse.source = databaseUrl(value); });
    with(entries, "target", [&](const YAML::Node& value) { warehouse.target = databaseUrl(value); });
    with(entries, "source-user", [&](const YAML::Node& value) { warehouse.sourceUser = nameText(value); });
    with(entries, "target-user", [&](const YAML::Node& value) { warehouse.targetUser = nameText(value); });
    with(entries, "source-password-file", [&](const YAML::Node& value) { warehouse.sourcePasswordFile = path(value); });
    with(entries, "target-password-file", [&](const YAML::Node& value) { warehouse.targetPasswordFile = path(value); });
    with(entries, "table", [&](const YAML::Node& value) { warehouse.table = nameText(value); });
    readText(node, entries, "a warehouse", "query", "query-file", task.script);
    with(entries, "mode", [&](const YAML::Node& value) {
      warehouse.mode = choice(value, {Warehouse::Mode::kAppend, Warehouse::Mode::kReplace});
    });
    with(entries, "batch",
         [&](const YAML::Node& value) { warehouse.batch = numberFromText(scalar(value), 1, Warehouse::kMostBatch); });
    with(entries, "retries", [&](const YAML::Node& value) {
      warehouse.retries = numberFromText(scalar(value), 0, Warehouse::kMostRetries);
    });
    with(entries, "retry-interval",
         [&](const YAML::Node& value) { warehouse.retryIntervalSeconds = durationFromText(scalar(value)); });
  }

  // No error here quotes the value: it may hold what it should not.
  static std::string databaseUrl(const YAML::Node& node) {
    std::string value = lineOfText(node, kLongText);
    if (!value.starts_with("jdbc:")) throw FormatError("expected a JDBC URL, which begins with jdbc:");
    if (inCapitals(value).find("PASSWORD=") != std::string::npos) {
      throw FormatError("a password does not belong in a URL, but in a file that only its reader can open");
    }
    return value;
  }

  void readSuccess(const Entries& entries, std::vector<SuccessCode>& codes) {
    each(entries, "success", "return codes", [&](const YAML::Node& value) {
      const SuccessCode code = successCodeFromText(value.IsScalar() ? value.Scalar() : "");
      if (std::find(codes.begin(), codes.end(), code) != codes.end()) {
        throw FormatError("'" + textOf(code) + "' stands twice");
      }
      codes.push_back(code);
    });
  }

  void readWhen(const YAML::Node& node, const Entries& entries, const std::string& what, EndCondition& when) {
    if (!entries.contains("on")) refuse(lineOf(node), "a " + what + " needs an 'on'");
    with(entries, "on", [&](const YAML::Node& value) { when = choice(value, {kAtSuccess, kAtFailure, kAtEveryEnd}); });
  }

  void readFollowOn(const YAML::Node& node, std::vector<FollowOn>& followOns) {
    const Entries entries = entriesOf(node, "a follow-on", kFollowOnKeys);
    if (!node.IsMap()) return;
    FollowOn followOn;
    readWhen(node, entries, "follow-on", followOn.on);
    int actions = 0;
    for (const auto action : {kRunTask, kEnableTask, kDisableTask}) {
      if (!entries.contains(textOf(action))) continue;
      ++actions;
      followOn.action = action;
    }
    if (actions != 1) {
      refuse(lineOf(node), "a follow-on has one of 'run', 'enable' and 'disable'");
      return;
    }
    readNames(entries, textOf(followOn.action), followOn.tasks, taskName);
    with(entries, textOf(followOn.action), [](const YAML::Node& value) {
      if (value.IsSequence() && value.size() == 0) throw FormatError("expected at least one task");
    });
    followOns.push_back(std::move(followOn));
  }

  void readNotification(const YAML::Node& node, std::vector<Notification>& notifications) {
    const Entries entries = entriesOf(node, "a notification", kNotificationKeys);
    if (!node.IsMap()) return;
    Notification notification;
    readWhen(node, entries, "notification", notification.on);
    with(entries, "by", [&](const YAML::Node& value) {
      notification.by = choice(value, {kMessageEmail, kMessagePager, kMessageBoth});
    });
    readNames(entries, "to", notification.to, toldName);
    readNames(entries, "groups", notification.groups, contactName);
    if (!entries.contains("to") && !entries.contains("groups")) {
      refuse(lineOf(node), "a notification needs a 'to' or 'groups'");
    }
    with(entries, "subject", [&](const YAML::Node& value) { notification.subject = lineOfText(value, kLongSubject); });
    with(entries, "message", [&](const YAML::Node& value) { notification.message = text(value, kLongMessage); });
    with(entries, "pager-message", [&](const YAML::Node& value) {
      notification.pagerMessage = text(value, kLongText);
      if (notification.by == kMessageEmail) throw FormatError("goes with 'by: pager' or 'by: both' only");
    });
    notifications.push_back(std::move(notification));
  }

  void readRight(const YAML::Node& node, std::vector<Right>& rights) {
    const Entries entries = entriesOf(node, "a right", kRightKeys);
    if (!node.IsMap()) return;
    Right right;
    right.isGroup = entries.contains("group");
    if (right.isGroup == entries.contains("user")) {
      refuse(lineOf(node),
             right.isGroup ? "a right has either 'user' or 'group'" : "a right needs a 'user' or a 'group'");
      return;
    }
    const char* const key = right.isGroup ? "group" : "user";
    with(entries, key, [&](const YAML::Node& value) {
      right.principal = {principal(value), lineOf(value)};
      for (const Right& other : rights) {
        if (other.isGroup == right.isGroup && other.principal == right.principal) {
          throw FormatError("'" + right.principal.name + "' stands twice");
        }
      }
    });
    if (!entries.contains("may")) refuse(lineOf(node), "a right needs a 'may', [] for nothing");
    std::vector<Reference> words;
    readNames(entries, "may", words, [](const YAML::Node& value) {
      std::string word = scalar(value);
      if (word != "read" && word != "update" && word != "execute") {
        throw FormatError("expected one of: read, update, execute");
      }
      return word;
    });
    for (const Reference& word : words) {
      (word.name == "read" ? right.read : word.name == "update" ? right.update : right.execute) = true;
    }
    rights.push_back(std::move(right));
  }

  // A long text that stands in the file, or in one of its own.
  void readText(const YAML::Node& node, const Entries& entries, const std::string& what, const char* key,
                const char* fileKey, std::string& target) {
    const bool inFile = entries.contains(fileKey);
    if (entries.contains(key) == inFile) {
      const std::string first = "'" + std::string(key) + "'";
      const std::string second = "'" + std::string(fileKey) + "'";
      refuse(lineOf(node), what + (inFile ? " has either " + first + " or " : " needs a " + first + " or a ") + second);
      return;
    }
    with(entries, key, [&](const YAML::Node& value) {
      target = scalar(value);
      checkText(key, target);
    });
    with(entries, fileKey, [&](const YAML::Node& value) {
      const auto path = std::filesystem::path(name_).parent_path() / lineOfText(value, kLongText);
      try {
        if (std::filesystem::file_size(path) <= kLongScript) target = readFile(path.string());
      } catch (const std::system_error& failure) {
        throw FormatError("cannot read " + path.string() + ": " + failure.code().message());
      }
      if (findBadUtf8(target) != std::string::npos) throw FormatError(path.string() + " is not UTF-8");
      checkText(key, target);
    });
  }

  static void checkText(const std::string& what, const std::string& text) {
    if (text.empty() || text.size() > kLongScript) throw FormatError("expected a " + what + " of 1 byte to 1MiB");
    if (text.find('\0') != std::string::npos) throw FormatError("a " + what + " cannot hold the character U+0000");
  }

  void readOptions(const Entries& entries, RunOptions& options) {
    with(entries, "environment", [&](const YAML::Node& value) { readEnvironment(value, options); });
    with(entries, "timeout", [&](const YAML::Node& value) {
      options.timeoutSeconds = durationFromText(scalar(value));
      if (options.timeoutSeconds == 0) throw FormatError("expected at least 1s");
    });
    with(entries, "output-limit", [&](const YAML::Node& value) {
      options.outputLimit = sizeFromText(scalar(value));
      if (options.outputLimit < RunOptions::kLeastOutput || options.outputLimit > RunOptions::kMostOutput) {
        throw FormatError("expected a size from " + sizeText(RunOptions::kLeastOutput) + " to " +
                          sizeText(RunOptions::kMostOutput));
      }
    });
    with(entries, "missed", [&](const YAML::Node& value) { setFromText(options.missed, scalar(value)); });
    with(entries, "interrupted", [&](const YAML::Node& value) { setFromText(options.interrupted, scalar(value)); });
    with(entries, "overlap", [&](const YAML::Node& value) { setFromText(options.overlap, scalar(value)); });
  }

  // No error here quotes a value: it may be a secret.
  void readEnvironment(const YAML::Node& node, RunOptions& options) {
    for (const auto& [name, value] : entriesOf(node, "a mapping of names to values", {})) {
      reading(value, "environment", [&, &key = name, &given = value] {
        if (!isVariableName(key)) throw FormatError("'" + key + "' cannot be the name of a variable");
        if (isReservedVariable(key)) throw FormatError("'" + key + "': names with MESK_ are the scheduler's own");
        if (!given.IsScalar()) throw FormatError("'" + key + "': expected a text");
        if (given.Scalar().find('\0') != std::string::npos) {
          throw FormatError("'" + key + "': a text cannot hold the character U+0000");
        }
        options.environment[key] = given.Scalar();
      });
    }
  }

  void readRetry(const YAML::Node& node, TaskDefinition& task) {
    const Entries entries = entriesOf(node, "a retry", kRetryKeys);
    if (!node.IsMap()) return;
    if (!entries.contains("count")) throw FormatError("a retry needs a 'count'");
    with(entries, "count", [&](const YAML::Node& value) {
      task.retryCount = static_cast<int>(numberFromText(scalar(value), 0, kMostRetries));
    });
    with(entries, "interval", [&](const YAML::Node& value) {
      task.retryIntervalSeconds = static_cast<int>(durationFromText(scalar(value)));
    });
  }

  void readRules(const Entries& entries, const char* key, std::vector<ScheduleRule>& rules) {
    with(entries, key, [&](const YAML::Node& value) {
      if (!value.IsSequence()) throw FormatError("expected a list of rules, [] for none");
      for (const YAML::Node& rule : value) readRule(rule, rules);
    });
  }

  void readRule(const YAML::Node& node, std::vector<ScheduleRule>& schedule) {
    const Entries entries = entriesOf(node, "a schedule", kRuleKeys);
    if (!node.IsMap()) return;
    ScheduleRule rule;
    rule.line = lineOf(node);
    const std::size_t before = errors_.size();
    const bool once = entries.contains("once");
    if (once == entries.contains("every")) {
      refuse(rule.line, once ? "a rule has either 'every' or 'once'" : "a rule needs an 'every' or a 'once'");
      return;
    }
    if (once) {
      for (const auto& [key, value] : entries) {
        if (key != "once") refuse(lineOf(value), "'" + key + "' does not go with 'once'");
      }
      rule.recurring = 0;
      with(entries, "once", [&](const YAML::Node& value) { setStart(rule, scalar(value)); });
    } else {
      readRecurring(entries, rule);
    }
    if (errors_.size() == before) schedule.push_back(std::move(rule));
  }

  // Each part builds on the one before, whatever their order in the file.
  void readRecurring(const Entries& entries, ScheduleRule& rule) {
    const std::size_t before = errors_.size();
    with(entries, "every", [&](const YAML::Node& value) { setInterval(rule, scalar(value)); });
    if (errors_.size() == before) {
      with(entries, "on", [&](const YAML::Node& value) { setOn(rule, scalar(value)); });
      with(entries, "after", [&](const YAML::Node& value) {
        if (scalar(value) != "end") throw FormatError("expected: end");
        setAfterEnd(rule);
      });
    }
    if (!entries.contains("start")) refuse(rule.line, "a rule with 'every' needs a 'start'");
    with(entries, "start", [&](const YAML::Node& value) { setStart(rule, scalar(value)); });
    with(entries, "end", [&](const YAML::Node& value) { setEnd(rule, scalar(value)); });
  }

  std::string name_;
  TaskFile file_;
  std::map<std::string, std::map<std::string, int>> lines_;  // of the names, by what they name
  std::vector<std::pair<int, std::string>> errors_;
};

}  // namespace

std::vector<std::string> namesOf(const std::vector<Reference>& references) {
  std::vector<std::string> names;
  names.reserve(references.size());
  for (const Reference& reference : references) names.push_back(reference.name);
  return names;
}

const char* textOf(TaskType type) {
  switch (type) {
    case kScriptTask:
      break;
    case kGroupTask:
      return "group";
    case kWarehouseTask:
      return "warehouse";
  }
  return "script";
}

const char* textOf(EndCondition when) {
  switch (when) {
    case kAtEveryEnd:
      break;
    case kAtSuccess:
      return "success";
    case kAtFailure:
      return "failure";
  }
  return "end";
}

const char* textOf(FollowOnKind action) {
  switch (action) {
    case kRunTask:
      break;
    case kEnableTask:
      return "enable";
    case kDisableTask:
      return "disable";
  }
  return "run";
}

const char* textOf(MessageKind by) {
  switch (by) {
    case kMessageEmail:
      break;
    case kMessagePager:
      return "pager";
    case kMessageBoth:
      return "both";
  }
  return "email";
}

std::string allowedText(const Right& right) {
  std::vector<std::string> words;
  if (right.read) words.emplace_back("read");
  if (right.update) words.emplace_back("update");
  if (right.execute) words.emplace_back("execute");
  return words.empty() ? "nothing" : joined(words);
}

bool TaskDefinition::operator==(const TaskDefinition& other) const {
  const auto parts = [](const TaskDefinition& task) {
    return std::tie(task.name, task.description, task.type, task.category, task.owner, task.runAs, task.directory,
                    task.processor, task.script, task.arguments, task.retryCount, task.retryIntervalSeconds,
                    task.options, task.enabled, task.schedule, task.schedules, task.steps, task.stopAtFailure,
                    task.success, task.followOns, task.notifications, task.rights);
  };
  return parts(*this) == parts(other);
}

TaskFileResult readTaskFile(const std::string& path) {
  try {
    return parseTaskFile(readFile(path), path);
  } catch (const std::system_error& failure) {
    TaskFileResult result;
    result.path = path;
    result.errors = {path + ": " + failure.code().message()};
    return result;
  }
}

TaskFileResult parseTaskFile(const std::string& text, const std::string& name) { return Reader(name).read(text); }

}  // namespace mesk::host
