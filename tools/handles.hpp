// Owners of what the system and libxml2 hand out as raw descriptors and pointers.
#pragma once

#include <libxml/tree.h>
#include <memory>
#include <unistd.h>
#include <utility>

namespace lsql {

/// Owns a descriptor, and closes it. A negative one is none.
class Descriptor {
public:
  explicit Descriptor(int fd) noexcept : fd_(fd) {}
  Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor &operator=(Descriptor &&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  int get() const noexcept { return fd_; }

private:
  int fd_;
};

struct XmlDocumentDelete {
  void operator()(xmlDoc *document) const noexcept { xmlFreeDoc(document); }
};
struct XmlTextDelete {
  void operator()(xmlChar *text) const noexcept { xmlFree(text); }
};

/// Owns a libxml2 document with all its nodes.
using XmlDocument = std::unique_ptr<xmlDoc, XmlDocumentDelete>;
/// Owns a string that libxml2 allocated.
using XmlText = std::unique_ptr<xmlChar, XmlTextDelete>;

} // namespace lsql
