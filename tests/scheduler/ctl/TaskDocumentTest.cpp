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
  // A wrong key in each kind of mapping, and how many right ones there are at least.
  const std::pair<const char*, int> mappings[] = {
      {"no-such-key: 1", 7},
      {"tasks: [{no-such-key: 1}]", 28},
      {"tasks: [{name: a, type: warehouse, warehouse: {no-such-key: 1}}]", 13},
      {"tasks: [{name: a, script: x, schedule: [{no-such-key: 1}]}]", 6},
      {"tasks: [{name: a, script: x, retry: {no-such-key: 1}}]", 2},
      {"tasks: [{name: a, script: x, follow-ons: [{no-such-key: 1}]}]", 4},
      {"tasks: [{name: a, script: x, notifications: [{no-such-key: 1}]}]", 7},
      {"tasks: [{name: a, script: x, rights: [{no-such-key: 1}]}]", 3},
      {"users: [{no-such-key: 1}]", 3},
      {"groups: [{no-such-key: 1}]", 2},
      {"contacts: [{no-such-key: 1}]", 3},
      {"contact-groups: [{no-such-key: 1}]", 2},
      {"schedules: [{no-such-key: 1}]", 3},
  };
  for (const auto& [mapping, least] : mappings) {
    const Answer answer = ctl({"apply", scratch_.write("wrong.yaml", "mesk: 1\n" + std::string(mapping) + "\n")});
    const std::string mark = "expected one of: ";
    const std::size_t at = answer.error.find(mark);
    ASSERT_NE(at, std::string::npos) << mapping << answer.error;
    const std::string listed = answer.error.substr(at + mark.size());
    std::istringstream keys(listed.substr(0, listed.find('\n')));
    int count = 0;
    for (std::string key; keys >> key; ++count) {
      if (key.back() == ',') key.pop_back();
      // As a key in words, or as one of an example.
      const bool told =
          reference.find("`" + key + "`") != std::string::npos || reference.find(key + ": ") != std::string::npos;
      EXPECT_TRUE(told) << key << " of " << mapping;
    }
    EXPECT_GE(count, least) << mapping;
  }
}

}  // namespace
}  // namespace mesk::host
