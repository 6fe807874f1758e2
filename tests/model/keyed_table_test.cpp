#include "model/keyed_table.hpp"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using vorn::KeyedTable;

std::string order(const KeyedTable<int> &table) {
  std::string text;
  for (const auto &entry : table) text.append(entry.name()).append(" ");
  return text;
}

// The figures are those that the hash's author and its descriptions give for these texts.
TEST(KeyedTable, HashesWithOneAtATime) {
  EXPECT_EQ(vorn::hash_bytes(""), 0u);
  EXPECT_EQ(vorn::hash_bytes("a"), 0xca2e9442u);
  EXPECT_EQ(vorn::hash_bytes("The quick brown fox jumps over the lazy dog"), 0x519e91f5u);
}

TEST(KeyedTable, KeepsTheOrderOfInsertionThroughGrowthAndRemoval) {
  KeyedTable<int> table(1);
  std::string expected;
  for (int i = 0; i < 1000; ++i) {
    const std::string name = "n" + std::to_string(i * 7919 % 1000);
    ASSERT_NE(table.insert(name.c_str(), i), nullptr);
    if (i % 3 != 0) expected += name + " ";
  }
  int position = 0;
  for (auto it = table.iterate(); auto *entry = it.next();)
    if (position++ % 3 == 0) table.remove(entry); // what the iteration has just returned may go
  EXPECT_EQ(order(table), expected);
  table.insert("n0", 0);
  EXPECT_EQ(order(table), expected + "n0 ");
  for (const auto &entry : table) EXPECT_EQ(table.find(entry.key()), &entry);
}

TEST(KeyedTable, RefusesAKeyThatIsPresentAndKeepsItsValue) {
  KeyedTable<std::string> table;
  std::string key = "name";
  auto *entry = table.insert(key.c_str(), "first");
  EXPECT_EQ(table.insert("name", "second"), nullptr);
  key[0] = 'x'; // the table has its own copy
  EXPECT_EQ(table.find("name"), entry);
  EXPECT_EQ(entry->value, "first");
  EXPECT_EQ(table.find_or_insert("name", "third"), entry);
  table.remove(entry);
  EXPECT_EQ(table.find("name"), nullptr);
  EXPECT_TRUE(table.empty());
}

TEST(KeyedTable, TellsKeysApartByAllTheirBytes) {
  using namespace std::string_view_literals;
  KeyedTable<int> table;
  EXPECT_NE(table.insert("a\0b"sv, 1), nullptr);
  EXPECT_NE(table.insert("a\0c"sv, 2), nullptr);
  EXPECT_NE(table.insert("a", 3), nullptr); // with its NUL, as all names
  EXPECT_NE(table.insert("a"sv, 4), nullptr);
  EXPECT_NE(table.insert(""sv, 5), nullptr);
  EXPECT_EQ(table.size(), 5u);
  EXPECT_EQ(table.find("a\0c"sv)->value, 2);
  EXPECT_EQ(table.find("a")->value, 3);
}

} // namespace
