// Commands about what is to come and what was.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <limits>
#include <map>
#include <set>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <platform/Clock.h>
#include <scheduler/Administration.h>
#include <scheduler/Chart.h>
#include <scheduler/Commands.h>
#include <scheduler/RunDirectory.h>
#include <scheduler/RunLauncher.h>
#include <scheduler/Scheduler.h>
#include <scheduler/Units.h>
#include <scheduler/Zone.h>
#include <scheduler/ZoneCheck.h>

namespace mesk::host {
namespace {

using Histories = std::vector<std::unique_ptr<MDTaskHistory>>;

bool hasEnded(int status) { return status != kRunRunning && status != kRunWaiting; }

std::string statusText(int status) { return textOf(static_cast<RunningStatus>(status)); }

const char* causeText(int invocationMethod) { return textOf(static_cast<InvocationMethod>(invocationMethod)); }

std::string kindText(const Execution& execution) {
  if (execution.run != -1) return execution.queued ? "retry" : "running";
  return execution.queued ? "queued" : "running";
}

Histories histories(Session& session, std::optional<long long> taskID) {
  constexpr const char* kWhat = "the history";
  return taskID ? session.list<MDTaskHistory, MDTaskHistoryType>(kWhat, *taskID)
                : session.list<MDTaskHistory, MDTaskHistoryType>(kWhat);
}

/// Runs of a task, also of one that was deleted since: then those recorded under its name.
Histories historiesOf(OpenStore& store, const std::string& name) {
  Session& session = store.session();
  std::unique_ptr<MDTask> task;
  std::exception_ptr unknown;
  try {
    task = store.definitions().find(name);
  } catch (const StoreError&) {
    throw;
  } catch (const HostError&) {
    unknown = std::current_exception();
  }
  if (task != nullptr) return histories(session, task->getTaskID(session.ctx()));
  Histories result = histories(session, std::nullopt);
  std::erase_if(result, [&](const auto& run) { return text(run->getTaskName(session.ctx())) != name; });
  if (result.empty()) std::rethrow_exception(unknown);
  return result;
}

/// The run of the group that this run is a step of.
std::optional<long long> parentOf(const MDTaskHistory& run, ThreadContext& ctx) {
  const long long root = run.getRootTaskHistoryID(ctx);
  return root > 0 && root != run.getTaskHistoryID(ctx) ? std::optional(root) : std::nullopt;
}

/// A run as it is listed, so many groups below the one at the top.
struct ListedRun {
  std::unique_ptr<MDTaskHistory> run;
  std::size_t depth;
};

void addWithSteps(std::vector<ListedRun>& listed, std::unique_ptr<MDTaskHistory> run, std::size_t depth,
                  Session& session) {
  const MDTaskHistory& added = *run;
  listed.push_back({std::move(run), depth});
  if (added.getTaskType(session.ctx()) != kGroupTask) return;
  for (auto& step : Administration(session).steps(added.getTaskHistoryID(session.ctx()))) {
    addWithSteps(listed, std::move(step), depth + 1, session);
  }
}

/// The first `count` of the runs, each with its steps below it; a step of a run that is there too does not stand by
/// itself.
std::vector<ListedRun> inTrees(Histories runs, std::size_t count, Session& session) {
  ThreadContext& ctx = session.ctx();
  std::set<long long> there;
  for (const auto& run : runs) there.insert(run->getTaskHistoryID(ctx));
  std::vector<ListedRun> listed;
  for (auto& run : runs) {
    const auto parent = parentOf(*run, ctx);
    if (parent && there.contains(*parent)) continue;
    if (count-- == 0) break;
    addWithSteps(listed, std::move(run), 0, session);
  }
  return listed;
}

/// The name of the task, set in below the group's.
std::string nameInTree(const ListedRun& listed, ThreadContext& ctx) {
  const std::string name = text(listed.run->getTaskName(ctx));
  return listed.depth == 0 ? name : std::string(2 * (listed.depth - 1), ' ') + "└ " + name;
}

Json jsonOf(const MDTaskHistory& run, Session& session) {
  ThreadContext& ctx = session.ctx();
  const int status = run.getRunningStatus(ctx);
  const auto parent = parentOf(run, ctx);
  Json object;
  object["run"] = run.getTaskHistoryID(ctx);
  object["parent"] = parent ? Json(*parent) : Json(nullptr);
  object["task"] = text(run.getTaskName(ctx));
  object["status"] = statusText(status);
  if (hasEnded(status) || status == kRunWaiting) {
    object["returnCode"] = run.getReturnCode(ctx);
  } else {
    object["returnCode"] = nullptr;
  }
  putTime(object, "start", session.millis(run.getStart(ctx)));
  putTime(object, "end", session.millis(run.getEnd(ctx)));
  object["durationSeconds"] = run.getDuration(ctx);
  object["rows"] = run.getRowCount(ctx);
  object["bytes"] = run.getByteCount(ctx);
  object["retries"] = run.getRetryCount(ctx);
  object["cause"] = causeText(run.getInvocationMethod(ctx));
  object["user"] = text(run.getUserID(ctx));
  return object;
}

struct Attempt {
  int number;
  int returnCode;
  int status;
  std::optional<std::int64_t> start;
  std::optional<std::int64_t> end;
  std::string output;
};

std::vector<Attempt> attempts(MDTaskHistory& run, Session& session) {
  ThreadContext& ctx = session.ctx();
  MDTaskResult** items = nullptr;
  int count = 0;
  int sqlCode = 0;
  const int rc = run.retrieveTaskResultList(ctx, session.context(), items, count, sqlCode);
  const auto results = owned(items, count);
  session.checkUnless(kStoreNothing, rc, sqlCode, "listing the attempts of a run");
  std::vector<Attempt> list;
  list.reserve(results.size());
  for (const auto& result : results) {
    list.push_back({result->getPartitionID(ctx), result->getReturnCode(ctx), result->getRunningStatus(ctx),
                    session.millis(result->getStart(ctx)), session.millis(result->getEnd(ctx)),
                    text(result->getExecutionResultsString(ctx))});
  }
  return list;
}

/// What the attempt that runs now has written, if this user may see it.
std::string outputSoFar(const MDTaskHistory& run, Session& session) {
  ThreadContext& ctx = session.ctx();
  if (run.getRunningStatus(ctx) != kRunRunning) return {};
  const AttemptID id{run.getTaskHistoryID(ctx), run.getRetryCount(ctx) + 1};
  try {
    return RunDirectory(session.address().runsDirectory() + "/" + id.text()).output();
  } catch (const std::exception&) {
    return {};
  }
}

std::string endedWithLine(std::string text) {
  if (!text.empty() && !text.ends_with('\n')) text += '\n';
  return text;
}

/// Of one day below a calendar.
constexpr std::size_t kNotesADay = 3;

constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

/// A line of the preview: a start, or an instant that a change of the clocks left out.
struct PreviewLine {
  std::optional<std::int64_t> start;
  std::int64_t moment;  ///< where it stands among the others
  const Upcoming* of;
  std::vector<ClockMark> marks;
};

/// By time; `upcoming` must live as long.
std::vector<PreviewLine> linesOf(const std::vector<Upcoming>& upcoming) {
  std::vector<PreviewLine> lines;
  for (const Upcoming& next : upcoming) {
    for (const ClockMark& skipped : next.clocks.skipped) {
      lines.push_back({std::nullopt, skipped.change->at * 1000, &next, {skipped}});
    }
    lines.push_back({next.start, next.start, &next, next.clocks.marks});
  }
  std::stable_sort(lines.begin(), lines.end(),
                   [](const PreviewLine& a, const PreviewLine& b) { return a.moment < b.moment; });
  return lines;
}

std::string marksText(const std::vector<ClockMark>& marks) {
  std::string text;
  for (const ClockMark& mark : marks) text += (text.empty() ? "" : "; ") + textOf(mark);
  return text;
}

std::string wallText(WallTime wall) {
  const std::string time = timeOf(wall);
  return dateOf(wall) + "T" + time + (time.size() == 5 ? ":00" : "");
}

Json jsonOf(const std::vector<PreviewLine>& lines) {
  Json array = Json::array();
  for (const PreviewLine& line : lines) {
    Json object;
    putTime(object, "start", line.start);
    object["why"] = line.of->why;
    object["overdue"] = line.start && line.of->overdue;
    Json marks = Json::array();
    for (const ClockMark& mark : line.marks) {
      Json one;
      one["mark"] = nameOf(mark.kind);
      one["asked"] = wallText(mark.asked);
      one["is"] = line.start ? Json(wallText(mark.is)) : Json(nullptr);
      putTime(one, "change", mark.change ? std::optional(mark.change->at * 1000) : std::nullopt);
      one["text"] = textOf(mark);
      marks.push_back(one);
    }
    object["clocks"] = marks;
    array.push_back(object);
  }
  return array;
}

/// What the clocks did is the longest word of a line and the one that must not be cut. Without any the column is left
/// out.
Table tableOf(const std::vector<PreviewLine>& lines) {
  const bool marked = std::any_of(lines.begin(), lines.end(), [](const auto& line) { return !line.marks.empty(); });
  std::vector<Table::Column> columns{{"START"}, {"CAUSE"}};
  if (marked) columns.push_back({"CLOCKS", Table::Align::kLeft, true});
  Table table(columns);
  for (const PreviewLine& line : lines) {
    table.add({timeText(line.start), line.start && line.of->overdue ? line.of->why + " (overdue)" : line.of->why,
               marksText(line.marks)});
  }
  return table;
}

/// The moment that "2026-03-29" or "2026-03-29 12:00" is here.
std::int64_t momentOf(Definitions& definitions, const std::string& text) {
  ScheduleRule moment;
  try {
    setStart(moment, text.size() == 10 ? text + " 00:00" : text);
  } catch (const FormatError& wrong) {
    throw HostError(kExitUsage, fmt::format("--from {}: {}", text, wrong.what()));
  }
  return definitions.startOf(moment).value_or(0);
}

/// What is foretold in a zone that the JVM knows otherwise is not what would fire there.
void requireSameZone(Session& session, time64 from) {
  const auto differences = compareZone(session, from, kZoneYears);
  if (differences.empty()) return;
  throw HostError(kExitUsage, zoneWarnings(zoneName(), differences, 1).front());
}

/// The year of `from` as a calendar, with what the clocks did below it.
int chartOf(const Invocation& invocation, Definitions& definitions, MDTask& task, std::int64_t from) {
  const std::string year = dateOf(wallAt(from / 1000)).substr(0, 4);
  const std::int64_t begin = momentOf(definitions, year + "-01-01");
  const std::int64_t last = momentOf(definitions, year + "-12-31 23:59:59");
  const auto upcoming = definitions.byRules(task, begin, last, std::numeric_limits<std::size_t>::max());
  const auto lines = linesOf(upcoming);
  YearChart chart(std::stoi(year));
  std::map<std::string, std::size_t> days;
  for (const PreviewLine& line : lines) {
    const WallTime wall = line.start ? wallAt(*line.start / 1000) : line.marks.front().asked;
    if (line.start) {
      chart.addRun(wall);
      ++days[dateOf(wall)];
    }
    if (!line.marks.empty()) chart.mark(wall);
  }
  if (invocation.json) {
    Json object;
    object["task"] = invocation.task;
    object["zone"] = zoneName();
    object["year"] = std::stoi(year);
    object["days"] = days;
    std::vector<PreviewLine> marked;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(marked),
                 [](const PreviewLine& line) { return !line.marks.empty(); });
    object["marked"] = jsonOf(marked);
    printJson(object);
    return kExitOk;
  }
  print(forOutput(fmt::format("{}, {}: {}\n", year, zoneName(), invocation.task)));
  print(chart.text(Table::terminalWidth(STDOUT_FILENO), ::isatty(STDOUT_FILENO) != 0));
  std::map<std::string, std::vector<std::string>> notes;
  for (const PreviewLine& line : lines) {
    for (const ClockMark& mark : line.marks) notes[dateOf(line.start ? mark.is : mark.asked)].push_back(textOf(mark));
  }
  for (const auto& [day, texts] : notes) {
    for (std::size_t i = 0; i < std::min(texts.size(), kNotesADay); ++i) {
      print(forOutput(fmt::format("! {} {}\n", day, texts[i])));
    }
    if (texts.size() > kNotesADay) print(fmt::format("! {} and {} more\n", day, texts.size() - kNotesADay));
  }
  return kExitOk;
}

}  // namespace

