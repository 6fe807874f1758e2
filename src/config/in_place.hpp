// Writes a file in place: it keeps its inode, its owner and its rights.
#pragma once

#include "core/handles.hpp"
#include <string>
#include <string_view>

namespace vorn {

// Returns whether a file's data, or a directory's names, have reached the disk, as far as there is one.
bool flush(int fd) noexcept;

// A write beyond the process's limit for files fails with EFBIG while this lives; else it ends the process.
class FileSizeSignal {
public:
  FileSizeSignal() noexcept;
  ~FileSizeSignal();
  FileSizeSignal(const FileSizeSignal &) = delete;
  FileSizeSignal &operator=(const FileSizeSignal &) = delete;

private:
  void (*before_)(int);
};

class InPlace {
public:
  InPlace() = default;
  ~InPlace(); // removes a file that it has made and could not write
  InPlace(const InPlace &) = delete;
  InPlace &operator=(const InPlace &) = delete;

  // Opens the file, made when it is not there, and remembers its content. Returns false with the reason in
  // errno.
  bool open(const char *path) noexcept;

  // Gives it a new content, or, with the reason in errno, its old one back. Room is made sure before a byte
  // changes. Cut off meanwhile, it leaves what begins as no XML does.
  bool replace(std::string_view content) noexcept;

  // After a failure: whether the old content is there.
  bool is_intact() const noexcept { return intact_; }

private:
  bool restore() noexcept;

  const char *path_ = nullptr;
  Descriptor file_{};
  std::string old_{};
  bool regular_ = false;
  bool made_ = false;  // it was not there
  bool known_ = false; // what it held
  bool intact_ = true;
};

// Replaces a file's content. Returns 0, or 1 with the reason logged and the old content back in its place.
int write_file(const char *path, std::string_view content) noexcept;

} // namespace vorn
