#include <scheduler/Notifications.h>

#include <fmt/format.h>

#include <array>
#include <memory>

#include <mesk/tasks/MDNotificationMessage.h>

namespace mesk::host {
namespace {

/// Numbers of the store's own texts, for an action that has none.
enum : int { kUsualSubject = 1, kUsualMessage = 2, kUsualPagerMessage = 3 };

/// So much of the end of a run's output stands for it in a message.
constexpr std::size_t kOutputBytes = 4096;

const char* wordOf(MessageKind kind) { return kind == kMessageEmail ? "e-mail" : "pager"; }

/// The end of a UTF-8 text, at most so long, without half a character at its beginning.
std::string tail(const std::string& text, std::size_t length) {
  if (text.size() <= length) return text;
  std::size_t begin = text.size() - length;
  while (begin < text.size() && (static_cast<unsigned char>(text[begin]) & 0xC0) == 0x80) ++begin;
  return text.substr(begin);
}

}  // namespace

Notifications::Told Notifications::tell(const RunEnd& end) {
  ThreadContext& ctx = session_.ctx();
  Told told;
  if (end.task.getNotificationEnable(ctx) == 0 || end.exec.getUseNotification(ctx) == 0) return told;
  const auto actions =
      session_.related("the notification actions of a task", end.task, &MDTask::retrieveNotificationActionList);
  for (const auto& action : actions) {
    if (!applies(action->getNotificationCondition(ctx), end.outcome)) continue;
    try {
      take(end, *action, told);
    } catch (const StoreError& error) {
      // A store that fails altogether fails the rest of this unit of work too.
      if (error.code() == kStoreChanged) throw;
      told.troubles.push_back(fmt::format("notification of run {}: {}", end.run, error.what()));
      told.results += fmt::format("not done: {}\n", error.what());
    }
  }
  return told;
}

void Notifications::take(const RunEnd& end, MDNotificationAction& action, Told& told) {
  ThreadContext& ctx = session_.ctx();
  told.results += resolved(end, text(action.getJournalMessageString(ctx)), kUsualSubject) + "\n";

  char** items = nullptr;
  int count = 0;
  int sqlCode = 0;
  const int rc = action.retrieveAllContactNameList(ctx, session_.context(), items, count, sqlCode);
  const std::unique_ptr<char*[]> array(items);
  std::vector<std::string> contacts;
  for (int i = 0; i < count; ++i) {
    const std::unique_ptr<char[]> name(items[i]);
    contacts.emplace_back(name.get());
  }
  session_.check(rc, sqlCode, "listing whom a notification tells");
  if (contacts.empty()) told.results += "nobody to tell\n";

  const int type = action.getMessageType(ctx);
  for (const MessageKind kind : std::array{kMessageEmail, kMessagePager}) {
    if ((type & kind) == 0) continue;
    const Texts said = texts(end, action, kind);
    for (const std::string& contact : contacts) {
      const std::string why = trouble(end, action, contact, kind, said, told);
      if (why.empty()) continue;
      const std::string line = fmt::format("{} to {}: not sent: {}", wordOf(kind), contact, why);
      told.results += line + "\n";
      told.troubles.push_back(fmt::format("notification of run {}: {}", end.run, line));
    }
  }
}

/// Why a message cannot go to a contact; empty when it is in the box.
std::string Notifications::trouble(const RunEnd& end, MDNotificationAction& action, const std::string& contact,
                                   MessageKind kind, const Texts& texts, Told& told) {
  ThreadContext& ctx = session_.ctx();
  try {
    std::optional<std::string> address = contact;
    if (contact.find('@') == std::string::npos) {
      address = administration_.contactAddress(contact, static_cast<Administration::AddressKind>(kind));
    }
    if (!address) return "there is no such contact";
    if (address->empty()) return "no such address is known";
    outbox_.enqueue({end.run, action.getNotificationActionID(ctx), kind, contact, *address, text(action.getSender(ctx)),
                     texts.subject, texts.body},
                    end.moment);
    ++told.messages;
    return {};
  } catch (const StoreError& error) {
    if (error.code() == kStoreChanged) throw;
    return error.what();
  }
}

Notifications::Texts Notifications::texts(const RunEnd& end, const MDNotificationAction& action, MessageKind kind) {
  ThreadContext& ctx = session_.ctx();
  if (kind == kMessageEmail) {
    return {resolved(end, text(action.getSubject(ctx)), kUsualSubject),
            resolved(end, text(action.getEmailMessageString(ctx)), kUsualMessage)};
  }
  return {resolved(end, text(action.getPagerSubject(ctx)), kUsualSubject),
          resolved(end, text(action.getPagerMessageString(ctx)), kUsualPagerMessage)};
}

/// A message, or the usual one of that number when it is empty, with its variables filled in for the run.
std::string Notifications::resolved(const RunEnd& end, const std::string& message, int usual) {
  ThreadContext& ctx = session_.ctx();
  const std::string said = message.empty() ? text(MDNotificationMessage::getMRIMessage(ctx, usual)) : message;
  const MDNotificationMessage messages(ctx);
  return text(messages.getResolvedMessage(ctx, session_.context(), &end.task, &end.history, said.c_str(),
                                          tail(end.output, kOutputBytes).c_str()));
}

}  // namespace mesk::host
