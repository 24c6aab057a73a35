// The diagnostic log: any record comes out as one line of UTF-8, from which its items can be read back.
#include <platform/Log.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <mesk/support/Captures.h>

#include "Fuzz.h"
#include "Lines.h"
#include "MemoryFile.h"
#include "Texts.h"

namespace mesk::fuzz {
namespace {

constexpr std::size_t kMostItems = 4;

/// An item whose memory ends where the item does.
struct Item {
  Item(const std::string& content, bool null, std::int32_t itemType)
      : bytes(content), memory(null ? nullptr : new char[content.size()]), type(itemType) {
    if (memory != nullptr && !bytes.empty()) std::memcpy(memory.get(), bytes.data(), bytes.size());
  }

  std::string bytes;
  std::unique_ptr<char[]> memory;
  std::int32_t type;
};

struct Head {
  std::uint32_t function;
  std::int32_t code;
  std::uint32_t probe;
  std::uint32_t level;
};

void write(const Head& head, const std::vector<Item>& items) {
  const void* address[kMostItems] = {};
  std::size_t length[kMostItems] = {};
  std::int32_t type[kMostItems] = {};
  for (std::size_t i = 0; i < items.size(); ++i) {
    address[i] = items[i].memory.get();
    length[i] = items[i].bytes.size();
    type[i] = items[i].type;
  }
  // Only as many are looked at as are said to be there.
  ossLog(nullptr, head.function, head.code, head.probe, head.level, static_cast<std::uint32_t>(items.size()),
         address[0], length[0], type[0], address[1], length[1], type[1], address[2], length[2], type[2], address[3],
         length[3], type[3]);
}

/// A text as the log shows it.
std::string shown(const std::string& bytes, const PageOfText& page) {
  const std::uint32_t number = page.usable ? page.number : kUtf8CodePage;
  std::string text = convertedWhole(bytes, number, kUtf8CodePage, 0).text;
  // A zero byte within is escaped as what it is.
  for (std::size_t at = 0; (at = text.find("\xC0\x80", at)) != std::string::npos;) text.replace(at, 2, 1, '\0');
  return text;
}

void claimLine(const std::string& text, const Head& head, const std::vector<Item>& items, const PageOfText& page) {
  claimNoControls(text);
  claim(decode(text, false).has_value(), "the line is not UTF-8");
  Line line(text);
  line.shape("0000-00-00 00:00:00.000000 ");
  line.expect(text.substr(27, 1) == "+" ? "+" : "-");
  line.shape("00:00 ");
  claim(line.number<std::uint64_t>() != 0, "a record of no thread");
  line.expect(" 0x");
  claim(line.number<std::uint32_t>(16) == head.function, "another function");
  line.expect(" probe ");
  claim(line.number<std::uint32_t>() == head.probe, "another probe");
  line.expect(" level ");
  claim(line.number<std::uint32_t>() == head.level, "another level");
  if (head.code != 0) {
    line.expect(" code ");
    claim(line.number<std::int32_t>() == head.code, "another code");
  }
  for (const Item& item : items) {
    if (item.memory == nullptr) {
      line.expect(" null");
    } else if (item.type == kLogInteger && item.bytes.size() == 4) {
      std::int32_t number;
      std::memcpy(&number, item.bytes.data(), sizeof number);
      line.expect(" int ");
      claim(line.number<std::int32_t>() == (planted("another number") ? ~number : number), "another number");
    } else if (item.type == kLogText) {
      line.expect(" text ");
      claim(line.quoted() == shown(item.bytes, page), "another text");
    } else {
      line.expect(" type ");
      claim(line.number<std::int32_t>() == item.type, "another type");
      line.expect(" ");
      claim(line.hex() == item.bytes, "other bytes");
    }
  }
  claim(line.atEnd(), "more in the line than in the record");
}

MemoryFile& logFile() {
  static MemoryFile& file = []() -> MemoryFile& {
    static MemoryFile made;
    claim(startLog(made.path().c_str(), std::numeric_limits<std::size_t>::max(), 1), "the log cannot be started");
    return made;
  }();
  return file;
}

}  // namespace

void run(Bytes& input) {
  MemoryFile& file = logFile();
  file.clear();
  const PageOfText& page = input.oneOf(kPages);
  setProcessCodePage(page.number == 0 ? 1 : page.number);
  Head head{};
  head.function = input.number<std::uint32_t>();
  head.probe = input.number<std::uint32_t>();
  head.level = input.number<std::uint8_t>();
  head.code = input.flag() ? input.number<std::int32_t>() : 0;
  std::vector<Item> items;
  while (items.size() < kMostItems && !input.empty()) {
    const std::int32_t types[] = {kLogInteger, kLogText, kLogText, input.number<std::int32_t>()};
    const std::int32_t type = input.oneOf(types);
    const bool null = input.below(8) == 7;
    items.emplace_back(input.text(), null, type);
  }

  const test::LogCapture log;
  write(head, items);
  std::string content = file.content();
  if (planted("a byte that is none is written") && !content.empty()) content.insert(content.size() - 1, "\xFF");
  if (planted("a line is broken") && !content.empty()) content.insert(content.size() - 1, "\n");
  const std::vector<std::string> lines = linesOf(content);
  claim(lines.size() == 1, "not one line for a record");
  claimLine(lines.front(), head, items, page);

  const auto records = log.records();
  claim(records.size() == 1 && records[0].items.size() == items.size(), "the sink got something else");
  for (std::size_t i = 0; i < items.size(); ++i) {
    const std::string& bytes = records[0].items[i].bytes;
    claim(records[0].items[i].type == items[i].type && (items[i].memory == nullptr || bytes == items[i].bytes),
          "the sink got another item");
  }
}

}  // namespace mesk::fuzz
