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
  options.stages = {1, 2, 1};
  options.warehouse =
      Warehouse{"jdbc:a", "ada", "/a", "jdbc:b", "bob", "/b", "t", Warehouse::Mode::kReplace, 10, 2, 30};
  EXPECT_EQ(RunOptions::fromJson(options.toJson()), options);
  EXPECT_EQ(options.toJson(),
            R"({"environment":{"A":"ä \"quoted\"","B":""},"timeout":90,"output-limit":4096,"missed":"skip",)"
            R"("interrupted":"rerun","overlap":"skip","stages":[1,2,1],)"
            R"("warehouse":{"source":"jdbc:a","sourceUser":"ada","sourcePasswordFile":"/a","target":"jdbc:b",)"
            R"("targetUser":"bob","targetPasswordFile":"/b","table":"t","mode":"replace","batch":10,"retries":2,)"
            R"("retryInterval":30}})");
}

TEST(RunOptionsTest, WhatAWarehouseTaskDoesNotSayIsUsual) {
  RunOptions options;
  options.warehouse.emplace();
  options.warehouse->source = "jdbc:a";
  EXPECT_EQ(options.toJson(), R"({"warehouse":{"source":"jdbc:a"}})");
  const RunOptions again = RunOptions::fromJson(options.toJson());
  EXPECT_EQ(again, options);
  EXPECT_EQ(again.warehouse->batch, 1000);
  EXPECT_EQ(again.warehouse->mode, Warehouse::Mode::kAppend);
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
  EXPECT_EQ(refusal(R"({"stages":{}})"), "run options: 'stages': expected an array");
  EXPECT_EQ(refusal(R"({"stages":[0]})"), "run options: 'stages': expected a whole number from 1 to 1000");
  EXPECT_EQ(refusal(R"({"warehouse":[]})"), "run options: 'warehouse': expected an object");
  EXPECT_EQ(refusal(R"({"warehouse":{"table":1}})"), "run options: 'warehouse': expected texts");
  EXPECT_EQ(refusal(R"({"warehouse":{"batch":0}})"),
            "run options: 'warehouse': expected a whole number from 1 to 100000");
  EXPECT_EQ(refusal(R"({"warehouse":{"mode":"both"}})"), "run options: 'warehouse': expected one of: append, replace");
  EXPECT_EQ(refusal(R"({"warehouse":{"password":"x"}})"), "run options: 'warehouse': 'password' is no part of it");
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
