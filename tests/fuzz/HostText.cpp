// The small texts that people write: the store's name or URL, durations, sizes, codes, words, rules, options. What is
// accepted is written and read again as the same.
#include <algorithm>
#include <string>
#include <vector>

#include <scheduler/ExitCodes.h>
#include <scheduler/RunOptions.h>
#include <scheduler/ScheduleRule.h>
#include <scheduler/ShellWords.h>
#include <scheduler/StoreAddress.h>
#include <scheduler/SuccessCode.h>
#include <scheduler/Units.h>

#include "Fuzz.h"
#include "Texts.h"

namespace mesk::fuzz {
namespace {

using namespace mesk::host;

void storeAddress(std::string text) {
  text.erase(std::find(text.begin(), text.end(), '\0'), text.end());  // as from a command line
  try {
    const StoreAddress address(text);
    claim(address.path().starts_with('/'), "a path that depends on where one stands");
    claim(address.url().starts_with("jdbc:sqlite:" + address.path()), "the URL names another file than the path");
    const StoreAddress again(planted("another store's address") ? address.url() + "x" : address.url());
    claim(again.url() == address.url() && again.path() == address.path(),
          "the address of '" + text + "' names another store: " + again.path());
    claim(!text.starts_with("jdbc:") || text.starts_with("jdbc:sqlite:"), "another database's URL is accepted");
  } catch (const HostError& refused) {
    claim(refused.exitCode() == kExitUsage && *refused.what() != '\0', "refused without a reason");
  }
}

void duration(const std::string& text) {
  const std::int64_t seconds = durationFromText(text);
  claim(seconds >= 0 && seconds <= 366 * 86400, "a duration out of range");
  const std::string shown = durationText(planted("another duration") ? seconds ^ 1 : seconds);
  claim(durationFromText(shown) == seconds, "another duration: " + shown);
}

void size(const std::string& text) {
  const std::int64_t bytes = sizeFromText(text);
  claim(bytes >= 0 && bytes <= 1 << 30, "a size out of range");
  claim(sizeFromText(sizeText(planted("another size") ? bytes ^ 1 : bytes)) == bytes, "another size");
}

void number(const std::string& text) {
  const std::int64_t value = numberFromText(text, 3, 70000);
  claim(value >= 3 && value <= 70000, "a number out of range");
  std::string digits = std::to_string(value);
  digits.insert(0,
                std::string(text.size() - std::min(text.size(), digits.size()), planted("another number") ? '1' : '0'));
  claim(digits == text, "another number");
}

void successCode(const std::string& text) {
  SuccessCode code = successCodeFromText(text);
  const SuccessCode again = successCodeFromText(textOf(code));
  if (planted("another success code")) code.code ^= 1;
  claim(again == code, "another success code");
}

void words(const std::string& text) {
  std::vector<std::string> split = shellWords(text);
  const std::string line = shellLine(split);
  if (planted("a word is lost") && !split.empty()) split.pop_back();
  claim(shellWords(line) == split, "other words: " + line);
}

void rule(const std::string& text) {
  ScheduleRule rule = ruleFromWords(text);
  const std::string shown = wordsOf(rule);
  if (planted("another rule")) rule.intervalUnit += 1;
  claim(ruleFromWords(shown) == rule, "another rule: " + shown);
  claim(rule.endDate.empty() || rule.endDate >= rule.startDate, "a rule that ends before it begins");
}

void options(const std::string& text) {
  RunOptions options = RunOptions::fromJson(text);
  const std::string shown = options.toJson();
  claim(decode(shown, false).has_value(), "options that are not UTF-8");
  if (planted("other options")) options.timeoutSeconds ^= 1;
  claim(RunOptions::fromJson(shown) == options, "other options: " + shown);
}

}  // namespace

void run(Bytes& input) {
  constexpr void (*kReaders[])(const std::string&) = {
      [](const std::string& text) { storeAddress(text); }, duration, size, number, successCode, words, rule, options};
  const auto read = input.oneOf(kReaders);
  const std::string text = input.rest();
  try {
    read(text);
  } catch (const FormatError& refused) {
    claim(*refused.what() != '\0', "refused without a reason");
  } catch (const ShellWordsError& refused) {
    claim(*refused.what() != '\0', "refused without a reason");
  }
}

}  // namespace mesk::fuzz
