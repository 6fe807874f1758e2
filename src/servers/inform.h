/* The inform interface: programs on the device tell the agent that something has happened to an object.
 *
 * Over the local socket "vorn_sock_inform" (an abstract name) a program sends a version, which is 0, and a
 * length, four bytes each in the host's byte order, and then as many bytes of parameters, such as
 * "object=wan&state=up". Nothing in keys and values is escaped. The handler of the object is called, and the
 * answer is one line, "OK" or "ERR " and a reason. */
#ifndef VORN_SERVERS_INFORM_H
#define VORN_SERVERS_INFORM_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Called from the loop for a request that names the handler's object. A result of 1 is answered as an error,
 * any other one as a success. */
typedef int (*vorn_inform_fn)(void);

/* Opens the socket. Returns 0, or 1 when that fails, which is reported, or memory runs out. */
VORN_API int vorn_inform_init(void) VORN_NOEXCEPT;

/* Registers the handler of an object, for good; the name is copied. Returns 0, or 1 when an argument is null,
 * which is logged at debug level 1 and above, the object has a handler, or memory runs out. */
VORN_API int vorn_inform_fn_add(const char *name, vorn_inform_fn fn) VORN_NOEXCEPT;

/* Returns the value of a parameter of the request that is being handled, of a repeated one the first. Null
 * when there is none of that name, and outside a handler. The text belongs to the agent and is gone when the
 * handler returns. */
VORN_API const char *vorn_inform_get_value(const char *name) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
