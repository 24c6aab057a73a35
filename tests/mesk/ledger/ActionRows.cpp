// Follow-on and notification actions, messages, and the agent client.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/ledger/Patterns.h>
#include <mesk/tasks/DWAgentClient.h>
#include <mesk/tasks/DWAgentRtn.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDFollowOnActionType.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDNotificationActionType.h>
#include <mesk/tasks/MDNotificationMessage.h>
#include <mesk/tasks/MDTask.h>

#include <algorithm>
#include <array>

namespace mesk::test::ledger {
namespace {

constexpr int kNothingAtHome = 30013;
constexpr int kNoContacts = 30014;
constexpr long long kKey = 0x7000000012;

const std::string kTask = std::string(kMetadata) + "MDTask";
const std::string kHistory = std::string(kMetadata) + "MDTaskHistory";
const std::string kFollowOn = std::string(kMetadata) + "MDFollowOnAction";
const std::string kNotification = std::string(kMetadata) + "MDNotificationAction";
const std::string kMessage = std::string(kMetadata) + "MDNotificationMessage";
const std::string kClient = "com/orvik/kelvo/mesk/sched/DWAgentClient";
const std::string kOutcome = "com/orvik/kelvo/mesk/sched/DWAgentRtn";

/// A list of tasks goes over in one call, without those that are not live.
void addSetTaskList(ClassRows<MDFollowOnAction>& action) {
  using States = std::vector<State>;
  const auto add = [&](const std::string& variant, bool null, const States& states) {
    Row& row = action.add(
        {symbolOf("setTaskList", &MDFollowOnAction::setTaskList), variant,
         [null, states](Run& run) {
           MDFollowOnAction& target = run.target<MDFollowOnAction>(kFollowOn);
           const jobject context = run.context();
           std::array<jobject, 3> given{};
           for (std::size_t i = 0; i < states.size(); ++i) given[i] = run.object(kTask, "given");
           MDTask tasks[] = {{run.ctx, nullptr, given[0]}, {run.ctx, nullptr, given[1]}, {run.ctx, nullptr, given[2]}};
           std::array<jobject, 3> objects{};
           std::array<jclass, 3> classes{};
           for (std::size_t i = 0; i < states.size(); ++i) {
             objects[i] = tasks[i].object;
             classes[i] = tasks[i].objectClass;
             run.know(objects[i], "task" + std::to_string(i));
             if (states[i] == State::dead || states[i] == State::withoutObject) tasks[i].object = nullptr;
             if (states[i] == State::dead || states[i] == State::withoutClass) tasks[i].objectClass = nullptr;
           }
           int sqlCode = 78;
           int rc = 77;
           const int count = null ? 3 : static_cast<int>(states.size());
           run.record([&] { rc = target.setTaskList(run.ctx, context, null ? nullptr : tasks, count, sqlCode); });
           run.codes(rc, sqlCode);
           for (std::size_t i = 0; i < states.size(); ++i) {
             tasks[i].object = objects[i];
             tasks[i].objectClass = classes[i];
           }
         },
         [null, states](Prescription& p) {
           const Wrapper target = p.target();
           int rc = -300;
           int sqlCode = 0;
           const Wrapper exception = p.exceptionObject();
           if (target.live() && exception.live() && !null) {
             Ref list;
             if (const Ref cls = p.findClass("java/util/ArrayList"); !cls.empty()) {
               if (p.getMethod(cls, "<init>", "()V") && p.getMethod(cls, "add", "(Ljava/lang/Object;)Z")) {
                 list = p.newObject(cls);
               }
               if (!list.empty()) {
                 for (std::size_t i = 0; i < states.size(); ++i) {
                   if (states[i] == State::live) p.callBoolean(list, "add", Ref("task" + std::to_string(i)));
                 }
               }
               p.deleteLocalRef(cls);
             }
             if (!list.empty()) {
               if (p.getMethod(target.objectClass, "setTaskList", storeMethod("Ljava/util/ArrayList;", "V"))) {
                 p.callVoid(target.object, "setTaskList", "context", list, exception.object);
                 p.outcome(exception, rc, sqlCode);
               }
               p.deleteLocalRef(list);
             }
           }
           p.destroy(exception);
           p.result(says::codes(rc, sqlCode));
         }});
    row.answers.add("add", 1LL);
    row.reports = true;
    row.states = kEveryState;
  };
  add("null", true, {});
  add("none", false, {});
  add("three", false, {State::live, State::live, State::live});
  for (const State state : {State::dead, State::withoutObject, State::withoutClass}) {
    add(std::string("of which one is ") + nameOfState(state), false, {State::live, state, State::live});
  }
}

void addFollowOnRows(Rows& rows) {
  ClassRows<MDFollowOnAction> action(rows, kFollowOn);
  action.wrapsSecond();
  action.creates();
  action.persistsAll();
  action.handsOutKeys();
  action.get("getFollowOnActionID", &MDFollowOnAction::getFollowOnActionID);
  action.set("setFollowOnActionID", &MDFollowOnAction::setFollowOnActionID);
  action.get("getParentTaskID", &MDFollowOnAction::getParentTaskID);
  action.set("setParentTaskID", &MDFollowOnAction::setParentTaskID);
  action.get("getParentSuffix", &MDFollowOnAction::getParentSuffix);
  action.set("setParentSuffix", &MDFollowOnAction::setParentSuffix);
  action.get("getAction", &MDFollowOnAction::getAction);
  action.set("setAction", &MDFollowOnAction::setAction);
  action.get("getFollowOnCondition", &MDFollowOnAction::getFollowOnCondition);
  action.set("setFollowOnCondition", &MDFollowOnAction::setFollowOnCondition);
  action.relates("addTask", &MDFollowOnAction::addTask, "MDTask", true);
  action.relates("removeTask", &MDFollowOnAction::removeTask, "MDTask", true);
  action.lists<MDTask>("retrieveTaskList", &MDFollowOnAction::retrieveTaskList, "MDTask", kNothingAtHome);
  addSetTaskList(action);

  ClassRows<MDFollowOnActionType> home(rows, kFollowOn + "Type");
  home.wrapsSecond();
  home.creates();
  home.retrieves("retrieve", &MDFollowOnActionType::retrieve, "MDFollowOnAction", false, {}, kKey);
  home.lists<MDFollowOnAction>("retrieveList", &MDFollowOnActionType::retrieveList, "MDFollowOnAction", kNothingAtHome);
  home.deletes(&MDFollowOnActionType::deleteIt, kKey);
}

/// Names that differ, as they come to be handed out.
class Merged {
 public:
  explicit Merged(Prescription& p) : p_(p) {}

