/* The process as a whole: the mode without actions, and reboots. */
#ifndef VORN_PROCESS_REBOOT_H
#define VORN_PROCESS_REBOOT_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* 1 when the command line asked for no actions, else 0. Whatever starts a program, signals another process,
 * reboots or removes what is not the agent's own is then only logged: commands and services, the corrective
 * action, the signals at the agent's end. The watchdog is stopped. What the agent writes itself it writes all
 * the same: the configuration, its default with its checksum, the counter of boots, the files of a restore.
 */
VORN_API extern int vorn_process_no_actions;

/* Ends the event loop. The agent then ends, after it has sent SIGTERM to process 1, which restarts the
 * device; in the mode without actions it only ends. Returns 0. */
VORN_API int vorn_reboot(void) VORN_NOEXCEPT;

/* Reboots as vorn_reboot does and logs that. In the mode without actions it only logs that it does not. */
VORN_API void vorn_util_reboot(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
