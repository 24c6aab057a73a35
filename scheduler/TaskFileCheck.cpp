// Whether what a task file refers to is there, and whether its tasks would go round in circles.
#include <algorithm>
#include <map>
#include <utility>

#include <scheduler/TaskFile.h>

namespace mesk::host {

namespace {

class Check {
 public:
  Check(const TaskFile& file, const KnownNames& known) : file_(file), known_(known) {
    for (const TaskDefinition& task : file.tasks) tasks_.emplace(task.name, &task);
  }

  std::vector<std::string> run() {
    const auto users = namesOf(file_.users, known_.users);
    const auto groups = namesOf(file_.groups, known_.groups);
    const auto contacts = namesOf(file_.contacts, known_.contacts);
    const auto contactGroups = namesOf(file_.contactGroups, known_.contactGroups);
    const auto schedules = namesOf(file_.schedules, known_.schedules);
    auto tasks = known_.tasks;
    for (const TaskDefinition& task : file_.tasks) tasks.insert(task.name);

    for (const GroupDefinition& group : file_.groups) expect("members", "user", group.members, users);
    for (const GroupDefinition& group : file_.contactGroups) expectTold("members", group.members, contacts);
    for (const TaskDefinition& task : file_.tasks) {
      for (const auto& stage : task.steps) expect("steps", "task", stage, tasks);
      expect("schedules", "shared schedule", task.schedules, schedules);
      for (const FollowOn& followOn : task.followOns) expect(textOf(followOn.action), "task", followOn.tasks, tasks);
      for (const Notification& notification : task.notifications) {
        expectTold("to", notification.to, contacts);
        expect("groups", "contact group", notification.groups, contactGroups);
      }
      for (const Right& right : task.rights) {
        const char* const kind = right.isGroup ? "group" : "user";
        expect(kind, kind, {right.principal}, right.isGroup ? groups : users);
      }
    }
    findCircles();
    return errors();
  }

 private:
  template <class Definition>
  static std::set<std::string> namesOf(const std::vector<Definition>& definitions, std::set<std::string> names) {
    for (const Definition& definition : definitions) names.insert(definition.name.name);
    return names;
  }

  void refuse(int line, const std::string& what) { errors_.emplace_back(line, what); }

  void expect(const std::string& key, const std::string& what, const std::vector<Reference>& references,
              const std::set<std::string>& names) {
    for (const Reference& reference : references) {
      if (names.contains(reference.name)) continue;
      refuse(reference.line,
             "'" + key + "': neither this file nor the store has a " + what + " '" + reference.name + "'");
    }
  }

  void expectTold(const std::string& key, std::vector<Reference> references, const std::set<std::string>& contacts) {
    std::erase_if(references, [](const Reference& reference) { return isAddress(reference.name); });
    expect(key, "contact", references, contacts);
  }

  std::vector<Reference> startsOf(const std::string& name) const {
    std::vector<Reference> starts;
    const auto found = tasks_.find(name);
    if (found == tasks_.end()) {
      if (known_.starts && known_.tasks.contains(name)) {
        for (const std::string& started : known_.starts(name)) starts.emplace_back(started);
      }
      return starts;
    }
    for (const auto& stage : found->second->steps) starts.insert(starts.end(), stage.begin(), stage.end());
    for (const FollowOn& followOn : found->second->followOns) {
      if (followOn.action != kRunTask) continue;
      starts.insert(starts.end(), followOn.tasks.begin(), followOn.tasks.end());
    }
    return starts;
  }

  // A new circle goes through a task of the file: what the store has was checked when it came. Depth first, without
  // recursion, because a chain may be as long as there are tasks.
  void findCircles() {
    for (const TaskDefinition& task : file_.tasks) {
      if (state_[task.name] != State::kNew) continue;
      std::vector<Visit> path;
      enter(path, task.name, task.line);
      while (!path.empty()) {
        Visit& visit = path.back();
        if (visit.next == visit.starts.size()) {
          state_[visit.name] = State::kDone;
          path.pop_back();
          continue;
        }
        const Reference to = visit.starts[visit.next++];
        const State state = state_[to.name];
        if (state == State::kOnPath) {
          tellCircle(path, to);
        } else if (state == State::kNew) {
          enter(path, to.name, to.line);
        }
      }
    }
  }

  enum class State { kNew, kOnPath, kDone };
  struct Visit {
    std::string name;
    int line;  // of the reference that led here; 0 when it stands in the store
    std::vector<Reference> starts;
    std::size_t next = 0;
  };

  void enter(std::vector<Visit>& path, const std::string& name, int line) {
    state_[name] = State::kOnPath;
    path.push_back({name, line, startsOf(name)});
  }

  // In the line of a reference of this file that is part of it.
  void tellCircle(const std::vector<Visit>& path, const Reference& back) {
    std::string circle;
    int line = back.line;
    const auto first =
        std::find_if(path.begin(), path.end(), [&](const Visit& visit) { return visit.name == back.name; });
    for (auto visit = first; visit != path.end(); ++visit) {
      circle += visit->name + " -> ";
      if (line == 0 && visit != first) line = visit->line;
    }
    refuse(line, "these tasks would start each other for ever: " + circle + back.name);
  }

  std::vector<std::string> errors() {
    std::stable_sort(errors_.begin(), errors_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> texts;
    for (const auto& [line, what] : errors_) {
      if (texts.size() == kTaskFileErrors) break;
      texts.push_back(file_.path + ":" + std::to_string(std::max(line, 1)) + ": " + what);
    }
    return texts;
  }

  const TaskFile& file_;
  const KnownNames& known_;
  std::map<std::string, const TaskDefinition*> tasks_;
  std::map<std::string, State> state_;
  std::vector<std::pair<int, std::string>> errors_;
};

}  // namespace

bool isAddress(const std::string& name) { return name.find('@') != std::string::npos; }

std::vector<std::string> checkReferences(const TaskFile& file, const KnownNames& known) {
  return Check(file, known).run();
}

}  // namespace mesk::host
