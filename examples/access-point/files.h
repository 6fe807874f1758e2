/* The files that the agent writes for other programs of the device. */
#ifndef ACCESS_POINT_FILES_H
#define ACCESS_POINT_FILES_H

#include <stdio.h>
#include <sys/types.h>

/* Writes the text of a file. Errors are left in the stream, for ferror(3). */
typedef void (*file_writer)(FILE *file, void *data);

/* Replaces a file atomically: the new one is written beside the old one and takes its place when it is
 * complete, so that readers see either of them, even after a power failure. It has these permissions, less
 * the umask, from the beginning. Returns 0, or 1 with the reason logged and the old file in place. With the
 * agent's option -n it only logs what it would do. */
int replace_file(const char *path, mode_t mode, file_writer write, void *data);

/* Removes a file, which need not be there. */
void remove_file(const char *path);

/* Returns 1 when both files can be read and hold the same bytes, else 0. */
int have_same_content(const char *path, const char *other);

#endif
