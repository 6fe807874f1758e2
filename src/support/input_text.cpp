#include "support/input.h"

#include <cctype>

int vorn_input_is_word(const char *value, int len) noexcept {
  return vorn_input_is_string_in_ranges(value, len, "09AZaz--''", 5);
}

int vorn_input_is_alpha_numeric_hyphen(const char *value) noexcept {
  if (!value) return 0;
  while (*value == '-' || isalnum(static_cast<unsigned char>(*value))) ++value;
  return *value == '\0';
}

int vorn_input_is_phrase(const char *value, int len) noexcept {
  return vorn_input_is_string_in_range(value, len, ' ', '~');
}

int vorn_input_is_passphrase(const char *value, int len) noexcept {
  return (len == 0 || (len >= 8 && len <= 63)) && vorn_input_is_phrase(value, len);
}

int vorn_input_is_yes_no(const char *value, int len) noexcept {
  static constexpr const char *words[] = {"yes", "no", nullptr};
  return vorn_input_is_string_in_array(value, len, words);
}

int vorn_input_is_on_off(const char *value, int len) noexcept {
  static constexpr const char *words[] = {"on", "off", nullptr};
  return vorn_input_is_string_in_array(value, len, words);
}

int vorn_input_is_up_down(const char *value, int len) noexcept {
  static constexpr const char *words[] = {"up", "down", nullptr};
  return vorn_input_is_string_in_array(value, len, words);
}

int vorn_input_is_interface(const char *value, int len) noexcept { return value && len <= 16; }
