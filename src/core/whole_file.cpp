#include "core/whole_file.hpp"

#include "core/guard.hpp"
#include "core/handles.hpp"
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace vorn {

namespace {

constexpr size_t block_size = 65536;

// Throws std::bad_alloc.
bool read_blocks(int fd, size_t limit, std::string &bytes) {
  bytes.clear();
  struct stat status;
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
    bytes.reserve(std::min(static_cast<size_t>(status.st_size), limit) + block_size);
  for (;;) {
    const size_t size = bytes.size();
    bytes.resize(size + block_size);
    const ssize_t count = read(fd, bytes.data() + size, block_size);
    bytes.resize(size + (count > 0 ? static_cast<size_t>(count) : 0));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return count == 0;
    if (bytes.size() > limit) {
      errno = EFBIG;
      return false;
    }
  }
}

} // namespace

bool read_whole(int fd, size_t limit, std::string &bytes) noexcept {
  const MemoryWatch memory;
  const bool done = guarded(false, [&] { return read_blocks(fd, limit, bytes); });
  if (memory.has_failed()) errno = ENOMEM;
  return done;
}

bool read_whole(const char *path, size_t limit, std::string &bytes) noexcept {
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
  return file && read_whole(file.get(), limit, bytes);
}

bool write_whole(int fd, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const ssize_t count = write(fd, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

bool is_shortage(int error) noexcept { return error == ENOMEM || error == EMFILE || error == ENFILE; }

} // namespace vorn
