// What the evaluation of one request may cost.
#pragma once

#include "core/limits.hpp"
#include <cstdint>

namespace vorn {

// Ends an operation; the reply holds its text as the error.
struct LimitExceeded {
  const char *text;
};

// Counts what one evaluation costs. The functions throw LimitExceeded at the limits.
class Budget {
public:
  Budget() noexcept;

  // One step of the evaluation.
  void step() {
    if (++steps_ % steps_between_looks == 0) look();
  }

  // What the request expands to: bytes of its result, and bytes that it stores.
  void add_result(size_t bytes);
  void add_stored(size_t bytes);
  // A part of the result is dropped.
  void drop_result(size_t bytes) noexcept { expansion_ -= bytes; }

  void check_time() const;

  // While it lives, a plugin's function runs, whose time does not count.
  class PluginTime {
  public:
    explicit PluginTime(Budget &budget) noexcept : budget_(budget), start_(now()) {}
    ~PluginTime() { budget_.deadline_ += now() - start_; }
    PluginTime(const PluginTime &) = delete;
    PluginTime &operator=(const PluginTime &) = delete;

  private:
    Budget &budget_;
    uint64_t start_;
  };

private:
  static constexpr size_t steps_between_looks = 256;
  static uint64_t now() noexcept; // in nanoseconds
  void look() const;

  size_t steps_ = 0;
  size_t expansion_ = 0;
  uint64_t deadline_;
};

} // namespace vorn
