/* Services: programs that the agent starts, watches over and stops, known by a name.
 *
 *   state    | start   | stop                | the process ends
 *   stopped  | running | nothing             |
 *   running  | running | stopping (signal)   | forgotten, and the exited callback is called
 *   stopping | running | stopping (signal)   | stopped
 *
 * The end of a process is seen by vorn_service_poll, which the agent calls every two seconds. Starting a
 * service that runs already starts a second process and forgets the first one, which runs on. Arguments,
 * `output` and `directory` are those of commands (process/command.h). Names are copied; a null name fails and
 * is logged.
 *
 * Functions return 0 on success and 1 on failure unless said otherwise. A start fails in the mode without
 * actions, when no program is given, no process can be made or memory runs out. That a program cannot be
 * executed is seen by its end, with status 127. */
#ifndef VORN_PROCESS_SERVICE_H
#define VORN_PROCESS_SERVICE_H

#include "core/export.h"
#include <stdio.h>
#include <sys/types.h>

VORN_BEGIN_DECLS

/* 1 when children have ended since vorn_service_poll last looked, else 0. */
VORN_API extern volatile int sig_child_received;

/* Called from the loop when a service has ended that nobody had stopped, with the value that was set. The
 * agent has forgotten the service, and this callback, by then: start it again here or later, and set the
 * callback again. */
typedef void (*vorn_service_exited_fn)(void *value);

/* Makes the table of services, unless there is one. Fails when memory runs out. */
VORN_API int vorn_service_init(void) VORN_NOEXCEPT;

/* Sets what is called, and with which value, when the service ends by itself; null removes it. It may be set
 * before the service is started. The value stays the caller's. Fails when memory runs out. */
VORN_API int vorn_service_set_exited_fn(const char *name, vorn_service_exited_fn fn,
                                        void *value) VORN_NOEXCEPT;

/* Starts a program as a service, without waiting, with the arguments that follow up to a null pointer of type
 * char *; output is 1, the directory the agent's. */
VORN_API int vorn_service_execl(const char *name, const char *program, ...) VORN_NOEXCEPT;

/* Starts a program as a service as vorn_service_execl does; after the null pointer follow `int output` and
 * `const char *directory`. */
VORN_API int vorn_service_execlod(const char *name, const char *program, ...) VORN_NOEXCEPT;

/* Starts the program argv[0] as a service, without waiting, with the arguments of `argv`, which ends with a
 * null pointer; output is 1, the directory the agent's. */
VORN_API int vorn_service_execv(const char *name, char *const argv[]) VORN_NOEXCEPT;

/* Starts the program argv[0] as a service as vorn_service_execv does, with this output and directory. */
VORN_API int vorn_service_execvod(const char *name, char *const argv[], int output,
                                  const char *directory) VORN_NOEXCEPT;

/* Returns 1 when the service was started, has not been stopped, and its process is there and no zombie, else
 * 0. */
VORN_API int vorn_service_is_running(const char *name) VORN_NOEXCEPT;

/* Sends a signal to a service and waits for its end, up to `timeout` microseconds. The agent does nothing
 * else meanwhile. Returns 1 when the service has ended, or at once for a time-out of 0; -1, which is logged,
 * when it has not ended in time; 0 when it is unknown or stopped already, and in the mode without actions. */
VORN_API int vorn_service_stop(const char *name, int signal, unsigned timeout) VORN_NOEXCEPT;

/* Stops every service that is not stopped, all at once: with SIGTERM and a time-out of five seconds for all,
 * then those that are left with SIGKILL and one second. */
VORN_API void vorn_service_shutdown(void) VORN_NOEXCEPT;

/* The handler of SIGCHLD: collects every child that has ended. Safe in signal context; the arguments are
 * ignored. Returns 1. */
VORN_API int vorn_service_sig_child(int sig, void *loop_user_data, void *user_data) VORN_NOEXCEPT;

/* Looks for services that have ended, if any child has, and calls their callbacks. Does nothing when a
 * callback calls it. */
VORN_API void vorn_service_poll(void) VORN_NOEXCEPT;

/* Writes the table of services: name, state and process id. */
VORN_API void vorn_service_print(FILE *stream) VORN_NOEXCEPT;

/* Returns the process id of the service's last process, 0 when it was never started, -1 when it is
 * unknown. */
VORN_API pid_t vorn_service_get_pid(const char *name) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
