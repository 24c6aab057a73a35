// Dates, formats and large objects.
#include <mesk/ledger/Patterns.h>
#include <mesk/ledger/StandardError.h>
#include <mesk/values/SimpleDateFormat.h>

namespace mesk::test::ledger {
namespace {

constexpr long long kMillis = 1'700'000'000'123;

template <class W, class... A>
void addConstruction(ClassRows<W>& of, const std::string& variant, std::function<void(Prescription&)> prescribe,
                     A... arguments) {
  of.add({constructorSymbol<W, ThreadContext&, A...>(), variant,
          [arguments...](Run& run) {
            W* made = nullptr;
            run.record([&] { made = new W(run.ctx, arguments...); });
            run.gives(made);
          },
          std::move(prescribe)});
}

/// The constructors that are for subclasses.
struct Subclass : Date {
  Subclass(ThreadContext& c, long long millis, unsigned char kind) : Date(c, millis, kind) {}
  Subclass(ThreadContext& c, unsigned char kind) : Date(c, kind) {}
};

template <class W>
void addFromMillis(ClassRows<W>& of, const std::string& className) {
  addConstruction(
      of, "milliseconds",
      [className](Prescription& p) { p.result(says::gives(newObjectOf(p, className, "(J)V", kMillis))); }, kMillis);
}

void addDateRows(Rows& rows) {
  ClassRows<Date> date(rows, "java/util/Date");
  date.wraps();
  addFromMillis(date, "java/util/Date");
  addConstruction(date, "now", [](Prescription& p) { p.result(says::gives(newObjectOf(p, "java/util/Date", "()V"))); });
  ClassRows<Subclass> subclass(rows, "java/util/Date");
  for (const unsigned char kind : {'\0', '\1', '\x7F'}) {
    const std::string variant = "kind " + std::to_string(kind);
    addConstruction(
        subclass, variant,
        [kind](Prescription& p) {
          p.result(says::gives(kind == 0 ? newObjectOf(p, "java/util/Date", "(J)V", kMillis) : Wrapper()));
        },
        kMillis, kind);
    rows.back().symbol = constructorSymbol<Date, ThreadContext&, long long, unsigned char>();
    addConstruction(
        subclass, variant,
        [kind](Prescription& p) {
          p.result(says::gives(kind == 0 ? newObjectOf(p, "java/util/Date", "()V") : Wrapper()));
        },
        kind);
    rows.back().symbol = constructorSymbol<Date, ThreadContext&, unsigned char>();
  }
  date.get("getTime", &Date::getTime);

  for (const bool dead : {false, true}) {
    Row& row = date.add({symbolOf("compareTo", &Date::compareTo), dead ? "with a dead date" : "with a date",
                         [dead](Run& run) {
                           auto& target = run.target<Date>("java/util/Date");
                           const Date& other =
                               dead ? run.deadWrapper<Date>() : run.wrapper<Date>("java/util/Date", "other");
                           int answer = 77;
                           run.record([&] { answer = target.compareTo(run.ctx, other); });
                           run.answer(answer);
                         },
                         [dead](Prescription& p) {
                           const Wrapper target = p.target();
                           int answer = 0;
                           if (target.live() && p.getMethod(target.objectClass, "compareTo", "(Ljava/util/Date;)I")) {
                             answer = p.callInt(target.object, "compareTo", dead ? Ref() : Ref("other"));
                           }
                           p.result(says::answer(answer));
                         }});
    row.answers.add("compareTo", -1LL);
    row.states = kEveryState;
  }

  ClassRows<SCTimestamp> timestamp(rows, "java/sql/Timestamp");
  timestamp.wraps();
  addFromMillis(timestamp, "java/sql/Timestamp");
  for (const char* const digits : {"20231114221320", ""}) {
    Row& row = timestamp.add(
        {symbolOf("print", &SCTimestamp::print), *digits == '\0' ? "no text" : "text",
         [](Run& run) {
           auto& target = run.target<SCTimestamp>("java/sql/Timestamp");
           const StandardError error;
           run.record([&] { target.print(run.ctx); });
           run.say("error stream " + quoted(error.text()));
         },
         [](Prescription& p) {
           const Wrapper format = newFormat(p, "yyyyMMddHHmmss");
           const std::string text = formatted(p, format, p.target());
           p.destroy(format);
           p.result("error stream \"Timestamp: " + (text == "null" ? "" : text.substr(1, text.size() - 2)) + "\"");
         }});
    row.answers.add("format", Text{digits});
    row.states = kEveryState;
  }
  ClassRows<SQLDate> sqlDate(rows, "java/sql/Date");
  sqlDate.wraps();
  addFromMillis(sqlDate, "java/sql/Date");
  ClassRows<SQLTime> sqlTime(rows, "java/sql/Time");
  sqlTime.wraps();
  addFromMillis(sqlTime, "java/sql/Time");
}

void addFormatRows(Rows& rows) {
  ClassRows<SimpleDateFormat> format(rows, "java/text/SimpleDateFormat");
  for (const char* const pattern : {"yyyyMMddHHmmss", "", static_cast<const char*>(nullptr)}) {
    addConstruction(
        format, pattern == nullptr ? "null" : pattern,
        [pattern](Prescription& p) { p.result(says::gives(newFormat(p, pattern == nullptr ? "" : pattern))); },
        pattern);
  }
  for (const bool dead : {false, true}) {
    Row& row = format.add({symbolOf("format", &SimpleDateFormat::format), dead ? "of a dead date" : "of a date",
                           [dead](Run& run) {
                             auto& target = run.target<SimpleDateFormat>("java/text/SimpleDateFormat");
                             const Date& date =
                                 dead ? run.deadWrapper<Date>() : run.wrapper<Date>("java/util/Date", "date");
                             char* text = nullptr;
                             run.record([&] { text = target.format(run.ctx, date); });
                             run.gives(text);
                           },
                           [dead](Prescription& p) {
                             const Wrapper date = dead ? Wrapper() : Wrapper{"date", "date.class"};
                             p.result(says::gives(formatted(p, p.target(), date)));
                           }});
    row.answers.add("format", Text{"20231114221320"});
    row.states = kEveryState;
  }
  for (const char* const text : {"20231114", "", static_cast<const char*>(nullptr)}) {
    for (const bool none : {false, true}) {
      Row& row = format.add(
          {symbolOf("parse", &SimpleDateFormat::parse),
           std::string(text == nullptr ? "null" : text) + (none ? " is no date" : " is a date"),
           [text](Run& run) {
             auto& target = run.target<SimpleDateFormat>("java/text/SimpleDateFormat");
             long long answer = 77;
             run.record([&] { answer = target.parse(run.ctx, text); });
             run.answer(answer);
           },
           [text](Prescription& p) { p.result(says::answer(parsed(p, p.target(), text == nullptr ? "" : text))); }});
      if (!none) row.answers.add("parse", Object{"java/util/Date"});
      row.answers.add("getTime", kMillis);
      row.states = kEveryState;
    }
  }
}

/// "getBytes" of a live blob, and what the caller gets of it.
std::string bytesOf(Prescription& p, long long position, int length) {
  const Wrapper target = p.target();
  if (!target.live() || !p.getMethod(target.objectClass, "getBytes", "(JI)[B")) return "null";
  const Ref array = p.callObject(target.object, "getBytes", position, length);
  if (array.empty()) return "null";
  const int count = p.getArrayLength(array);
  const bool there = p.allocate(static_cast<std::size_t>(count));
  if (there) p.line("GetByteArrayRegion " + array + " 0 " + show(count));
  p.deleteLocalRef(array);
  return there ? show(count) + " bytes" : "null";
}

std::string subStringOf(Prescription& p, long long position, int length) {
  const Wrapper target = p.target();
  Ref text;
  if (target.live() && p.getMethod(target.objectClass, "getSubString", "(JI)Ljava/lang/String;")) {
    text = p.callObject(target.object, "getSubString", position, length);
  }
  return p.stringFromJava(text);
}

long long lengthOf(Prescription& p) {
  const Wrapper target = p.target();
  return target.live() && p.getMethod(target.objectClass, "length", "()J") ? p.callLong(target.object, "length") : 0;
}

/// A length that does not fit in 32 bits, and what is left of it there.
constexpr long long kLong = 0x1'0000'0003;
constexpr int kNarrowed = 3;

void addBlobRows(Rows& rows) {
  const std::string className = std::string(kMetadata) + "MDBlob";
  ClassRows<Blob> blob(rows, className);
  blob.wraps();
  blob.get("length", &Blob::length);
  blob.add({constructorSymbol<Blob, ThreadContext&, const char*, int>(), "bytes",
            [](Run& run) {
              Blob* made = nullptr;
              run.record([&] { made = new Blob(run.ctx, "a\0b", 3); });
              run.gives(made);
            },
            [className](Prescription& p) {
              Wrapper made;
              if (const Ref array = p.newByteArray(3); !array.empty()) {
                p.line("SetByteArrayRegion " + array + " 0 " + quoted({"a\0b", 3}));
                made = newObjectOf(p, className, "([B)V", array);
                p.deleteLocalRef(array);
              }
              p.result(says::gives(made));
            }});
  const auto reads = [&](const std::string& symbol, auto call, auto prescribe) {
    for (const Answer& answer : {Answer(Bytes{3}), Answer(Bytes{0}), Answer(Nothing{})}) {
      Row& row = blob.add({symbol, "of" + std::to_string(answer.index()),
                           [className, call, answer](Run& run) {
                             auto& target = run.target<Blob>(className);
                             signed char* bytes = nullptr;
                             run.record([&] { bytes = call(target, run.ctx); });
                             const auto* const given = std::get_if<Bytes>(&answer);
                             run.givesBytes(bytes, given == nullptr ? 0 : given->count);
                           },
                           prescribe});
      row.answers.add("getBytes", answer);
      row.answers.add("length", kLong);
      row.states = kEveryState;
    }
  };
  reads(
      symbolOf("getBytes", &Blob::getBytes), [](Blob& b, ThreadContext& c) { return b.getBytes(c, kLong, 3); },
      [](Prescription& p) { p.result(says::gives(bytesOf(p, kLong, 3))); });
  reads(
      symbolOf("getAllBytes", &Blob::getAllBytes), [](Blob& b, ThreadContext& c) { return b.getAllBytes(c); },
      [](Prescription& p) {
        const long long length = lengthOf(p);
        p.result(says::gives(bytesOf(p, 1, length == 0 ? 0 : kNarrowed)));
      });
}

void addClobRows(Rows& rows) {
  const std::string className = std::string(kMetadata) + "MDClob";
  ClassRows<Clob> clob(rows, className);
  clob.wraps();
  clob.get("length", &Clob::length);
  for (const bool null : {false, true}) {
    clob.add({constructorSymbol<Clob, ThreadContext&, jstring>(), null ? "null" : "text",
              [null](Run& run) {
                const jstring given = null ? nullptr : run.text("text", "given");
                Clob* made = nullptr;
                run.record([&] { made = new Clob(run.ctx, given); });
                run.gives(made);
              },
              [className, null](Prescription& p) {
                p.result(says::gives(newObjectOf(p, className, "(Ljava/lang/String;)V", null ? Ref() : Ref("given"))));
              }});
  }
  const auto reads = [&](const std::string& symbol, auto call, auto prescribe) {
    for (const Answer& answer : {Answer(Text{"Gr\xC3\xBCn"}), Answer(Text{""}), Answer(Nothing{})}) {
      Row& row = clob.add({symbol, "of" + std::to_string(answer.index()),
                           [className, call](Run& run) {
                             auto& target = run.target<Clob>(className);
                             char* text = nullptr;
                             run.record([&] { text = call(target, run.ctx); });
                             run.gives(text);
                           },
                           prescribe});
      row.answers.add("getSubString", answer);
      row.answers.add("length", kLong);
      row.states = kEveryState;
    }
  };
  reads(
      symbolOf("getSubString", &Clob::getSubString),
      [](Clob& b, ThreadContext& c) { return b.getSubString(c, kLong, 3); },
      [](Prescription& p) { p.result(says::gives(subStringOf(p, kLong, 3))); });
  reads(
      symbolOf("getString", &Clob::getString), [](Clob& b, ThreadContext& c) { return b.getString(c); },
      [](Prescription& p) {
        const long long length = lengthOf(p);
        p.result(says::gives(subStringOf(p, 1, length == 0 ? 0 : kNarrowed)));
      });
}

}  // namespace

void addValueRows(Rows& rows) {
  addDateRows(rows);
  addFormatRows(rows);
  addBlobRows(rows);
  addClobRows(rows);
}

}  // namespace mesk::test::ledger
