// A program's session with the store, on the library's exported surface.
#pragma once

#include <jni.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <mesk/bridge/ThreadContext.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SCTimestamp.h>
#include <scheduler/ExitCodes.h>
#include <scheduler/StoreAddress.h>

namespace mesk::host {

/// The objects of a list, owned, from the array that an operation handed out.
template <class T>
std::vector<std::unique_ptr<T>> owned(T** items, int count) {
  const std::unique_ptr<T*[]> array(items);
  std::vector<std::unique_ptr<T>> result;
  result.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) result.emplace_back(items[i]);
  return result;
}

/// Connected from construction to destruction, with auto-commit off. One thread, on which the session that came first
/// ends last. What goes wrong is thrown as HostError or StoreError.
class Session {
 public:
  /// Works for `user`; for the user of this process when it is empty.
  explicit Session(const StoreAddress& address, const std::string& user = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  ThreadContext& ctx() { return ctx_; }
  jobject context() { return context_; }
  const StoreAddress& address() const { return address_; }

  /// Whom this session works for.
  const std::string& user() const { return user_; }

  /// Throws StoreError unless `code` is 0. A Java exception that the failed operation left pending is
  /// taken off the thread and told.
  void check(int code, int sqlCode, const std::string& what);

  /// As `check`, but the code `allowed` is fine too; answers whether the code was 0.
  bool checkUnless(int allowed, int code, int sqlCode, const std::string& what);

  /// The records that the home lists, owned; none when there is nothing to list. `what` names them, `keys` are those
  /// that the list is of.
  template <class Record, class Home, class... Keys>
  std::vector<std::unique_ptr<Record>> list(const std::string& what, Keys... keys) {
    int rc = 0;
    int sqlCode = 0;
    Home home(ctx_, context_, rc, sqlCode);
    check(rc, sqlCode, "opening " + what);
    Record** items = nullptr;
    int count = 0;
    rc = home.retrieveList(ctx_, context_, keys..., items, count, sqlCode);
    auto records = owned(items, count);
    checkUnless(kStoreNothing, rc, sqlCode, "listing " + what);
    return records;
  }

  /// The records that `owner`'s operation lists, owned. `what` names them.
  template <class Record, class Owner>
  std::vector<std::unique_ptr<Record>> related(const std::string& what, Owner& owner,
                                               int (Owner::*retrieve)(ThreadContext&, jobject, Record**&, int&, int&)) {
    Record** items = nullptr;
    int count = 0;
    int sqlCode = 0;
    const int rc = (owner.*retrieve)(ctx_, context_, items, count, sqlCode);
    auto records = owned(items, count);
    check(rc, sqlCode, "listing " + what);
    std::erase(records, nullptr);  // for which there was no memory
    return records;
  }

  void commit();
  void rollback();

  /// Does `work` and commits. When somebody else changed a record meanwhile, everything is rolled back
  /// and `work`, which reads what it changes, is done again; any other failure rolls back and is thrown on.
  template <class Work>
  void transact(Work work) {
    for (int attempt = 1;; ++attempt) {
      try {
        work();
        commit();
        return;
      } catch (const StoreError& error) {
        rollback();
        if (error.code() != kStoreChanged || attempt == kAttempts) throw;
      } catch (...) {
        rollback();
        throw;
      }
    }
  }

  /// Milliseconds of an owned timestamp, which is deleted; nothing for null.
  std::optional<std::int64_t> millis(SCTimestamp* owned);

  /// A timestamp to pass to a setter.
  SCTimestamp timestamp(std::int64_t millis) { return {ctx_, static_cast<long long>(millis)}; }

 private:
  static constexpr int kAttempts = 5;
  std::string takeJavaError();

  StoreAddress address_;
  std::string user_;
  ThreadContext ctx_;
  jobject context_ = nullptr;
};

/// The native text of an owned string, which is deleted; empty for null.
std::string text(char* owned);

/// Wraps the local reference that an operation handed out, and deletes it; null for null. Of the two references that
/// some wrapping constructors take, one is ignored, and not the same one everywhere: the object stands in both places.
template <class T>
std::unique_ptr<T> wrapped(ThreadContext& ctx, jobject local) {
  if (local == nullptr) return nullptr;
  std::unique_ptr<T> result;
  if constexpr (std::is_constructible_v<T, ThreadContext&, jobject>) {
    result = std::make_unique<T>(ctx, local);
  } else {
    result = std::make_unique<T>(ctx, local, local);
  }
  ctx.env->DeleteLocalRef(local);
  return result;
}

}  // namespace mesk::host