  void add(const std::string& name) {
    if (std::find(names_.begin(), names_.end(), name) != names_.end()) return;
    // A copy of the name, and a table with room for one more, which knows its length: its entries own their names.
    const std::size_t table = sizeof(std::size_t) + (names_.size() + 1) * sizeof(char*);
    if (p_.allocate(name.size() + 1) && p_.allocate(table)) names_.push_back(name);
  }

  /// The members of a group, as the contact service knows them.
  void addGroup(const std::string& group) {
    const Answer counted = p_.contacts(group, 0, false);
    const auto* const count = std::get_if<long long>(&counted);
    if (count == nullptr || *count <= 0) return;
    const auto room = static_cast<std::size_t>(*count);
    if (!p_.workMemory(room * sizeof(char*), kSource)) return;
    std::size_t buffers = 0;
    while (buffers < room && p_.workMemory(128, kSource)) ++buffers;
    if (buffers == room) {
      const Answer answer = p_.contacts(group, static_cast<int>(room), true);
      if (const auto* const members = std::get_if<Names>(&answer)) {
        for (std::size_t i = 0; i < std::min(room, members->size()); ++i) add((*members)[i]);
      }
    }
    for (std::size_t i = 0; i < buffers; ++i) p_.freeWorkMemory(kSource);
    p_.freeWorkMemory(kSource);
  }

  std::string handedOut() {
    if (names_.empty() || !p_.allocate(names_.size() * sizeof(char*))) return says::givesNoList();
    std::vector<std::string> copies;
    for (const std::string& name : names_) copies.push_back(p_.allocate(name.size() + 1) ? quoted(name) : "null");
    return says::givesList(copies);
  }

 private:
  static constexpr const char* kSource = "MDNotificationAction";

