// Every check of a value, in memory that ends with it, and what the answers owe to each other.
#include "core/handles.hpp"
#include "support/input.h"
#include "world.hpp"
#include <array>
#include <cerrno>
#include <memory>

using namespace vorn::fuzz;

namespace {

using Check = int (*)(const char *value, int len);
constexpr Check checks[] = {
    vorn_input_is_int,
    vorn_input_is_positive_int,
    vorn_input_is_zero,
    vorn_input_is_percent,
    vorn_input_is_even,
    vorn_input_is_non_negative_int,
    vorn_input_is_negative_int,
    vorn_input_is_word,
    vorn_input_is_phrase,
    vorn_input_is_passphrase,
    vorn_input_is_yes_no,
    vorn_input_is_on_off,
    vorn_input_is_up_down,
    vorn_input_is_interface,
    vorn_input_is_mac,
    vorn_input_is_ip,
    vorn_input_is_domain_label,
    vorn_input_is_domain_name,
    vorn_input_is_ip_or_domain_name,
    vorn_input_is_ssid,
    vorn_input_is_mode,
    vorn_input_is_a_rate,
    vorn_input_is_b_rate,
    vorn_input_is_g_rate,
    vorn_input_is_wpa_psk_key,
    vorn_input_is_wep_key_length,
};

bool answer(int result) {
  require(result == 0 || result == 1, "an answer is 0 or 1");
  errno = 0;
  return result == 1;
}

struct Value {
  const char *text;
  int len;
  bool is(Check check) const { return answer(check(text, len)); }
};

// What is stricter implies what is not.
constexpr std::array<Check, 2> implications[] = {
    {vorn_input_is_positive_int, vorn_input_is_non_negative_int},
    {vorn_input_is_zero, vorn_input_is_non_negative_int},
    {vorn_input_is_percent, vorn_input_is_non_negative_int},
    {vorn_input_is_non_negative_int, vorn_input_is_int},
    {vorn_input_is_even, vorn_input_is_int},
    {vorn_input_is_a_rate, vorn_input_is_positive_int},
    {vorn_input_is_b_rate, vorn_input_is_g_rate},
    {vorn_input_is_wpa_psk_key, vorn_input_is_passphrase},
    {vorn_input_is_passphrase, vorn_input_is_phrase},
    {vorn_input_is_ip, vorn_input_is_ip_or_domain_name},
    {vorn_input_is_domain_label, vorn_input_is_domain_name},
    {vorn_input_is_domain_name, vorn_input_is_ip_or_domain_name},
};

void check_numbers(const Value &value, int32_t low, int32_t high) {
  const bool number = value.is(vorn_input_is_int);
  const bool inside = answer(vorn_input_is_int_in_range(value.text, value.len, low, high));
  require(!inside || (number && low <= high), "a number in a range is one");
  require(value.is(vorn_input_is_negative_int) != value.is(vorn_input_is_non_negative_int),
          "negative is what is not anything else");
  const vorn_input_set ends = {&low, 1};
  if (answer(vorn_input_is_int_in_set(value.text, value.len, &ends)))
    require(answer(vorn_input_is_int_in_range(value.text, value.len, low, low)), "a set of one is a range");
  if (inside && value.len < 16)
    require(answer(vorn_input_is_double_in_range(value.text, value.len, low, high)),
            "an integer is a number");
}

void check_characters(const Value &value, int32_t low, int32_t high, const std::string &members) {
  const auto free_set = [](vorn_input_set *set) { vorn_input_free_set(set); };
  const int count = static_cast<int>(members.size());
  const std::unique_ptr<vorn_input_set, decltype(free_set)> set(
      vorn_input_new_string_set(members.data(), count), free_set);
  answer(vorn_input_is_string_in_set(value.text, value.len, set.get()));
  answer(vorn_input_is_string_in_ranges(value.text, value.len, members.data(), count / 2));
  const int32_t low_byte = static_cast<int8_t>(low), high_byte = static_cast<int8_t>(high);
  const std::unique_ptr<vorn_input_set, decltype(free_set)> range(
      vorn_input_get_set_from_range(low_byte, high_byte, nullptr), free_set);
  require(answer(vorn_input_is_string_in_set(value.text, value.len, range.get())) ==
              answer(vorn_input_is_string_in_range(value.text, value.len, low_byte, high_byte)),
          "a range is the set of its members");
}

void check_wireless(const Value &value, int domain, int bits) {
  for (const char *band : {"a", "b", "g", "n"})
    if (answer(vorn_input_is_channel(value.text, value.len, band, domain)))
      require(value.is(vorn_input_is_positive_int) && domain >= 0 && domain <= 2, "a channel is a number");
  require(answer(vorn_input_is_b_channel(value.text, value.len, domain)) ==
              answer(vorn_input_is_g_channel(value.text, value.len, domain)),
          "b and g share their channels");
  answer(vorn_input_is_a_channel(value.text, value.len, domain));
  for (const int ascii : {0, 1})
    if (answer(vorn_input_is_wep_key(value.text, value.len, bits, ascii)))
      require(value.len == bits / (ascii ? 8 : 4), "a key has its bits");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  start();
  Input input(data, size);
  const auto low = static_cast<int32_t>(input.byte()) - 128, high = static_cast<int32_t>(input.byte()) * 1000;
  const int domain = input.below(5) - 1, bits = input.below(2) ? 40 : 8 * input.below(20);
  const std::string members = input.take(input.below(8)), text = input.rest();
  const auto exact = std::make_unique<char[]>(text.size()); // no byte after it may be read
  text.copy(exact.get(), text.size());
  const Value value = {exact.get(), static_cast<int>(text.size())};
  errno = 0;
  for (const Check check : checks) value.is(check);
  for (const auto &[strict, loose] : implications)
    if (value.is(strict)) require(value.is(loose), "what is stricter implies what is not");
  check_numbers(value, low, high);
  check_characters(value, low, high, members);
  check_wireless(value, domain, bits);
  answer(vorn_input_is_alpha_numeric_hyphen(text.c_str()));
  answer(vorn_input_is_ipv6(text.c_str(), value.len));
  return 0;
}
