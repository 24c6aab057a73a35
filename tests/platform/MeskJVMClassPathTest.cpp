#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Support.h"

namespace {

namespace fs = std::filesystem;

/// An installation of the platform library that has just been unpacked somewhere.
class MeskJVMClassPathTest : public testing::TestWithParam<const char*> {
 protected:
  MeskJVMClassPathTest() {
    const fs::path libraries = root_ / GetParam();
    fs::create_directories(libraries);
    fs::copy_file(MESK_PLATFORM_LIBRARY, libraries / "libmeskplatform.so.1");
    fs::create_directories(root_ / "share" / "mesk");
    environment_ = "-u MESK_CLASSPATH -u MESK_JVM_OPTIONS LD_LIBRARY_PATH=" + libraries.string();
  }

  void addFile(const char* name) { support::write(root_ / "share" / "mesk" / name, ""); }
  std::string path(const char* name) { return (root_ / "share" / "mesk" / name).string(); }

  support::Directory directory_;
  fs::path root_ = fs::canonical(directory_.path());
  std::string environment_;
};

TEST_P(MeskJVMClassPathTest, StoreComesFirstAndTheJarsBesideItFollowInOrder) {
  for (const char* name : {"z.jar", "mesk-store.jar", "a.jar", "notes.txt"}) addFile(name);
  const support::Result result = support::run(MESK_PROBE " jvm", environment_);
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("result 0\n"), std::string::npos) << result.out;
  EXPECT_NE(
      result.out.find("java.class.path=" + path("mesk-store.jar") + ":" + path("a.jar") + ":" + path("z.jar") + "\n"),
      std::string::npos)
      << result.out;
}

TEST_P(MeskJVMClassPathTest, LibraryPathOfTheUserComesFirstAndTheOptionWins) {
  addFile("mesk-store.jar");
  const support::Result result = support::run(MESK_PROBE " jvm", environment_);
  EXPECT_NE(result.out.find("java.library.path=" + (root_ / GetParam()).string() + ":/usr/lib/"), std::string::npos)
      << result.out;
  const support::Result own =
      support::run(MESK_PROBE " jvm", environment_ + " MESK_JVM_OPTIONS=-Djava.library.path=/own");
  EXPECT_NE(own.out.find("java.library.path=/own\n"), std::string::npos) << own.out;
}

TEST_P(MeskJVMClassPathTest, ClassArchiveThatDoesNotFitIsNoHindrance) {
  addFile("mesk-store.jar");
  addFile("mesk-store.jsa");
  const support::Result result = support::run(MESK_PROBE " jvm", environment_);
  EXPECT_NE(result.out.find("result 0\n"), std::string::npos) << result.out;
}

INSTANTIATE_TEST_SUITE_P(Layouts, MeskJVMClassPathTest, testing::Values("lib", "lib/x86_64-linux-gnu"),
                         [](const auto& test) { return test.index == 0 ? "Plain" : "Multiarch"; });

}  // namespace
