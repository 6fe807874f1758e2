// The bytes of a file, piece by piece, expanded where gzip or xz has compressed them.
#pragma once

#include "core/handles.hpp"
#include <libxml/xmlIO.h>

namespace vorn {

class FileSource {
public:
  explicit FileSource(const char *path) noexcept;

  // As read(2) returns. After -1 the reason is in error(): EFBIG for more than max_config_size in all.
  int read(char *buffer, size_t size) noexcept;

  // 0, or the errno of what failed when it was opened or read.
  int error() const noexcept { return error_; }

private:
  int fail(int error) noexcept;
  ssize_t read_some(char *buffer, size_t size) noexcept;

  using Expander = std::unique_ptr<xmlParserInputBuffer, Closer<xmlFreeParserInputBuffer>>;
  Descriptor file_;
  Expander expander_{};
  size_t total_ = 0;
  int error_ = 0;
};

} // namespace vorn
