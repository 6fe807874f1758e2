// One way to refuse: log the reason, return the failure.
#pragma once

#include "core/debug.hpp"
#include <concepts>
#include <cstdarg>
#include <memory>

namespace vorn {

// What a refused call returns: null for a pointer, false for a truth value, else the number `value`.
template <int value> struct Refusal {
  template <std::signed_integral T> constexpr operator T() const noexcept { return value; }
  constexpr operator bool() const noexcept { return false; }
  template <class T> constexpr operator T *() const noexcept { return nullptr; }
  template <class T, class Deleter> operator std::unique_ptr<T, Deleter>() const noexcept { return nullptr; }
};

// Logs the reason, at debug level 1 and above: `return refuse("Null class.\n");`, or, where 1 is no failure,
// `return refuse<0>("Null class.\n");`.
template <int value = 1>
[[gnu::format(printf, 1, 2)]] Refusal<value> refuse(const char *format, ...) noexcept {
  va_list arguments;
  va_start(arguments, format);
  log_message(1, format, arguments);
  va_end(arguments);
  return {};
}

// The same, whatever the debug level.
template <int value = 1>
[[gnu::format(printf, 1, 2)]] Refusal<value> refuse_aloud(const char *format, ...) noexcept {
  va_list arguments;
  va_start(arguments, format);
  log_message(0, format, arguments);
  va_end(arguments);
  return {};
}

} // namespace vorn
