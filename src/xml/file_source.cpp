#include "xml/file_source.hpp"

#include "core/limits.hpp"
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>

namespace vorn {

namespace {

// libxml2 reads what gzip and xz have compressed.
bool is_compressed(int fd) {
  using namespace std::string_view_literals;
  char beginning[6];
  const ssize_t length = pread(fd, beginning, sizeof beginning, 0);
  const std::string_view text(beginning, length > 0 ? static_cast<size_t>(length) : 0);
  return text.starts_with("\x1f\x8b"sv) || text == "\xfd"
                                                   "7zXZ\0"sv;
}

// Returns the errno of what speaks against the file before it is read, or 0.
int fault_of(int fd) {
  struct stat status;
  if (fstat(fd, &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  const bool is_too_long = S_ISREG(status.st_mode) && static_cast<size_t>(status.st_size) > max_config_size;
  return is_too_long ? EFBIG : 0;
}

} // namespace

FileSource::FileSource(const char *path) noexcept : file_(open(path, O_RDONLY | O_CLOEXEC)) {
  error_ = file_ ? fault_of(file_.get()) : errno;
  if (error_ != 0 || !is_compressed(file_.get())) return;
  expander_.reset(xmlParserInputBufferCreateFilename(path, XML_CHAR_ENCODING_NONE));
  if (!expander_) fail(errno);
}

int FileSource::fail(int error) noexcept {
  error_ = error != 0 ? error : EIO; // what expands does not always tell
  return -1;
}

ssize_t FileSource::read_some(char *buffer, size_t size) noexcept {
  if (expander_) return expander_->readcallback(expander_->context, buffer, static_cast<int>(size));
  ssize_t count;
  do count = ::read(file_.get(), buffer, size);
  while (count < 0 && errno == EINTR);
  return count;
}

int FileSource::read(char *buffer, size_t size) noexcept {
  if (error_ != 0) return -1;
  const ssize_t count = read_some(buffer, size);
  if (count < 0) return fail(errno);
  total_ += static_cast<size_t>(count);
  return total_ > max_config_size ? fail(EFBIG) : static_cast<int>(count);
}

} // namespace vorn
