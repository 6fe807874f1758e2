#include "common/log.hpp"
#include "core/debug.hpp"
#include "core/log_text.hpp"

#include <cerrno>
#include <cstdarg>
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

// Who can choose a value must not write lines of the log.
TEST(Debug, ShowsControlCharactersOfArgumentsAndKeepsThoseOfTheFormat) {
  Log log;
  const std::string large(2000, 'x');
  const struct {
    const char *format;
    std::string argument, line;
  } cases[] = {
      {"[%s]\r\n", "a\nvorn: b\r\t\x1b[2J\x7f", "vorn: [a\\nvorn: b\\r\\t\\x1b[2J\\x7f]\r\n"},
      {"%s", "a\n", "vorn: a\\n"},
      {"%s\n", large + "\n" + large, "vorn: " + large + "\\n" + large + "\n"},
      {"two\nlines %s\n", "a", "vorn: two\nlines a\n"},
      {"%s\n", "Zürich — 東京", "vorn: Zürich — 東京\n"},
  };
  for (const auto &c : cases) {
    [](const char *format, ...) {
      va_list arguments;
      va_start(arguments, format);
      vorn::log_message(0, format, arguments);
      va_end(arguments);
    }(c.format, c.argument.c_str());
    EXPECT_EQ(log.take(), c.line);
  }
}

TEST(Debug, ShowsTheBeginningOfALongTextAndItsLength) {
  EXPECT_STREQ(vorn::Excerpt(std::string(512, 'x').c_str()).get(), std::string(512, 'x').c_str());
  EXPECT_EQ(vorn::Excerpt((std::string(511, '\n') + "€uro").c_str()).get(), [] {
    std::string shown;
    for (int i = 0; i < 511; ++i) shown += "\\n";
    return shown + "... (517 bytes)";
  }());
  EXPECT_STREQ(vorn::Excerpt(nullptr).get(), "(null)");
}

} // namespace
