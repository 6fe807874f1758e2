#include "program.h"

#include <errno.h>
#include <signal.h>
#include <stddef.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

enum { EXEC_FAILED = 127 };

/* Becomes the program, with signals as a program expects to find them: the agent ignores SIGPIPE, which would
 * be inherited, and its handlers must not run in a copy of it. */
static void become(const char *const argv[], const sigset_t *mask) {
  for (int number = 1; number < NSIG; number++) signal(number, SIG_DFL);
  sigprocmask(SIG_SETMASK, mask, NULL);
  execvp(argv[0], (char *const *)argv);
  _exit(EXEC_FAILED);
}

/* Returns the program's exit status, or -1 when there is none. */
static int wait_for(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/* No shell is involved, since values come from clients. Signals have to wait until the program has ended:
 * while the agent starts, a handler for SIGCHLD may collect any child at once, and with it the status that is
 * waited for here. */
int run_program(const char *const argv[]) {
  sigset_t all, mask;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, &mask);
  pid_t pid = fork();
  if (pid == 0) become(argv, &mask);
  int status = pid > 0 ? wait_for(pid) : -1;
  sigprocmask(SIG_SETMASK, &mask, NULL);
  return status;
}
