/* Services: programs that the agent starts, watches over and stops, known by a name.
 *
 *   state    | start   | stop                | the process ends
 *   stopped  | running | nothing             |
 *   running  | running | stopping (signal)   | forgotten, and the exited callback is called
 *   stopping | running | stopping (signal)   | stopped
 *
 * The end of a process is seen by vorn_service_poll, within two seconds. Starting a service that runs already
 * starts a second process and forgets the first one, which runs on. `output` and `directory` are as for
 * commands (process/command.h). A null name fails. Functions return 0 on success and 1 on failure unless said
 * otherwise. */
#ifndef VORN_PROCESS_SERVICE_H
#define VORN_PROCESS_SERVICE_H

#include "core/export.h"
#include <stdio.h>
#include <sys/types.h>

VORN_BEGIN_DECLS

/* 1 when children have ended that vorn_service_poll has not looked for yet, else 0. */
VORN_API extern volatile int sig_child_received;

/* Called, from the loop, when a service has ended that nobody had stopped. The agent has forgotten the
 * service by then: the callback may start it again, and must set itself again then. */
typedef void (*vorn_service_exited_fn)(void *value);

/* Makes the table of services, if there is none. */
VORN_API int vorn_service_init(void) VORN_NOEXCEPT;

/* Sets what is called, with which value, when the service ends by itself; it may be set before the service is
 * started. Null clears it. */
VORN_API int vorn_service_set_exited_fn(const char *name, vorn_service_exited_fn fn,
                                        void *value) VORN_NOEXCEPT;

/* Start a program as a service, without waiting. In the mode without actions nothing is started, and they
 * return 1. That it cannot be executed is seen by its end. The arguments are those of the commands. */
VORN_API int vorn_service_execl(const char *name, const char *program, ...) VORN_NOEXCEPT;
VORN_API int vorn_service_execlod(const char *name, const char *program, ...) VORN_NOEXCEPT;
VORN_API int vorn_service_execv(const char *name, char *const argv[]) VORN_NOEXCEPT;
VORN_API int vorn_service_execvod(const char *name, char *const argv[], int output,
                                  const char *directory) VORN_NOEXCEPT;

/* Returns 1 when the service was started, was not stopped, and its process lives (is there and no zombie),
 * else 0. */
VORN_API int vorn_service_is_running(const char *name) VORN_NOEXCEPT;

/* Sends a signal to a service and waits for its end, for `timeout` microseconds. The agent does nothing else
 * meanwhile. Returns 1 when it has ended, or at once for a time-out of 0; -1 when it has not ended in time; 0
 * when it is unknown or stopped already, and in the mode without actions. */
VORN_API int vorn_service_stop(const char *name, int signal, unsigned timeout) VORN_NOEXCEPT;

/* Stops every service that is not stopped, all at once: with SIGTERM and five seconds of patience, then, who
 * is left, with SIGKILL and one. */
VORN_API void vorn_service_shutdown(void) VORN_NOEXCEPT;

/* The handler of SIGCHLD: collects every child that has ended. Safe in signal context. Returns 1. */
VORN_API int vorn_service_sig_child(int sig, void *loop_user_data, void *user_data) VORN_NOEXCEPT;

/* Looks for services that have ended, if any child has, and calls their callbacks. */
VORN_API void vorn_service_poll(void) VORN_NOEXCEPT;

/* Writes the table of services. */
VORN_API void vorn_service_print(FILE *stream) VORN_NOEXCEPT;

/* Returns the process id of the service's last process, 0 when it was never started, -1 when it is unknown.
 */
VORN_API pid_t vorn_service_get_pid(const char *name) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
