// How the JVM and the store are looked for, as far as that ends before a JVM starts.
#include <gtest/gtest.h>
#include <jni.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "Support.h"

namespace {

namespace fs = std::filesystem;

std::string probe(const std::string& environment) {
  const support::Result result = support::run(MESK_PROBE " jvm", environment);
  EXPECT_EQ(result.status, 0) << result.out;
  return result.out;
}

TEST(MeskJVMSearchTest, NoJvmAnywhereNamesEveryPlace) {
  EXPECT_EQ(probe("JAVA_HOME=/no/home PATH=/no/path MESK_CLASSPATH=/none"),
            "result -401\nno JVM library: /no/home/lib/server/libjvm.so (JAVA_HOME), no java on the PATH\n");
  EXPECT_EQ(probe("-u JAVA_HOME PATH=/no/path MESK_CLASSPATH=/none"),
            "result -401\nno JVM library: no java on the PATH\n");
}

TEST(MeskJVMSearchTest, JavaOnThePathIsFollowedThroughItsLinks) {
  support::Directory directory;
  fs::create_directories(directory.path() / "jdk" / "bin");
  fs::create_directories(directory.path() / "bin");
  const fs::path java = directory.path() / "jdk" / "bin" / "java";
  support::write(java, "#!/bin/sh\n");
  fs::permissions(java, fs::perms::owner_all);
  fs::create_symlink(java, directory.path() / "bin" / "java");
  const std::string library = fs::canonical(directory.path() / "jdk").string() + "/lib/server/libjvm.so";
  const std::string environment = "-u JAVA_HOME MESK_CLASSPATH=/none PATH=" + directory.file("bin");
  EXPECT_EQ(probe(environment), "result -401\nno JVM library: " + library + " (java on the PATH)\n");

  fs::create_directories(fs::path(library).parent_path());
  support::write(library, "no library");
  const std::string text = probe(environment);
  EXPECT_EQ(text.find("result -401\ncannot load the JVM library: " + library), 0u) << text;
}

TEST(MeskJVMSearchTest, RefusalSaysWhatTheCodeMeansAndWhatWasPrinted) {
  support::Directory directory;
  const fs::path library = directory.path() / "lib" / "server" / "libjvm.so";
  fs::create_directories(library.parent_path());
  fs::copy_file(MESK_FAKE_JVM, library);
  const std::pair<int, const char*> reasons[] = {{JNI_EVERSION, "JNI version not supported"},
                                                 {JNI_ENOMEM, "not enough memory"},
                                                 {JNI_EEXIST, "the process has a JVM already"},
                                                 {JNI_EINVAL, "an option is not valid"},
                                                 {JNI_ERR, "no further reason given"}};
  for (const auto& [code, reason] : reasons) {
    EXPECT_EQ(probe(fmt::format("FAKE_JVM_CODE={} MESK_CLASSPATH=/none JAVA_HOME={}", code, directory.path().string())),
              fmt::format("no JVM,\nonly {}\nresult -402\n{} refused to start a JVM: {} ({}): no JVM, only {}\n", code,
                          library.string(), reason, code, code));
  }
}

TEST(MeskJVMSearchTest, LibraryThatIsNoJvmsIsRefused) {
  support::Directory directory;
  const fs::path library = directory.path() / "lib" / "server" / "libjvm.so";
  fs::create_directories(library.parent_path());
  fs::copy_file(MESK_PLATFORM_LIBRARY, library);
  EXPECT_EQ(probe("MESK_CLASSPATH=/none JAVA_HOME=" + directory.path().string()),
            "result -402\n" + library.string() + " refused to start a JVM: it is no JVM library\n");
}

TEST(MeskJVMSearchTest, MissingStoreIsNamed) {
  // The library is moved to where no store is beside it.
  support::Directory directory;
  fs::create_directories(directory.path() / "lib");
  fs::copy_file(MESK_PLATFORM_LIBRARY, directory.path() / "lib" / "libmeskplatform.so.1");
  fs::create_directories(directory.path() / "jdk" / "lib" / "server");
  support::write(directory.path() / "jdk" / "lib" / "server" / "libjvm.so", "never loaded");
  const std::string text = probe(fmt::format("-u MESK_CLASSPATH LD_LIBRARY_PATH={}/lib JAVA_HOME={}/jdk",
                                             directory.path().string(), directory.path().string()));
  EXPECT_EQ(text.find("result -403\nno store library: " + fs::canonical(directory.path()).string() +
                      "/share/mesk/mesk-store.jar"),
            0u)
      << text;
}

}  // namespace
