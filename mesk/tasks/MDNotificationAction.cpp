#include <mesk/tasks/MDNotificationAction.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <mesk/bridge/GrowingTable.h>
#include <mesk/bridge/StoreList.h>
#include <platform/Contacts.h>
#include <platform/DString.h>
#include <platform/Memory.h>

namespace mesk {
namespace {

constexpr std::uint32_t kContactServiceVersion = 81;
constexpr std::size_t kContactNameBytes = 128;

constexpr auto& kListSignature = storeSignature<"", kCollectionType>;

using Text = std::unique_ptr<char[]>;

Text copyOf(const char* text) {
  const std::size_t bytes = std::strlen(text) + 1;
  Text copy(new (std::nothrow) char[bytes]);
  if (copy != nullptr) std::memcpy(copy.get(), text, bytes);
  return copy;
}

/// Names that differ, in the order in which they came.
class DistinctNames {
 public:
  /// Without memory the name is left out.
  void add(const char* name) {
    try {
      if (knows(name)) return;
    } catch (const std::bad_alloc&) {
      return;  // the buffers of a platform throw, and nothing is thrown to callers of the library
    }
    if (Text copy = copyOf(name); copy != nullptr) table_.append(std::move(copy));
  }

  void handOut(char**& names, int& count) const {
    if (table_.count() < 1) return;
    names = new (std::nothrow) char*[static_cast<std::size_t>(table_.count())];
    if (names == nullptr) return;
    for (const Text& name : table_) names[count++] = copyOf(name.get()).release();
  }

 private:
  bool knows(const char* name) const {
    // With their terminating zeros: a name is not the same as one that merely begins with it.
    const std::size_t length = std::strlen(name) + 1;
    const DBuffer asked = DBuffer::fromContents(name, length);
    return std::any_of(table_.begin(), table_.end(), [&](const Text& other) {
      return DBuffer::fromContents(other.get(), std::strlen(other.get()) + 1).compare(asked, length) == 0;
    });
  }

  GrowingTable<Text> table_;
};

/// Room for the names of a group, in the platform's work memory.
class GroupRoom {
 public:
  explicit GroupRoom(std::uint32_t count) : names_(static_cast<char**>(allocate(count * sizeof(char*)))) {
    for (; names_ != nullptr && count_ < count; ++count_) {
      names_[count_] = static_cast<char*>(allocate(kContactNameBytes));
      if (names_[count_] == nullptr) return;
      names_[count_][0] = '\0';
    }
    complete_ = names_ != nullptr;
  }
  ~GroupRoom() {
    std::for_each_n(names_, count_, release);
    if (names_ != nullptr) release(names_);
  }
  GroupRoom(const GroupRoom&) = delete;
  GroupRoom& operator=(const GroupRoom&) = delete;

  /// Whether there was memory for every name.
  bool complete() const { return complete_; }
  char** names() const { return names_; }
  std::uint32_t count() const { return count_; }

 private:
  static void* allocate(std::size_t bytes) {
    std::int32_t failed = 0;
    void* const block = _ossMemAlloc(bytes, 1, &failed, "MDNotificationAction", __LINE__);
    return failed == 0 ? block : nullptr;
  }
  static void release(void* block) { _ossMemFree(block, "MDNotificationAction", __LINE__); }

  char** names_;
  std::uint32_t count_ = 0;
  bool complete_ = false;
};

/// The service answers twice: how many there are, then who. What it cannot answer is left out.
void addMembers(const char* group, DistinctNames& names) {
  ContactGroupRequest request{group, 0, nullptr};
  ContactSqlca sqlca{};
  getAllContactNamesInGroup(kContactServiceVersion, &request, &sqlca);
  if (sqlca.sqlCode != 0 || request.count == 0) return;

  const GroupRoom room(request.count);
  if (!room.complete()) return;
  request.names = room.names();
  getAllContactNamesInGroup(kContactServiceVersion, &request, &sqlca);
  if (sqlca.sqlCode != 0) return;
  // The group may have changed since its count was asked for.
  std::for_each_n(room.names(), std::min(request.count, room.count()), [&](const char* name) {
    if (*name != '\0') names.add(name);
  });
}

}  // namespace

MDNotificationAction::MDNotificationAction(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDNotificationAction">, context, rc, sqlCode);
}

MDNotificationAction::MDNotificationAction(ThreadContext& ctx, jobject, jobject obj) : MDObject(ctx, obj) {}

int MDNotificationAction::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "insert", context, sqlCode);
}

int MDNotificationAction::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "update", context, sqlCode);
}

int MDNotificationAction::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "delete", context, sqlCode);
}

long long MDNotificationAction::getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  return referenceID(ctx, context, rc, sqlCode);
}