std::string resultText(int status, int returnCode) {
  return status == kRunFailed || status == kRunWaiting ? fmt::format("{} ({})", statusText(status), returnCode)
                                                       : statusText(status);
}

int queueCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  std::map<std::pair<long long, int>, std::string> names;
  std::map<long long, std::string> rules;
  for (const auto& task : store.definitions().tasks()) {
    names[{task->getTaskID(ctx), task->getSuffix(ctx)}] = text(task->getTaskName(ctx));
    for (const StoredRule& rule : store.definitions().rules(*task)) rules[rule.id] = rule.words();
  }
  const auto causeOf = [&rules](const Execution& execution) -> std::string {
    if (execution.runNow) return textOf(kInvokedNow);
    if (execution.followOn) return textOf(kInvokedByFollowOn);
    const auto rule = rules.find(execution.ruleID);
    return rule == rules.end() ? textOf(kInvokedAgain) : rule->second;
  };
  const auto queue = store.definitions().executions();
  if (queue.empty()) store.requireVisible(invocation, Administration::Counted::kExecutions);
  if (invocation.json) {
    Json array = Json::array();
    for (const Execution& execution : queue) {
      Json object;
      object["execution"] = execution.id;
      object["task"] = names[{execution.taskID, execution.suffix}];
      object["state"] = kindText(execution);
      putTime(object, "start", execution.start);
      putTime(object, "instant", execution.instant);
      if (execution.run == -1) {
        object["run"] = nullptr;
      } else {
        object["run"] = execution.run;
      }
      object["cause"] = causeOf(execution);
      array.push_back(object);
    }
    printJson(array);
    return kExitOk;
  }
  if (queue.empty()) {
    say(invocation, "Nothing runs and nothing is to run.");
    return kExitOk;
  }
  Table table({{"START"}, {"TASK"}, {"STATE"}, {"RUN", Table::Align::kRight}, {"CAUSE"}});
  for (const Execution& execution : queue) {
    table.add({timeText(execution.start), names[{execution.taskID, execution.suffix}], kindText(execution),
               execution.run == -1 ? "" : std::to_string(execution.run), causeOf(execution)});
  }
  print(table);
  return kExitOk;
}

