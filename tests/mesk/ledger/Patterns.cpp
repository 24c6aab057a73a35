#include <mesk/ledger/Patterns.h>

#include <cctype>

namespace mesk::test::ledger {

int intProperty(Prescription& p, const Wrapper& target, const std::string& method) {
  return target.live() && p.getMethod(target.objectClass, method, "()I") ? p.callInt(target.object, method) : 0;
}

long long longProperty(Prescription& p, const Wrapper& target, const std::string& method) {
  return target.live() && p.getMethod(target.objectClass, method, "()J") ? p.callLong(target.object, method) : 0;
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

std::string wrapElement(Prescription& p, const Ref& element) {
  const std::string made = p.newWrapper(element);
  if (!element.empty()) p.deleteLocalRef(element);
  return made;
}

std::string textElement(Prescription& p, const Ref& element) { return p.stringFromJava(element); }

std::string collectionElements(Prescription& p, const Ref& collection, MakeElement make) {
  const auto items = elementsOf(p, collection, make);
  return items ? says::givesList(*items) : says::givesNoList();
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
