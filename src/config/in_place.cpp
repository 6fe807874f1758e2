#include "config/in_place.hpp"

#include "core/limits.hpp"
#include "core/refuse.hpp"
#include "core/whole_file.hpp"
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace vorn {

namespace {

// Stands in the place of the first byte until all others are on the disk: no XML, in whatever encoding,
// begins with it. Otherwise the new beginning and the old end could together pass for a configuration.
constexpr std::string_view unfinished = "!";

bool write_at(int fd, off_t offset, std::string_view bytes) {
  return lseek(fd, offset, SEEK_SET) == offset && write_whole(fd, bytes);
}

// Each step is on the disk before the next one begins.
bool overwrite(int fd, std::string_view bytes) {
  const std::string_view first = bytes.substr(0, 1), rest = bytes.substr(first.size());
  return write_at(fd, 0, unfinished) && flush(fd) && write_at(fd, 1, rest) &&
         ftruncate(fd, static_cast<off_t>(bytes.size())) == 0 && flush(fd) && write_at(fd, 0, first) &&
         flush(fd);
}

// Room beyond the present end, which stays where it is. A file system that cannot do that is believed to have
// room.
bool make_room(int fd, size_t size) {
  if (size == 0 || fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)) == 0) return true;
  return errno == EOPNOTSUPP || errno == ENOSYS;
}

bool holds(int fd, const std::string &expected) {
  std::string found;
  return lseek(fd, 0, SEEK_SET) == 0 && read_whole(fd, max_config_size, found) && found == expected;
}

} // namespace

bool flush(int fd) noexcept { return fsync(fd) == 0 || errno == EINVAL; }

FileSizeSignal::FileSizeSignal() noexcept : before_(signal(SIGXFSZ, SIG_IGN)) {}
FileSizeSignal::~FileSizeSignal() { signal(SIGXFSZ, before_); }

InPlace::~InPlace() {
  if (made_) unlink(path_);
}

bool InPlace::open(const char *path) noexcept {
  constexpr mode_t for_all = 0666; // less what the umask takes
  path_ = path;
  file_.reset(::open(path, O_RDWR | O_CLOEXEC));
  if (!file_ && errno == ENOENT) {
    file_.reset(::open(path, O_RDWR | O_CREAT | O_CLOEXEC, for_all));
    made_ = static_cast<bool>(file_);
  }
  struct stat status;
  if (!file_ || fstat(file_.get(), &status) != 0) return false;
  regular_ = S_ISREG(status.st_mode);
  known_ = regular_ && read_whole(file_.get(), max_config_size, old_);
  return !regular_ || known_ || !is_shortage(errno); // what is damaged or no configuration may be lost
}

bool InPlace::replace(std::string_view content) noexcept {
  const FileSizeSignal failing;
  if (!regular_) return write_whole(file_.get(), content);
  if (make_room(file_.get(), content.size()) && overwrite(file_.get(), content)) {
    made_ = false;
    return true;
  }
  const int error = errno;
  intact_ = restore();
  errno = error;
  return false;
}

bool InPlace::restore() noexcept {
  return made_ || (known_ && (holds(file_.get(), old_) || overwrite(file_.get(), old_)));
}

int write_file(const char *path, std::string_view content) noexcept {
  InPlace file;
  if (file.open(path) && file.replace(content)) return 0;
  return refuse_aloud("Can't write %s: %s\n", path, strerror(errno));
}

} // namespace vorn
