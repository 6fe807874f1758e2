/* Small helpers. */
#ifndef VORN_SUPPORT_UTIL_H
#define VORN_SUPPORT_UTIL_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Returns the process id of the first process in /proc whose status line (proc(5), "stat"; its first 254
 * bytes) contains the text anywhere; -1 when there is none, or for null. */
VORN_API int vorn_util_findpid(const char *text) VORN_NOEXCEPT;

/* Decodes percent escapes (RFC 3986, section 2.1) in place. Everything else, "%00" and "+" included, stays as
 * it is. Returns a pointer to the new terminator, null for null. */
VORN_API char *vorn_util_url_decode(char *s) VORN_NOEXCEPT;

/* Makes a directory with all permissions that the umask allows. Returns 0, or -1 with `errno` set by
 * mkdir(2). */
VORN_API int vorn_util_mkdir(const char *path) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
