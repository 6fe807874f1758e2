/* The process as a whole: the mode without actions, and reboots. */
#ifndef VORN_PROCESS_REBOOT_H
#define VORN_PROCESS_REBOOT_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* 1 when the command line asked for no actions: no command or service is started, no service signalled, the
 * system not rebooted and the watchdog stopped; each such step is only logged. What the agent itself does
 * through the shell, such as syncing, is done all the same. Else 0. */
VORN_API extern int vorn_process_no_actions;

/* Ends the event loop; behind it the agent asks init to terminate the system. Returns what eloop_terminate
 * returns. */
VORN_API int vorn_reboot(void) VORN_NOEXCEPT;

/* Reboots as above and says so, or, in the mode without actions, only says that it does not. */
VORN_API void vorn_util_reboot(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
