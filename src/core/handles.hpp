// Owners for what C interfaces hand out: raw close and free calls stand here and nowhere else.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <unistd.h>
#include <utility>

namespace vorn {

// Calls a C function as a unique_ptr's deleter.
template <auto Function> struct Closer {
  template <class T> void operator()(T *object) const noexcept { Function(object); }
};

using File = std::unique_ptr<FILE, Closer<fclose>>;
using Directory = std::unique_ptr<DIR, Closer<closedir>>;
using CString = std::unique_ptr<char, Closer<free>>;

// A file descriptor that is closed with its owner; -1 is none.
class Descriptor {
public:
  explicit Descriptor(int fd = -1) noexcept : fd_(fd) {}
  Descriptor(Descriptor &&other) noexcept : fd_(other.release()) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  ~Descriptor() { reset(); }

  int get() const noexcept { return fd_; }
  explicit operator bool() const noexcept { return fd_ >= 0; }
  int release() noexcept { return std::exchange(fd_, -1); }
  void reset(int fd = -1) noexcept {
    if (fd_ >= 0) close(fd_);
    fd_ = fd;
  }

private:
  int fd_;
};

} // namespace vorn
