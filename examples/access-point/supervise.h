/* Keeping a program running that is meant to run all the time: one that ends by itself is started again,
 * after a delay that grows while it keeps ending soon, so that one that cannot run costs next to nothing. */
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

/* Starts the program, and stops it before if it runs: for what it reads at its start only. */
void supervise_restart(struct supervised *program);

/* Stops the program, for which the agent waits two seconds at most; a restart that is due is forgotten. It
 * need not run. */
void supervise_stop(struct supervised *program);

#endif
