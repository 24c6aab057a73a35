#include <platform/MeskJVM.h>

#include <dlfcn.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace {

using mesk::MeskJVM;
namespace fs = std::filesystem;

constexpr const char* kLibraryName = "libjvm.so";
constexpr const char* kStoreJar = "mesk-store.jar";
constexpr const char* kStoreArchive = "mesk-store.jsa";

using CreateFunction = jint (*)(JavaVM**, void**, void*);
using FindFunction = jint (*)(JavaVM**, jsize, jsize*);

/// The mutex is held while a JVM is created or looked for.
std::mutex creation;
std::string failure;  // guarded by `creation`

/// The calling thread's copy of `failure`.
std::string& failureForThread() {
  thread_local std::string text;
  return text;
}

/// The function of a JVM library that tells which JVM there is. It is published only when a JVM is
/// complete: the library itself already shows one that is still being made.
std::atomic<FindFunction> findFunction{nullptr};

/// What the JVM printed while it was created, for the reason of a refusal.
std::atomic<bool> collecting{false};
std::mutex printedMutex;
std::string printed;  // guarded by `printedMutex`

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool isFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

JavaVM* askForJvm(FindFunction find) {
  JavaVM* jvm = nullptr;
  jsize count = 0;
  return find(&jvm, 1, &count) == JNI_OK && count > 0 ? jvm : nullptr;
}

template <typename Function>
Function symbol(void* library, const char* name) {
  return reinterpret_cast<Function>(dlsym(library, name));
}

/// The JVM that the process has, whoever created it. Needs `creation`.
JavaVM* joinJvm() {
  if (const FindFunction find = findFunction.load()) return askForJvm(find);
  // A library that is already loaded is found by its name alone; the handle keeps it so.
  void* library = dlopen(kLibraryName, RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) return nullptr;
  const auto find = symbol<FindFunction>(library, "JNI_GetCreatedJavaVMs");
  JavaVM* jvm = find == nullptr ? nullptr : askForJvm(find);
  if (jvm != nullptr) findFunction.store(find);
  return jvm;
}

fs::path libraryOf(const fs::path& javaHome) { return javaHome / "lib" / "server" / kLibraryName; }

/// The JVM library by the first `java` on the path.
std::optional<fs::path> libraryByPath() {
  std::istringstream path(environment("PATH"));
  std::string directory;
  while (std::getline(path, directory, ':')) {
    const fs::path java = fs::path(directory.empty() ? "." : directory) / "java";
    if (access(java.c_str(), X_OK) != 0) continue;
    std::error_code error;
    const fs::path real = fs::canonical(java, error);
    if (error) return std::nullopt;
    return libraryOf(real.parent_path().parent_path());
  }
  return std::nullopt;
}

/// The JVM library, or nothing and then `failure` names the places.
std::optional<fs::path> findLibrary() {
  std::string places;
  const std::string home = environment("JAVA_HOME");
  if (!home.empty()) {
    const fs::path library = libraryOf(home);
    if (isFile(library)) return library;
    places = fmt::format("{} (JAVA_HOME)", library.string());
  }
  std::optional<fs::path> library = libraryByPath();
  if (library && isFile(*library)) return library;
  if (!places.empty()) places += ", ";
  places += library ? fmt::format("{} (java on the PATH)", library->string()) : "no java on the PATH";
  failure = fmt::format("no JVM library: {}", places);
  return std::nullopt;
}

/// Directories that can hold the store: beside this library in a build tree or an installation that was
/// moved, and where it was to be installed.
std::vector<fs::path> storeDirectories() {
  std::vector<fs::path> directories;
  Dl_info self{};
  if (dladdr(reinterpret_cast<const void*>(&storeDirectories), &self) != 0 && self.dli_fname != nullptr) {
    std::error_code error;
    const fs::path library = fs::canonical(self.dli_fname, error);
    if (!error) {
      const fs::path above = library.parent_path().parent_path();
      directories.push_back(above / "share" / "mesk");
      directories.push_back(above.parent_path() / "share" / "mesk");  // from lib/<architecture>
    }
  }
  directories.emplace_back(MESK_DATADIR);
  return directories;
}

std::optional<fs::path> storeDirectory() {
  std::string places;
  for (const fs::path& directory : storeDirectories()) {
    const fs::path jar = directory / kStoreJar;
    if (isFile(jar)) return directory;
    places += (places.empty() ? "" : ", ") + jar.string();
  }
  failure = fmt::format("no store library: {}; MESK_CLASSPATH is not set", places);
  return std::nullopt;
}

/// The store first, then the other jars by name: the same order everywhere, which the class archive needs.
std::string classPathOf(const fs::path& directory) {
  std::vector<std::string> jars;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory, error)) {
    const fs::path& path = entry.path();
    if (path.extension() == ".jar" && path.filename() != kStoreJar) jars.push_back(path.string());
  }
  std::sort(jars.begin(), jars.end());
  std::string classPath = (directory / kStoreJar).string();
  for (const std::string& jar : jars) classPath += ':' + jar;
  return classPath;
}

/// Where the native part of a JDBC driver is looked for: where the user says, then where packages put it.
std::string libraryPath() {
  std::string path = environment("LD_LIBRARY_PATH");
  if (!path.empty()) path += ':';
  if (*MESK_MULTIARCH != '\0') path += "/usr/lib/" MESK_MULTIARCH "/jni:";
  return path + "/usr/lib/jni";
}

