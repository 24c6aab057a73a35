#include <scheduler/TaskFile.h>

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include <scheduler/Files.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Utf8.h>

namespace mesk::host {

namespace {

constexpr std::size_t kLongName = 128;  // characters
constexpr std::size_t kLongText = 4096;
constexpr std::uintmax_t kLongScript = 1 << 20;  // bytes
constexpr int kVersion = 1;
constexpr int kMostRetries = 1000;

// The keys of each mapping, in the order in which they are listed and written.
const std::vector<std::string> kFileKeys{"mesk", "tasks"};
const std::vector<std::string> kTaskKeys{"name",      "description", "type",      "category",     "owner",
                                         "run-as",    "directory",   "processor", "script",       "script-file",
                                         "arguments", "environment", "timeout",   "output-limit", "retry",
                                         "missed",    "interrupted", "overlap",   "enabled",      "schedule"};
const std::vector<std::string> kRetryKeys{"count", "interval"};
const std::vector<std::string> kRuleKeys{"every", "once", "on", "start", "end", "after"};

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

// Reads one file into tasks and gathers what is wrong.
class Reader {
 public:
  explicit Reader(const std::string& name) : name_(name) {}

  TaskFileResult read(const std::string& text) {
    if (const std::size_t bad = findBadUtf8(text); bad != std::string::npos) {
      const auto linesBefore = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(bad), '\n');
      refuse(static_cast<int>(linesBefore) + 1, "the text is not UTF-8");
      return result();
    }
    try {
      const std::vector<YAML::Node> documents = YAML::LoadAll(text);
      if (documents.size() > 1) {
        refuse(lineOf(documents[1]), "a task file is one document");
      } else {
        readFileNode(documents.empty() ? YAML::Node() : documents[0]);
      }
    } catch (const YAML::Exception& malformed) {
      refuse(std::max(malformed.mark.line + 1, 1), "this is not YAML: " + malformed.msg);
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
    for (const auto& [line, what] : errors_) {
      if (result.errors.size() == kTaskFileErrors) break;
      result.errors.push_back(name_ + ":" + std::to_string(line) + ": " + what);
    }
    if (errors_.empty()) result.tasks = std::move(tasks_);
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

  void readFileNode(const YAML::Node& node) {
    const Entries entries = entriesOf(node, "a task file", kFileKeys);
    if (!node.IsMap()) return;
    if (!entries.contains("mesk")) refuse(lineOf(node), "expected 'mesk: 1', the version of the format");
    with(entries, "mesk", [](const YAML::Node& value) { numberFromText(scalar(value), kVersion, kVersion); });
    if (!entries.contains("tasks")) refuse(lineOf(node), "expected 'tasks', a list of tasks");
    with(entries, "tasks", [this](const YAML::Node& list) {
      if (!list.IsSequence()) throw FormatError("expected a list of tasks");
      for (const YAML::Node& task : list) readTask(task);
    });
  }

  void readTask(const YAML::Node& node) {
    const Entries entries = entriesOf(node, "a task", kTaskKeys);
    if (!node.IsMap()) return;
    TaskDefinition task;
    task.line = lineOf(node);
    readName(node, entries, task);
    with(entries, "description", [&](const YAML::Node& value) { task.description = text(value, kLongText); });
    with(entries, "type", [&](const YAML::Node& value) {
      task.type = scalar(value);
      if (task.type != "script") throw FormatError("unknown task type '" + task.type + "'; expected: script");
    });
    const std::initializer_list<std::pair<const char*, std::string*>> names{
        {"category", &task.category}, {"owner", &task.owner}, {"run-as", &task.runAs}};
    for (const auto& [key, target] : names) {
      with(entries, key, [&, to = target](const YAML::Node& value) { *to = lineOfText(value, kLongName); });
    }
    with(entries, "directory", [&](const YAML::Node& value) {
      task.directory = lineOfText(value, kLongText);
      if (!task.directory.starts_with('/')) throw FormatError("expected a path that begins with /");
    });
    with(entries, "processor", [&](const YAML::Node& value) {
      task.processor = lineOfText(value, kLongText);
      if (task.processor.empty()) throw FormatError("expected a program");
    });
    readScript(node, entries, task);
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
    with(entries, "enabled", [&](const YAML::Node& value) {
      const std::string word = value.IsScalar() ? value.Scalar() : "";
      if (word != "true" && word != "false") throw FormatError("expected true or false");
      task.enabled = word == "true";
    });
    with(entries, "schedule", [&](const YAML::Node& value) {
      if (!value.IsSequence()) throw FormatError("expected a list of rules, [] for none");
      for (const YAML::Node& rule : value) readRule(rule, task.schedule);
    });
    tasks_.push_back(std::move(task));
  }

  void readName(const YAML::Node& node, const Entries& entries, TaskDefinition& task) {
    if (!entries.contains("name")) refuse(lineOf(node), "a task needs a 'name'");
    with(entries, "name", [&](const YAML::Node& value) {
      task.name = lineOfText(value, kLongName);
      if (task.name.empty()) throw FormatError("expected 1 to 128 characters");
      const auto [first, isNew] = lineOfName_.emplace(task.name, lineOf(value));
      if (!isNew) {
        throw FormatError("a task '" + task.name + "' stands already in line " + std::to_string(first->second));
      }
    });
  }

  void readScript(const YAML::Node& node, const Entries& entries, TaskDefinition& task) {
    const bool inFile = entries.contains("script-file");
    if (entries.contains("script") == inFile) {
      refuse(lineOf(node),
             inFile ? "a task has either 'script' or 'script-file'" : "a task needs a 'script' or a 'script-file'");
      return;
    }
    with(entries, "script", [&](const YAML::Node& value) {
      task.script = scalar(value);
      checkScript(task.script);
    });
    with(entries, "script-file", [&](const YAML::Node& value) {
      const auto path = std::filesystem::path(name_).parent_path() / lineOfText(value, kLongText);
      try {
        if (std::filesystem::file_size(path) <= kLongScript) task.script = readFile(path.string());
      } catch (const std::system_error& failure) {
        throw FormatError("cannot read " + path.string() + ": " + failure.code().message());
      }
      if (findBadUtf8(task.script) != std::string::npos) throw FormatError(path.string() + " is not UTF-8");
      checkScript(task.script);
    });
  }

  static void checkScript(const std::string& script) {
    if (script.empty() || script.size() > kLongScript) throw FormatError("expected a script of 1 byte to 1MiB");
    if (script.find('\0') != std::string::npos) throw FormatError("a script cannot hold the character U+0000");
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
  std::vector<TaskDefinition> tasks_;
  std::map<std::string, int> lineOfName_;
  std::vector<std::pair<int, std::string>> errors_;
};

class Writer {
 public:
  std::string write(const std::vector<TaskDefinition>& tasks) {
    out_ << YAML::BeginMap;
    out_ << YAML::Key << "mesk" << YAML::Value << kVersion;
    out_ << YAML::Key << "tasks" << YAML::Value << YAML::BeginSeq;
    for (const TaskDefinition& task : tasks) writeTask(task);
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

  // As it stands when YAML keeps every character of it so; quoted when not.
  void script(const std::string& text) {
    out_ << YAML::Key << "script" << YAML::Value;
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

  void writeTask(const TaskDefinition& task) {
    const TaskDefinition usual;
    out_ << YAML::BeginMap;
    entry("name", task.name);
    entryUnless("description", task.description, "");
    entry("type", task.type);
    entryUnless("category", task.category, "");
    entryUnless("owner", task.owner, "");
    entryUnless("run-as", task.runAs, "");
    entryUnless("directory", task.directory, "");
    entryUnless("processor", task.processor, usual.processor);
    script(task.script);
    entryUnless("arguments", task.arguments, "");
    writeOptions(task.options);
    if (task.retryCount != 0 || task.retryIntervalSeconds != 0) {
      out_ << YAML::Key << "retry" << YAML::Value << YAML::Flow << YAML::BeginMap;
      entry("count", std::to_string(task.retryCount));
      entry("interval", durationText(task.retryIntervalSeconds));
      out_ << YAML::EndMap;
    }
    if (!task.enabled) out_ << YAML::Key << "enabled" << YAML::Value << "false";
    out_ << YAML::Key << "schedule" << YAML::Value;
    if (task.schedule.empty()) out_ << YAML::Flow;
    out_ << YAML::BeginSeq;
    for (const ScheduleRule& rule : task.schedule) writeRule(rule);
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

bool TaskDefinition::operator==(const TaskDefinition& other) const {
  return name == other.name && description == other.description && type == other.type && category == other.category &&
         owner == other.owner && runAs == other.runAs && directory == other.directory && processor == other.processor &&
         script == other.script && arguments == other.arguments && retryCount == other.retryCount &&
         retryIntervalSeconds == other.retryIntervalSeconds && options == other.options && enabled == other.enabled &&
         schedule == other.schedule;
}

TaskFileResult readTaskFile(const std::string& path) {
  try {
    return parseTaskFile(readFile(path), path);
  } catch (const std::system_error& failure) {
    return {{}, {path + ": " + failure.code().message()}};
  }
}

TaskFileResult parseTaskFile(const std::string& text, const std::string& name) { return Reader(name).read(text); }

std::string writeTaskFile(const std::vector<TaskDefinition>& tasks) { return Writer().write(tasks); }

}  // namespace mesk::host
