/* Sockets as the agent's interfaces use them: listening ones are non-blocking and closed on exec. Every
 * failure is reported and leaves no descriptor open. Returned descriptors belong to the caller. */
#ifndef VORN_CORE_SOCKET_H
#define VORN_CORE_SOCKET_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* A flag of vorn_socket_get_unix: the name is one of Linux's abstract namespace, not a path (unix(7)). */
#define VORN_SOCKET_ABSTRACT 1u

/* Returns a listening local stream socket, or -1 for a null name or after a failure. Names are cut after 107
 * bytes. An abstract name is bound with the full address length: clients pad it with NULs to the whole path
 * area. A path is resolved first, and a file there, such as the socket of an earlier run, is removed. */
VORN_API int vorn_socket_get_unix(const char *name, unsigned flags) VORN_NOEXCEPT;

/* Returns a listening IPv4 TCP socket on `port`, on 127.0.0.1 when `local_only` is not 0, else on every
 * address; or -1 after a failure. */
VORN_API int vorn_socket_get_tcp(unsigned short port, int local_only) VORN_NOEXCEPT;

/* Returns an unbound, blocking IPv4 datagram socket that is closed on exec, or -1 after a failure. */
VORN_API int vorn_socket_get_udp(void) VORN_NOEXCEPT;

/* Makes a descriptor non-blocking. Returns 0, or 1 after reporting "fcntl" and closing the descriptor. */
VORN_API int vorn_socket_set_nonblock(int fd) VORN_NOEXCEPT;

/* Makes a descriptor blocking. Returns 0, or 1 after reporting "fcntl" and closing the descriptor. */
VORN_API int vorn_socket_set_block(int fd) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
