#include "files.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>
#include <vorn.h>

enum { LONGEST_PATH = 128 };

/* Removes first what an interrupted write may have left, which could have other permissions. */
static FILE *create(const char *path, mode_t mode) {
  unlink(path);
  int fd = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
  if (fd < 0) return NULL;
  FILE *file = fdopen(fd, "w");
  if (file == NULL) close(fd);
  return file;
}

/* Returns 0, or 1 with errno set. */
static int fill(FILE *file, file_writer write, void *data) {
  write(file, data);
  int error = 0;
  if (fflush(file) != 0 || fsync(fileno(file)) != 0) error = errno;
  if (ferror(file) && error == 0) error = EIO;
  fclose(file);
  errno = error;
  return error != 0;
}

static int skips_actions(const char *what, const char *path) {
  if (vorn_process_no_actions) vorn_debug_1printf("%s %s (no actions)\n", what, path);
  return vorn_process_no_actions;
}

int replace_file(const char *path, mode_t mode, file_writer write, void *data) {
  char beside[LONGEST_PATH];
  if (skips_actions("Writing", path)) return 0;
  if (snprintf(beside, sizeof beside, "%s.new", path) >= (int)sizeof beside) {
    vorn_debug_eprintf("Cannot write %s: the path is too long.\n", path);
    return 1;
  }
  FILE *file = create(beside, mode);
  if (file != NULL && fill(file, write, data) == 0 && rename(beside, path) == 0) return 0;
  vorn_debug_eprintf("Cannot write %s: %s\n", path, strerror(errno));
  unlink(beside);
  return 1;
}

void remove_file(const char *path) {
  if (skips_actions("Removing", path)) return;
  if (unlink(path) != 0 && errno != ENOENT)
    vorn_debug_eprintf("Cannot remove %s: %s\n", path, strerror(errno));
}

int have_same_content(const char *path, const char *other) {
  FILE *files[] = {fopen(path, "re"), fopen(other, "re")};
  int same = files[0] != NULL && files[1] != NULL;
  for (int c = 0; same && c != EOF;) {
    c = getc(files[0]);
    same = c == getc(files[1]);
  }
  for (int i = 0; i < 2; i++)
    if (files[i] != NULL) fclose(files[i]);
  return same;
}