int nextCommand(const Invocation& invocation) {
  // The JVM takes its zone when it starts.
  if (!invocation.zone.empty() && !enterZone(invocation.zone)) {
    throw HostError(kExitUsage,
                    fmt::format("there is no time zone '{}'; expected a name such as Europe/Berlin", invocation.zone));
  }
  OpenStore store(invocation);
  Definitions& definitions = store.definitions();
  const auto task = definitions.find(invocation.task);
  const std::int64_t from = invocation.from.empty() ? clockMillis() : momentOf(definitions, invocation.from);
  if (!invocation.zone.empty()) requireSameZone(store.session(), from / 1000);
  if (invocation.chart) return chartOf(invocation, definitions, *task, from);

  const bool byRules = !invocation.zone.empty() || !invocation.from.empty();
  const auto upcoming = byRules ? definitions.byRules(*task, from, kNever, invocation.count)
                                : definitions.upcoming(*task, invocation.count);
  const auto lines = linesOf(upcoming);
  if (invocation.json) {
    printJson(jsonOf(lines));
    return kExitOk;
  }
  if (upcoming.empty()) {
    const bool enabled = byRules || task->getScheduleEnable(store.session().ctx()) != 0;
    say(invocation, fmt::format("task '{}' has no next start{}", invocation.task,
                                enabled ? ""
                                        : fmt::format(": its schedule is disabled; 'meskctl enable {}' switches it on",
                                                      invocation.task)));
    return kExitOk;
  }
  print(tableOf(lines));
  return kExitOk;
}

int historyCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  const auto runs =
      inTrees(invocation.task.empty() ? histories(session, std::nullopt) : historiesOf(store, invocation.task),
              invocation.count, session);
  if (runs.empty()) store.requireVisible(invocation, Administration::Counted::kRuns);
  if (invocation.json) {
    Json array = Json::array();
    for (const ListedRun& listed : runs) array.push_back(jsonOf(*listed.run, session));
    printJson(array);
    return kExitOk;
  }
  if (runs.empty()) {
    say(invocation, "There are no runs yet.");
    return kExitOk;
  }
  Table table({{"RUN", Table::Align::kRight},
               {"TASK"},
               {"START"},
               {"DURATION", Table::Align::kRight},
               {"RESULT"},
               {"RETRIES", Table::Align::kRight},
               {"ROWS", Table::Align::kRight},
               {"BYTES", Table::Align::kRight},
               {"CAUSE"}});
  for (const ListedRun& listed : runs) {
    const MDTaskHistory& run = *listed.run;
    const int status = run.getRunningStatus(ctx);
    const bool ended = hasEnded(status);
    table.add({std::to_string(run.getTaskHistoryID(ctx)), nameInTree(listed, ctx),
               timeText(session.millis(run.getStart(ctx))), ended ? durationText(run.getDuration(ctx)) : "",
               resultText(status, run.getReturnCode(ctx)), std::to_string(run.getRetryCount(ctx)),
               ended ? std::to_string(run.getRowCount(ctx)) : "", ended ? std::to_string(run.getByteCount(ctx)) : "",
               causeText(run.getInvocationMethod(ctx))});
  }
  print(table);
  return kExitOk;
}

int logCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistoryType home(ctx, session.context(), rc, sqlCode);
  session.check(rc, sqlCode, "opening the history");
  const auto run = wrapped<MDTaskHistory>(ctx, home.retrieve(ctx, session.context(), invocation.run, rc, sqlCode));
  if (rc == kStoreNotAuthorised) {
    throw store.lacking(invocation, Administration(session).taskOfRun(invocation.run).value_or(""), TaskRight::kRead);
  }
  if (!session.checkUnless(kStoreNotFound, rc, sqlCode, fmt::format("reading run {}", invocation.run))) {
    throw HostError(kExitNotFound, fmt::format("no run {}; 'meskctl history' shows all", invocation.run));
  }
  const std::string journal = endedWithLine(text(run->getJournalResult(ctx))) + outputSoFar(*run, session);
  const auto results = invocation.results ? attempts(*run, session) : std::vector<Attempt>();
  if (invocation.json) {
    Json object = jsonOf(*run, session);
    object["log"] = journal;
    if (invocation.results) {
      Json array = Json::array();
      for (const Attempt& attempt : results) {
        Json one;
        one["attempt"] = attempt.number;
        one["status"] = statusText(attempt.status);
        one["returnCode"] = attempt.returnCode;
        putTime(one, "start", attempt.start);
        putTime(one, "end", attempt.end);
        one["output"] = attempt.output;
        array.push_back(one);
      }
      object["attempts"] = array;
    }
    printJson(object);
    return kExitOk;
  }
  const int status = run->getRunningStatus(ctx);
  if (!invocation.quiet) {
    std::string header = fmt::format("Run {} of {}, by {}\n", invocation.run, text(run->getTaskName(ctx)),
                                     causeText(run->getInvocationMethod(ctx)));
    header += fmt::format("{} to {}: {}\n", timeText(session.millis(run->getStart(ctx))),
                          timeText(session.millis(run->getEnd(ctx))), resultText(status, run->getReturnCode(ctx)));
    print(forOutput(header + "\n"));
  }
  if (!invocation.results) {
    print(forOutput(journal));
    return kExitOk;
  }
  for (const Attempt& attempt : results) {
    print(forOutput(fmt::format("Attempt {}, {} to {}: {}\n", attempt.number, timeText(attempt.start),
                                timeText(attempt.end), resultText(attempt.status, attempt.returnCode)) +
                    endedWithLine(attempt.output) + "\n"));
  }
  return kExitOk;
}

}  // namespace mesk::host
