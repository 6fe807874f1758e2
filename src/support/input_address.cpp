#include "support/input.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstring>

namespace {

using Ipv6Words = std::array<uint32_t, 4>; // as numbers of this machine, the first of the address first

bool is_no_host_address(const Ipv6Words &words) {
  const bool is_link_local = (words[0] >> 16 & 0xffc0) == 0xfe80;
  const bool is_multicast = words[0] >> 24 == 0xff;
  const bool is_ipv4_compatible = !words[0] && !words[1] && !words[2] && words[3] > 1;
  const bool is_ipv4_mapped = !words[0] && !words[1] && words[2] == 0xffff;
  return words == Ipv6Words{255, 255, 255, 255} || words == Ipv6Words{0, 0, 0, 1} || is_link_local ||
         is_multicast || is_ipv4_compatible || is_ipv4_mapped;
}

int is_letter_or_digit(const char *character) {
  return vorn_input_is_string_in_ranges(character, 1, "09AZaz", 3);
}

// Whether `accepts` accepts every part of what is left between `start` and `end`, from dot to dot.
template <class Accepts> bool every_part(const char *start, const char *end, Accepts accepts) {
  const char *dot = std::find(start, end, '.');
  for (; dot != end; dot = std::find(start, end, '.')) {
    if (!accepts(start, static_cast<int>(dot - start))) return false;
    start = dot + 1;
  }
  return accepts(start, static_cast<int>(end - start));
}

} // namespace

int vorn_input_is_mac(const char *value, int len) noexcept {
  if (!value || len != 17) return 0;
  for (int i = 0; i < len; ++i)
    if (i % 3 == 2 ? value[i] != ':' : !vorn_input_is_string_in_ranges(value + i, 1, "09AFaf", 3)) return 0;
  return 1;
}

int vorn_input_is_ip(const char *value, int len) noexcept {
  if (!value || len < 7 || len > 15 || std::count(value, value + len, '.') != 3) return 0;
  return every_part(value, value + len, [](const char *part, int part_len) {
    return vorn_input_is_int_in_range(part, part_len, 0, 255);
  });
}

int vorn_input_is_ipv6(const char *value, int) noexcept {
  in6_addr address;
  if (!value || inet_pton(AF_INET6, value, &address) != 1) return 0;
  Ipv6Words words;
  static_assert(sizeof words == sizeof address);
  memcpy(words.data(), &address, sizeof address);
  std::transform(words.begin(), words.end(), words.begin(), [](uint32_t word) { return ntohl(word); });
  return !is_no_host_address(words);
}

int vorn_input_is_domain_label(const char *value, int len) noexcept {
  return value && len >= 1 && len <= 63 && is_letter_or_digit(value) && is_letter_or_digit(value + len - 1) &&
         vorn_input_is_string_in_ranges(value, len, "09AZaz--", 4);
}

int vorn_input_is_domain_name(const char *value, int len) noexcept {
  if (!value || len < 1) return 0;
  if (value[len - 1] == '.') --len;
  // Each label has one byte in front: as many as there are dots, one more, and the root's.
  if (len < 1 || len >= 256 - 2) return 0;
  return every_part(value, value + len, vorn_input_is_domain_label);
}

int vorn_input_is_ip_or_domain_name(const char *value, int len) noexcept {
  return vorn_input_is_ip(value, len) || vorn_input_is_domain_name(value, len);
}
