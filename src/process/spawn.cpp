#include "process/spawn.hpp"

#include "core/guard.hpp"
#include "core/log_text.hpp"
#include "core/refuse.hpp"
#include "core/signal_block.hpp"
#include "process/reboot.h"
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace vorn {

namespace {

constexpr char null_path[] = "/dev/null";
constexpr int exec_failed = 127;

void log_start(char *const argv[]) {
  if (vorn_debug_get() == 0) return;
  FILE *stream = vorn_debug_get_stream();
  vorn_debug_printf("Running \"");
  for (char *const *argument = argv; *argument; ++argument) {
    if (argument != argv) fputs(" ", stream);
    put_escaped(stream, *argument);
  }
  fputs("\" ", stream);
  fflush(stream);
}

// ---- In the child ----

void report(const std::string &text, int error) {
  errno = error;
  vorn_debug_perror(text.c_str());
}

// No handler of the agent's may run in the child: it would act on the agent's services and watchdog. What the
// agent ignores, such as SIGPIPE, a program would inherit.
void reset_signals() {
  for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

void change_directory(const char *directory, const char *program) {
  if (!directory || chdir(directory) == 0) return;
  const int error = errno;
  report(std::string("Unable to change directories to \"") + directory + "\" while executing \"" + program +
             "\"",
         error);
}

// Returns whether /dev/null could be had.
bool redirect(int output) {
  const int null = open(null_path, O_RDWR);
  if (null < 0) return false;
  dup2(null, STDIN_FILENO);
  if (output == 0 || (output == 1 && vorn_debug_get() == 0)) {
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
  }
  if (null > STDERR_FILENO) close(null);
  return true;
}

// Lets every descriptor but the standard ones be closed when the program is executed; until then the child
// may report on them.
void close_others_on_exec() {
  constexpr int first = STDERR_FILENO + 1;
#ifdef SYS_close_range
  constexpr unsigned cloexec = 1u << 2; // CLOSE_RANGE_CLOEXEC of linux/close_range.h, since Linux 5.11
  if (syscall(SYS_close_range, static_cast<unsigned>(first), ~0u, cloexec) == 0) return;
#endif
  for (int fd = first; fd < 1024; ++fd) fcntl(fd, F_SETFD, FD_CLOEXEC);
}

[[noreturn]] void become(char *const argv[], const SpawnOptions &options) {
  reset_signals();
  guarded(0, [&] {
    change_directory(options.directory, argv[0]);
    const int standard_error = fcntl(STDERR_FILENO, F_DUPFD, STDERR_FILENO + 1);
    if (redirect(options.output)) {
      close_others_on_exec();
      setsid();
      execvp(argv[0], argv);
    }
    const int error = errno;
    dup2(standard_error, STDERR_FILENO); // where the agent's user reads it
    report(std::string("Unable to execute \"") + argv[0] + "\"", error);
    return 0;
  });
  _exit(exec_failed);
}

} // namespace

void log_rest(const char *format, ...) noexcept {
  if (vorn_debug_get() == 0) return;
  va_list arguments;
  va_start(arguments, format);
  vfprintf(vorn_debug_get_stream(), format, arguments);
  va_end(arguments);
  fflush(vorn_debug_get_stream());
}

pid_t spawn(char *const argv[], const SpawnOptions &options) noexcept {
  if (!argv || !argv[0]) return refuse_aloud<-1>("Null program.\n");
  log_start(argv);
  if (vorn_process_no_actions) {
    log_rest("-> (no actions) ");
    return 0;
  }
  pid_t pid;
  {
    const SignalBlock blocked; // until the child has reset its handlers
    pid = fork();
    if (pid == 0) become(argv, options);
  }
  if (pid < 0)
    vorn_debug_perror("fork");
  else
    log_rest("-> pid = %d ", pid);
  return pid;
}

} // namespace vorn
