#include "support/input.h"

#include "core/guard.hpp"
#include <algorithm>
#include <cstring>
#include <memory>

namespace {

// The value that is compared, whether a plain char is signed or not.
int32_t number_of(char character) { return static_cast<int8_t>(character); }

// A set of `count` values, which `fill` writes; null without memory.
template <class Fill> vorn_input_set *new_set(uint64_t count, Fill fill) noexcept {
  return vorn::guarded<vorn_input_set *>(nullptr, [&]() -> vorn_input_set * {
    if (count > SIZE_MAX / sizeof(int32_t)) return nullptr;
    const auto size = static_cast<size_t>(count);
    auto values = std::make_unique_for_overwrite<int32_t[]>(size);
    fill(values.get());
    return new vorn_input_set{values.release(), size};
  });
}

template <class Accepts> int every_character(const char *value, int len, Accepts accepts) {
  return value && len >= 0 &&
         std::all_of(value, value + len, [&](char character) { return accepts(number_of(character)); });
}

} // namespace

vorn_input_set *vorn_input_new_string_set(const char *chars, int n) noexcept {
  if (!chars || n < 0) return nullptr;
  return new_set(static_cast<uint64_t>(n),
                 [&](int32_t *values) { std::transform(chars, chars + n, values, number_of); });
}

vorn_input_set *vorn_input_get_set_from_range(int32_t low, int32_t high,
                                              const vorn_input_set *base) noexcept {
  const size_t inherited = base ? base->count : 0;
  // 64 bits hold the number of all values, and what comes after the highest.
  const auto added = low > high ? 0 : static_cast<uint64_t>(int64_t{high} - low + 1);
  return new_set(inherited + added, [&](int32_t *values) {
    if (base) values = std::copy_n(base->values, inherited, values);
    for (int64_t value = low; value <= high; ++value) *values++ = static_cast<int32_t>(value);
  });
}

void vorn_input_free_set(vorn_input_set *set) noexcept {
  if (!set) return;
  delete[] set->values;
  delete set;
}

int vorn_input_is_string_in_set(const char *value, int len, const vorn_input_set *set) noexcept {
  return set && every_character(value, len, [&](int32_t character) {
           return std::count(set->values, set->values + set->count, character) > 0;
         });
}

int vorn_input_is_string_in_range(const char *value, int len, int32_t low, int32_t high) noexcept {
  return every_character(value, len,
                         [&](int32_t character) { return low <= character && character <= high; });
}

int vorn_input_is_string_in_ranges(const char *value, int len, const char *pairs, int npairs) noexcept {
  return every_character(value, len, [&](int32_t character) {
    for (int i = 0; pairs && i < npairs; ++i)
      if (number_of(pairs[2 * i]) <= character && character <= number_of(pairs[2 * i + 1])) return true;
    return false;
  });
}

int vorn_input_is_string_in_array(const char *value, int len, const char *const *array) noexcept {
  if (!value || !array || len < 0) return 0;
  const auto size = static_cast<size_t>(len);
  for (; *array; ++array)
    if (strlen(*array) == size && strncmp(*array, value, size) == 0) return 1;
  return 0;
}
