// Lets operator new fail when a test wants it to.
#pragma once

#include <cstddef>

namespace vorn::test {

// The allocations until one fails; negative for never.
extern long allocations_left;

// Blocks that operator new has given and that are not freed yet.
extern long live_blocks;

// Runs `attempt` with its first allocation failing, then its second, and so on, until it succeeds without a
// failure. `attempt` returns whether it succeeded; `check` is called after each failed one. Returns the
// number of failures.
template <class Attempt, class Check> int fail_each_allocation(Attempt attempt, Check check) {
  for (int failures = 0;; ++failures) {
    allocations_left = failures;
    const bool done = attempt();
    const bool untouched = allocations_left >= 0;
    allocations_left = -1;
    if (done && untouched) return failures;
    if (!done) check();
  }
}

} // namespace vorn::test
