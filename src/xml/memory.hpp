// Knows when libxml2 has run out of memory.
#pragma once

namespace vorn {

// libxml2 goes on without a text, an attribute or a node that it could not allocate, and often says nothing:
// what it has built then looks whole. Watches all its allocations from here on; what was parsed or built
// meanwhile is to be used only when none has failed.
class XmlMemoryWatch {
public:
  XmlMemoryWatch() noexcept;
  bool has_failed() const noexcept;

private:
  unsigned failures_before_;
};

} // namespace vorn
