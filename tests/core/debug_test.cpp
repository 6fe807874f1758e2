#include "common/log.hpp"
#include "core/debug.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

using vorn::test::Log;

TEST(Debug, WritesByLevel) {
  Log log;
  vorn_debug_1printf("one\n");
  vorn_debug_lprintf(0, "zero %d\n", 0);
  vorn_debug_lprintf(1, "one\n");
  for (const int level : {-1, 7}) EXPECT_EQ(vorn_debug_set(level), 1);
  EXPECT_EQ(log.take(), "vorn: zero 0\n");
  EXPECT_EQ(vorn_debug_set(6), 0);
  vorn_debug_1printf("one\n");
  vorn_debug_lprintf(6, "six\n");
  EXPECT_EQ(log.take(), "vorn: Debug level is now 6.\nvorn: one\nvorn: six\n");
}

TEST(Debug, TakesTextsOfFatalErrorsAsTheyAre) {
  Log log;
  vorn_debug_fatal("100%s %n");
  errno = EACCES;
  vorn_debug_fatal_perror("%d");
  EXPECT_EQ(log.take(),
            "vorn: Fatal error: 100%s %n\nvorn: Attempting to continue operation.\n"
            "vorn: Fatal error: %d: Permission denied\nvorn: Attempting to continue operation.\n");
}

} // namespace
