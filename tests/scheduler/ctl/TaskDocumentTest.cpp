// The task files that the documents show are task files.
#include "Ctl.h"

namespace mesk::host {
namespace {

/// The blocks of YAML in a document, those that are whole task files.
Words taskFilesIn(const std::string& document) {
  Words files;
  const std::string text = contentOf(document);
  const std::string open = "```yaml\n";
  for (std::size_t at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
    at += open.size();
    const std::string block = text.substr(at, text.find("```", at) - at);
    if (block.find("mesk: 1\n") != std::string::npos) files.push_back(block);
  }
  return files;
}

TEST_F(CtlTest, TheTaskFilesOfTheDocumentsApply) {
  for (const char* name : {"task-files.md", "how-to.md"}) {
    const Words files = taskFilesIn(std::string(MESK_DOCS "/") + name);
    EXPECT_FALSE(files.empty()) << name;
    for (const std::string& file : files) {
      const Answer answer = ctl({"apply", scratch_.write("document.yaml", file), "--json"});
      EXPECT_EQ(answer.code, 0) << name << "\n" << answer.error;
      EXPECT_FALSE(answer.json().empty()) << name;
    }
  }
}

TEST_F(CtlTest, EveryKeyOfATaskFileIsInTheReference) {
  const std::string reference = contentOf(MESK_DOCS "/task-files.md");
  const Answer answer = apply("  - {no-such-key: 1}\n");
  const std::string listed = answer.error.substr(answer.error.find("expected one of: ") + 17);
  std::istringstream keys(listed.substr(0, listed.find('\n')));
  int count = 0;
  for (std::string key; keys >> key; ++count) {
    if (key.back() == ',') key.pop_back();
    EXPECT_NE(reference.find("`" + key + "`"), std::string::npos) << key;
  }
  EXPECT_GE(count, 20);
}

}  // namespace
}  // namespace mesk::host
