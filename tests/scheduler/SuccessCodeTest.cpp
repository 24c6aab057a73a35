#include <gtest/gtest.h>

#include <string>

#include <scheduler/SuccessCode.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

TEST(SuccessCodeTest, EveryFormIsRead) {
  const struct {
    const char* text;
    SuccessCode code;
    const char* shortest;
  } rows[] = {
      {"0", {'=', 0}, "0"},
      {"= 4", {'=', 4}, "4"},
      {"==4", {'=', 4}, "4"},
      {"-501", {'=', -501}, "-501"},
      {"!= 4", {'!', 4}, "!= 4"},
      {"!=-1", {'!', -1}, "!= -1"},
      {"< 8", {'<', 8}, "< 8"},
      {"<= 3", {'<', 4}, "< 4"},
      {"> 7", {'>', 7}, "> 7"},
      {">=  8", {'>', 7}, "> 7"},
      {"2147483647", {'=', 2147483647}, "2147483647"},
      {"-2147483648", {'=', -2147483647 - 1}, "-2147483648"},
      {"<= 2147483646", {'<', 2147483647}, "< 2147483647"},
      {">= -2147483647", {'>', -2147483647 - 1}, "> -2147483648"},
  };
  for (const auto& [text, code, shortest] : rows) {
    EXPECT_EQ(successCodeFromText(text), code) << text;
    EXPECT_EQ(textOf(code), shortest);
    EXPECT_EQ(successCodeFromText(shortest), code);
  }
}

TEST(SuccessCodeTest, WhatIsNoReturnCodeIsRefused) {
  for (const char* text :
       {"", " ", "zero", "0x1", "1.0", "1 2", "=", "=> 3", "=! 3", "<< 3", "! 3", "+1", "- 1", "< 3 ", "2147483648",
        "-2147483649", "<= 2147483647", ">= -2147483648", "99999999999999999999"}) {
    try {
      successCodeFromText(text);
      ADD_FAILURE() << "accepted '" << text << "'";
    } catch (const FormatError& refused) {
      EXPECT_EQ(std::string(refused.what()), "expected a return code such as 0, != 4, < 8, <= 3, > 7 or >= 8") << text;
    }
  }
}

}  // namespace
}  // namespace mesk::host
