/* Addresses of network interfaces (netdevice(7)). Both functions return 1, or -1 when a pointer is null, the
 * name is longer than that of an interface may be, there is no such interface or address, or the buffer is
 * too small, and also after any other failure, which is reported. */
#ifndef VORN_SUPPORT_INTERFACE_ADDRESS_H
#define VORN_SUPPORT_INTERFACE_ADDRESS_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Writes an IPv4 address of the interface in dotted-quad form, WITHOUT a terminator: pass a cleared buffer of
 * 16 bytes. `request` says which address: SIOCGIFADDR, SIOCGIFNETMASK, SIOCGIFBRDADDR or SIOCGIFDSTADDR.
 * `size` is in bytes and must be at least the text's length. */
VORN_API int vorn_util_ipaddress_get(const char *ifname, int request, char *buf, unsigned size) VORN_NOEXCEPT;

/* Writes the hardware address of the interface as "0A:1B:2C:3D:4E:5F", with a terminator. `size` must be at
 * least 24 bytes. */
VORN_API int vorn_util_macaddress_get(const char *ifname, char *buf, unsigned size) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
