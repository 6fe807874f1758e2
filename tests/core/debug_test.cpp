#include "common/log.hpp"
#include "core/debug.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <regex>

namespace {

using vorn::test::Log;

TEST(Debug, WritesByLevel) {
  Log log;
  vorn_debug_1printf("one\n");
  vorn_debug_lprintf(0, "zero %d\n", 0);
  vorn_debug_lprintf(1, "one\n");
  EXPECT_EQ(vorn_debug_set(7), 1);
  EXPECT_EQ(vorn_debug_set(-1), 1);
  EXPECT_EQ(log.take(), "vorn: zero 0\n");
  EXPECT_EQ(vorn_debug_set(6), 0);
  vorn_debug_1printf("one\n");
  vorn_debug_lprintf(6, "six\n");
  EXPECT_EQ(log.take(), "vorn: Debug level is now 6.\nvorn: one\nvorn: six\n");
}

TEST(Debug, StampsTheTimeWhenAskedTo) {
  Log log;
  EXPECT_EQ(vorn_debug_set_timestamp(2), 1);
  EXPECT_EQ(vorn_debug_set_timestamp(1), 0);
  vorn_debug_printf("text\n");
  errno = ENOENT;
  vorn_debug_perror("what");
  const std::string stamp = R"(\[\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}\])";
  EXPECT_TRUE(std::regex_match(log.take(), std::regex("vorn: " + stamp + " text\nvorn: " + stamp +
                                                      " what: No such file or directory\n")));
}

TEST(Debug, TakesTextsOfFatalErrorsAsTheyAre) {
  Log log;
  vorn_debug_fatal("100%s %n");
  errno = EACCES;
  vorn_debug_fatal_perror("%d");
  vorn_debug_fatal(nullptr);
  EXPECT_EQ(log.take(), "vorn: Fatal error: 100%s %n\nvorn: Attempting to continue operation.\n"
                        "vorn: Fatal error: %d: Permission denied\nvorn: Attempting to continue operation.\n"
                        "vorn: Fatal error: (null)\nvorn: Attempting to continue operation.\n");
}

TEST(Debug, EndsTheProcessOnAFatalErrorWhenToldTo) {
  EXPECT_EQ(vorn_debug_set_exit_on_fatal(2), 1);
  EXPECT_EQ(vorn_debug_set_exit_on_fatal(1), 0);
  EXPECT_EXIT(vorn_debug_fatal("x"), testing::ExitedWithCode(1),
              "^vorn: Fatal error: x\nvorn: Exiting due to fatal error.\n$");
}

} // namespace
