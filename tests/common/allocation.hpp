// Lets memory run out when a test wants it to.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorn::test {

// The allocations by operator new until one fails; negative for never.
extern long allocations_left;

// The allocations until one fails of all that the process makes, by operator new, by its libraries, by libc;
// negative for never. That one fails, or, where `mallocs_stay_out` is set, all from there on.
extern long mallocs_left;
extern bool mallocs_stay_out;

// One of so many of them fails, by chance, which begins anew where `mallocs_chance` is set; 0 for none.
extern unsigned long mallocs_fail_one_in;
extern uint64_t mallocs_chance;

// How many of these have failed.
extern long mallocs_failed;

// Whether this build can do that: the address sanitizer has an allocator of its own.
bool can_fail_mallocs();

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

// As above, of all allocations of the process; a library may get along without one, so `check` is called
// after each attempt, with what it returned and whether an allocation failed. The first attempt is with
// memory enough.
template <class Attempt, class Check> int fail_each_malloc(Attempt attempt, Check check) {
  check(attempt(), false); // what is made once is there from now on
  for (int failures = 0;; ++failures) {
    mallocs_failed = 0;
    mallocs_left = failures;
    const auto result = attempt();
    mallocs_left = -1;
    check(result, mallocs_failed > 0);
    if (mallocs_failed == 0) return failures;
  }
}

} // namespace vorn::test
