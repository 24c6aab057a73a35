#include <gtest/gtest.h>

#include <random>
#include <string>

#include <scheduler/Files.h>
#include <scheduler/OutputFile.h>
#include <scheduler/Scratch.h>

namespace mesk::host {
namespace {

std::string kept(const std::string& all, std::size_t limit) {
  if (all.size() <= limit) return all;
  const std::size_t head = limit / 2;
  return all.substr(0, head) + "\n[... " + std::to_string(all.size() - limit) + " bytes left out ...]\n" +
         all.substr(all.size() - (limit - head));
}

TEST(OutputFileTest, KeepsHeadAndTailHoweverTheOutputComes) {
  const Scratch scratch;
  std::mt19937_64 random(randomSeed());
  const auto upTo = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); };
  for (int round = 0; round < 300; ++round) {
    const std::size_t limit = upTo(40);
    OutputFile file(scratch.at("output"), static_cast<std::int64_t>(limit));
    std::string all;
    for (std::size_t portions = upTo(12); portions > 0; --portions) {
      std::string portion;
      for (std::size_t i = upTo(25); i > 0; --i) portion += static_cast<char>('a' + upTo(25));
      file.add(portion.data(), portion.size());
      all += portion;
    }
    file.finish();
    ASSERT_EQ(readFile(scratch.at("output")), kept(all, limit)) << "limit " << limit << ", all " << all;
    ASSERT_EQ(file.total(), static_cast<std::int64_t>(all.size()));
    ASSERT_FALSE(file.lost());
  }
}

TEST(OutputFileTest, WithinTheLimitOutputCanBeReadWhileItGrows) {
  const Scratch scratch;
  OutputFile file(scratch.at("output"), 100);
  file.add("first ", 6);
  EXPECT_EQ(readFile(scratch.at("output")), "first ");
  file.add("second", 6);
  EXPECT_EQ(readFile(scratch.at("output")), "first second");
}

TEST(OutputFileTest, AFileThatCannotBeMadeLosesTheOutputAndStillCountsIt) {
  OutputFile file("/nowhere/output", 100);
  file.add("abc", 3);
  file.finish();
  EXPECT_TRUE(file.lost());
  EXPECT_EQ(file.total(), 3);
}

}  // namespace
}  // namespace mesk::host
