#include "process/command.h"

#include "core/signal_block.hpp"
#include "process/argument_list.hpp"
#include "process/spawn.hpp"
#include <cerrno>
#include <sys/wait.h>

namespace {

using vorn::log_rest;

int wait_for(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno == EINTR) continue;
    log_rest("-> errno = %d\n", errno);
    return -1;
  }
  log_rest("-> status = %d\n", status);
  return status;
}

int run_list(const char *program, va_list *rest, bool with_options) {
  vorn::ArgumentList list;
  if (!list.read(program, rest, with_options)) return -1;
  return vorn_command_execvod(list.arguments.data(), list.options.output, list.options.directory);
}

} // namespace

int vorn_command_execl(const char *program, ...) noexcept {
  va_list rest;
  va_start(rest, program);
  const int status = run_list(program, &rest, false);
  va_end(rest);
  return status;
}

int vorn_command_execlod(const char *program, ...) noexcept {
  va_list rest;
  va_start(rest, program);
  const int status = run_list(program, &rest, true);
  va_end(rest);
  return status;
}

int vorn_command_execv(char *const argv[]) noexcept {
  const vorn::SpawnOptions usual;
  return vorn_command_execvod(argv, usual.output, usual.directory);
}

int vorn_command_execvod(char *const argv[], int output, const char *directory) noexcept {
  // While the agent starts, its handler for SIGCHLD collects any child at once, and with it the status.
  const vorn::SignalBlock blocked(SIGCHLD);
  const pid_t pid = vorn::spawn(argv, {output, directory});
  return pid > 0 ? wait_for(pid) : pid;
}
