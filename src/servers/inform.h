/* The inform interface: programs on the device tell the agent that something has happened to an object.
 *
 * Over the local socket "vorn_sock_inform" (an abstract name) a program sends a version and a length, four
 * bytes each in the host's byte order, and so many bytes of parameters, "object=wan&state=up": keys and
 * values as they are, without any escaping. The version is 0. The handler of the object is called, and the
 * answer is one line, "OK" or "ERR " and a reason. */
#ifndef VORN_SERVERS_INFORM_H
#define VORN_SERVERS_INFORM_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Called for a request that names the handler's object. A result of 1 is answered as an error, any other one
 * as a success. */
typedef int (*vorn_inform_fn)(void);

/* Opens the socket. Returns 0, or 1 with the reason logged. */
VORN_API int vorn_inform_init(void) VORN_NOEXCEPT;

/* Registers the handler of an object, for good. Returns 0; 1 when an argument is null (logged at debug level
 * 1 and above), the object has a handler, or memory runs out. */
VORN_API int vorn_inform_fn_add(const char *name, vorn_inform_fn fn) VORN_NOEXCEPT;

/* Within a handler, returns the value of a parameter of the request, or null when it has none of that name;
 * of a repeated one the first. The value belongs to the request and ends with it. Null outside a handler. */
VORN_API const char *vorn_inform_get_value(const char *name) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
