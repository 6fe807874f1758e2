// Keeps allocation failures inside the agent: the exported interface reports them by its failure values.
#pragma once

#include "core/memory_watch.hpp"
#include <new>
#include <stdexcept>
#include <utility>

namespace vorn {

// Runs `body` and returns its result, or `failure` when memory ran out (std::length_error included: the
// containers throw it for sizes that no memory could hold). The body must do everything that can fail before
// its first visible change.
template <class Result, class Body> Result guarded(Result failure, Body &&body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc &) {
    note_memory_failure();
    return failure;
  } catch (const std::length_error &) {
    note_memory_failure();
    return failure;
  }
}

} // namespace vorn
