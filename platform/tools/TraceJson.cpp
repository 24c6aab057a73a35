#include <platform/tools/TraceJson.h>

#include <fmt/format.h>

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
  if (date.size() != 10 || date[4] != '-' || date[7] != '-') return std::nullopt;
  if (time.size() != 15 || time[2] != ':' || time[5] != ':' || time[8] != '.') return std::nullopt;
  const auto year = parse<int>(date.substr(0, 4));
  const auto month = parse<unsigned>(date.substr(5, 2));
  const auto day = parse<unsigned>(date.substr(8, 2));
  const auto hour = parse<int>(time.substr(0, 2));
  const auto minute = parse<int>(time.substr(3, 2));
  const auto second = parse<int>(time.substr(6, 2));
  const auto micros = parse<int>(time.substr(9, 6));
  if (!year || !month || !day || !hour || !minute || !second || !micros) return std::nullopt;

  using namespace std::chrono;
  const year_month_day calendar{std::chrono::year(*year), std::chrono::month(*month), std::chrono::day(*day)};
  if (!calendar.ok()) return std::nullopt;
  const auto moment = sys_days(calendar) + hours(*hour) + minutes(*minute) + seconds(*second) + microseconds(*micros);
  return moment.time_since_epoch().count();
}

/// One line as an event; nothing when it is no trace record.
std::optional<Json> parseLine(std::string_view line) {
  Words words(line);
  const std::string_view date = words.next();
  const std::optional<std::int64_t> time = parseTime(date, words.next());
  const auto thread = parse<std::uint64_t>(words.next());
  const std::string_view function = words.next();
  const std::string_view kind = words.next();
  if (!time || !thread || function.size() != 8) return std::nullopt;

  Json event{{"name", fmt::format("0x{}", function)}, {"cat", "mesk"}, {"ts", *time}, {"pid", 1}, {"tid", *thread}};
  if (kind == "entry") {
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
