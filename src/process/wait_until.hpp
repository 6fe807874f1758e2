#pragma once

#include "core/limits.hpp"
#include <chrono>
#include <unistd.h>

namespace vorn {

using Clock = std::chrono::steady_clock;

// Waits, looking now and then, until a condition holds, or for `timeout` microseconds. Returns whether it
// holds. The agent does nothing else meanwhile.
template <class Condition> bool holds_within(unsigned timeout, Condition holds) noexcept {
  const auto begin = Clock::now();
  while (!holds()) {
    usleep(end_poll_interval);
    if (Clock::now() - begin > std::chrono::microseconds(timeout)) return false;
  }
  return true;
}

} // namespace vorn
