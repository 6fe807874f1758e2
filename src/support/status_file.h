/* Status files of "key=value" lines, and walks over directories of them: what fills text tables. */
#ifndef VORN_SUPPORT_STATUS_FILE_H
#define VORN_SUPPORT_STATUS_FILE_H

#include "core/export.h"

VORN_BEGIN_DECLS

/* Writes one table line, made from a status file, to `out`: the prefix, which brings its own blank, and the
 * values of the keys that the columns name, in their order, an empty one for a key that the file does not
 * have. Whatever a value holds, it stays one field: one with a blank in it is put between double quotes, and
 * its own ones are written as "&quot;", unless it begins with a quoted text that has all its blanks. A NUL
 * becomes U+FFFD. Only the first 2048 bytes of the file count; a line that is cut there is left out, which is
 * logged at debug level 1 and above. Keys after the 62nd column are not looked for. `room` is the number of
 * bytes at `out`; from the first value that does not fit, all are left out. `columns` ends with a null
 * pointer. Returns 0, or 1 with nothing written when the file cannot be opened or a pointer other than
 * `prefix` is null, which is logged. */
VORN_API int vorn_util_add_line_from_proc(char *out, int room, const char *path, const char *prefix,
                                          const char **columns) VORN_NOEXCEPT;

/* Called for a file that a walk has found: appends to the text of the walk, whose end is `out` with `room`
 * bytes left, what it makes of the file `path`. `prefix` is that of the walk with the matched names, `user`
 * that of the walk. The result is ignored. */
typedef int (*vorn_util_dir_walk_fn)(char *out, int room, const char *path, const char *prefix,
                                     const char **user);

/* Expands the stars of a path and calls `callback` for every regular file found. A star stands for a whole
 * name, directly after a slash: for each name in the directory that does not begin with a dot, in the
 * directory's order. A directory that does not exist counts as an empty one. The prefix grows by each matched
 * name and a blank. `out` holds a text, which may be empty, and has `size` bytes. A directory, path or prefix
 * of more than 79 bytes is logged and left out. Returns 0, or 1 when something was left out or, which is
 * logged, a pointer other than `prefix` and `user` is null. */
VORN_API int vorn_util_dir_walk(const char *pattern, char *out, int size, const char *prefix,
                                vorn_util_dir_walk_fn callback, const char **user) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
