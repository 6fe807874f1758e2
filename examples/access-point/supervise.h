/* Supervises a program that is to run all the time: when it ends by itself it is started again, after a delay
 * that grows while it keeps ending soon, so that a program that cannot run costs next to nothing. */
#ifndef ACCESS_POINT_SUPERVISE_H
#define ACCESS_POINT_SUPERVISE_H

#include <time.h>

struct supervised {
  const char *name;  /* of the agent's service, and in the log */
  char *const *argv; /* ended by null; the program must stay in the foreground */
  /* Private, zeros at first. */
  int wanted;
  unsigned delay; /* in seconds */
  time_t started;
};

/* Starts the program, after stopping it if it runs: for a program that reads its configuration only when it
 * starts. */
void supervise_restart(struct supervised *program);

/* Stops the program, for which the agent waits two seconds at most, and cancels a restart that is pending.
 * The program need not run. */
void supervise_stop(struct supervised *program);

#endif