/// The options of the JVM, or nothing and then `failure` says why.
std::optional<std::vector<std::string>> options() {
  // The host owns the signals: the JVM must not take those that end a process.
  std::vector<std::string> options{"-Xrs", "-Djava.library.path=" + libraryPath()};
  const std::string given = environment("MESK_CLASSPATH");
  if (!given.empty()) {
    options.push_back("-Djava.class.path=" + given);
  } else {
    const std::optional<fs::path> directory = storeDirectory();
    if (!directory) return std::nullopt;
    options.push_back("-Djava.class.path=" + classPathOf(*directory));
    const fs::path archive = *directory / kStoreArchive;
    if (isFile(archive)) {
      options.push_back("-XX:SharedArchiveFile=" + archive.string());
      options.push_back("-Xshare:auto");
    }
  }
  // Last, so that they win.
  std::istringstream further(environment("MESK_JVM_OPTIONS"));
  std::string option;
  while (further >> option) options.push_back(option);
  return options;
}

/// Prints for the JVM, as it would itself, and remembers it while the JVM is created.
jint print(FILE* stream, const char* format, va_list arguments) {
  int length;
  if (collecting.load()) {
    char* text = nullptr;
    length = vasprintf(&text, format, arguments);
    if (length < 0) return length;
    const std::lock_guard<std::mutex> lock(printedMutex);
    printed += text;
    std::fputs(text, stream);
    std::free(text);
  } else {
    length = std::vfprintf(stream, format, arguments);
  }
  std::fflush(stream);
  return length;
}

const char* nameOf(jint code) {
  switch (code) {
    case JNI_EVERSION:
      return "JNI version not supported";
    case JNI_ENOMEM:
      return "not enough memory";
    case JNI_EEXIST:
      return "the process has a JVM already";
    case JNI_EINVAL:
      return "an option is not valid";
    default:
      return "no further reason given";
  }
}

/// What was printed, in one line.
std::string takePrinted() {
  const std::lock_guard<std::mutex> lock(printedMutex);
  std::string text = std::move(printed);
  printed.clear();
  while (!text.empty() && text.back() == '\n') text.pop_back();
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

jint create(CreateFunction function, const std::vector<std::string>& given) {
  std::vector<JavaVMOption> options;
  options.push_back({const_cast<char*>("vfprintf"), reinterpret_cast<void*>(&print)});
  for (const std::string& option : given) options.push_back({const_cast<char*>(option.c_str()), nullptr});

  JavaVMInitArgs arguments{};
  arguments.version = JNI_VERSION_10;
  arguments.nOptions = static_cast<jint>(options.size());
  arguments.options = options.data();
  arguments.ignoreUnrecognized = JNI_FALSE;
  JavaVM* jvm = nullptr;
  void* env = nullptr;
  collecting.store(true);
  const jint code = function(&jvm, &env, &arguments);
  collecting.store(false);
  // Creation attaches the calling thread. Whoever needs that attaches it again and knows so.
  if (code == JNI_OK) jvm->DetachCurrentThread();
  return code;
}

int refuse(const fs::path& library, const std::string& reason) {
  failure = fmt::format("{} refused to start a JVM: {}", library.string(), reason);
  return MeskJVM::kJvmRefused;
}

/// Needs `creation`.
int createOrJoin() {
  failure.clear();
  if (joinJvm() != nullptr) return MeskJVM::kOk;

  const std::optional<fs::path> library = findLibrary();
  if (!library) return MeskJVM::kNoJvmLibrary;
  const std::optional<std::vector<std::string>> given = options();
  if (!given) return MeskJVM::kNoStoreLibrary;

  void* handle = dlopen(library->c_str(), RTLD_NOW);
  if (handle == nullptr) {
    failure = fmt::format("cannot load the JVM library: {}", dlerror());
    return MeskJVM::kNoJvmLibrary;
  }
  const auto createFunction = symbol<CreateFunction>(handle, "JNI_CreateJavaVM");
  const auto find = symbol<FindFunction>(handle, "JNI_GetCreatedJavaVMs");
  if (createFunction == nullptr || find == nullptr) return refuse(*library, "it is no JVM library");

  const jint code = create(createFunction, *given);
  const std::string text = takePrinted();
  if (code != JNI_OK) {
    return refuse(*library, fmt::format("{} ({}){}{}", nameOf(code), code, text.empty() ? "" : ": ", text));
  }
  findFunction.store(find);
  return MeskJVM::kOk;
}

}  // namespace

namespace mesk {

MeskJVM* MeskJVM::getInstance() {
  static MeskJVM& instance = *new MeskJVM;
  return &instance;
}

JavaVM* MeskJVM::getJVM() {
  // Asked anew each time: the host may have destroyed its JVM.
  if (const FindFunction find = findFunction.load()) return askForJvm(find);
  const std::lock_guard<std::mutex> lock(creation);
  return joinJvm();
}

int MeskJVM::createJVM() {
  const std::lock_guard<std::mutex> lock(creation);
  try {
    return createOrJoin();
  } catch (const std::exception& error) {
    failure = error.what();
    return kJvmRefused;
  }
}

const char* MeskJVM::lastError() {
  std::string& text = failureForThread();
  const std::lock_guard<std::mutex> lock(creation);
  text = failure;
  return text.c_str();
}

}  // namespace mesk
