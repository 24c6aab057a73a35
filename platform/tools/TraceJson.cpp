#include <platform/tools/TraceJson.h>

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

namespace mesk {

namespace {

using Json = nlohmann::ordered_json;

/// Takes the words of a line one by one.
class Words {
 public:
  explicit Words(std::string_view line) : rest_(line) {}

  std::string_view next() {
    const std::size_t blank = rest_.find(' ');
    const std::string_view word = rest_.substr(0, blank);
    rest_.remove_prefix(blank == std::string_view::npos ? rest_.size() : blank + 1);
    return word;
  }

  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

template <typename Integer>
std::optional<Integer> parse(std::string_view text) {
  Integer value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return value;
}

/// Microseconds since the epoch of "YYYY-MM-DD" and "HH:MM:SS.uuuuuu".
std::optional<std::int64_t> parseTime(std::string_view date, std::string_view time) {
  const auto hasShape = [](std::string_view text, std::string_view shape) {
    return std::equal(text.begin(), text.end(), shape.begin(), shape.end(),
                      [](char c, char sign) { return sign == '0' ? c >= '0' && c <= '9' : c == sign; });
  };
  if (!hasShape(date, "0000-00-00") || !hasShape(time, "00:00:00.000000")) return std::nullopt;
  const auto number = [](std::string_view digits) { return *parse<int>(digits); };
  const int hour = number(time.substr(0, 2));
  const int minute = number(time.substr(3, 2));
  const int second = number(time.substr(6, 2));

  using namespace std::chrono;
  const year_month_day calendar{year(number(date.substr(0, 4))),
                                month(static_cast<unsigned>(number(date.substr(5, 2)))),
                                day(static_cast<unsigned>(number(date.substr(8, 2))))};
  if (!calendar.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const auto moment =
      sys_days(calendar) + hours(hour) + minutes(minute) + seconds(second) + microseconds(number(time.substr(9, 6)));
  return moment.time_since_epoch().count();
}

bool isFunction(std::string_view word) {
  return word.size() == 8 && word.find_first_not_of("0123456789ABCDEF") == std::string_view::npos;
}

/// One line as an event; nothing when it is no trace record.
std::optional<Json> parseLine(std::string_view line) {
  Words words(line);
  const std::string_view date = words.next();
  const std::optional<std::int64_t> time = parseTime(date, words.next());
  const auto thread = parse<std::uint64_t>(words.next());
  const std::string_view function = words.next();
  const std::string_view kind = words.next();
  if (!time || !thread || !isFunction(function)) return std::nullopt;

  Json event{{"name", fmt::format("0x{}", function)}, {"cat", "mesk"}, {"ts", *time}, {"pid", 1}, {"tid", *thread}};
  if (kind == "entry" && words.rest().empty()) {
    event["ph"] = "B";
  } else if (kind == "exit") {
    event["ph"] = "E";
    if (!words.rest().empty()) event["args"] = {{"result", words.rest()}};
  } else if (kind == "data" || kind == "error") {
    const auto probe = parse<std::uint32_t>(words.next());
    if (!probe) return std::nullopt;
    event["name"] = fmt::format("0x{} {} {}", function, kind, *probe);
    event["ph"] = "i";
    event["s"] = "t";
    event["args"] = {{"value", words.rest()}};
  } else {
    return std::nullopt;
  }
  return event;
}

}  // namespace

int traceToJson(std::istream& in, std::ostream& out, std::ostream& complaints, const std::string& name) {
  std::string line;
  std::size_t number = 0;
  out << '[';
  const char* separator = "\n";
  while (std::getline(in, line)) {
    ++number;
    const std::optional<Json> event = parseLine(line);
    if (!event || in.eof()) {
      // A process that died can leave half a line, but only at the end.
      const bool cut = in.eof();
      complaints << fmt::format("mesk-trace2json: {}:{}: {}\n", name, number,
                                cut ? "the last line is incomplete and was left out" : "not a line of a trace");
      if (!cut) return 1;
      break;
    }
    // Bytes of another code page are shown as what they are not, rather than refused.
    out << separator << event->dump(-1, ' ', false, Json::error_handler_t::replace);
    separator = ",\n";
  }
  out << "\n]\n";
  out.flush();
  if (!out) {
    complaints << "mesk-trace2json: cannot write\n";
    return 1;
  }
  return 0;
}

}  // namespace mesk
