// The options of the command line.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace lsql {

// What the command line asks for.
struct Options {
  bool tcp = false;
  bool raw = false;
  bool exact = false;
  bool help = false;
  bool version = false;
  std::optional<std::string> file;          // "-" is the standard input
  std::chrono::milliseconds timeout{30000}; // zero: for ever
  unsigned long count = 0;                  // zero: no limit
  std::vector<std::string> operands;
  std::string given; // the letters of all options given, so that a command can refuse those it does not take
};

// Parses the command line; options may stand after operands. Throws Failure (EXIT_USAGE).
Options parse_options(int argc, char *const argv[]);

// One line for each option.
std::string options_help();

} // namespace lsql
