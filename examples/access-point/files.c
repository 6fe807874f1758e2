#include "files.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>
#include <vorn.h>

enum { LONGEST_PATH = 128 };

/* What a write that was cut off has left there goes first, with whatever permissions it has. */
static FILE *create(const char *path, mode_t mode) {
  unlink(path);
  int fd = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (fd < 0) return NULL;
  FILE *file = fdopen(fd, "w");
  if (file == NULL) close(fd);
  return file;
}

static int fill(FILE *file, file_writer write, void *data) {
  write(file, data);
  int failed = ferror(file);
  return fclose(file) != 0 || failed;
}

int replace_file(const char *path, mode_t mode, file_writer write, void *data) {
  char beside[LONGEST_PATH];
  if (snprintf(beside, sizeof beside, "%s.new", path) >= (int)sizeof beside) return 1;
  FILE *file = create(beside, mode);
  if (file != NULL && fill(file, write, data) == 0 && rename(beside, path) == 0) return 0;
  vorn_debug_eprintf("Cannot write %s: %s\n", path, strerror(errno));
  unlink(beside);
  return 1;
}

void remove_file(const char *path) {
  if (unlink(path) != 0 && errno != ENOENT)
    vorn_debug_eprintf("Cannot remove %s: %s\n", path, strerror(errno));
}
