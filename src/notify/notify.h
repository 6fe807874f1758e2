/* Change notifications: who is connected to TCP port 8001 on the loopback address, and has sent a byte, gets
 * one line of XML for every change, ended by a newline and a NUL byte. */
#ifndef VORN_NOTIFY_NOTIFY_H
#define VORN_NOTIFY_NOTIFY_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Opens the port. Returns 0, or 1 with the reason logged. */
VORN_API int vorn_notify_init(void) VORN_NOEXCEPT;

/* Tells that the saved configuration has changed, with a number that grows by one each time. `origin`, who
 * caused it, may be null. Returns 0. */
VORN_API int vorn_notify_conf_change(const char *origin) VORN_NOEXCEPT;

/* Tells that one property has a new value. `origin` and `name` may be null. All texts are sent as they are,
 * without escaping. Returns 0. */
VORN_API int vorn_notify_object_change(const char *origin, const char *class_name, const char *name,
                                       const char *property, const char *value) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
