#include "support/input.h"

#include "core/handles.hpp"
#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <cstring>
#include <optional>

// errno is deliberately never cleared here: an ERANGE that somebody has left behind makes the extremes
// invalid.
namespace {

// A copy with the terminator that conversions need; null without a value or memory.
vorn::CString copy_of(const char *value, int len) {
  return vorn::CString(value && len >= 0 ? strndup(value, static_cast<size_t>(len)) : nullptr);
}

// strtol as it is where a long has 32 bits.
int32_t to_int32(const char *text, char **end) {
  const long number = strtol(text, end, 10);
  const long nearest = std::clamp<long>(number, INT32_MIN, INT32_MAX);
  if (number != nearest) errno = ERANGE;
  return static_cast<int32_t>(nearest);
}

// None when it is no integer. Mind that none compares as less than every number.
std::optional<int32_t> parse_int(const char *value, int len) {
  const vorn::CString copy = copy_of(value, len);
  if (!copy || !*copy) return std::nullopt;
  char *end = nullptr;
  const int32_t number = to_int32(copy.get(), &end);
  if (end - copy.get() < len) return std::nullopt;
  const bool may_be_beyond = number == INT32_MIN || number == INT32_MAX;
  if (may_be_beyond && errno == ERANGE) return std::nullopt;
  return number;
}

// None when it is no number. The empty text is 0.
std::optional<double> parse_double(const char *value, int len) {
  const vorn::CString copy = copy_of(value, len);
  if (!copy) return std::nullopt;
  char *end = nullptr;
  const double number = strtod(copy.get(), &end);
  if (end - copy.get() < len) return std::nullopt;
  const bool may_be_beyond = number < -DBL_MAX || number > DBL_MAX || number == 0;
  if (may_be_beyond && errno == ERANGE) return std::nullopt;
  return number;
}

} // namespace

int vorn_input_is_int(const char *value, int len) noexcept { return parse_int(value, len).has_value(); }

int vorn_input_is_int_in_set(const char *value, int len, const vorn_input_set *set) noexcept {
  const auto number = parse_int(value, len);
  return number && set && std::count(set->values, set->values + set->count, *number) > 0;
}

int vorn_input_is_int_in_range(const char *value, int len, int32_t min, int32_t max) noexcept {
  const auto number = parse_int(value, len);
  return number && min <= *number && *number <= max;
}

int vorn_input_is_positive_int(const char *value, int len) noexcept { return parse_int(value, len) > 0; }

int vorn_input_is_zero(const char *value, int len) noexcept { return parse_int(value, len) == 0; }

int vorn_input_is_non_negative_int(const char *value, int len) noexcept { return parse_int(value, len) >= 0; }

int vorn_input_is_negative_int(const char *value, int len) noexcept {
  return !vorn_input_is_non_negative_int(value, len);
}

int vorn_input_is_percent(const char *value, int len) noexcept {
  return vorn_input_is_int_in_range(value, len, 0, 100);
}

int vorn_input_is_even(const char *value, int len) noexcept {
  const auto number = parse_int(value, len);
  return number && *number % 2 == 0;
}

int vorn_input_is_double_in_range(const char *value, int len, double min, double max) noexcept {
  const auto number = parse_double(value, len);
  return number && min <= *number && *number <= max;
}
