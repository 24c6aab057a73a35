// What goes wrong, told in one line, with the exit code that says what kind of thing it is.
#include "Ctl.h"

namespace mesk::host {
namespace {

constexpr const char* kTask = "  - {name: task, script: echo}\n";

class ErrorsTest : public CtlTest {
 protected:
  /// One line that begins with the program's name and has these words; nothing on standard output.
  static void expectRefusal(const Answer& answer, int code, const std::string& words) {
    EXPECT_EQ(answer.code, code) << answer.error;
    EXPECT_EQ(answer.out, "");
    EXPECT_TRUE(answer.error.starts_with("meskctl: ")) << answer.error;
    EXPECT_EQ(std::count(answer.error.begin(), answer.error.end(), '\n'), 1) << answer.error;
    EXPECT_NE(answer.error.find(words), std::string::npos) << "'" << words << "' is not in: " << answer.error;
  }

  /// Every jar that the store needs, after `first`.
  static std::string classPath(const std::string& first) {
    std::string path = first;
    for (const auto& entry : std::filesystem::directory_iterator(MESK_JARS)) {
      if (entry.path().extension() == ".jar") path += ":" + entry.path().string();
    }
    return path;
  }
};

TEST_F(ErrorsTest, AWrongCommandLineIsUsage) {
  for (const Words& words :
       {Words{}, Words{"nonsense"}, Words{"show"}, Words{"log", "x"}, Words{"next", "a", "-n", "0"},
        Words{"list", "extra"}, Words{"--nonsense", "list"}, Words{"completion", "tcsh"}}) {
    expectRefusal(ctl(words), 2, "'meskctl --help' tells more");
  }
  environment_["MESK_STORE"] = "";
  expectRefusal(ctl({"list"}), 2, "Give --store FILE or set MESK_STORE");
  expectRefusal(ctl({"--store", "jdbc:other:x", "list"}), 2, "expected a file or jdbc:sqlite:FILE");
}

TEST_F(ErrorsTest, HelpAndVersionAreNoErrors) {
  EXPECT_NE(done({"--help"}).out.find("Exit codes: 0 done"), std::string::npos);
  EXPECT_NE(done({"run", "--help"}).out.find("put -- before them"), std::string::npos);
  EXPECT_TRUE(done({"--version"}).out.starts_with("meskctl "));
}

TEST_F(ErrorsTest, AMissingStoreIsNotMadeByAQuestion) {
  for (const Words& words : {Words{"export"}, Words{"list"}, Words{"show", "a"}, Words{"queue"}, Words{"next", "a"},
                             Words{"run", "a"}, Words{"enable", "a"}, Words{"disable", "a"}, Words{"history"},
                             Words{"log", "1"}, Words{"stats"}, Words{"delete", "a", "-y"}}) {
    expectRefusal(ctl(words), 6, "there is no store " + store_);
    EXPECT_FALSE(std::filesystem::exists(store_)) << words[0];
  }
}

TEST_F(ErrorsTest, AnUnknownTaskIsToldWithTheNameThatWasMeant) {
  apply("  - {name: nightly-backup, script: echo}\n");
  for (const Words& words : {Words{"show"}, Words{"next"}, Words{"run"}, Words{"enable"}, Words{"disable"},
                             Words{"export"}, Words{"history"}, Words{"stats"}, Words{"delete"}}) {
    expectRefusal(ctl({words[0], "nigthly-backup"}), 4, "no task 'nigthly-backup'; did you mean 'nightly-backup'?");
  }
  expectRefusal(ctl({"show", "weekly"}), 4, "no task 'weekly'; 'meskctl list' shows all");
  expectRefusal(ctl({"log", "999"}), 4, "no run 999; 'meskctl history' shows all");
}

TEST_F(ErrorsTest, ATaskFileThatIsWrongIsToldWithItsLines) {
  const auto errorsOf = [this](const std::string& content) {
    const Answer answer = ctl({"apply", scratch_.write("wrong.yaml", content)});
    EXPECT_EQ(answer.code, 3);
    EXPECT_FALSE(std::filesystem::exists(store_));
    return answer.error;
  };
  const std::string at = scratch_.at("wrong.yaml") + ":";
  EXPECT_TRUE(errorsOf("mesk: [1\n").starts_with(at + "2: this is not YAML: "));
  EXPECT_TRUE(errorsOf("mesk: 2\ntasks: []\n").starts_with(at + "1: 'mesk': "));
  EXPECT_TRUE(errorsOf("mesk: 1\ntasks:\n  - {name: a, script: x, type: sql}\n")
                  .starts_with(at + "3: 'type': expected one of: script, group, warehouse\n"));
  EXPECT_TRUE(errorsOf("mesk: 1\ntasks:\n  - name: a\n    script: x\n    schedule:\n"
                       "      - {every: 0 hours, start: 2026-01-01 00:00}\n")
                  .starts_with(at + "6: 'every': expected 1 to 24 hours\n"));
  const Answer missing = ctl({"apply", scratch_.at("missing.yaml")});
  EXPECT_EQ(missing.code, 3);
  EXPECT_TRUE(missing.error.starts_with(scratch_.at("missing.yaml") + ": No such file")) << missing.error;
}

TEST_F(ErrorsTest, AFileThatIsNoStoreIsLeftAlone) {
  const std::string text = scratch_.write("letter.txt", "Dear store,\n");
  expectRefusal(ctl({"--store", text, "list"}), 6, text + ": the file is not a Mesk store");
  EXPECT_EQ(contentOf(text), "Dear store,\n");
  const std::string other = scratch_.at("other.db");
  ASSERT_EQ(program({"sqlite3", other, "CREATE TABLE song (name)"}).code, 0);
  expectRefusal(ctl({"--store", other, "apply", scratch_.write("t.yaml", std::string("mesk: 1\ntasks:\n") + kTask)}), 6,
                "the file is not a Mesk store");
  EXPECT_EQ(program({"sqlite3", other, ".tables"}).out, "song\n");
}

TEST_F(ErrorsTest, AStoreOfANewerVersionIsRefused) {
  apply(kTask);
  ASSERT_EQ(program({"sqlite3", store_, "UPDATE store_schema SET version = 99"}).code, 0);
  expectRefusal(ctl({"list"}), 6, "written by a newer version of Mesk");
}

TEST_F(ErrorsTest, ADamagedStoreIsRefused) {
  apply(kTask);
  std::string bytes = contentOf(store_);
  for (std::size_t i = 4096; i < bytes.size(); ++i) bytes[i] = static_cast<char>(0x5a);
  const std::string damaged = scratch_.write("damaged.db", bytes);
  expectRefusal(ctl({"--store", damaged, "list"}), 6, "damaged");
}

TEST_F(ErrorsTest, AFolderWithoutRoomForAStoreIsNamed) {
  const std::string file = scratch_.write("t.yaml", std::string("mesk: 1\ntasks:\n") + kTask);
  expectRefusal(ctl({"--store", "/proc/mesk.db", "apply", file}), 6, "/proc/mesk.db: ");
  expectRefusal(ctl({"--store", scratch_.at("no/mesk.db"), "apply", file}), 6,
                "there is no folder " + scratch_.at("no"));
  expectRefusal(ctl({"--store", scratch_.path(), "apply", file}), 6, scratch_.path() + " is a folder");
}

TEST_F(ErrorsTest, OutputThatCannotBeWrittenIsAFailure) {
  apply(kTask);
  const Answer answer = program({"sh", "-c", "\"$0\" list > /dev/full", MESK_CTL});
  EXPECT_EQ(answer.code, 1);
  EXPECT_EQ(answer.error, "meskctl: standard output cannot be written\n");
}

TEST_F(ErrorsTest, WithoutAJvmTheMessageSaysWhereItWasLookedFor) {
  apply(kTask);
  environment_["JAVA_HOME"] = "/nonexistent";
  environment_["PATH"] = scratch_.path();
  expectRefusal(ctl({"list"}), 7, "no JVM library: /nonexistent/lib/server/libjvm.so (JAVA_HOME), no java on the PATH");
}

TEST_F(ErrorsTest, AnOptionThatTheJvmRefusesIsTold) {
  apply(kTask);
  environment_["MESK_JVM_OPTIONS"] = "-XX:NoSuchOption";
  const Answer answer = ctl({"list"});
  EXPECT_EQ(answer.code, 7);
  EXPECT_NE(answer.error.find("refused to start a JVM"), std::string::npos) << answer.error;
  EXPECT_NE(answer.error.find("NoSuchOption"), std::string::npos) << answer.error;
}

TEST_F(ErrorsTest, AMissingStoreLibraryIsNamed) {
  apply(kTask);
  environment_["MESK_CLASSPATH"] = scratch_.at("missing.jar");
  expectRefusal(ctl({"list"}), 8, "java.lang.NoClassDefFoundError");
  environment_["MESK_CLASSPATH"] = scratch_.path();
  expectRefusal(ctl({"list"}), 8, "java.lang.NoClassDefFoundError");
}

TEST_F(ErrorsTest, AnInstallationWithoutItsJarSaysWhereTheJarShouldBe) {
  apply(kTask);
  const std::filesystem::path libraries = scratch_.at("copy/lib");
  std::filesystem::create_directories(libraries);
  for (const auto& entry : std::filesystem::directory_iterator(MESK_LIBRARIES)) {
    const std::filesystem::path name = entry.path().filename();
    if (!name.string().starts_with("libmesk")) continue;
    std::filesystem::copy(entry.path(), libraries / name, std::filesystem::copy_options::copy_symlinks);
  }
  environment_["LD_LIBRARY_PATH"] = libraries;
  expectRefusal(ctl({"list"}), 8, "no store library: " + scratch_.at("copy/share/mesk/mesk-store.jar"));
}

TEST_F(ErrorsTest, AClassOfAnotherVersionIsToldWithTheMethodThatItLacks) {
  apply(kTask);
  const std::string source =
      scratch_.write("MDTaskType.java",
                     "package com.orvik.kelvo.mesk.metadata;\n"
                     "import com.orvik.kelvo.common.parl.api.*;\n"
                     "public class MDTaskType { public MDTaskType(Context context, PARLException exception) {} }\n");
  const std::string classes = scratch_.at("classes");
  const Answer compiled = program({MESK_JAVAC, "-proc:none", "-d", classes, "-classpath", classPath(classes), source});
  ASSERT_EQ(compiled.code, 0) << compiled.error;
  environment_["MESK_CLASSPATH"] = classPath(classes);
  const Answer answer = ctl({"list"});
  expectRefusal(answer, 8, "lacks a class or method that this program needs");
  EXPECT_NE(answer.error.find("java.lang.NoSuchMethodError: retrieveList"), std::string::npos) << answer.error;
}

}  // namespace
}  // namespace mesk::host
