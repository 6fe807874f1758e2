/* The diagnostic log: one process-wide stream with a numeric verbosity level.
 *
 * Every message gets the prefix "vorn: ", then the local time in square brackets when time stamps are on, and
 * is flushed at once. Messages bring their own line ends. Failures of the stream itself are ignored. */
#ifndef VORN_CORE_DEBUG_H
#define VORN_CORE_DEBUG_H

#include "core/export.h"
#include <stdio.h>

VORN_BEGIN_DECLS

/* The highest debug level (6). */
VORN_API extern const int VORN_DEBUG_MAX;

/* 1 when the command line asked for debug messages, else 0. It is there for plugins: the agent does not read
 * it. */
VORN_API extern int vorn_debug_override;

/* Opens the log on "/dev/console", or on standard error when that cannot be opened. A second call does
 * nothing. */
VORN_API void vorn_debug_init(void) VORN_NOEXCEPT;

/* Sets the level and logs the new one. Returns 0, or 1 with nothing changed or logged for a level outside 0
 * to VORN_DEBUG_MAX. */
VORN_API int vorn_debug_set(int level) VORN_NOEXCEPT;

/* Returns the current level, initially 0. */
VORN_API int vorn_debug_get(void) VORN_NOEXCEPT;

/* Turns time stamps on (1) or off (0, initially). Returns 0, or 1 with nothing changed for any other
 * value. */
VORN_API int vorn_debug_set_timestamp(int on) VORN_NOEXCEPT;

/* Returns 1 when messages carry time stamps, else 0. */
VORN_API int vorn_debug_get_timestamp(void) VORN_NOEXCEPT;

/* Decides whether a fatal error ends the process (1) or not (0, initially). Returns 0, or 1 with nothing
 * changed for any other value. */
VORN_API int vorn_debug_set_exit_on_fatal(int on) VORN_NOEXCEPT;

/* Writes an informational message whatever the level. */
VORN_API void vorn_debug_printf(const char *format, ...) VORN_NOEXCEPT VORN_PRINTF(1, 2);

/* Writes a message when the level is not 0. */
VORN_API void vorn_debug_1printf(const char *format, ...) VORN_NOEXCEPT VORN_PRINTF(1, 2);

/* Writes a message when the level is at least `min`. */
VORN_API void vorn_debug_lprintf(int min, const char *format, ...) VORN_NOEXCEPT VORN_PRINTF(2, 3);

/* Writes an error message whatever the level. */
VORN_API void vorn_debug_eprintf(const char *format, ...) VORN_NOEXCEPT VORN_PRINTF(1, 2);

/* Reports a fatal error; `text` is data, not a format. Ends the process with status 1 when
 * vorn_debug_set_exit_on_fatal has asked for that; else logs that operation goes on, and returns. */
VORN_API void vorn_debug_fatal(const char *text) VORN_NOEXCEPT;

/* Reports `errno`, as it was on entry, with perror(3): on standard error, with the prefix of the log before
 * `text`. */
VORN_API void vorn_debug_perror(const char *text) VORN_NOEXCEPT;

/* Reports `errno` as vorn_debug_perror does, as a fatal error, then ends or goes on as vorn_debug_fatal
 * does. */
VORN_API void vorn_debug_fatal_perror(const char *text) VORN_NOEXCEPT;

/* Returns the log's stream, for callers that print several lines; it stays the log's. Standard error before
 * vorn_debug_init. */
VORN_API FILE *vorn_debug_get_stream(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
