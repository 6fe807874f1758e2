/* Status files of "key=value" lines, and walks over directories of them: what fills text tables. */
#ifndef VORN_SUPPORT_STATUS_FILE_H
#define VORN_SUPPORT_STATUS_FILE_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Appends one table line, made from a status file, at `out`: the prefix, which brings its own blank, and the
 * values of the keys that the columns name, in their order, an empty one for a key that the file does not
 * have. Whatever a value holds, it stays one field: one with a blank in it is put between double quotes, and
 * its own ones are written as "&quot;", unless it begins with a quoted text that has all its blanks. A NUL
 * becomes U+FFFD. Of the file the first 2048 bytes count; a line that they cut is left out, as the log says
 * at level 1. Keys behind the 62nd column are not looked for. `room` is the number of bytes at `out`; from
 * the first value on that does not fit all are left out. `columns` is ended by null. Returns 0; 1 when the
 * file cannot be opened, which is reported and appends nothing. */
VORN_API int vorn_util_add_line_from_proc(char *out, int room, const char *path, const char *prefix,
                                          const char **columns) VORN_NOEXCEPT;

typedef int (*vorn_util_dir_walk_fn)(char *out, int room, const char *path, const char *prefix,
                                     const char **user);

/* Expands the stars of a path and calls `callback` for every regular file found, with the end of the text at
 * `out` and the room that is left there. A star stands for a whole name, directly behind a slash: for each in
 * the directory that does not begin with a dot, in the directory's order. A directory that is not there
 * counts as an empty one. The prefix grows by each matched name and a blank. `size` is that of `out` in
 * bytes. A directory, path or prefix of more than 79 bytes is reported and left out. Returns 0, or 1 when
 * something was left out; the callback's result is ignored. */
VORN_API int vorn_util_dir_walk(const char *pattern, char *out, int size, const char *prefix,
                                vorn_util_dir_walk_fn callback, const char **user) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
