#include <gtest/gtest.h>

#include <string>

#include <scheduler/RunOptions.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

std::string refusal(const std::string& text) {
  try {
    RunOptions::fromJson(text);
  } catch (const FormatError& refused) {
    return refused.what();
  }
  return "accepted";
}

TEST(RunOptionsTest, DefaultsAreAnEmptyObject) {
  EXPECT_EQ(RunOptions().toJson(), "{}");
  EXPECT_EQ(RunOptions::fromJson("{}"), RunOptions());
  EXPECT_EQ(RunOptions::fromJson(""), RunOptions());
}

TEST(RunOptionsTest, EveryOptionComesBack) {
  RunOptions options;
  options.environment = {{"A", "ä \"quoted\""}, {"B", ""}};
  options.timeoutSeconds = 90;
  options.outputLimit = 4096;
  options.missed = RunOptions::Missed::kSkip;
  options.interrupted = RunOptions::Interrupted::kRerun;
  options.overlap = RunOptions::Overlap::kSkip;
  EXPECT_EQ(RunOptions::fromJson(options.toJson()), options);
  EXPECT_EQ(options.toJson(),
            R"({"environment":{"A":"ä \"quoted\"","B":""},"timeout":90,"output-limit":4096,"missed":"skip",)"
            R"("interrupted":"rerun","overlap":"skip"})");
}

TEST(RunOptionsTest, WhatIsNoOptionIsRefusedByName) {
  EXPECT_EQ(refusal("{"), "run options: expected a JSON object");
  EXPECT_EQ(refusal("[]"), "run options: expected a JSON object");
  EXPECT_EQ(refusal(R"({"tiemout":1})"), "run options: 'tiemout': no such option");
  EXPECT_EQ(refusal(R"({"missed":"never"})"), "run options: 'missed': expected one of: once, all, skip");
  EXPECT_EQ(refusal(R"({"missed":1})"), "run options: 'missed': expected one of: once, all, skip");
  EXPECT_EQ(refusal(R"({"timeout":-1})"), "run options: 'timeout': expected a whole number from 0 to 31622400");
  EXPECT_EQ(refusal(R"({"timeout":"5m"})"), "run options: 'timeout': expected a whole number from 0 to 31622400");
  EXPECT_EQ(refusal(R"({"output-limit":1})"),
            "run options: 'output-limit': expected a whole number from 1024 to 67108864");
}

TEST(RunOptionsTest, ARefusalTellsNoValueOfTheEnvironment) {
  EXPECT_EQ(refusal(R"({"environment":{"A":["topsecret"]}})"), "run options: 'environment': expected texts");
  EXPECT_EQ(refusal(R"({"environment":{"MESK_A":"topsecret"}})"),
            "run options: 'environment': expected names of variables");
  RunOptions options;
  options.environment["A"] = "topsecret\xff";
  try {
    options.toJson();
    FAIL() << "accepted";
  } catch (const FormatError& refused) {
    EXPECT_EQ(std::string(refused.what()).find("topsecret"), std::string::npos);
  }
}

}  // namespace
}  // namespace mesk::host
