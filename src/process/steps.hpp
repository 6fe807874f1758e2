// Steps that reach beyond the agent. In the mode without actions they are only logged.
#pragma once

#include <sys/types.h>

namespace vorn {

// Runs a command of the shell and waits for it.
void run_shell(const char *command) noexcept;

// Signals what kill(2) makes of `pid`, which the log calls `whom`. Safe in signal context.
void send_signal(pid_t pid, int number, const char *whom) noexcept;

} // namespace vorn
