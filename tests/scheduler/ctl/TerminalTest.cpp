// What is different when a person sits at a terminal.
#include "Ctl.h"

namespace mesk::host {
namespace {

class TerminalTest : public CtlTest {
 protected:
  /// As `ctl`, on a terminal of its own; `typed` is what the person types.
  Answer atTerminal(const std::string& command, const std::string& typed = "") const {
    const std::string script = "printf '%s' \"$1\" | script -qec \"$2\" /dev/null";
    return program({"sh", "-c", script, "sh", typed, std::string(MESK_CTL) + " " + command});
  }
};

TEST_F(TerminalTest, OutputOfAScriptCannotSteerTheTerminal) {
  apply("  - {name: sly, script: 'printf \"a\\\\033[2Jb\\\\n\"'}\n");
  done({"run", "sly"});
  runDue();
  const std::string run = std::to_string(json({"history"}).at(0).at("run").get<int>());
  EXPECT_EQ(done({"log", run, "-q"}).out, "a\033[2Jb\n") << "a file gets what the script wrote";
  const Answer shown = atTerminal("log " + run);
  EXPECT_NE(shown.out.find("a?[2Jb"), std::string::npos) << shown.out;
  EXPECT_EQ(shown.out.find('\033'), std::string::npos);
}

TEST_F(TerminalTest, ManyTasksAreCountedWhileTheyAreAppliedAndFewAreNot) {
  const auto tasks = [](int count) {
    std::string text = "mesk: 1\ntasks:\n";
    for (int i = 0; i < count; ++i) text += "  - {name: task-" + std::to_string(i) + ", script: echo}\n";
    return text;
  };
  const Answer many = atTerminal("apply -q --dry-run " + scratch_.write("a.yaml", tasks(60)));
  EXPECT_EQ(many.out, "") << "quiet is quiet";
  done({"apply", "-q", scratch_.write("few.yaml", tasks(2))});
  EXPECT_NE(atTerminal("apply " + scratch_.write("many.yaml", tasks(60))).out.find("60 of 60 tasks"),
            std::string::npos);
  EXPECT_EQ(atTerminal("apply " + scratch_.at("few.yaml")).out.find(" of "), std::string::npos);
}

TEST_F(TerminalTest, DeletingAsksAndTakesOnlyYesForYes) {
  apply("  - {name: task, script: echo}\n");
  const Answer refused = atTerminal("delete task", "n\n");
  EXPECT_EQ(refused.code, 5);
  EXPECT_NE(refused.out.find("Delete task 'task' with its schedule? [y/N]"), std::string::npos) << refused.out;
  EXPECT_EQ(done({"list", "--names"}).out, "task\n");
  EXPECT_EQ(atTerminal("delete task", "y\n").code, 0);
  EXPECT_EQ(done({"list", "--names"}).out, "");
}

}  // namespace
}  // namespace mesk::host