long long MDNotificationAction::getNotificationActionID(ThreadContext& ctx) const {
  return getLong(ctx, "getNotificationActionID");
}
void MDNotificationAction::setNotificationActionID(ThreadContext& ctx, long long value) {
  setLong(ctx, "setNotificationActionID", value);
}
long long MDNotificationAction::getParentTaskID(ThreadContext& ctx) const { return getLong(ctx, "getParentTaskID"); }
void MDNotificationAction::setParentTaskID(ThreadContext& ctx, long long value) {
  setLong(ctx, "setParentTaskID", value);
}
int MDNotificationAction::getParentSuffix(ThreadContext& ctx) const { return getInt(ctx, "getParentSuffix"); }
void MDNotificationAction::setParentSuffix(ThreadContext& ctx, int value) { setInt(ctx, "setParentSuffix", value); }
int MDNotificationAction::getNotificationCondition(ThreadContext& ctx) const {
  return getInt(ctx, "getNotificationCondition");
}
void MDNotificationAction::setNotificationCondition(ThreadContext& ctx, int value) {
  setInt(ctx, "setNotificationCondition", value);
}
int MDNotificationAction::getMessageType(ThreadContext& ctx) const { return getInt(ctx, "getMessageType"); }
void MDNotificationAction::setMessageType(ThreadContext& ctx, int value) { setInt(ctx, "setMessageType", value); }
int MDNotificationAction::getUseEmailMessage(ThreadContext& ctx) const { return getInt(ctx, "getUseEmailMessage"); }
void MDNotificationAction::setUseEmailMessage(ThreadContext& ctx, int value) {
  setInt(ctx, "setUseEmailMessage", value);
}
char* MDNotificationAction::getSubject(ThreadContext& ctx) const { return getString(ctx, "getSubject"); }
void MDNotificationAction::setSubject(ThreadContext& ctx, const char* value) { setString(ctx, "setSubject", value); }
Clob* MDNotificationAction::getEmailMessage(ThreadContext& ctx) const { return getClob(ctx, "getEmailMessage"); }
void MDNotificationAction::setEmailMessage(ThreadContext& ctx, Clob* value) { setClob(ctx, "setEmailMessage", value); }
char* MDNotificationAction::getEmailMessageString(ThreadContext& ctx) const {
  return getString(ctx, "getEmailMessageString");
}
void MDNotificationAction::setEmailMessageString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setEmailMessageString", value);
}
Clob* MDNotificationAction::getPagerMessage(ThreadContext& ctx) const { return getClob(ctx, "getPagerMessage"); }
void MDNotificationAction::setPagerMessage(ThreadContext& ctx, Clob* value) { setClob(ctx, "setPagerMessage", value); }
char* MDNotificationAction::getPagerSubject(ThreadContext& ctx) const { return getString(ctx, "getPagerSubject"); }
char* MDNotificationAction::getPagerMessageString(ThreadContext& ctx) const {
  return getString(ctx, "getPagerMessageString");
}
char* MDNotificationAction::getJournalMessageString(ThreadContext& ctx) const {
  return getString(ctx, "getJournalMessageString");
}
char* MDNotificationAction::getSender(ThreadContext& ctx) const { return getString(ctx, "getSender"); }

int MDNotificationAction::retrieveContactNameList(ThreadContext& ctx, jobject context, char**& names, int& count,
                                                  int& sqlCode) {
  return retrieveTexts(ctx, *this, "retrieveContactNameList", kListSignature, kNothingRelated, names, count, sqlCode,
                       context);
}

int MDNotificationAction::retrieveContactGroupNameList(ThreadContext& ctx, jobject context, char**& names, int& count,
                                                       int& sqlCode) {
  return retrieveTexts(ctx, *this, "retrieveContactGroupNameList", kListSignature, kNothingRelated, names, count,
                       sqlCode, context);
}

int MDNotificationAction::retrieveAllContactNameList(ThreadContext& ctx, jobject context, char**& names, int& count,
                                                     int& sqlCode) {
  names = nullptr;
  count = 0;
  OwnedList<char> contacts;
  if (const int rc = retrieveContactNameList(ctx, context, contacts.items, contacts.count, sqlCode); rc != 0) return rc;
  OwnedList<char> groups;
  if (const int rc = retrieveContactGroupNameList(ctx, context, groups.items, groups.count, sqlCode); rc != 0)
    return rc;

  DistinctNames all;
  for (const char* const name : contacts) {
    if (name != nullptr) all.add(name);
  }
  for (const char* const group : groups) {
    if (group != nullptr) addMembers(group, all);
  }
  all.handOut(names, count);
  return 0;
}

}  // namespace mesk
