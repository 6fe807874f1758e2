// Keeps allocation failures inside the agent: the exported interface reports them by its failure values.
#pragma once

#include <new>
#include <stdexcept>
#include <utility>

namespace vorn {

// How often guarded() has turned a lack of memory into a failure value.
inline unsigned memory_failures = 0;

// Knows whether memory has run out since it was made, also where the failure value was taken for another
// failure, or for none.
class MemoryWatch {
public:
  bool has_failed() const noexcept { return memory_failures != before_; }

private:
  unsigned before_ = memory_failures;
};

// Runs `body` and returns its result, or `failure` when memory ran out (std::length_error included: the
// containers throw it for sizes that no memory could hold). The body must do everything that can fail before
// its first visible change.
template <class Result, class Body> Result guarded(Result failure, Body &&body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc &) {
    ++memory_failures;
    return failure;
  } catch (const std::length_error &) {
    ++memory_failures;
    return failure;
  }
}

} // namespace vorn
