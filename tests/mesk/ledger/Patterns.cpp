#include <mesk/ledger/Patterns.h>

#include <cctype>

namespace mesk::test::ledger {
namespace {

template <class V>
void setProperty(Prescription& p, const Wrapper& target, const std::string& method, const std::string& type, V value) {
  if (target.live() && p.getMethod(target.objectClass, method, "(" + type + ")V")) {
    p.callVoid(target.object, method, value);
  }
}

}  // namespace

int intProperty(Prescription& p, const Wrapper& target, const std::string& method) {
  return target.live() && p.getMethod(target.objectClass, method, "()I") ? p.callInt(target.object, method) : 0;
}

long long longProperty(Prescription& p, const Wrapper& target, const std::string& method) {
  return target.live() && p.getMethod(target.objectClass, method, "()J") ? p.callLong(target.object, method) : 0;
}

std::string textProperty(Prescription& p, const Wrapper& target, const std::string& method) {
  const bool there = target.live() && p.getMethod(target.objectClass, method, std::string("()") + kString);
  return p.stringFromJava(there ? p.callObject(target.object, method) : "");
}

std::optional<Wrapper> objectProperty(Prescription& p, const Wrapper& target, const std::string& method,
                                      const std::string& type) {
  std::optional<Wrapper> made;
  if (!target.live() || !p.getMethod(target.objectClass, method, "()" + type)) return made;
  if (const Ref value = p.callObject(target.object, method); !value.empty()) {
    if (p.allocate(16)) made = p.wrap(value);
    p.deleteLocalRef(value);
  }
  return made;
}

void setIntProperty(Prescription& p, const Wrapper& target, const std::string& method, int value) {
  setProperty(p, target, method, "I", value);
}

void setLongProperty(Prescription& p, const Wrapper& target, const std::string& method, long long value) {
  setProperty(p, target, method, "J", value);
}

void setTextProperty(Prescription& p, const Wrapper& target, const std::string& method, const std::string& native) {
  if (!target.live()) return;
  const Ref text = p.stringToJava(native);
  setProperty(p, target, method, kString, text);
  if (!text.empty()) p.deleteLocalRef(text);
}

void setObjectProperty(Prescription& p, const Wrapper& target, const std::string& method, const std::string& type,
                       const Ref& value) {
  setProperty(p, target, method, type, value);
}

void logFailure(Prescription& p, const Wrapper& target, const Records& records, int rc, int sqlCode) {
  if (records.log == 0 || rc == 0) return;
  std::vector<Item> items = {integer(rc), integer(sqlCode)};
  for (const std::string& getter : records.keys) {
    items.push_back(integer(static_cast<std::int32_t>(longProperty(p, target, getter))));
  }
  p.log(records.log, 10, items);
}

Wrapper createdBy(Prescription& p, const std::string& className, int& rc, int& sqlCode) {
  rc = -300;
  sqlCode = 0;
  Wrapper made;
  const Wrapper exception = p.exceptionObject();
  if (const Ref cls = p.findClass(className); !cls.empty()) {
    if (exception.live()) made.objectClass = p.newGlobalRef(cls);
    p.deleteLocalRef(cls);
  }
  if (!made.objectClass.empty() && p.getMethod(made.objectClass, "<init>", storeMethod("", "V"))) {
    if (const Ref object = p.newObject(made.objectClass, "context", exception.object); !object.empty()) {
      made.object = p.newGlobalRef(object);
      p.deleteLocalRef(object);
      p.outcome(exception, rc, sqlCode);
    }
  }
  p.destroy(exception);
  return made;
}

Wrapper principalOf(Prescription& p, const std::string& simpleClass, const char* name) {
  Wrapper made;
  const Ref cls = p.findClass(kMetadata + simpleClass);
  if (cls.empty()) return made;
  made.objectClass = p.newGlobalRef(cls);
  p.deleteLocalRef(cls);
  if (made.objectClass.empty() || !p.getMethod(made.objectClass, "<init>", std::string("(") + kString + ")V")) {
    return made;
  }
  std::string capitals = name == nullptr ? "" : name;
  const bool room = p.workMemory(capitals.size() + 1, simpleClass);
  if (!room) capitals.clear();
  for (char& c : capitals) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  const Ref text = p.stringToJava(capitals);
  if (const Ref object = p.newObject(made.objectClass, text); !object.empty()) {
    made.object = p.newGlobalRef(object);
    p.deleteLocalRef(object);
  }
  if (!text.empty()) p.deleteLocalRef(text);
  if (room) p.freeWorkMemory(simpleClass);
  return made;
}

Wrapper newFormat(Prescription& p, const std::string& pattern) {
  Wrapper made;
  const Ref cls = p.findClass("java/text/SimpleDateFormat");
  if (cls.empty()) return made;
  made.objectClass = p.newGlobalRef(cls);
  p.deleteLocalRef(cls);
  if (made.objectClass.empty() || !p.getMethod(made.objectClass, "<init>", "(Ljava/lang/String;)V")) return made;
  const Ref text = p.stringToJava(pattern);
  if (const Ref object = p.newObject(made.objectClass, text); !object.empty()) {
    made.object = p.newGlobalRef(object);
    p.deleteLocalRef(object);
  }
  if (!text.empty()) p.deleteLocalRef(text);
  return made;
}

std::string formatted(Prescription& p, const Wrapper& format, const Wrapper& date) {
  Ref text;
  if (format.live() && date.live() &&
      p.getMethod(format.objectClass, "format", "(Ljava/util/Date;)Ljava/lang/String;")) {
    text = p.callObject(format.object, "format", date.object);
  }
  return p.stringFromJava(text);
}

long long parsed(Prescription& p, const Wrapper& format, const std::string& native) {
  if (!format.live()) return 0;
  long long millis = 0;
  const Ref text = p.stringToJava(native);
  Ref date;
  if (p.getMethod(format.objectClass, "parse", "(Ljava/lang/String;)Ljava/util/Date;")) {
    date = p.callObject(format.object, "parse", text);
  }
  if (!date.empty()) {
    if (const Ref cls = p.findClass("java/util/Date"); !cls.empty()) {
      if (p.getMethod(cls, "getTime", "()J")) millis = p.callLong(date, "getTime");
      p.deleteLocalRef(cls);
    }
    p.deleteLocalRef(date);
  }
  if (!text.empty()) p.deleteLocalRef(text);
  return millis;
}

void callSession(Prescription& p, const Wrapper& exception, const std::string& method, int& rc, int& sqlCode) {
  bool called = false;
  if (!exception.live()) return;
  const Ref cls = p.findClass(std::string(kMetadata) + "MDUtility");
  if (cls.empty()) return;
  if (p.getStaticMethod(cls, method, storeMethod("", "V"))) {
    p.callStaticVoid(cls, method, "context", exception.object);
    rc = p.returnCode(exception);
    called = true;
  }
  p.deleteLocalRef(cls);
  if (called && rc != 0) sqlCode = p.nestedCode(exception);
}

int committed(Prescription& p, int& sqlCode) {
  constexpr std::uint32_t kCommit = 451412399;
  int rc = -300;
  sqlCode = 0;
  const Wrapper exception = p.exceptionObject();
  p.traceEntry(kCommit);
  callSession(p, exception, "commit", rc, sqlCode);
  if (rc != 0) p.log(0x10080126, 10, {integer(rc), integer(sqlCode)});
  p.traceExit(kCommit, rc);
  p.destroy(exception);
  return rc;
}

std::string textElement(Prescription& p, const Ref& element) { return p.stringFromJava(element); }

std::string collectionElements(Prescription& p, const Ref& collection, MakeElement make) {
  int fewer = 0;
  const auto items = elementsOf(p, collection, make, &fewer);
  return items ? says::givesList(*items) : says::givesNoList(fewer);
}

std::string arrayElements(Prescription& p, const Ref& collection, MakeElement make) {
  std::string gives = says::givesNoList();
  if (const Ref cls = p.getObjectClass(collection); !cls.empty()) {
    if (p.getMethod(cls, "toArray", "()[Ljava/lang/Object;")) {
      if (const Ref array = p.callObject(collection, "toArray"); !array.empty()) {
        const int count = p.getArrayLength(array);
        if (count >= 1 && p.allocate(static_cast<std::size_t>(count) * sizeof(void*))) {
          std::vector<std::string> items;
          for (int i = 0; i < count; ++i) items.push_back(make(p, p.getObjectArrayElement(array, i)));
          gives = says::givesList(items);
        }
        p.deleteLocalRef(array);
      }
    }
    p.deleteLocalRef(cls);
  }
  p.deleteLocalRef(collection);
  return gives;
}

}  // namespace mesk::test::ledger
