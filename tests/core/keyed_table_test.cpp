#include "core/keyed_table.hpp"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

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

// Jenkins' one-at-a-time hash, which the tables once had, without its last steps.
uint32_t one_at_a_time(uint32_t hash, const std::string &text) {
  for (const char byte : text) {
    hash += static_cast<unsigned char>(byte);
    hash += hash << 10;
    hash ^= hash >> 6;
  }
  return hash;
}

// 2^pairs names of one hash: pairs of syllables that lead from one state to the same next one.
std::vector<std::string> names_of_one_hash(int pairs) {
  std::mt19937 random(1);
  std::vector<std::string> names = {""};
  uint32_t state = 0;
  for (; pairs > 0; --pairs) {
    std::unordered_map<uint32_t, std::string> seen;
    std::string syllable(6, 'a');
    const auto met = [&] {
      for (char &letter : syllable) letter = static_cast<char>('a' + random() % 26);
      const auto [entry, is_new] = seen.emplace(one_at_a_time(state, syllable), syllable);
      return !is_new && entry->second != syllable;
    };
    while (!met()) {
    }
    const uint32_t next = one_at_a_time(state, syllable);
    const std::string &other = seen[next];
    state = next;
    for (size_t i = names.size(); i-- > 0;) {
      names.push_back(names[i] + syllable);
      names[i] += other;
    }
  }
  return names;
}

TEST(KeyedTable, SpreadsNamesThatWereMadeToMeet) {
  const std::vector<std::string> names = names_of_one_hash(7);
  std::set<uint32_t> before, now;
  for (const std::string &name : names) {
    before.insert(one_at_a_time(0, name));
    now.insert(vorn::hash_bytes(name));
  }
  ASSERT_EQ(names.size(), 128u);
  ASSERT_EQ(before.size(), 1u); // they are what they claim to be
  EXPECT_EQ(now.size(), names.size());
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
