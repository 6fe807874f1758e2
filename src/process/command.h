/* Commands: programs that the agent runs and waits for. The agent does nothing else meanwhile.
 *
 * The child's standard input is /dev/null; where its output goes is told by `output`:
 *
 *   0            to /dev/null
 *   1            to /dev/null, but with the agent's output at debug level 1 and above
 *   any other    with the agent's output
 *
 * `directory` is where it runs; null is where the agent does. It has a session of its own, default signals
 * and no other descriptor. All return the status of waitpid(2), 0 in the mode without actions, or -1 with the
 * reason logged when no process could be made, and when there was no status to wait for, which the log tells
 * from debug level 1 on; a program that cannot be executed ends with status 127. */
#ifndef VORN_PROCESS_COMMAND_H
#define VORN_PROCESS_COMMAND_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Runs a program, which is looked up in PATH, with the arguments that follow up to a null; output 1. */
VORN_API int vorn_command_execl(const char *program, ...) VORN_NOEXCEPT;

/* As above; behind the null follow `int output` and `const char *directory`. */
VORN_API int vorn_command_execlod(const char *program, ...) VORN_NOEXCEPT;

/* Runs the program argv[0] with these arguments, ended by a null; output 1. */
VORN_API int vorn_command_execv(char *const argv[]) VORN_NOEXCEPT;

VORN_API int vorn_command_execvod(char *const argv[], int output, const char *directory) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
