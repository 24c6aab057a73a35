// Everything that the library looks up in Java is in the real store: its classes, constructors and methods, by their
// whole signatures.
//
// What the library looks up is not written down here. The tests on the fake store call every member of the library and
// note what it found there; and every name of a Java method in the library's sources has to be among that.
#include <mesk/support/JvmTest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

/// One lookup: "a/b/Class", "a/b/Class.method()V" or "static a/b/Class.method()V".
struct Lookup {
  explicit Lookup(const std::string& line) {
    constexpr std::string_view kStatic = "static ";
    isStatic = line.starts_with(kStatic);
    const std::string whole = isStatic ? line.substr(kStatic.size()) : line;
    const std::size_t dot = std::min(whole.find('.'), whole.size());
    const std::size_t bracket = std::min(whole.find('('), whole.size());
    className = whole.substr(0, dot);
    if (dot < bracket) method = whole.substr(dot + 1, bracket - dot - 1);
    signature = whole.substr(bracket);
  }

  std::string simpleName() const { return className.substr(className.find_last_of("/$") + 1); }

  bool isStatic;
  std::string className;
  std::string method;  ///< empty for a class
  std::string signature;
};

std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The lookups in files of one a line, each once; those of objects that only the fake store has are left out.
Strings lookupsIn(const Strings& files) {
  std::set<std::string> found;
  for (const std::string& file : files) {
    std::istringstream lines(contents(file));
    for (std::string line; std::getline(lines, line);) {
      if (line.find("com/orvik/kelvo/mesk/fake/") == std::string::npos) found.insert(line);
    }
  }
  return {found.begin(), found.end()};
}

Strings split(const char* text, char separator) {
  Strings result;
  std::istringstream stream(text == nullptr ? "" : text);
  for (std::string part; std::getline(stream, part, separator);) result.push_back(part);
  return result;
}

/// Which of `source`'s names of Java methods (all its plain words in quotes that are arguments) no lookup has on a
/// class that the source speaks of; on any class for what all wrappers have in common.
Strings namesWithoutLookup(const std::string& source, bool isCommon, const Strings& lookups) {
  static const std::regex kWord("[A-Za-z0-9_]+");
  static const std::regex kName("(?:^|[(,=])\\s*\"(<init>|[a-z][A-Za-z0-9]*)\"", std::regex::multiline);
  const std::set<std::string> words(std::sregex_token_iterator(source.begin(), source.end(), kWord), {});
  std::set<std::string> known;
  for (const std::string& line : lookups) {
    const Lookup lookup(line);
    if (isCommon || words.contains(lookup.simpleName())) known.insert(lookup.method);
  }
  Strings result;
  for (std::sregex_iterator name(source.begin(), source.end(), kName), end; name != end; ++name) {
    const std::string method = (*name)[1];
    const bool isDateFormat = method.starts_with("yyyy");
    if (!isDateFormat && !known.contains(method)) result.push_back(method);
  }
  return result;
}

class StoreSignaturesTest : public JniTest {
 protected:
  /// Those of `lookups` that the classes on the class path do not have.
  Strings missing(const Strings& lookups) {
    const JniTable::Pause pause(ctx.env);
    JNIEnv* const env = ctx.env;
    Strings result;
    for (const std::string& line : lookups) {
      const Lookup lookup(line);
      const LocalRef<jclass> cls(env, env->FindClass(lookup.className.c_str()));
      bool there = static_cast<bool>(cls);
      if (there && !lookup.method.empty()) {
        const char* const name = lookup.method.c_str();
        const char* const signature = lookup.signature.c_str();
        there = (lookup.isStatic ? env->GetStaticMethodID(cls.get(), name, signature)
                                 : env->GetMethodID(cls.get(), name, signature)) != nullptr;
      }
      if (!there) result.push_back(line);
      if (env->ExceptionCheck()) env->ExceptionClear();
    }
    return result;
  }

  const Strings noted = lookupsIn(split(std::getenv("MESK_NOTED_LOOKUPS"), ':'));
};

TEST_F(StoreSignaturesTest, TheStoreHasEverythingThatTheLibraryLooksUp) {
  EXPECT_GT(noted.size(), 700u) << "the tests on the fake store noted hardly anything";
  for (const std::string& line : missing(noted)) ADD_FAILURE() << "the store lacks " << line;
}

TEST_F(StoreSignaturesTest, WhatIsMissingIsNamed) {
  const Strings absent = {
      "com/orvik/kelvo/mesk/metadata/MDNothing",
      "com/orvik/kelvo/mesk/metadata/MDTask.getNothing()I",
      "com/orvik/kelvo/mesk/metadata/MDTask.getTaskID()I",
      "com/orvik/kelvo/mesk/metadata/MDNothing.getTaskID()J",
      "static com/orvik/kelvo/mesk/metadata/MDTask.getTaskID()J",
      "com/orvik/kelvo/mesk/metadata/MDTask.<init>(I)V",
  };
  Strings asked = absent;
  asked.insert(asked.begin() + 2, "com/orvik/kelvo/mesk/metadata/MDTask");
  asked.insert(asked.begin() + 4, "com/orvik/kelvo/mesk/metadata/MDTask.getTaskID()J");
  EXPECT_EQ(missing(asked), absent);
}

TEST_F(StoreSignaturesTest, EveryJavaNameInTheLibraryWasLookedUp) {
  int sources = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(MESK_LIBRARY_SOURCES)) {
    if (entry.path().extension() != ".cpp") continue;
    ++sources;
    const bool isCommon = entry.path().parent_path().filename() == "bridge";
    for (const std::string& name : namesWithoutLookup(contents(entry.path()), isCommon, noted)) {
      ADD_FAILURE() << "no test calls " << name << " of " << entry.path().filename();
    }
  }
  EXPECT_GT(sources, 40);
}

TEST_F(StoreSignaturesTest, AJavaNameThatNobodyLookedUpIsNamed) {
  const Strings some = {"a/MDThis", "a/MDThis.getThis()I", "static a/b$MDThat.getThat()I", "a/MDOther.getOther()I"};
  const std::string source = R"(
    MDThis; MDThat; a(ctx, "getThis"); b(ctx, *this,
                                         "getThat"); c("getOther");
    constexpr const char* kName = "getMissing";
    d(ctx, "yyyyMMdd", "A text.", flag ? "word" : "other");)";
  EXPECT_EQ(namesWithoutLookup(source, false, some), (Strings{"getOther", "getMissing"}));
  EXPECT_EQ(namesWithoutLookup(source, true, some), Strings{"getMissing"});
}

}  // namespace
}  // namespace mesk::test
