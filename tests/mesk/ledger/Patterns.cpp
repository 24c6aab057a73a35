#include <mesk/ledger/Patterns.h>

namespace mesk::test::ledger {

std::string wrapElement(Prescription& p, const Ref& element) {
  const std::string made = p.newWrapper(element);
  if (!element.empty()) p.deleteLocalRef(element);
  return made;
}

std::string textElement(Prescription& p, const Ref& element) { return p.stringFromJava(element); }

std::string collectionElements(Prescription& p, const Ref& collection, MakeElement make) {
  std::string gives = says::givesNoList();
  if (const Ref cls = p.getObjectClass(collection); !cls.empty()) {
    if (p.getMethod(cls, "size", "()I") && p.getMethod(cls, "get", "(I)Ljava/lang/Object;")) {
      const int count = p.callInt(collection, "size");
      if (count >= 1 && p.allocate(static_cast<std::size_t>(count) * sizeof(void*))) {
        std::vector<std::string> items;
        for (int i = 0; i < count; ++i) items.push_back(make(p, p.callObject(collection, "get", i)));
        gives = says::givesList(items);
      }
    }
    p.deleteLocalRef(cls);
  }
  p.deleteLocalRef(collection);
  return gives;
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
