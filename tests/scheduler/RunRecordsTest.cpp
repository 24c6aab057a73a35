#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include <scheduler/RunRecords.h>

namespace mesk::host {
namespace {

std::string refusal(const std::string& text) {
  try {
    RunStatus::fromJson(text);
  } catch (const std::runtime_error& refused) {
    return refused.what();
  }
  return "accepted";
}

TEST(RunRecordsTest, ARequestComesBackAsItWas) {
  RunRequest request;
  request.processor = "/bin/bash";
  request.script = "echo \"ä\"\n\texit 1\n";
  request.arguments = {"", "a b", "'"};
  request.directory = "/tmp";
  request.user = "nobody";
  request.environment = {{"A", "1"}, {"B", ""}};
  request.timeoutMillis = 1;
  request.graceMillis = 2;
  request.outputLimit = 3;
  request.attempt = 4;
  EXPECT_EQ(RunRequest::fromJson(request.toJson()), request);
}

TEST(RunRecordsTest, AStatusComesBackAsItWas) {
  RunStatus status{-510, 9, true, true, true, 1, 2, 3, 4, 5, "why"};
  EXPECT_EQ(RunStatus::fromJson(status.toJson()), status);
  status.rows = 0;
  status.bytes.reset();
  EXPECT_EQ(RunStatus::fromJson(status.toJson()), status);
}

TEST(RunRecordsTest, AScriptThatIsNotUtf8IsRefusedRatherThanChanged) {
  RunRequest request;
  request.script = "echo \xff";
  EXPECT_THROW(request.toJson(), std::runtime_error);
}

TEST(RunRecordsTest, WhatIsNotExactlyAStatusIsRefused) {
  const std::string good = RunStatus().toJson();
  ASSERT_EQ(refusal(good), "accepted");
  EXPECT_EQ(refusal(""), "status.json: no JSON object");
  EXPECT_EQ(refusal("[]"), "status.json: no JSON object");
  EXPECT_EQ(refusal("{}"), "status.json: 'returnCode' is missing");
  std::string text = good;
  text.replace(text.find("\"signal\": 0"), 11, "\"signal\": true");
  EXPECT_EQ(refusal(text), "status.json: 'signal' is of another type");
  text = good;
  text.replace(text.find("\"rows\": null"), 12, "\"rows\": 1.5");
  EXPECT_EQ(refusal(text), "status.json: 'rows' is of another type");
  text = good;
  text.insert(text.find('{') + 1, "\"more\": 1,");
  EXPECT_EQ(refusal(text), "status.json: it has a member that is not known");
}

TEST(RunRecordsTest, ARefusedRequestTellsNoSecret) {
  RunRequest request;
  request.environment = {{"TOKEN", "topsecret"}};
  std::string text = request.toJson();
  text.replace(text.find("\"topsecret\""), 11, "[\"topsecret\"]");
  try {
    RunRequest::fromJson(text);
    FAIL() << "accepted";
  } catch (const std::runtime_error& refused) {
    EXPECT_EQ(std::string(refused.what()), "run.json: 'environment' is of another type");
  }
}

}  // namespace
}  // namespace mesk::host
