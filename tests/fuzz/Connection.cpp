// The four connection strings: what Java gets of them, and what stands of them in the log and the trace.
#include <mesk/session/MDUtility.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <mesk/support/Captures.h>

#include "FakeJava.h"
#include "Fuzz.h"
#include "Texts.h"

namespace mesk::fuzz {
namespace {

using test::LogCapture;
using test::TraceCapture;

constexpr std::uint32_t kFunction = 0x1AE801AD;
constexpr const char* kClass = "com/orvik/kelvo/mesk/metadata/MDUtility";
constexpr const char* kException = "com/orvik/kelvo/common/parl/api/PARLException";
constexpr const char* kPool = "com/orvik/kelvo/tools/conn/ConnectionPoolManager";

using Strings = std::array<std::optional<std::string>, 4>;

struct Outcome {
  jobject context;
  int code;
  int sqlCode;
  int sqlState;
};

Outcome connect(ThreadContext& ctx, const Strings& strings, bool withState) {
  std::array<const char*, 4> s{};
  for (std::size_t i = 0; i < s.size(); ++i) s[i] = strings[i] ? strings[i]->c_str() : nullptr;
  Outcome outcome{nullptr, 4711, 4712, 0};
  if (withState) {
    outcome.sqlState = 4713;
    outcome.context =
        MDUtility::connectMD(ctx, s[0], s[1], s[2], s[3], outcome.code, outcome.sqlCode, outcome.sqlState);
  } else {
    outcome.context = MDUtility::connectMD(ctx, s[0], s[1], s[2], s[3], outcome.code, outcome.sqlCode);
  }
  return outcome;
}

std::string bytesOf(int number) {
  const std::int32_t value = number;
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string orNull(const std::optional<std::string>& text) { return !text || text->empty() ? "NULL" : *text; }

void claimLog(const LogCapture& log, const Strings& strings, const Outcome& outcome, bool withState) {
  const auto records = log.records();
  const bool failed = outcome.code != 0 || outcome.sqlCode != 0 || outcome.context == nullptr;
  claim(records.size() == (failed ? 1U : 0U), "not one record of each failure, or one of a success");
  if (!failed) return;
  const LogCapture::Record& record = records.front();
  claim(record.function == 0x10080125 && record.probe == 10 && record.level == 3 && record.code == 0,
        "another record of a failed connection");
  std::vector<LogCapture::Item> expected{{bytesOf(outcome.code), kLogInteger}, {bytesOf(outcome.sqlCode), kLogInteger}};
  if (withState) expected.push_back({bytesOf(outcome.sqlState), kLogInteger});
  for (int i = 0; i < 3; ++i) expected.push_back({orNull(strings[static_cast<std::size_t>(i)]), kLogText});
  if (planted("the fourth string is logged")) expected.push_back({orNull(strings[3]), kLogText});
  claim(record.items == expected, "the log has other items");
}

void claimTrace(const TraceCapture& trace, const Strings& strings, const Outcome& outcome, bool withState, bool called,
                bool hasMethod) {
  const auto records = trace.records();
  claim(records.size() >= 2 && records.front().kind == TraceRecord::kEntry &&
            records.back().kind == TraceRecord::kExit && records.back().bytes == bytesOf(outcome.code),
        "the trace does not begin with an entry and end with an exit");
  const std::uint32_t form = withState ? 100 : 0;
  std::vector<std::pair<std::uint32_t, std::string>> expected;
  if (!hasMethod) expected.emplace_back(10, bytesOf(outcome.code));
  if (called && outcome.code != 0) {
    expected.emplace_back(form + 20, bytesOf(outcome.code));
    expected.emplace_back(form + 30, bytesOf(outcome.sqlCode));
    if (withState) expected.emplace_back(135, bytesOf(outcome.sqlState));
  }
  if (outcome.code != 0 || outcome.sqlCode != 0 || outcome.context == nullptr) {
    for (std::uint32_t i = 0; i < 3; ++i) expected.emplace_back(form + 40 + 10 * i, orNull(strings[i]));
  }
  if (planted("an error point is not traced") && !expected.empty()) expected.pop_back();
  claim(records.size() == expected.size() + 2, "the trace has more or fewer points of failure");
  for (std::size_t i = 0; i < records.size(); ++i) {
    const TraceCapture::Record& record = records[i];
    claim(record.function == kFunction, "a record of another function");
    if (i == 0 || i + 1 == records.size()) continue;
    claim(record.kind == TraceRecord::kError && record.probe == expected[i - 1].first && record.type == 4 &&
              record.bytes == expected[i - 1].second,
          "another point of failure in the trace");
  }
}

void claimSecret(const LogCapture& log, const TraceCapture& trace, const Strings& strings) {
  const std::string secret = orNull(strings[3]);
  for (std::size_t i = 0; i < 3; ++i) {
    if (orNull(strings[i]).find(secret) != std::string::npos) return;  // whoever sees that sees this
  }
  if (secret.size() <= sizeof(std::int32_t)) return;  // may be a number by chance
  const std::string hidden = planted("the fourth string is in the trace") ? strings[0].value_or("") : secret;
  for (const auto& record : trace.records()) {
    claim(record.bytes.find(hidden) == std::string::npos || hidden.empty(), "the fourth string is in the trace");
  }
  for (const auto& record : log.records()) {
    for (const auto& item : record.items) {
      claim(item.bytes.find(secret) == std::string::npos, "the fourth string is in the log");
    }
  }
}

}  // namespace

void run(Bytes& input) {
  const PageOfText& page = input.oneOf(kPages);
  setProcessCodePage(page.number == 0 ? 1 : page.number);
  const bool withState = input.flag();
  FakeJava java;
  java.givesContext = input.flag();
  const std::size_t holes = input.number<std::uint8_t>();
  const char* const names[] = {kException, kClass, kPool, "connectMD", "setDefaultPoolSize", "<init>", "getRC"};
  for (std::size_t i = 0; i < std::size(names); ++i) {
    if ((holes >> i & 1) != 0) java.missing.insert(names[i]);
  }
  java.code = input.flag() ? input.number<std::int32_t>() : 0;
  java.sqlCode = input.number<std::int32_t>();
  java.sqlState = input.number<std::int32_t>();
  Strings strings;
  for (auto& string : strings) {
    if (!input.flag()) continue;
    string = input.text();
    string->resize(std::strlen(string->c_str()));
  }

  ThreadContext ctx(java.env());
  const LogCapture log;
  const TraceCapture trace;
  const Outcome outcome = connect(ctx, strings, withState);

  const bool hasException = !java.missing.contains(kException) && !java.missing.contains("<init>");
  const bool hasClass = hasException && !java.missing.contains(kClass);
  const bool hasMethod = !hasClass || !java.missing.contains("connectMD");
  const bool called = hasClass && hasMethod;
  const int code = called && !java.missing.contains("getRC") ? java.code : -300;
  claim(outcome.code == (planted("another code") ? code + 1 : code), "another code than the store's");
  const bool fetched = called && code != 0;
  claim(!fetched || outcome.sqlCode == java.sqlCode, "another SQL code than the store's");
  claim(code != 0 || outcome.sqlCode == 0, "an SQL code beside a success");
  claim(!withState || !fetched || outcome.sqlState == java.sqlState, "another SQL state than the store's");
  claim((outcome.context != nullptr) == (called && java.givesContext), "a context of nobody, or none");

  const bool hasPool = !java.missing.contains(kPool) && !java.missing.contains("setDefaultPoolSize");
  claim(java.poolSizes == std::vector<int>(hasClass && hasPool ? 1 : 0, 0), "the pool was told another size");
  claim(java.connections.size() == (called ? 1U : 0U), "Java was called more or less than once");
  if (called) {
    for (std::size_t i = 0; i < 4; ++i) {
      const FakeJava::Text& text = java.connections[0][planted("two strings change places") ? i ^ 1 : i];
      const jstring alone = strings[i] ? MDObject::stringTojString(ctx, strings[i]->c_str()) : nullptr;
      claim(text == (alone == nullptr ? FakeJava::Text() : FakeJava::Text(java.textOf(alone))),
            "Java got another text");
      if (alone != nullptr) ctx.env->DeleteLocalRef(alone);
    }
  }
  claimLog(log, strings, outcome, withState);
  claimTrace(trace, strings, outcome, withState, called, hasMethod);
  claimSecret(log, trace, strings);

  claim(java.locals() == 0, "a local reference is left behind");
  claim(java.globals() == (outcome.context == nullptr ? 0U : 1U), "a global reference is left behind");
  if (outcome.context != nullptr) ctx.env->DeleteGlobalRef(outcome.context);
  java.claimGoodManners();
}

}  // namespace mesk::fuzz
