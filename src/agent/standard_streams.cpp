#include "agent/standard_streams.hpp"

#include "core/debug.h"
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char null_path[] = "/dev/null";

// The root is there even where /dev is not yet filled.
int open_anything() {
  const int fd = open(null_path, O_RDWR);
  return fd < 0 ? open("/", O_RDONLY) : fd;
}

} // namespace

void vorn::fill_standard_streams() noexcept {
  int fd = open_anything();
  while (fd >= 0 && fd <= STDERR_FILENO) fd = open_anything();
  if (fd > STDERR_FILENO) close(fd);
}

void vorn::release_standard_input() noexcept {
  close(STDIN_FILENO);
  if (open(null_path, O_RDWR) != STDIN_FILENO) vorn_debug_eprintf("Couldn't assign /dev/null to STDIN.\n");
  fill_standard_streams();
}
