#include <scheduler/Outbox.h>

#include <fmt/format.h>

#include <mesk/bridge/MDObject.h>

namespace mesk::host {
namespace {

constexpr const char* kMessageClass = "com/orvik/kelvo/mesk/admin/OutboxMessage";
constexpr long long kGivenUp = -1;
constexpr long long kEmpty = -1;

/// Reads an object of the store by its getters; takes the local reference over.
class Getters {
 public:
  Getters(Session& session, jobject object)
      : session_(session), object_(object), class_(session.ctx().env->GetObjectClass(object)) {}
  ~Getters() {
    env().DeleteLocalRef(class_);
    env().DeleteLocalRef(object_);
  }
  Getters(const Getters&) = delete;
  Getters& operator=(const Getters&) = delete;

  std::string text(const char* getter) const {
    const jmethodID method = id(getter, "()Ljava/lang/String;");
    if (method == nullptr) return {};
    const auto value = static_cast<jstring>(env().CallObjectMethod(object_, method));
    return host::text(MDObject::jStringToString(session_.ctx(), value));
  }
  int number(const char* getter) const {
    const jmethodID method = id(getter, "()I");
    return method == nullptr ? 0 : env().CallIntMethod(object_, method);
  }
  long long key(const char* getter) const {
    const jmethodID method = id(getter, "()J");
    return method == nullptr ? 0 : env().CallLongMethod(object_, method);
  }

 private:
  JNIEnv& env() const { return *session_.ctx().env; }
  jmethodID id(const char* getter, const char* signature) const { return env().GetMethodID(class_, getter, signature); }

  Session& session_;
  jobject object_;
  jclass class_;
};

}  // namespace

Outbox::Outbox(Session& session) : session_(session), class_(session, "com/orvik/kelvo/mesk/admin/Outbox") {}

void Outbox::enqueue(const Message& message, std::int64_t now) {
  class_.call(fmt::format("keeping a message about run {}", message.run), "enqueue", message.run, message.action,
              int{message.kind}, message.recipient, message.address, message.sender, message.subject, message.body,
              static_cast<long long>(now));
}

std::optional<PostedMessage> Outbox::next(std::int64_t now) {
  jobject found = nullptr;
  class_.attemptObject("next", kMessageClass, found, static_cast<long long>(now));
  if (!class_.check("reading the messages that wait", kStoreNothing)) return std::nullopt;
  const Getters getters(session_, found);
  PostedMessage posted;
  posted.id = getters.key("getOutboxID");
  posted.tries = getters.number("getTries");
  posted.message.kind = static_cast<MessageKind>(getters.number("getKind"));
  posted.message.recipient = getters.text("getRecipient");
  posted.message.address = getters.text("getAddress");
  posted.message.sender = getters.text("getSender");
  posted.message.subject = getters.text("getSubject");
  posted.message.body = getters.text("getBody");
  return posted;
}

std::optional<std::int64_t> Outbox::nextTry() {
  const auto when = class_.call<long long>("asking when the next message is to be sent", "nextTry");
  if (when == kEmpty) return std::nullopt;
  return when;
}

void Outbox::sent(long long id, std::int64_t now) {
  class_.call(fmt::format("noting that message {} was sent", id), "sent", id, static_cast<long long>(now));
}

void Outbox::failed(long long id, const std::string& why, std::optional<std::int64_t> retryAt) {
  class_.call(fmt::format("noting that message {} was not sent", id), "failed", id, why,
              retryAt ? static_cast<long long>(*retryAt) : kGivenUp);
}

}  // namespace mesk::host