  Prescription& p_;
  std::vector<std::string> names_;
};

Listed allContacts(Prescription& p) {
  const Wrapper target = p.target();
  Listed all;
  std::array<std::vector<std::string>, 2> found;
  const char* const lists[] = {"retrieveContactNameList", "retrieveContactGroupNameList"};
  for (std::size_t i = 0; i < found.size(); ++i) {
    all.rc = storeCollection(p, target, lists[i], storeMethod("", kCollection), kNoContacts, all.sqlCode,
                             [&](const Ref& collection) {
                               if (auto texts = elementsOf(p, collection, textElement)) found[i] = std::move(*texts);
                             });
    if (all.rc != 0) return all;
  }
  const auto bare = [](const std::string& quotedText) { return quotedText.substr(1, quotedText.size() - 2); };
  Merged names(p);
  for (const std::string& name : found[0]) {
    if (name != "null") names.add(bare(name));
  }
  for (const std::string& group : found[1]) {
    if (group != "null") names.addGroup(bare(group));
  }
  all.gives = names.handedOut();
  return all;
}

void addAllContacts(ClassRows<MDNotificationAction>& action) {
  struct Case {
    const char* variant;
    Names contacts;  ///< an empty one is null in the list
    Names groups;
    std::vector<std::pair<std::string, Answer>> service = {};
    std::vector<long long> codes = {};
  };
  const std::vector<Case> cases = {
      {"contacts and members, each once",
       {"ann", "", "bob", "ann"},
       {"ops", "", "night"},
       {{"count of ops", 2LL},
        {"names of ops", Names{"bob", "cy"}},
        {"count of night", 2LL},
        {"names of night", Names{"bo", "cy"}}}},
      {"contacts only", {"ann"}, {}},
      {"nobody", {}, {}},
      {"a group without members", {}, {"ops"}, {{"count of ops", 0LL}}},
      {"an unknown group beside a known one",
       {"ann"},
       {"ops", "night"},
       {{"count of ops", -1LL}, {"count of night", 1LL}, {"names of night", Names{"cy"}}}},
      {"names that cannot be had", {"ann"}, {"ops"}, {{"count of ops", 2LL}, {"names of ops", -2LL}}},
      {"a group that shrinks", {}, {"ops"}, {{"count of ops", 3LL}, {"names of ops", Names{"ann", "bob"}}}},
      {"a group that grows", {}, {"ops"}, {{"count of ops", 1LL}, {"names of ops", Names{"ann", "bob"}}}},
      {"no contacts in the store", {"ann"}, {"ops"}, {{"count of ops", 0LL}}, {30014, 0}},
      {"no groups in the store", {"ann"}, {"ops"}, {}, {0, 30014}},
      {"groups that cannot be read", {"ann"}, {"ops"}, {}, {0, 30013}}};
  for (const Case& given : cases) {
    Row& row = action.add(
        {symbolOf("retrieveAllContactNameList", &MDNotificationAction::retrieveAllContactNameList), given.variant,
         [](Run& run) {
           MDNotificationAction& target = run.target<MDNotificationAction>(kNotification);
           const jobject context = run.context();
           char* nothing = nullptr;
           char** names = &nothing;
           int count = 76;
           int rc = 77;
           int sqlCode = 78;
           run.record([&] { rc = target.retrieveAllContactNameList(run.ctx, context, names, count, sqlCode); });
           run.codes(rc, sqlCode);
           run.givesList(names, count);
         },
         [](Prescription& p) {
           const Listed all = allContacts(p);
           p.result(says::codes(all.rc, all.sqlCode));
           p.result(all.gives);
         }});
    row.answers.add("retrieveContactNameList", Object{"java/util/ArrayList"});
    row.answers.add("retrieveContactGroupNameList", Object{"java/util/ArrayList"});
    for (const Names* const list : {&given.contacts, &given.groups}) {
      row.answers.add("size", static_cast<long long>(list->size()));
      for (const std::string& name : *list) row.answers.add("get", name.empty() ? Answer(Nothing{}) : Text{name});
    }
    for (const auto& [question, answer] : given.service) row.answers.add(question, answer);
    for (const long long code : given.codes) row.answers.add("getRC", code);
    if (given.codes.empty()) {
      row.reports = true;
      row.states = kEveryState;
    } else {
      row.answers.add("getNestedSQLCode", -803LL);
    }
  }
}

void addNotificationRows(Rows& rows) {
  ClassRows<MDNotificationAction> action(rows, kNotification);
  action.wrapsSecond();
  action.creates();
  action.persistsAll();
  action.handsOutKeys();
  action.get("getNotificationActionID", &MDNotificationAction::getNotificationActionID);
  action.set("setNotificationActionID", &MDNotificationAction::setNotificationActionID);
  action.get("getParentTaskID", &MDNotificationAction::getParentTaskID);
  action.set("setParentTaskID", &MDNotificationAction::setParentTaskID);
  action.get("getParentSuffix", &MDNotificationAction::getParentSuffix);
  action.set("setParentSuffix", &MDNotificationAction::setParentSuffix);
  action.get("getSubject", &MDNotificationAction::getSubject);
  action.set("setSubject", &MDNotificationAction::setSubject);
  action.get("getPagerSubject", &MDNotificationAction::getPagerSubject);
  action.get("getEmailMessage", &MDNotificationAction::getEmailMessage);
  action.set("setEmailMessage", &MDNotificationAction::setEmailMessage);
  action.get("getEmailMessageString", &MDNotificationAction::getEmailMessageString);
  action.set("setEmailMessageString", &MDNotificationAction::setEmailMessageString);
  action.get("getPagerMessage", &MDNotificationAction::getPagerMessage);
  action.set("setPagerMessage", &MDNotificationAction::setPagerMessage);
  action.get("getPagerMessageString", &MDNotificationAction::getPagerMessageString);
  action.get("getJournalMessageString", &MDNotificationAction::getJournalMessageString);
  action.get("getSender", &MDNotificationAction::getSender);
  action.get("getMessageType", &MDNotificationAction::getMessageType);
  action.set("setMessageType", &MDNotificationAction::setMessageType);
  action.get("getNotificationCondition", &MDNotificationAction::getNotificationCondition);
  action.set("setNotificationCondition", &MDNotificationAction::setNotificationCondition);
  action.get("getUseEmailMessage", &MDNotificationAction::getUseEmailMessage);
  action.set("setUseEmailMessage", &MDNotificationAction::setUseEmailMessage);
  action.lists<char>("retrieveContactNameList", &MDNotificationAction::retrieveContactNameList, "", kNoContacts);
  action.lists<char>("retrieveContactGroupNameList", &MDNotificationAction::retrieveContactGroupNameList, "",
                     kNoContacts);
  addAllContacts(action);

  ClassRows<MDNotificationActionType> home(rows, kNotification + "Type");
  home.wrapsSecond();
  home.creates();
  home.retrieves("retrieve", &MDNotificationActionType::retrieve, "MDNotificationAction", false, {}, kKey);
  home.lists<MDNotificationAction>("retrieveList", &MDNotificationActionType::retrieveList, "MDNotificationAction",
                                   kNothingAtHome);
  home.deletes(&MDNotificationActionType::deleteIt, kKey);
}

void addResolvedMessage(ClassRows<MDNotificationMessage>& message) {
  struct Case {
    const char* variant;
    State task = State::live;
    State history = State::live;
    bool nullTask = false;
    bool nullHistory = false;
    const char* first = "Gr\xFCn";
    const char* second = "text";
    Answer answer = Text{"Gr\xC3\xBCn"};
  };
  const std::vector<Case> cases = {{.variant = "resolved"},
                                   {.variant = "of null texts", .first = nullptr, .second = ""},
                                   {.variant = "to an empty text", .answer = Text{""}},
                                   {.variant = "to null", .answer = Nothing{}},
                                   {.variant = "null task", .nullTask = true},
                                   {.variant = "null history", .nullHistory = true},
                                   {.variant = "dead task", .task = State::dead},
                                   {.variant = "task without class", .task = State::withoutClass},
                                   {.variant = "dead history", .history = State::dead},
                                   {.variant = "history without object", .history = State::withoutObject}};
  for (const Case& given : cases) {
    Row& row = message.add(
        {symbolOf("getResolvedMessage", &MDNotificationMessage::getResolvedMessage), given.variant,
         [given](Run& run) {
           const MDNotificationMessage& target = run.target<MDNotificationMessage>(kMessage);
           const jobject context = run.context();
           MDTask* const task = given.nullTask ? nullptr : &run.wrapper<MDTask>(kTask, "task", given.task);
           MDTaskHistory* const history =
               given.nullHistory ? nullptr : &run.wrapper<MDTaskHistory>(kHistory, "history", given.history);
           char* text = nullptr;
           run.record(
               [&] { text = target.getResolvedMessage(run.ctx, context, task, history, given.first, given.second); });
           run.gives(text);
         },
         [given](Prescription& p) {
           const Wrapper target = p.target();
           const bool bound = !given.nullTask && !given.nullHistory && given.task == State::live &&
                              given.history == State::live && target.live();
           std::string text = "null";
           if (bound) {
             const Ref first = p.stringToJava(given.first == nullptr ? "" : given.first);
             const Ref second = p.stringToJava(given.second);
             Ref resolved;
             if (p.getMethod(target.objectClass, "getResolvedMessage",
                             std::string("(") + kContext + "L" + kTask + ";L" + kHistory + ";" + kString + kString +
                                 ")" + kString)) {
               resolved =
                   p.callObject(target.object, "getResolvedMessage", "context", "task", "history", first, second);
             }
             text = p.stringFromJava(resolved);
             if (!second.empty()) p.deleteLocalRef(second);
             if (!first.empty()) p.deleteLocalRef(first);
           }
           p.result(says::gives(text));
         }});
    row.answers.add("getResolvedMessage", given.answer);
    row.states = kEveryState;
  }
}

void addMessageRows(Rows& rows) {
  ClassRows<MDNotificationMessage> message(rows, kMessage);
  message.add({constructorSymbol<MDNotificationMessage, ThreadContext&>(), "new",
               [](Run& run) {
                 MDNotificationMessage* made = nullptr;
                 run.record([&] { made = new MDNotificationMessage(run.ctx); });
                 run.gives(made);
               },
               [](Prescription& p) {
                 Wrapper made;
                 if (const Ref cls = p.findClass(kMessage); !cls.empty()) {
                   made.objectClass = p.newGlobalRef(cls);
                   p.deleteLocalRef(cls);
                   if (!made.objectClass.empty() && p.getMethod(made.objectClass, "<init>", "()V")) {
                     if (const Ref object = p.newObject(made.objectClass); !object.empty()) {
                       made.object = p.newGlobalRef(object);
                       p.deleteLocalRef(object);
                     }
                   }
                 }
                 p.result(says::gives(made));
               }});
  addResolvedMessage(message);
  for (const Answer& answer : {Answer(Text{"Gr\xC3\xBCn"}), Answer(Text{""}), Answer(Nothing{})}) {
    Row& row = message.add({staticSymbol<MDNotificationMessage>("getMRIMessage", &MDNotificationMessage::getMRIMessage),
                            "of" + std::to_string(answer.index()),
                            [](Run& run) {
                              char* text = nullptr;
                              run.record([&] { text = MDNotificationMessage::getMRIMessage(run.ctx, -7); });
                              run.gives(text);
                            },
                            [](Prescription& p) {
                              std::string text = "null";
                              if (const Ref cls = p.findClass(kMessage); !cls.empty()) {
                                if (p.getStaticMethod(cls, "getMRIMessage", std::string("(I)") + kString)) {
                                  text = p.stringFromJava(p.callStaticObject(cls, "getMRIMessage", -7));
                                }
                                p.deleteLocalRef(cls);
                              }
                              p.result(says::gives(text));
                            }});
    row.answers.add("getMRIMessage", answer);
  }
}

// The agent's objects are made and asked without a check, and the reference to the class stays behind.

template <class... A>
Wrapper agentObject(Prescription& p, const std::string& className, const std::string& signature, A... arguments) {
  Wrapper made;
  const Ref cls = p.findClass(className);
  if (!cls.empty()) p.leaves(cls);
  made.objectClass = p.newGlobalRef(cls);
  Ref object;
  if (p.getMethod(made.objectClass, "<init>", signature)) {
    object = p.newObject(made.objectClass, arguments...);
  } else {
    p.line("NewObject " + show(made.objectClass) + " null() -> null");
  }
  made.object = p.newGlobalRef(object);
  if (!object.empty()) p.deleteLocalRef(object);
  return made;
}

template <class... A>
int askAgent(Prescription& p, const Wrapper& agent, const std::string& method, const std::string& signature,
             A... arguments) {
  const bool found = p.getMethod(agent.objectClass, method, signature);
  if (found && !agent.object.empty()) return p.callInt(agent.object, method, arguments...);
  p.line("CallIntMethod " + show(agent.object) + " " + (found ? method : "null") + "()");
  return 0;
}

const std::array<const char*, 6> kOutcomeGetters = {"getJobRC",      "getJobState",      "getRowsMoved",
                                                    "getBytesMoved", "getEditionNumber", "getRetryCount"};

/// Each a number of its own.
void answerOutcome(Row& row) {
  long long number = 101;
  for (const char* const getter : kOutcomeGetters) row.answers.add(getter, number++);
}

void addAgentRows(Rows& rows) {
  ClassRows<DWAgentClient> client(rows, kClient);
  client.wraps();
  client.add({constructorSymbol<DWAgentClient, ThreadContext&>(), "new",
              [](Run& run) {
                DWAgentClient* made = nullptr;
                run.record([&] { made = new DWAgentClient(run.ctx); });
                run.gives(made);
              },
              [](Prescription& p) { p.result(says::gives(agentObject(p, kClient, "()V"))); }});
  for (const State state : {State::live, State::dead}) {
    client.add({constructorSymbol<DWAgentClient, ThreadContext&, jobject, MDTask*, const char*, const char*,
                                  const char*, const char*, const char*>(),
                std::string("for a task that is ") + nameOfState(state),
                [state](Run& run) {
                  const jobject context = run.context();
                  MDTask& task = run.wrapper<MDTask>(kTask, "task", state);
                  DWAgentClient* made = nullptr;
                  run.record([&] {
                    made = new DWAgentClient(run.ctx, context, &task, "one", "Gr\xFCn", "", nullptr, "five");
                  });
                  run.gives(made);
                },
                [state](Prescription& p) {
                  const Ref one = p.stringToJava("one");
                  const Ref two = p.stringToJava("Gr\xFCn");
                  const Ref five = p.stringToJava("five");
                  const Wrapper made =
                      agentObject(p, kClient,
                                  std::string("(") + kContext + "L" + kTask + ";" + kString + kString + kString +
                                      kString + kString + ")V",
                                  "context", wrapperIn(state, "task").object, one, two, Ref(), Ref(), five);
                  for (const Ref& text : {five, two, one}) {
                    if (!text.empty()) p.deleteLocalRef(text);
                  }
                  p.result(says::gives(made));
                }});
  }
  for (const long long result : {0LL, -12LL}) {
    Row& row = client.add(
        {symbolOf("run", &DWAgentClient::run), "answers " + std::to_string(result),
         [](Run& run) {
           DWAgentClient& target = run.target<DWAgentClient>(kClient);
           BrixStepInfo info{-1, -1, -1, -1, -1, -1};
           int answer = 77;
           run.record([&] { answer = target.run(run.ctx, kKey, 5, info); });
           run.answer(answer);
           run.say("info " + show(info.JobRC) + " " + show(info.JobState) + " " + show(info.RowsMoved) + " " +
                   show(info.BytesMoved) + " " + show(info.EditionNumber) + " " + show(info.RetryCount));
         },
         [](Prescription& p) {
           const Wrapper outcome = agentObject(p, kOutcome, "()V");
           const int answer = askAgent(p, p.target(), "run", "(JIL" + kOutcome + ";)I", kKey, 5, outcome.object);
           std::string info = "info";
           for (const char* const getter : kOutcomeGetters) {
             info += " " + show(askAgent(p, outcome, getter, "()I"));
           }
           p.destroy(outcome);
           p.result(says::answer(answer));
           p.result(info);
         }});
    row.answers.add("run", result);
    answerOutcome(row);
  }

  ClassRows<DWAgentRtn> outcome(rows, kOutcome);
  outcome.wraps();
  outcome.add({constructorSymbol<DWAgentRtn, ThreadContext&>(), "new",
               [](Run& run) {
                 DWAgentRtn* made = nullptr;
                 run.record([&] { made = new DWAgentRtn(run.ctx); });
                 run.gives(made);
               },
               [](Prescription& p) { p.result(says::gives(agentObject(p, kOutcome, "()V"))); }});
  constexpr std::array<int (DWAgentRtn::*)(ThreadContext&) const, 6> kGetters = {
      &DWAgentRtn::getJobRC,      &DWAgentRtn::getJobState,      &DWAgentRtn::getRowsMoved,
      &DWAgentRtn::getBytesMoved, &DWAgentRtn::getEditionNumber, &DWAgentRtn::getRetryCount};
  for (std::size_t i = 0; i < kGetters.size(); ++i) {
    Row& row = outcome.add({symbolOf(kOutcomeGetters[i], kGetters[i]), "",
                            [getter = kGetters[i]](Run& run) {
                              const DWAgentRtn& target = run.target<DWAgentRtn>(kOutcome);
                              int answer = 77;
                              run.record([&] { answer = (target.*getter)(run.ctx); });
                              run.answer(answer);
                            },
                            [name = kOutcomeGetters[i]](Prescription& p) {
                              p.result(says::answer(askAgent(p, p.target(), name, "()I")));
                            }});
    answerOutcome(row);
  }
}

}  // namespace

void addActionRows(Rows& rows) {
  addFollowOnRows(rows);
  addNotificationRows(rows);
  addMessageRows(rows);
  addAgentRows(rows);
}

}  // namespace mesk::test::ledger
