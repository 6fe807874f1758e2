#include "query/budget.hpp"

#include <ctime>

namespace vorn {

namespace {

constexpr uint64_t nanoseconds = 1'000'000'000;

} // namespace

Budget::Budget() noexcept : deadline_(now() + max_evaluation_seconds * nanoseconds) {}

uint64_t Budget::now() noexcept {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC_COARSE, &time); // a few milliseconds do not matter, and it is asked often
  return static_cast<uint64_t>(time.tv_sec) * nanoseconds + static_cast<uint64_t>(time.tv_nsec);
}

void Budget::look() const {
  if (steps_ > max_evaluation_steps) throw LimitExceeded{"Request is too expensive."};
  check_time();
}

void Budget::add_result(size_t bytes) {
  expansion_ += bytes;
  if (expansion_ > max_result_size) throw LimitExceeded{"Result is too long."};
}

void Budget::add_stored(size_t bytes) {
  expansion_ += bytes;
  if (expansion_ > max_result_size) throw LimitExceeded{"Request stores too much."};
}

void Budget::check_time() const {
  if (now() > deadline_) throw LimitExceeded{"Request takes too long."};
}

} // namespace vorn
