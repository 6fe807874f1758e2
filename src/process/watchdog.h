/* The hardware watchdog: fed while the agent works, so that the device reboots when it hangs. */
#ifndef VORN_PROCESS_WATCHDOG_H
#define VORN_PROCESS_WATCHDOG_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Feeds the watchdog "/dev/watchdog" (Linux, Documentation/watchdog/watchdog-api), which is opened the first
 * time, with 240 seconds as its patience. One that cannot be opened is given up for good; what else fails is
 * reported. Once stopped, nothing. */
VORN_API void vorn_watchdog_ack(void) VORN_NOEXCEPT;

/* Disarms the watchdog and closes it, for the rest of the process's life. */
VORN_API void vorn_watchdog_stop(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
