/* Running the device's programs. */
#ifndef ACCESS_POINT_PROGRAM_H
#define ACCESS_POINT_PROGRAM_H

/* Runs a program and waits until it has ended, for which the whole agent waits: only for what is done at
 * once. `argv` is ended by null. Returns its exit status, or -1 when there is none. */
int run_program(const char *const argv[]);

#endif
