#include "support/input.h"

#include <cstring>
#include <iterator>

namespace {

constexpr int32_t a_channels_0[] = {36, 40, 44, 48, 52, 56, 60, 64, 149, 153, 157, 161, 165};
constexpr int32_t a_channels_1[] = {36,  40,  44,  48,  52,  56,  60,  64,  100, 104,
                                    108, 112, 116, 120, 124, 128, 132, 136, 140};
constexpr int32_t a_channels_2[] = {8, 12, 16, 34, 38, 42, 46, 240, 244, 248, 252};
constexpr int32_t a_rates[] = {6, 9, 12, 18, 24, 36, 48, 54};

template <size_t Count> constexpr vorn_input_set set_of(const int32_t (&values)[Count]) {
  return {values, Count};
}

// By regulatory domain.
constexpr struct {
  vorn_input_set a_channels;
  int32_t last_b_channel;
} domains[] = {{set_of(a_channels_0), 11}, {set_of(a_channels_1), 13}, {set_of(a_channels_2), 14}};

bool is_domain(int domain) { return domain >= 0 && domain < static_cast<int>(std::size(domains)); }

constexpr struct {
  const char *name;
  int (*is_channel)(const char *value, int len, int domain) noexcept;
} bands[] = {{"a", vorn_input_is_a_channel}, {"b", vorn_input_is_b_channel}, {"g", vorn_input_is_g_channel}};

} // namespace

int vorn_input_is_ssid(const char *value, int len) noexcept { return value && len >= 1 && len <= 32; }

int vorn_input_is_mode(const char *value, int len) noexcept {
  static constexpr const char *modes[] = {"a", "bg", "a-n", "bg-n", "n-only-a", "n-only-g", nullptr};
  return vorn_input_is_string_in_array(value, len, modes);
}

int vorn_input_is_a_channel(const char *value, int len, int domain) noexcept {
  return is_domain(domain) && vorn_input_is_int_in_set(value, len, &domains[domain].a_channels);
}

int vorn_input_is_b_channel(const char *value, int len, int domain) noexcept {
  return is_domain(domain) && vorn_input_is_int_in_range(value, len, 1, domains[domain].last_b_channel);
}

int vorn_input_is_g_channel(const char *value, int len, int domain) noexcept {
  return vorn_input_is_b_channel(value, len, domain);
}

int vorn_input_is_channel(const char *value, int len, const char *band, int domain) noexcept {
  for (const auto &known : bands)
    if (band && strcmp(band, known.name) == 0) return known.is_channel(value, len, domain);
  return 0;
}

int vorn_input_is_a_rate(const char *value, int len) noexcept {
  static constexpr vorn_input_set rates = set_of(a_rates);
  return vorn_input_is_int_in_set(value, len, &rates);
}

int vorn_input_is_b_rate(const char *value, int len) noexcept {
  static constexpr const char *rates[] = {"1", "2", "5.5", "11", nullptr};
  return vorn_input_is_string_in_array(value, len, rates);
}

int vorn_input_is_g_rate(const char *value, int len) noexcept {
  static constexpr const char *rates[] = {"1",  "2",  "5.5", "6",  "9",  "11",   "12",
                                          "18", "24", "36",  "48", "54", nullptr};
  return vorn_input_is_string_in_array(value, len, rates);
}

int vorn_input_is_wpa_psk_key(const char *value, int len) noexcept {
  return len >= 8 && len <= 63 && vorn_input_is_phrase(value, len);
}

int vorn_input_is_wep_key(const char *value, int len, int bits, int ascii) noexcept {
  if (bits != 40 && bits != 104 && bits != 128) return 0;
  if (ascii) return len == bits / 8 && vorn_input_is_phrase(value, len);
  return len == bits / 4 && vorn_input_is_string_in_ranges(value, len, "09AFaf", 3);
}

int vorn_input_is_wep_key_length(const char *value, int len) noexcept {
  static constexpr const char *lengths[] = {"40", "104", "128", nullptr};
  return vorn_input_is_string_in_array(value, len, lengths);
}
