/* Change notifications: a listener, which has connected to TCP port 8001 on the loopback address and sent a
 * byte, gets one line of XML for every change, with a newline and a NUL byte at its end. All texts are sent
 * as they are, without escaping. */
#ifndef VORN_NOTIFY_NOTIFY_H
#define VORN_NOTIFY_NOTIFY_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Opens the port. Returns 0, or 1 when that fails, which is reported, or memory runs out. */
VORN_API int vorn_notify_init(void) VORN_NOEXCEPT;

/* Tells the listeners that the saved configuration has changed, with a number that is 2 at first and grows by
 * one each time. `origin`, who caused it, may be null. Returns 0, also when nobody could be told. */
VORN_API int vorn_notify_conf_change(const char *origin) VORN_NOEXCEPT;

/* Tells the listeners that one property of an object has a new value. `origin` and `name` may be null.
 * Returns 0, also when nobody could be told. */
VORN_API int vorn_notify_object_change(const char *origin, const char *class_name, const char *name,
                                       const char *property, const char *value) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
