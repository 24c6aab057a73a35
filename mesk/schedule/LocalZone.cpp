#include <mesk/schedule/LocalZone.h>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

namespace mesk {
namespace {

constexpr time64 kDay = 86400;
constexpr time64 kBeginning = std::numeric_limits<time64>::min();
constexpr time64 kEnd = std::numeric_limits<time64>::max();
constexpr const char* kSystemZone = "/etc/localtime";
constexpr std::int64_t kLargestFile = 1 << 20;  ///< no zone comes near it

/// After so many years days, weekdays and leap years are the same again.
constexpr int kCycleYears = 400;
constexpr time64 kCycle = time64{146097} * kDay;

constexpr int kFirstRuleYear = 1970;
constexpr int kLastYearLookedAt = 2120;

constexpr int kIndexFromYear = 1800;
constexpr int kIndexToYear = 2600;
constexpr time64 kIndexStep = time64{1} << 25;

time64 floorDiv(time64 a, time64 b) { return a / b - (a % b < 0 ? 1 : 0); }

struct Civil {
  time64 year;
  int month;  ///< 1..12
  int day;
};

/// Years that begin in March, so that a leap day is a year's last. Good for 40,000 years either way, where all numbers
/// are small and none is negative.
Civil civilFromDays(time64 days) {
  constexpr std::uint32_t kEras = 100;
  const auto shifted = static_cast<std::uint32_t>(days + 719468 + time64{kEras} * 146097);
  const std::uint32_t era = shifted / 146097;
  const std::uint32_t dayOfEra = shifted - era * 146097;
  const std::uint32_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::uint32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::uint32_t shiftedMonth = (5 * dayOfYear + 2) / 153;
  const std::uint32_t month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
  return {time64{yearOfEra} + (time64{era} - kEras) * 400 + (month <= 2 ? 1 : 0), static_cast<int>(month),
          static_cast<int>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1)};
}

bool isLeap(time64 year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

time64 newYear(time64 year) { return daysFromCivil(year, 0, 1) * kDay; }

constexpr std::array<int, 12> kDaysBeforeMonth = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr std::array<int, 12> kDaysOfMonth = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

/// Whether the fields are as a conversion would leave them, the seconds apart. A leap day need not count as such.
bool isNormal(const std::tm& local) {
  return local.tm_mon >= 0 && local.tm_mon < 12 && local.tm_mday >= 1 &&
         local.tm_mday <= kDaysOfMonth[static_cast<std::size_t>(local.tm_mon)] && local.tm_hour >= 0 &&
         local.tm_hour < 24 && local.tm_min >= 0 && local.tm_min < 60;
}

/// Sets what follows from a date, the `days`-th since 1970.
void setDayNumbers(std::tm& local, time64 days) {
  const time64 weekday = (days + 4) % 7;
  local.tm_wday = static_cast<int>(weekday < 0 ? weekday + 7 : weekday);
  const bool afterLeapDay = local.tm_mon > 1 && isLeap(time64{local.tm_year} + 1900);
  local.tm_yday = kDaysBeforeMonth[static_cast<std::size_t>(local.tm_mon)] + local.tm_mday - (afterLeapDay ? 0 : 1);
}

void setFields(std::tm& local, time64 time, std::int32_t offset, bool summer) {
  const time64 seconds = time + offset;
  const time64 days = floorDiv(seconds, kDay);
  const auto timeOfDay = static_cast<int>(seconds - days * kDay);
  const Civil civil = civilFromDays(days);
  local.tm_year = static_cast<int>(civil.year - 1900);
  local.tm_mon = civil.month - 1;
  local.tm_mday = civil.day;
  local.tm_hour = timeOfDay / 3600;
  local.tm_min = timeOfDay / 60 % 60;
  local.tm_sec = timeOfDay % 60;
  setDayNumbers(local, days);
  local.tm_isdst = summer ? 1 : 0;
}

// ---- the rule of a zone: "CET-1CEST,M3.5.0,M10.5.0/3" ---------------------------------------------------------------

/// A day of every year and a time of it.
struct YearlyMoment {
  enum class Kind { kDayWithoutLeapDay, kDayOfYear, kWeekday } kind = Kind::kDayOfYear;
  int day = 0;    ///< of the year: 1..365 without the leap day, or 0..365; or a weekday, 0 Sunday
  int week = 0;   ///< 1..5, 5 the last
  int month = 0;  ///< 1..12
  int seconds = 7200;

  /// As seconds of local time since 1970.
  time64 in(time64 year) const {
    switch (kind) {
      case Kind::kDayWithoutLeapDay:
        return newYear(year) + time64{day - 1 + (isLeap(year) && day >= 60 ? 1 : 0)} * kDay + seconds;
      case Kind::kDayOfYear:
        return newYear(year) + time64{day} * kDay + seconds;
      case Kind::kWeekday:
        break;
    }
    const time64 first = daysFromCivil(year, month - 1, 1);
    const time64 nextMonth = daysFromCivil(year, month, 1);
    time64 wanted = first + (day - (first + 4) % 7 + 14) % 7 + time64{week - 1} * 7;
    while (wanted >= nextMonth) wanted -= 7;
    return wanted * kDay + seconds;
  }
};

struct ZoneRule {
  int standard = 0;  ///< offsets, as in `Stretch`
  int summer = 0;
  bool hasSummer = false;
  YearlyMoment begins;
  YearlyMoment ends;
};

/// Reads a rule from the left; every part that is not there makes it fail for good.
class RuleReader {
 public:
  explicit RuleReader(std::string_view text) : text_(text) {}

  std::optional<ZoneRule> read() {
    ZoneRule rule;
    name();
    rule.standard = -time(24);
    if (!text_.empty()) {
      rule.hasSummer = true;
      name();
      rule.summer = text_.empty() || text_.front() == ',' ? rule.standard + 3600 : -time(24);
      rule.begins = moment();
      rule.ends = moment();
    }
    if (failed_ || !text_.empty()) return std::nullopt;
    return rule;
  }

 private:
  bool take(char c) {
    if (text_.empty() || text_.front() != c) return false;
    text_.remove_prefix(1);
    return true;
  }

  void expect(char c) {
    if (!take(c)) failed_ = true;
  }

  void name() {
    if (take('<')) {
      const std::size_t end = text_.find('>');
      failed_ = failed_ || end == std::string_view::npos || end < 3;
      text_.remove_prefix(std::min(text_.size(), end == std::string_view::npos ? end : end + 1));
      return;
    }
    std::size_t length = 0;
    while (length < text_.size() && std::isalpha(static_cast<unsigned char>(text_[length])) != 0) ++length;
    failed_ = failed_ || length < 3;
    text_.remove_prefix(length);
  }

  int number(int lowest, int highest) {
    int value = 0;
    int digits = 0;
    while (!text_.empty() && std::isdigit(static_cast<unsigned char>(text_.front())) != 0 && digits < 4) {
      value = value * 10 + (text_.front() - '0');
      text_.remove_prefix(1);
      ++digits;
    }
    failed_ = failed_ || digits == 0 || value < lowest || value > highest;
    return value;
  }

  /// [+-]hh[:mm[:ss]] in seconds.
  int time(int mostHours) {
    const int sign = take('-') ? -1 : 1;
    if (sign == 1) take('+');
    int seconds = number(0, mostHours) * 3600;
    if (take(':')) {
      seconds += number(0, 59) * 60;
      if (take(':')) seconds += number(0, 59);
    }
    return sign * seconds;
  }

  YearlyMoment moment() {
    YearlyMoment result;
    expect(',');
    if (take('M')) {
      result.kind = YearlyMoment::Kind::kWeekday;
      result.month = number(1, 12);
      expect('.');
      result.week = number(1, 5);
      expect('.');
      result.day = number(0, 6);
    } else if (take('J')) {
      result.kind = YearlyMoment::Kind::kDayWithoutLeapDay;
      result.day = number(1, 365);
    } else {
      result.day = number(0, 365);
    }
    if (take('/')) result.seconds = time(167);
    return result;
  }

  std::string_view text_;
  bool failed_ = false;
};

// ---- zone files ---------------------------------------------------------------------------------------------------

/// Reads big-endian numbers; beyond the end of the data they are 0 and the reader has failed.
class ZoneBytes {
 public:
  explicit ZoneBytes(const std::string& data) : data_(data) {}

  std::int64_t number(std::size_t bytes) {
    if (data_.size() - at_ < bytes) {
      failed_ = true;
      at_ = data_.size();
      return 0;
    }
    std::uint64_t value = (static_cast<unsigned char>(data_[at_]) & 0x80U) != 0 ? ~std::uint64_t{0} : 0;
    for (std::size_t i = 0; i < bytes; ++i) value = value << 8U | static_cast<unsigned char>(data_[at_ + i]);
    at_ += bytes;
    return static_cast<std::int64_t>(value);
  }
  std::size_t count() { return static_cast<std::size_t>(std::max<std::int64_t>(number(4), 0)); }
  void skip(std::size_t bytes) {
    if (data_.size() - at_ < bytes) failed_ = true;
    at_ += std::min(bytes, data_.size() - at_);
  }
  std::string_view rest() const { return std::string_view(data_).substr(at_); }
  bool failed() const { return failed_; }

 private:
  const std::string& data_;
  std::size_t at_ = 0;
  bool failed_ = false;
};

struct ZoneHeader {
  int version = 0;
  std::size_t isUtc, isStandard, leaps, times, types, characters;

  std::size_t bytesOfData(std::size_t timeBytes) const {
    return times * timeBytes + times + types * 6 + characters + leaps * (timeBytes + 4) + isStandard + isUtc;
  }
};

std::optional<ZoneHeader> readHeader(ZoneBytes& bytes) {
  ZoneHeader header{};
  if (bytes.rest().substr(0, 4) != "TZif") return std::nullopt;
  bytes.skip(4);
  header.version = bytes.rest().empty() ? 0 : bytes.rest().front();
  bytes.skip(16);
  header.isUtc = bytes.count();
  header.isStandard = bytes.count();
  header.leaps = bytes.count();
  header.times = bytes.count();
  header.types = bytes.count();
  header.characters = bytes.count();
  if (bytes.failed() || header.types == 0) return std::nullopt;
  return header;
}

/// Where the C library looks for a zone of this name.
std::string fileOf(const char* name) {
  if (name == nullptr) return kSystemZone;
  if (*name == ':') ++name;
  std::string zone = *name == '\0' ? "Universal" : name;
  if (zone.front() == '/') return zone;
  const char* const folder = std::getenv("TZDIR");
  return (folder == nullptr || *folder == '\0' ? std::string("/usr/share/zoneinfo") : std::string(folder)) + "/" + zone;
}

/// All that were learned, the latest first; and the one that is in force.
std::atomic<const LocalZone*> known{nullptr};
std::atomic<const LocalZone*> current{nullptr};

bool sameFields(const std::tm& a, const std::tm& b) {
  return a.tm_year == b.tm_year && a.tm_mon == b.tm_mon && a.tm_mday == b.tm_mday && a.tm_hour == b.tm_hour &&
         a.tm_min == b.tm_min && a.tm_sec == b.tm_sec && a.tm_wday == b.tm_wday && a.tm_yday == b.tm_yday &&
         a.tm_isdst == b.tm_isdst;
}

}  // namespace

time64 daysFromCivil(time64 year, time64 month, time64 day) {
  const time64 years = floorDiv(month, 12);
  const time64 monthOfYear = month - years * 12;                        // 0 January
  const time64 shiftedYear = year + years - (monthOfYear < 2 ? 1 : 0);  // begins in March
  const time64 shiftedMonth = monthOfYear < 2 ? monthOfYear + 10 : monthOfYear - 2;
  const time64 era = floorDiv(shiftedYear, 400);
  const time64 yearOfEra = shiftedYear - era * 400;
  const time64 dayOfYear = (153 * shiftedMonth + 2) / 5;
  return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear + day - 1 - 719468;
}

// ---- the table ----------------------------------------------------------------------------------------------------

const LocalZone* LocalZone::inForce() {
  const char* const name = std::getenv("TZ");
  const LocalZone* zone = current.load(std::memory_order_acquire);
  if (zone == nullptr || !zone->isStillInForce(name)) {
    try {
      zone = &learned(name);
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
    current.store(zone, std::memory_order_release);
  }
  return zone->usable_ ? zone : nullptr;
}

/// A zone by name is read once, as the C library does; the system's zone whenever its file is another one.
bool LocalZone::isStillInForce(const char* name) const {
  if (name != nullptr) return source_.named && source_.name == name;
  return !source_.named && source_ == sourceOf(nullptr);
}

LocalZone::Source LocalZone::sourceOf(const char* name) {
  Source source;
  source.named = name != nullptr;
  if (name != nullptr) source.name = name;
  struct stat file {};
  // `TZ` may name anything: folders cannot be read, and devices may never end.
  if (::stat(name == nullptr ? kSystemZone : fileOf(name).c_str(), &file) == 0 && S_ISREG(file.st_mode)) {
    source.device = file.st_dev;
    source.inode = file.st_ino;
    source.modified = std::int64_t{file.st_mtim.tv_sec} * 1'000'000'000 + file.st_mtim.tv_nsec;
    source.size = file.st_size;
  }
  return source;
}

const LocalZone& LocalZone::learned(const char* name) {
  Source source = sourceOf(name);
  for (const LocalZone* zone = known.load(std::memory_order_acquire); zone != nullptr; zone = zone->next_) {
    if (zone->source_ == source) return *zone;
  }
  // Never deleted: another thread may be reading any of them. A process meets few.
  auto* const zone = new LocalZone(std::move(source));
  zone->next_ = known.load(std::memory_order_acquire);
  while (!known.compare_exchange_weak(zone->next_, zone, std::memory_order_acq_rel)) {
  }
  return *zone;
}

LocalZone::LocalZone(Source source) : source_(std::move(source)) {
  const char* const name = source_.named ? source_.name.c_str() : nullptr;
  const std::string path = fileOf(name);
  bool read = readFile(path);
  if (!read && source_.named) {
    changes_.clear();
    read = readRule(source_.name.substr(source_.name.starts_with(':') ? 1 : 0), true);
  }
  if (read) makeIndex();
  usable_ = read && agreesWithThePlatform();
}

bool LocalZone::readFile(const std::string& path) {
  if (source_.size < 0 || source_.size > kLargestFile) return false;
  std::string data(static_cast<std::size_t>(source_.size), '\0');
  std::ifstream file(path, std::ios::binary);
  if (!file.read(data.data(), source_.size)) return false;
  ZoneBytes bytes(data);
  auto header = readHeader(bytes);
  if (!header || header->version < '2') return false;
  bytes.skip(header->bytesOfData(4));
  header = readHeader(bytes);
  if (!header || header->leaps != 0 || data.size() < header->bytesOfData(8)) return false;

  std::vector<time64> times(header->times);
  for (time64& time : times) time = bytes.number(8);
  std::vector<std::size_t> types(header->times);
  for (std::size_t& type : types) type = static_cast<std::size_t>(bytes.number(1) & 0xFF);
  std::vector<Change> kinds(header->types);
  for (Change& kind : kinds) {
    kind.offset = static_cast<std::int32_t>(bytes.number(4));
    kind.summer = bytes.number(1) != 0;
    bytes.skip(1);
  }
  bytes.skip(header->characters + header->isStandard + header->isUtc);
  if (bytes.failed()) return false;

  // Before the first change, whatever is not flagged as daylight saving.
  const auto first = std::find_if(kinds.begin(), kinds.end(), [](const Change& kind) { return !kind.summer; });
  changes_.push_back(first == kinds.end() ? kinds.front() : *first);
  changes_.front().begin = kBeginning;
  for (std::size_t i = 0; i < times.size(); ++i) {
    if (types[i] >= kinds.size() || times[i] <= changes_.back().begin) return false;
    changes_.push_back(kinds[types[i]]);
    changes_.back().begin = times[i];
  }
  const std::string_view rest = bytes.rest();
  const std::size_t end = rest.find('\n', 1);
  if (rest.empty() || rest.front() != '\n' || end == std::string_view::npos) return false;
  const std::string rule(rest.substr(1, end - 1));
  return rule.empty() || readRule(rule, false);
}

/// The changes that follow those that are known, by the rule; or all of them.
bool LocalZone::readRule(const std::string& text, bool onlyRule) {
  const auto rule = RuleReader(text).read();
  if (!rule) return false;
  int year = kFirstRuleYear;
  if (onlyRule) {
    const bool south = rule->hasSummer && rule->begins.in(year) > rule->ends.in(year);
    changes_.push_back({kBeginning, south ? rule->summer : rule->standard, south});
  } else if (changes_.back().begin > kFarthest) {
    return false;
  } else if (changes_.back().begin > newYear(year)) {
    year = static_cast<int>(civilFromDays(floorDiv(changes_.back().begin, kDay)).year);
  }
  if (!rule->hasSummer) return true;

  const time64 latest = changes_.back().begin;
  const int cycleYear = year + 1;
  for (; year <= cycleYear + kCycleYears; ++year) {
    Change begins{rule->begins.in(year)-rule->standard, rule->summer, true};
    Change ends{rule->ends.in(year)-rule->summer, rule->standard, false};
    if (ends.begin < begins.begin) std::swap(begins, ends);
    for (const Change& change : {begins, ends}) {
      if (change.begin > latest && change.begin > changes_.back().begin) changes_.push_back(change);
    }
  }
  cycleBegin_ = newYear(cycleYear);
  cycleEnd_ = cycleBegin_ + kCycle;
  return true;
}

void LocalZone::makeIndex() {
  // Changes at the beginning of time are found otherwise; so is what a file may list in the far future.
  const auto isIndexed = [](const Change& change) {
    return change.begin >= newYear(kIndexFromYear) && change.begin < newYear(kIndexToYear);
  };
  const auto first = std::find_if(changes_.begin(), changes_.end(), isIndexed);
  if (first == changes_.end()) return;
  const auto last = std::find_if(changes_.rbegin(), changes_.rend(), isIndexed);
  indexBegin_ = first->begin;
  auto holds = static_cast<std::uint32_t>(first - changes_.begin());
  for (time64 time = indexBegin_; time <= last->begin; time += kIndexStep) {
    while (holds + 1 < changes_.size() && changes_[holds + 1].begin <= time) ++holds;
    index_.push_back(holds);
  }
}

/// The number of the change that holds at `time`.
std::size_t LocalZone::changeBefore(time64 time) const {
  if (time >= indexBegin_) {
    const auto step = static_cast<std::uint64_t>(time - indexBegin_) / kIndexStep;
    if (step < index_.size()) {
      std::size_t holds = index_[step];
      while (holds + 1 < changes_.size() && changes_[holds + 1].begin <= time) ++holds;
      return holds;
    }
  }
  const auto after = std::upper_bound(changes_.begin() + 1, changes_.end(), time,
                                      [](time64 value, const Change& change) { return value < change.begin; });
  return static_cast<std::size_t>(after - changes_.begin()) - 1;
}

Stretch LocalZone::at(time64 time) const {
  time64 shift = 0;
  if (time >= cycleEnd_) {
    shift = (time - cycleBegin_) / kCycle * kCycle;
    time -= shift;
  }
  const std::size_t last = changes_.size() - 1;
  const std::size_t number = changeBefore(time);
  const Change& change = changes_[number];
  // In the cycle's last winter and its first, a stretch is cut short at the seam: less than there is, never more.
  time64 begin = change.begin;
  time64 end = number < last ? changes_[number + 1].begin : kEnd;
  if (cycleEnd_ != kEnd && time >= cycleBegin_) {
    end = std::min(end, cycleEnd_);
    if (shift != 0) {
      begin = std::max(begin, cycleBegin_) + shift;
      end += shift;
    }
  }
  return {begin, end, change.offset, change.summer};
}

// ---- trust --------------------------------------------------------------------------------------------------------

bool LocalZone::agreesWithThePlatform() const {
  // The platform may not have looked at the zone yet; a conversion makes it.
  std::tm any{};
  any.tm_year = 100;
  any.tm_mday = 1;
  _mktime64(&any);
  if (!agreesOnLocalTime()) return false;
  // Another thread's conversion can come in between and leave its offset; that does not happen every time.
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (agreesOnConversions()) return true;
  }
  return false;
}

bool LocalZone::agreesOnLocalTime() const {
  const auto agrees = [&](time64 time) {
    const std::tm* const platform = _localtime64(&time);
    if (platform == nullptr) return false;
    const Stretch stretch = at(time);
    std::tm own{};
    setFields(own, time, stretch.offset, stretch.summer);
    return sameFields(own, *platform);
  };
  for (const Change& change : changes_) {
    // What lies before the year 0 is nobody's schedule, and the cycle repeats what was looked at.
    if (change.begin < newYear(0) || change.begin > newYear(kLastYearLookedAt)) continue;
    for (const time64 time : {change.begin - 1, change.begin, change.begin + 40 * kDay}) {
      if (!agrees(time)) return false;
    }
  }
  // Around the turn of the year, where rules that are reckoned year by year may go wrong.
  for (time64 year = 1900; year < kLastYearLookedAt; ++year) {
    for (const time64 time : {newYear(year) - kDay, newYear(year) - 1, newYear(year), newYear(year) + kDay}) {
      if (!agrees(time)) return false;
    }
  }
  return agrees(newYear(2500)) && agrees(newYear(9999) + 200 * kDay);
}

/// Tries the hours around the changes of the last years, where conversions have something to decide.
bool LocalZone::agreesOnConversions() const {
  constexpr std::size_t kTried = 12;
  const time64 latest = newYear(2037);
  std::size_t tried = 0;
  for (std::size_t i = changes_.size(); i-- > 1 && tried < kTried;) {
    if (changes_[i].begin > latest) continue;
    ++tried;
    const time64 before = changes_[i].begin - 10 * kDay;
    for (const int minutes : {-90, -30, 30, 90}) {
      for (const int flag : {0, 1}) {
        ZoneTime own(*this, before);
        std::tm plain{};
        time64 ignored = 0;
        // Both begin with the offset that held ten days before.
        if (!own.breakDown(before, plain)) return false;
        std::tm platform = plain;
        if (!own.convert(plain, ignored) || _mktime64(&platform) != ignored) return false;
        own.breakDown(changes_[i].begin, plain);
        plain.tm_min += minutes;
        plain.tm_isdst = flag;
        platform = plain;
        time64 time = 0;
        const bool converted = own.convert(plain, time);
        if (_mktime64(&platform) != (converted ? time : -1) || !sameFields(plain, platform)) return false;
      }
    }
  }
  return true;
}

// ---- conversions --------------------------------------------------------------------------------------------------

ZoneTime::ZoneTime(const LocalZone& zone, time64 reference) : zone_(zone) {
  if (isInside(reference)) guess_ = -time64{zone_.at(reference).offset};
}

bool ZoneTime::isInside(time64 time) {
  if (time <= LocalZone::kFarthest && time >= -LocalZone::kFarthest) return true;
  outside_ = true;
  return false;
}

bool ZoneTime::breakDown(time64 time, std::tm& local) {
  if (!isInside(time)) return false;
  const Stretch stretch = zone_.at(time);
  setFields(local, time, stretch.offset, stretch.summer);
  return true;
}

bool ZoneTime::convert(std::tm& local, time64& time) {
  constexpr int kProbes = 6;
  time = -1;
  // The C library has ways of its own with seconds beyond a minute, and with no flag at all.
  if (local.tm_sec < 0 || local.tm_sec > 59 || local.tm_isdst < 0) {
    outside_ = true;
    return false;
  }
  const time64 days = daysFromCivil(time64{local.tm_year} + 1900, local.tm_mon, local.tm_mday);
  const time64 wanted =
      days * kDay + time64{local.tm_hour} * 3600 + time64{local.tm_min} * 60 + local.tm_sec;  // as if it were UTC
  const bool summer = local.tm_isdst != 0;

  // Each try is mended by how far it missed. Two tries that send to one another say that the local time is missing;
  // then the side of the gap that does not have the flag asked for is taken.
  time64 found = wanted + guess_;
  time64 before = found;
  time64 twoBefore = found;
  Stretch stretch{};
  for (int probes = kProbes;;) {
    if (!isInside(found)) return false;
    stretch = zone_.at(found);
    const time64 missedBy = wanted - (found + stretch.offset);
    if (missedBy == 0) {
      if (stretch.summer != summer) {
        found = otherSeason(wanted, found, summer);
        if (!isInside(found)) return false;
        stretch = zone_.at(found);
      }
      break;
    }
    if (found == twoBefore && found != before && stretch.summer != summer) break;
    if (--probes == 0) return false;
    twoBefore = before;
    before = found;
    found += missedBy;
  }
  guess_ = found - wanted;
  if (found + stretch.offset == wanted && isNormal(local)) {
    // The date and time that were asked for stand as they are.
    setDayNumbers(local, days);
    local.tm_isdst = stretch.summer ? 1 : 0;
  } else {
    setFields(local, found, stretch.offset, stretch.summer);
  }
  time = found;
  return time != -1;
}

/// The local time `local` in the offset of the nearest time around `time` that has the flag asked for, by the C
/// library's strides of a week less an hour; when there is none within seven years, an hour's difference.
time64 ZoneTime::otherSeason(time64 local, time64 time, bool summer) {
  constexpr time64 kStride = 601200;
  constexpr time64 kBound = 457243209 / 2 + kStride;
  Stretch past = zone_.at(time);
  Stretch future = past;
  for (time64 distance = kStride; distance < kBound; distance += kStride) {
    if (time - distance < past.begin) past = zone_.at(time - distance);
    if (past.summer == summer) return local - past.offset;
    if (time + distance >= future.end) future = zone_.at(time + distance);
    if (future.summer == summer) return local - future.offset;
  }
  return summer ? time - 3600 : time + 3600;
}

time64 ZoneTime::settledUntil(const std::tm& local, time64 time) {
  if (!isInside(time)) return time;
  const Stretch stretch = zone_.at(time);
  if (guess_ != -time64{stretch.offset} || (local.tm_isdst != 0) != stretch.summer) return time;
  // The second before 1970 is the one that conversions cannot tell from a failure.
  return time < -1 ? std::min<time64>(stretch.end, -1) : stretch.end;
}

bool PlatformTime::breakDown(time64 time, std::tm& local) {
  const std::tm* const broken = _localtime64(&time);
  if (broken == nullptr) return false;
  local = *broken;
  return true;
}

bool PlatformTime::convert(std::tm& local, time64& time) {
  time = _mktime64(&local);
  return time != -1;
}

}  // namespace mesk
