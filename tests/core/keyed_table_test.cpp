#include "core/keyed_table.hpp"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace {

using vorn::KeyedTable;

std::string order(const KeyedTable<int> &table) {
  std::string text;
  for (const auto &entry : table) text.append(entry.name()).append(" ");
  return text;
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
  EXPECT_EQ(table.find_or_insert("name", "third"), entry);
  EXPECT_EQ(entry->value, "first");
  table.remove(entry);
  EXPECT_EQ(table.find("name"), nullptr);
}

TEST(KeyedTable, TellsKeysApartByAllTheirBytes) {
  using namespace std::string_view_literals;
  KeyedTable<int> table;
  int number = 0;
  for (const auto key : {"a\0b"sv, "a\0c"sv, "a\0"sv, "a"sv, ""sv})
    EXPECT_NE(table.insert(key, ++number), nullptr);
  EXPECT_EQ(table.find("a\0c"sv)->value, 2);
  EXPECT_EQ(table.find("a")->value, 3); // names have their NUL in the key
}

// The key is the process's own: another process, which runs this test too, has another.
TEST(KeyedTable, HashesOtherwiseInEveryProcess) {
  const uint32_t own = vorn::hash_bytes("name");
  if (getenv("PRINT_HASH")) {
    printf("hash %x\n", own);
    return;
  }
  FILE *other = popen("PRINT_HASH=1 exec /proc/$PPID/exe --gtest_filter=KeyedTable.HashesOtherwise*", "r");
  uint32_t hash = own;
  char line[256];
  while (fgets(line, sizeof line, other)) sscanf(line, "hash %x", &hash);
  EXPECT_EQ(pclose(other), 0);
  EXPECT_NE(hash, own);
}

} // namespace
