// Stops a child at each of its system calls, to kill it there or to have the call fail.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

namespace vorn::test {

// Where the child stands: before a system call, or after it.
struct Stop {
  pid_t child;
  long call; // its number, SYS_...
  bool before;
  unsigned long arguments[6]; // before it
};

// What is to become of the child: it goes on, it is killed, or, before a call, this fails with an errno.
struct Fate {
  bool killed = false;
  int error = 0;
};

// Whether calls can be made to fail on this processor.
bool can_fail_calls();

// Runs `prepare` and then `act` in a child, which `decide` is asked about while it acts. Returns what `act`
// returned, or -1 for a child that was killed.
int run_traced(const std::function<void()> &prepare, const std::function<int()> &act,
               const std::function<Fate(const Stop &)> &decide);

// Runs `act` in a child. Returns what it returned, or -1 for a child that did not end by itself.
int run_in_child(const std::function<int()> &act);

// Does the first half of the write that the child is about to make.
void write_half(const Stop &stop);

} // namespace vorn::test
