// The trace: any records come out as one line each, from which they can be read back, and as events of JSON.
#include <platform/Trace.h>

#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include <platform/tools/TraceJson.h>

#include "Fuzz.h"
#include "Lines.h"
#include "MemoryFile.h"

namespace mesk::fuzz {
namespace {

constexpr std::size_t kMostRecords = 8;

/// A record whose data ends where its memory does.
struct Record {
  TraceRecord::Kind kind;
  std::uint64_t thread;
  std::uint32_t function;
  std::uint32_t probe;
  std::int32_t type;
  std::string bytes;
  std::unique_ptr<char[]> memory;
};

Record recordFrom(Bytes& input) {
  constexpr TraceRecord::Kind kKinds[] = {TraceRecord::kEntry, TraceRecord::kExit, TraceRecord::kData,
                                          TraceRecord::kError};
  Record record{};
  record.kind = input.oneOf(kKinds);
  const bool null = input.below(8) == 7;
  record.thread = input.number<std::uint64_t>();
  record.function = input.number<std::uint32_t>();
  record.probe = input.number<std::uint32_t>();
  record.type = input.number<std::int32_t>();
  record.bytes = input.text();
  if (record.kind == TraceRecord::kEntry || null) record.bytes.clear();
  if (record.kind == TraceRecord::kExit && !null) record.bytes.resize(sizeof(std::int32_t));
  if (record.kind == TraceRecord::kEntry || null) return record;
  record.memory.reset(new char[record.bytes.size()]);
  if (!record.bytes.empty()) std::memcpy(record.memory.get(), record.bytes.data(), record.bytes.size());
  return record;
}

void write(const Record& record) {
  const void* const address = record.memory.get();
  switch (record.kind) {
    case TraceRecord::kEntry:
      return _gtraceEntry(record.thread, record.function, 0, 1);
    case TraceRecord::kExit:
      return _gtraceExit(record.thread, record.function, address, 0);
    case TraceRecord::kData:
      return _gtraceVar(record.thread, record.function, record.probe, record.type, 0, 1, 0, record.bytes.size(),
                        address);
    case TraceRecord::kError:
      return _gtraceErrorVar(record.thread, record.function, record.probe, record.type, 0, 1, 0, record.bytes.size(),
                             address);
  }
}

/// The bytes that the value at the end of a line stands for.
std::string valueFrom(Line& line) {
  const auto bytesOf = [](std::int32_t number) {
    return std::string(reinterpret_cast<const char*>(&number), sizeof number);
  };
  std::string bytes;
  if (line.take(" int ")) {
    bytes = bytesOf(line.number<std::int32_t>());
    if (line.take(" ")) claim(line.quoted() == bytes, "a number and a text that differ");
  } else if (line.take(" tm ")) {
    for (const char* const name :
         {"sec=", " min=", " hour=", " mday=", " mon=", " year=", " wday=", " yday=", " isdst="}) {
      line.expect(name);
      bytes += bytesOf(line.number<std::int32_t>());
    }
  } else {
    line.expect(" bytes ");
    bytes = line.hex();
    line.expect(" ");
    claim(line.quoted() == bytes, "bytes and a text that differ");
  }
  return bytes;
}

const char* nameOf(TraceRecord::Kind kind) {
  constexpr const char* kNames[] = {"entry", "exit", "data", "error"};
  return kNames[kind];
}

void claimLine(const std::string& text, const Record& record) {
  claimNoControls(text);
  Line line(text);
  line.shape("0000-00-00 00:00:00.000000 ");
  claim(line.number<std::uint64_t>() == record.thread, "another thread");
  line.expect(" ");
  claim(line.number<std::uint32_t>(16) == record.function, "another function");
  line.expect(std::string(" ") + nameOf(record.kind));
  const bool hasProbe = record.kind == TraceRecord::kData || record.kind == TraceRecord::kError;
  if (hasProbe) {
    line.expect(" ");
    claim(line.number<std::uint32_t>() == record.probe, "another probe");
    line.expect(" type ");
    claim(line.number<std::int32_t>() == record.type, "another type");
  }
  if (hasProbe || (record.kind == TraceRecord::kExit && record.memory != nullptr)) {
    std::string bytes = valueFrom(line);
    if (planted("a byte of a value is another one") && !bytes.empty()) bytes.back() ^= 1;
    claim(bytes == record.bytes, "other bytes");
  }
  claim(line.atEnd(), "more in the line than in the record");
}

void claimEvents(const std::string& content, const std::vector<Record>& records) {
  std::istringstream in(content);
  std::ostringstream out;
  std::ostringstream complaints;
  claim(traceToJson(in, out, complaints, "trace") == 0 && complaints.str().empty(),
        "the converter refuses what the trace wrote: " + complaints.str());
  std::string text = out.str();
  if (planted("the JSON is not closed")) text.resize(text.size() - 2);
  const auto events = nlohmann::json::parse(text, nullptr, false);
  claim(events.is_array() && events.size() == records.size(), "not one event for each record");
  for (std::size_t i = 0; i < records.size(); ++i) {
    const Record& record = records[i];
    const auto& event = events[i];
    constexpr const char* kPhases[] = {"B", "E", "i", "i"};
    claim(event.at("ph") == kPhases[record.kind] && event.at("tid") == record.thread, "another event");
    char function[16];
    std::snprintf(function, sizeof function, "0x%08X", static_cast<unsigned>(record.function));
    std::string name = function;
    if (record.kind == TraceRecord::kData || record.kind == TraceRecord::kError) {
      name += std::string(" ") + nameOf(record.kind) + " " + std::to_string(record.probe);
    }
    claim(event.at("name") == name, "an event of another function");
  }
}

}  // namespace

void run(Bytes& input) {
  std::vector<Record> records;
  while (records.size() < kMostRecords && !input.empty()) records.push_back(recordFrom(input));

  MemoryFile file;
  claim(startTrace(file.path().c_str()), "the trace cannot be started");
  for (const Record& record : records) write(record);
  stopTrace();

  const std::string content = file.content();
  std::vector<std::string> lines = linesOf(content);
  if (planted("a record is lost") && !lines.empty()) lines.pop_back();
  claim(lines.size() == records.size(), "not one line for each record");
  for (std::size_t i = 0; i < records.size(); ++i) claimLine(lines[i], records[i]);
  claimEvents(content, records);
}

}  // namespace mesk::fuzz
