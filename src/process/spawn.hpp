// Starting of child processes, as commands and services share it.
#pragma once

#include "core/export.h"
#include <sys/types.h>

namespace vorn {

// Where a child runs and what becomes of its output; its standard input is always /dev/null.
struct SpawnOptions {
  int output = 1; // 0: to /dev/null; 1: to /dev/null unless the debug level is above 0; else: the agent's
  const char *directory = nullptr; // null: the agent's
};

// Starts a program, which is looked up in PATH, with its arguments (the first is the program; null ends
// them). The child has a session of its own, default signals, and no descriptor of the agent's. Returns its
// process id, 0 in the mode without actions, or -1, reported, when there is no program or no process can be
// made. What cannot be executed ends with status 127. At debug level 1 and above the log tells of it, and its
// line is left open.
pid_t spawn(char *const argv[], const SpawnOptions &options) noexcept;

// Goes on with the log's open line, at debug level 1 and above.
void log_rest(const char *format, ...) noexcept VORN_PRINTF(1, 2);

} // namespace vorn
