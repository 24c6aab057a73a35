// Reading a trace file, whatever is in it: each line is a record, or the file is refused and the line named.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include <platform/tools/TraceJson.h>

#include "Fuzz.h"
#include "Lines.h"

namespace mesk::fuzz {
namespace {

struct Content {
  std::vector<std::string> whole;
  bool cut = false;  ///< something follows the last line's end
};

Content contentOf(const std::string& content) {
  Content lines;
  std::istringstream in(content);
  std::string line;
  while (std::getline(in, line)) {
    if (in.eof()) {
      lines.cut = true;
    } else {
      lines.whole.push_back(line);
    }
  }
  return lines;
}

/// Whether a line begins as those do that the trace writes, up to where a value may follow.
bool isRecord(const std::string& text) {
  try {
    Line line(text);
    line.shape("0000-00-00 00:00:00.000000 ");
    const auto two = [&text](std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); };
    if (two(5) < 1 || two(5) > 12 || two(8) < 1 || two(8) > 31 || two(11) > 23 || two(14) > 59 || two(17) > 59) {
      return false;
    }
    line.number<std::uint64_t>();
    line.expect(" ");
    for (int i = 0; i < 8; ++i) line.oneOf("0123456789ABCDEF");
    line.expect(" ");
    if (line.take("entry")) return line.atEnd();
    if (!line.take("exit")) {
      line.expect(line.take("data ") ? "" : "error ");
      line.number<std::uint32_t>();
    }
    return line.atEnd() || line.take(" ");
  } catch (const Broken&) {
    return false;
  }
}

}  // namespace

void run(Bytes& input) {
  const std::string content = input.rest();
  std::istringstream in(content);
  std::ostringstream out;
  std::ostringstream complaints;
  const int result = traceToJson(in, out, complaints, "the-trace");

  const Content lines = contentOf(content);
  const auto bad =
      std::find_if(lines.whole.begin(), lines.whole.end(), [](const auto& line) { return !isRecord(line); });
  const std::string complaint = complaints.str();
  if (bad != lines.whole.end()) {
    // The reader may know better and stop before: at a day that its month has not, say.
    const auto last = planted("a bad line is passed over") ? 0 : bad - lines.whole.begin() + 1;
    claim(result == 1, "a line that is no record was taken for one");
    claim(complaint.starts_with("mesk-trace2json: the-trace:"), "a complaint that names no line");
    const long named = std::stol(complaint.substr(27));
    claim(named >= 1 && named <= last, "a complaint that names another line");
    return;
  }
  if (result != 0) {
    claim(complaint.find("not a line of a trace") != std::string::npos, "refused without a reason");
    return;
  }
  claim(lines.cut == !complaint.empty(), "an incomplete last line, and nothing said; or the other way round");
  std::string text = out.str();
  if (planted("the JSON is not closed")) text.resize(text.size() - 2);
  const auto events = nlohmann::json::parse(text, nullptr, false);
  claim(events.is_array(), "what came out is no JSON array");
  claim(events.size() == lines.whole.size() + (planted("an event too few is expected") ? 1 : 0),
        "not one event for each line");
}

}  // namespace mesk::fuzz
