#include "supervise.h"

#include <signal.h>
#include <vorn.h>

enum { SHORTEST_DELAY = 1, LONGEST_DELAY = 60, GOOD_RUN = 60 }; /* in seconds */
enum { STOP_TIMEOUT = 1000000 }; /* in microseconds, in which the agent serves nobody */

static time_t now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec;
}

static void start_again(void *data);

/* The agent forgets the callback with each process that ends. */
static void start(void *data, void *unused) {
  struct supervised *program = data;
  (void)unused;
  if (vorn_service_is_running(program->name)) return;
  program->started = now();
  int failed = vorn_service_execv(program->name, program->argv);
  if (vorn_process_no_actions) return; /* in which nothing is ever started */
  if (failed)
    start_again(program);
  else
    vorn_service_set_exited_fn(program->name, start_again, program);
}

/* Called when the program has ended, perhaps only after supervise_stop, when it is no longer wanted. */
static void start_again(void *data) {
  struct supervised *program = data;
  if (!program->wanted) return;
  if (now() - program->started >= GOOD_RUN) program->delay = SHORTEST_DELAY;
  vorn_debug_printf("%s: does not run, starts again in %u s.\n", program->name, program->delay);
  eloop_cancel_timeout(start, program, NULL); /* of a start that has failed itself */
  if (eloop_register_timeout(program->delay, 0, start, program, NULL) != 0)
    vorn_debug_eprintf("%s: cannot be started again.\n", program->name);
  program->delay = program->delay * 2 < LONGEST_DELAY ? program->delay * 2 : LONGEST_DELAY;
}

void supervise_restart(struct supervised *program) {
  supervise_stop(program);
  program->wanted = 1;
  program->delay = SHORTEST_DELAY;
  start(program, NULL);
}

void supervise_stop(struct supervised *program) {
  program->wanted = 0;
  eloop_cancel_timeout(start, program, NULL);
  if (!vorn_service_is_running(program->name)) return;
  if (vorn_service_stop(program->name, SIGTERM, STOP_TIMEOUT) < 0)
    vorn_service_stop(program->name, SIGKILL, STOP_TIMEOUT);
}
