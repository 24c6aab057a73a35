// Commands about shared schedules.
#include <fmt/format.h>

#include <scheduler/Commands.h>

namespace mesk::host {
namespace {

Json jsonOf(const ScheduleDefinition& schedule, const std::vector<std::string>& users) {
  Json object;
  object["schedule"] = schedule.name.name;
  object["description"] = schedule.description;
  object["rules"] = Json::array();
  for (const ScheduleRule& rule : schedule.rules) object["rules"].push_back(wordsOf(rule));
  object["tasks"] = users;
  return object;
}

}  // namespace

int scheduleListCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Json array = Json::array();
  Table table({{"SCHEDULE"}, {"RULES", Table::Align::kRight}, {"TASKS"}, {"DESCRIPTION"}});
  for (StoredSchedule& schedule : store.definitions().schedules()) {
    const ScheduleDefinition definition = store.definitions().read(schedule);
    const auto users = store.definitions().usersOf(schedule.id);
    array.push_back(jsonOf(definition, users));
    table.add({schedule.name, std::to_string(definition.rules.size()), joined(users), definition.description});
  }
  if (invocation.json) {
    printJson(array);
  } else if (array.empty()) {
    say(invocation, "There are no shared schedules; 'meskctl apply FILE' defines some.");
  } else {
    print(table);
  }
  return kExitOk;
}

int scheduleShowCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  StoredSchedule schedule = store.definitions().findSchedule(invocation.schedule);
  const ScheduleDefinition definition = store.definitions().read(schedule);
  const auto users = store.definitions().usersOf(schedule.id);
  if (invocation.json) {
    printJson(jsonOf(definition, users));
    return kExitOk;
  }
  std::string out;
  line(out, "Schedule", definition.name.name);
  line(out, "Description", definition.description);
  line(out, "Tasks", users.empty() ? "none" : joined(users));
  out += definition.rules.empty() ? "Rules:        none\n" : "Rules:\n";
  for (const ScheduleRule& rule : definition.rules) out += "  " + wordsOf(rule) + "\n";
  print(forOutput(out));
  return kExitOk;
}

int scheduleDeleteCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  store.definitions().findSchedule(invocation.schedule);
  const std::string what = fmt::format("shared schedule '{}'", invocation.schedule);
  confirm(invocation, fmt::format("Delete {}?", what), what);
  store.definitions().removeSchedule(invocation.schedule);
  if (invocation.json) {
    printJson(Json{{"schedule", invocation.schedule}, {"deleted", true}});
  } else {
    say(invocation, what + " is deleted");
  }
  return kExitOk;
}

}  // namespace mesk::host
