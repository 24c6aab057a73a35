#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include <scheduler/Table.h>

namespace mesk::host {
namespace {

Table sample() {
  Table table({{"NAME"}, {"RUNS", Table::Align::kRight}, {"NOTE"}});
  table.add({"largest-files", "7", "ok"});
  table.add({"b", "1234", ""});
  return table;
}

TEST(TableTest, ColumnsAreAligned) {
  EXPECT_EQ(sample().text(0),
            "NAME           RUNS  NOTE\n"
            "largest-files     7  ok\n"
            "b              1234\n");
}

TEST(TableTest, TheWidestColumnIsCutToTheWidth) {
  EXPECT_EQ(sample().text(20),
            "NAME      RUNS  NOTE\n"
            "largest…     7  ok\n"
            "b         1234\n");
  EXPECT_EQ(sample().text(1000), sample().text(0));
}

TEST(TableTest, NoColumnIsCutToNothing) {
  EXPECT_EQ(sample().text(1),
            "NAME  RUNS  NOTE\n"
            "lar…     7  ok\n"
            "b     1234\n");
}

TEST(TableTest, CharactersCountAsWideAsATerminalShowsThem) {
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("äöü"), 3U);
  EXPECT_EQ(displayWidth("日本"), 4U);
  EXPECT_EQ(displayWidth("e\u0301"), 1U);
  EXPECT_EQ(displayWidth("\U0001F600"), 2U);
  Table table({{"A"}, {"B"}});
  table.add({"日本", "x"});
  table.add({"äö", "y"});
  EXPECT_EQ(table.text(0), "A     B\n日本  x\näö    y\n");
  Table wide({{"A"}});
  wide.add({"日本語日本語"});
  EXPECT_EQ(wide.text(6), "A\n日本…\n");
}

TEST(TableTest, NoCellCanSteerTheTerminal) {
  Table table({{"A"}});
  table.add({"x\x1b[2Jy\nz\xff\u202e"});
  table.add({"\u0085"});
  EXPECT_EQ(table.text(0), "A\nx?[2Jy?z??\n?\n");
}

TEST(TableTest, ShortRowsAreFilledUp) {
  Table table({{"A"}, {"B"}});
  table.add({"1"});
  table.add({"1", "2", "3"});
  EXPECT_EQ(table.text(0), "A  B\n1\n1  2\n");
}

TEST(TableTest, ProgramsGetTheWholeTexts) {
  Table table({{"NAME"}, {"NOTE"}});
  table.add({"a\n\"b\"", "\xff"});
  const auto json = nlohmann::json::parse(table.json());
  EXPECT_EQ(json, nlohmann::json::parse(R"([{"NAME": "a\n\"b\"", "NOTE": "\ufffd"}])"));
  EXPECT_EQ(Table({{"A"}}).json(), "[]\n");
}

TEST(TableTest, AFileIsNoTerminal) { EXPECT_EQ(Table::terminalWidth(-1), 0U); }

}  // namespace
}  // namespace mesk::host
