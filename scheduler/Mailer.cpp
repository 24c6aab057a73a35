#include <scheduler/Mailer.h>

#include <poll.h>
#include <spdlog/spdlog.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <exception>
#include <memory>
#include <system_error>
#include <type_traits>
#include <utility>

#include <platform/Clock.h>
#include <scheduler/Delivery.h>
#include <scheduler/Outbox.h>
#include <scheduler/Session.h>
#include <scheduler/StoreWork.h>

namespace mesk::host {
namespace {

constexpr std::int64_t kAgainMillis = 5'000;

UniqueFd makeEvent() {
  UniqueFd event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!event) throw std::system_error(errno, std::generic_category(), "eventfd");
  return event;
}

void raise(const UniqueFd& event) {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(event.get(), &one, sizeof one);
}

void lower(const UniqueFd& event) {
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t taken = ::read(event.get(), &count, sizeof count);
}

}  // namespace

/// The outbox of a session of its own, a unit of work for each operation. The session is made when it is needed.
class StoreBox : public MessageBox {
 public:
  explicit StoreBox(StoreAddress address) : address_(std::move(address)) {}

  std::optional<PostedMessage> next(std::int64_t now) override {
    return work([&](Outbox& box) { return box.next(now); });
  }
  std::optional<std::int64_t> nextTry() override {
    return work([&](Outbox& box) { return box.nextTry(); });
  }
  void sent(long long id, std::int64_t now) override {
    change([&](Outbox& box) { box.sent(id, now); });
  }
  void failed(long long id, const std::string& why, std::optional<std::int64_t> retryAt) override {
    change([&](Outbox& box) { box.failed(id, why, retryAt); });
  }

 private:
  template <class Work>
  std::invoke_result_t<Work, Outbox&> work(Work work) {
    if (session_ == nullptr) session_ = std::make_unique<Session>(address_);
    const StoreWork bracket;
    Outbox box(*session_);
    return work(box);
  }
  template <class Change>
  void change(Change change) {
    work([&](Outbox& box) {
      try {
        session_->transact([&] { change(box); });
      } catch (const StoreError& error) {
        // Somebody took the message out: nothing is left to be noted.
        if (error.code() != kStoreNotFound) throw;
      }
    });
  }

  StoreAddress address_;
  std::unique_ptr<Session> session_;
};

Mailer::Mailer(StoreAddress address, MailTransport& transport, std::int64_t giveUpSeconds)
    : address_(std::move(address)),
      transport_(transport),
      giveUpSeconds_(giveUpSeconds),
      woken_(makeEvent()),
      rested_(makeEvent()),
      thread_([this] { work(); }) {}

Mailer::~Mailer() {
  stopping_ = true;
  transport_.interrupt();
  raise(woken_);
  thread_.join();
}

void Mailer::wake() {
  ++wakes_;
  raise(woken_);
}

bool Mailer::atRest() {
  lower(rested_);
  return looked_ == wakes_;
}

void Mailer::work() {
  StoreBox box(address_);
  Delivery delivery(box, transport_, giveUpSeconds_);
  while (!stopping_) {
    std::optional<std::int64_t> until;
    try {
      until = deliver(box, delivery);
    } catch (const std::exception& error) {
      spdlog::error("messages: {}; trying again in {} s", error.what(), kAgainMillis / 1000);
      until = clockMillis() + kAgainMillis;
    }
    wait(until);
  }
}

/// Sends what is due; answers when the next message will be.
std::optional<std::int64_t> Mailer::deliver(StoreBox& box, Delivery& delivery) {
  const std::uint64_t seen = wakes_;
  delivery.round([this] { return !stopping_; });
  const auto next = box.nextTry();
  if (!next || *next > clockMillis()) {
    looked_ = seen;
    raise(rested_);
  }
  return next;
}

void Mailer::wait(std::optional<std::int64_t> until) {
  if (!(until ? timer_.setAt(*until) : timer_.clear())) return;
  std::array<pollfd, 2> watched{{{timer_.fd(), POLLIN, 0}, {woken_.get(), POLLIN, 0}}};
  if (::poll(watched.data(), watched.size(), -1) < 0) return;
  timer_.drain();
  lower(woken_);
}

}  // namespace mesk::host
