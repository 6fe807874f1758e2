/* The hardware watchdog: fed while the agent works, so that the device reboots when it hangs. */
#ifndef VORN_PROCESS_WATCHDOG_H
#define VORN_PROCESS_WATCHDOG_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Feeds the watchdog "/dev/watchdog" (Linux, Documentation/watchdog/watchdog-api). The first call opens it
 * and sets its time-out to 240 seconds; one that cannot be opened is given up for good. Every failure is
 * reported. Does nothing after vorn_watchdog_stop. */
VORN_API void vorn_watchdog_ack(void) VORN_NOEXCEPT;

/* Disarms the watchdog and closes it, for the rest of the process's life, which is logged. Further calls only
 * log that it is stopped. */
VORN_API void vorn_watchdog_stop(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
