// Processes as proc(5) tells of them.
#pragma once

#include <sys/types.h>

namespace vorn {

// One process for good: another one that gets its number later has another start.
struct ProcessIdentity {
  pid_t pid = 0;
  unsigned long long start = 0; // in clock ticks since the boot; 0 is unknown
};

// The process that has this number now; its start is 0 when there is none. Safe in signal context.
ProcessIdentity identify(pid_t pid) noexcept;

// The state letter of a process, NUL when there is none.
char process_state(pid_t pid) noexcept;

// Whether just this process is still there and no zombie.
bool lives(const ProcessIdentity &process) noexcept;

} // namespace vorn
