/* Files that the device's programs read, and that the agent writes for them. */
#ifndef ACCESS_POINT_FILES_H
#define ACCESS_POINT_FILES_H

#include <stdio.h>
#include <sys/types.h>

/* Writes the text of a file; failures show in the stream. */
typedef void (*file_writer)(FILE *file, void *data);

/* Writes the whole file anew, beside the old one until it is complete, so that its readers see one or the
 * other, also when the power goes. It has these permissions from its first byte on, less the umask. Returns
 * 0, or 1 with the reason logged and the old file in place. Without actions it only says what it would do. */
int replace_file(const char *path, mode_t mode, file_writer write, void *data);

/* Removes a file, which need not be there. */
void remove_file(const char *path);

/* Returns 1 when both files can be read and hold the same bytes, else 0. */
int have_same_content(const char *path, const char *other);

#endif
