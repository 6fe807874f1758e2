/* Commands: programs that the agent runs and waits for. The agent does nothing else meanwhile.
 *
 * The program is looked up in PATH. Its standard input is /dev/null; `output` says where its output goes:
 *
 *   0            to /dev/null
 *   1            to /dev/null, but with the agent's output at debug level 1 and above
 *   any other    with the agent's output
 *
 * `directory` is where it runs: null, and a directory that cannot be entered, which is reported, is where the
 * agent does. It has a session of its own, default signals and no other descriptor. Arguments are read during
 * the call.
 *
 * All functions return the status of waitpid(2); a program that cannot be executed ends with status 127. In
 * the mode without actions nothing is run and the result is 0. It is -1 with the reason logged when no
 * program is given, no process can be made or memory runs out, and -1 when there is no status to wait for,
 * which is logged at debug level 1 and above. */
#ifndef VORN_PROCESS_COMMAND_H
#define VORN_PROCESS_COMMAND_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Runs a program with the arguments that follow, up to a null pointer of type char *; output is 1, the
 * directory the agent's. */
VORN_API int vorn_command_execl(const char *program, ...) VORN_NOEXCEPT;

/* Runs a program with the arguments that follow, up to a null pointer of type char *; after that follow `int
 * output` and `const char *directory`. */
VORN_API int vorn_command_execlod(const char *program, ...) VORN_NOEXCEPT;

/* Runs the program argv[0] with the arguments of `argv`, which ends with a null pointer and starts with the
 * program's name; output is 1, the directory the agent's. */
VORN_API int vorn_command_execv(char *const argv[]) VORN_NOEXCEPT;

/* Runs the program argv[0] as vorn_command_execv does, with this output and directory. */
VORN_API int vorn_command_execvod(char *const argv[], int output, const char *directory) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
