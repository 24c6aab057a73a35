// What is collected before its number is known.
#include <gtest/gtest.h>
#include <mesk/bridge/GrowingTable.h>
#include <mesk/support/AllocationFault.h>

#include <string>
#include <vector>

namespace mesk::test {
namespace {

std::vector<std::string> entries(const GrowingTable<std::string>& table) { return {table.begin(), table.end()}; }

TEST(GrowingTableTest, EntriesStayInTheOrderInWhichTheyCame) {
  GrowingTable<std::string> table;
  EXPECT_EQ(table.count(), 0);
  EXPECT_EQ(table.begin(), table.end());
  for (const char* const name : {"cy", "ann", "cy"}) EXPECT_TRUE(table.append(name));
  EXPECT_EQ(table.count(), 3);
  EXPECT_EQ(entries(table), (std::vector<std::string>{"cy", "ann", "cy"}));
}

TEST(GrowingTableTest, EachEntryMakesRoomForOne) {
  for (unsigned n = 1; n <= 5; ++n) {
    GrowingTable<std::string> table;
    const AllocationFault fault(AllocationFault::kNew, n);
    for (unsigned i = 1; i <= 5; ++i) EXPECT_EQ(table.append(std::to_string(i)), i != n) << n;
    EXPECT_EQ(table.count(), 4);
  }
}

TEST(GrowingTableTest, WithoutMemoryItStaysAsItWas) {
  GrowingTable<std::string> table;
  table.append("ann");
  {
    const AllocationFault fault(AllocationFault::kNew, 1);
    EXPECT_FALSE(table.append("bob"));
  }
  EXPECT_EQ(entries(table), std::vector<std::string>{"ann"});
  EXPECT_TRUE(table.append("cy"));
  EXPECT_EQ(entries(table), (std::vector<std::string>{"ann", "cy"}));
}

}  // namespace
}  // namespace mesk::test
