// How a Java collection or array becomes an array of new objects for the caller.
#pragma once

#include <new>
#include <type_traits>

#include <mesk/bridge/StoreCall.h>

namespace mesk {

/// Store codes that mean that there was nothing to list.
inline constexpr int kNothingInHome = 30013;
inline constexpr int kNothingRelated = 30014;
inline constexpr int kNoEmptyCode = 0;

/// How a list's elements are fetched.
enum class ListForm { sizeAndGet, toArray };

/// A java.util.Collection that is asked for its size, and perhaps for its elements. What is missing leaves it empty.
class Elements {
 public:
  /// `collection` outlives this.
  Elements(ThreadContext& ctx, jobject collection)
      : ctx_(ctx), collection_(collection), cls_(ctx.env, ctx.env->GetObjectClass(collection)) {
    if (cls_) size_ = ctx.env->GetMethodID(cls_.get(), "size", "()I");
  }

  int count() const { return size_ == nullptr ? 0 : invoke<jint>(ctx_, collection_, size_); }

  /// Gets ready for `at` before anything is asked; false when that cannot be.
  bool canGet() {
    if (size_ != nullptr) get_ = ctx_.env->GetMethodID(cls_.get(), "get", "(I)Ljava/lang/Object;");
    return get_ != nullptr;
  }
  LocalRef<> at(int i) const { return invoke<LocalRef<>>(ctx_, collection_, get_, jint{i}); }

 private:
  ThreadContext& ctx_;
  jobject collection_;
  LocalRef<jclass> cls_;
  jmethodID size_ = nullptr;
  jmethodID get_ = nullptr;
};

/// Reads the elements of `collection` into a new array, one `make(element)` each; `make` gets an owned local
/// reference. Missing methods leave `items` null and `count` 0.
template <class Element, class Make>
void readCollection(ThreadContext& ctx, const LocalRef<>& collection, Element*& items, int& count, Make make) {
  Elements elements(ctx, collection.get());
  if (elements.canGet()) count = elements.count();
  if (count < 1) return;
  items = new (std::nothrow) Element[static_cast<std::size_t>(count)];
  if (items == nullptr) {
    count = 0;
    return;
  }
  for (int i = 0; i < count; ++i) items[i] = make(elements.at(i));
}

/// As `readCollection`, through the collection's `toArray`.
template <class Element, class Make>
void readArray(ThreadContext& ctx, const LocalRef<>& collection, Element*& items, int& count, Make make) {
  JNIEnv* const env = ctx.env;
  const LocalRef<jclass> cls(env, env->GetObjectClass(collection.get()));
  if (!cls) return;
  const jmethodID toArray = env->GetMethodID(cls.get(), "toArray", "()[Ljava/lang/Object;");
  if (toArray == nullptr) return;
  const auto array = invoke<LocalRef<jobjectArray>>(ctx, collection.get(), toArray);
  if (!array) return;
  count = env->GetArrayLength(array.get());
  if (count < 1) return;
  items = new (std::nothrow) Element[static_cast<std::size_t>(count)];
  if (items == nullptr) {
    count = 0;
    return;
  }
  for (jint i = 0; i < count; ++i) items[i] = make(LocalRef<>(env, env->GetObjectArrayElement(array.get(), i)));
}

/// A new `Wrapper` of `element`, null when out of memory. Of the two references that some wrapping constructors
/// take, one is ignored, and not the same one everywhere: the element stands in both places.
template <class Wrapper>
Wrapper* newWrapper(ThreadContext& ctx, jobject element) {
  if constexpr (std::is_constructible_v<Wrapper, ThreadContext&, jobject>) {
    return new (std::nothrow) Wrapper(ctx, element);
  } else {
    return new (std::nothrow) Wrapper(ctx, element, element);
  }
}

/// Calls `name` of `target` and gives the caller an array with `make(element)` of each element of the list. `emptyCode`
/// counts as success.
template <class Element, class Make, class... Arguments>
int retrieveElements(ThreadContext& ctx, const MDObject& target, const char* name, const char* signature, ListForm form,
                     int emptyCode, Element*& items, int& count, int& sqlCode, Make make, Arguments... arguments) {
  items = nullptr;
  count = 0;
  StoreCall call(ctx, sqlCode);
  {
    const auto collection = call.invoke<LocalRef<>>(target, name, signature, arguments...);
    if (call.code() == 0 && collection) {
      if (form == ListForm::sizeAndGet) {
        readCollection(ctx, collection, items, count, make);
      } else {
        readArray(ctx, collection, items, count, make);
      }
    }
  }
  return call.finish(emptyCode);
}

/// A list of store objects, each in a new `Wrapper`. Wrappers that could not be allocated are null.
template <class Wrapper, class... Arguments>
int retrieveWrappers(ThreadContext& ctx, const MDObject& target, const char* name, const char* signature, ListForm form,
                     int emptyCode, Wrapper**& items, int& count, int& sqlCode, Arguments... arguments) {
  const auto wrap = [&](const LocalRef<>& element) { return newWrapper<Wrapper>(ctx, element.get()); };
  return retrieveElements(ctx, target, name, signature, form, emptyCode, items, count, sqlCode, wrap, arguments...);
}

/// A list of texts, each a new native string; null for an empty one or out of memory.
template <class... Arguments>
int retrieveTexts(ThreadContext& ctx, const MDObject& target, const char* name, const char* signature, int emptyCode,
                  char**& items, int& count, int& sqlCode, Arguments... arguments) {
  const auto text = [&](LocalRef<> element) {
    return MDObject::jStringToString(ctx, static_cast<jstring>(element.release()));
  };
  return retrieveElements(ctx, target, name, signature, ListForm::sizeAndGet, emptyCode, items, count, sqlCode, text,
                          arguments...);
}

/// A list of wrappers or texts that the library retrieves for itself.
template <class Element>
struct OwnedList {
  OwnedList() = default;
  OwnedList(const OwnedList&) = delete;
  OwnedList& operator=(const OwnedList&) = delete;
  ~OwnedList() {
    for (int i = 0; i < count; ++i) delete items[i];
    delete[] items;
  }

  Element** begin() const { return items; }
  Element** end() const { return items + count; }

  Element** items = nullptr;  ///< an element that is taken over is made null
  int count = 0;
};

}  // namespace mesk
