#include "process/steps.hpp"

#include "core/debug.h"
#include "process/reboot.h"
#include <csignal>
#include <cstdlib>

void vorn::run_shell(const char *command) noexcept {
  if (vorn_process_no_actions)
    vorn_debug_printf("Running \"%s\" -> (no actions)\n", command);
  else if (system(command) == -1)
    vorn_debug_perror(command);
}

void vorn::send_signal(pid_t pid, int number, const char *whom) noexcept {
  if (vorn_process_no_actions)
    vorn_debug_printf("Sending signal %d to %s -> (no actions)\n", number, whom);
  else
    kill(pid, number);
}
