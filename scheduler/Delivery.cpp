#include <scheduler/Delivery.h>

#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <string>

#include <platform/Clock.h>
#include <scheduler/MailText.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

constexpr std::array<std::int64_t, 5> kWaits{10, 30, 60, 300, 900};  // and then as the last

std::int64_t waitAfter(int tries) { return kWaits[std::min(static_cast<std::size_t>(tries), kWaits.size() - 1)]; }

}  // namespace

Delivery::Delivery(MessageBox& box, MailTransport& transport, std::int64_t giveUpSeconds)
    : box_(box), transport_(transport), giveUpSeconds_(giveUpSeconds) {}

std::optional<std::int64_t> Delivery::waitSeconds(int tries) const {
  std::int64_t waited = 0;
  for (int i = 0; i <= tries && waited <= giveUpSeconds_; ++i) waited += waitAfter(i);
  if (waited > giveUpSeconds_) return std::nullopt;
  return waitAfter(tries);
}

void Delivery::round(const std::function<bool()>& goOn) {
  const std::int64_t began = clockMillis();
  std::optional<SendResult> unreachable;
  while (goOn()) {
    const auto posted = box_.next(began);
    if (!posted) break;
    if (sent_.contains(posted->id)) {
      note(*posted, {});
      continue;
    }
    const SendResult result = !isMailAddress(posted->message.address)
                                  ? SendResult{SendResult::kRefused, "not an address"}
                              : unreachable ? *unreachable
                                            : transport_.send(*posted);
    if (result.kind == SendResult::kInterrupted) break;
    if (result.kind == SendResult::kUnreachable) unreachable = result;
    note(*posted, result);
  }
  transport_.rest();
}

void Delivery::note(const PostedMessage& posted, const SendResult& result) {
  // What is no address may hold anything, line ends too.
  const std::string address = isMailAddress(posted.message.address) ? posted.message.address : "nobody";
  if (result.kind == SendResult::kSent) {
    sent_.insert(posted.id);
    box_.sent(posted.id, clockMillis());
    sent_.erase(posted.id);
    spdlog::info("message {} was sent to {}", posted.id, address);
    return;
  }
  const auto wait = result.kind == SendResult::kRefused ? std::nullopt : waitSeconds(posted.tries);
  if (!wait) {
    box_.failed(posted.id, result.why, std::nullopt);
    spdlog::error("message {} to {} is given up: {}", posted.id, address, result.why);
    return;
  }
  box_.failed(posted.id, result.why, clockMillis() + *wait * 1000);
  spdlog::warn("message {} to {} was not sent: {}; again in {}", posted.id, address, result.why, durationText(*wait));
}

}  // namespace mesk::host
