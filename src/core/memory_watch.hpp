// Knows when memory has run out in the agent's own code.
#pragma once

namespace vorn {

// How often so far. What an allocation that failed leaves undone is often no more than a null somewhere.
inline unsigned memory_failures = 0;

inline void note_memory_failure() noexcept { ++memory_failures; }

// Watches from here on.
class MemoryWatch {
public:
  bool has_failed() const noexcept { return memory_failures != before_; }

private:
  unsigned before_ = memory_failures;
};

} // namespace vorn
