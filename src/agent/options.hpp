#pragma once

namespace vorn {

struct Options {
  int debug_level;
  bool foreground;
};

// Reads the command line. Prints the usage and ends the process with status 1 when it is wrong or asks for
// it.
Options parse_options(int argc, char **argv);

} // namespace vorn
