/* The process as a whole: the mode without actions, and reboots. */
#ifndef VORN_PROCESS_REBOOT_H
#define VORN_PROCESS_REBOOT_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* 1 when the command line asked for no actions, else 0. Then no command or service is started, no service
 * signalled and the system not rebooted, which is only logged, and the watchdog is stopped. What the agent
 * itself does through the shell, such as syncing, is done all the same. */
VORN_API extern int vorn_process_no_actions;

/* Ends the event loop; the agent then sends SIGTERM to process 1, which restarts the device, and ends.
 * Returns 0. */
VORN_API int vorn_reboot(void) VORN_NOEXCEPT;

/* Reboots as vorn_reboot does and logs that. In the mode without actions it only logs that it does not. */
VORN_API void vorn_util_reboot(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
