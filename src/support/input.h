/* Ready-made answers to "is this a valid ...?" for the checks of properties.
 *
 * A value is given by its first character and its length in bytes and needs no terminator, except where one
 * is asked for; the memory after it is never read. The comment of a check says which values are valid: it
 * returns 1 for these and 0 for all others. It stores nothing and changes nothing but `errno`. A null value
 * and a negative length are invalid, unless said otherwise. */
#ifndef VORN_SUPPORT_INPUT_H
#define VORN_SUPPORT_INPUT_H

#include "core/export.h"
#include <stddef.h>
#include <stdint.h>

VORN_BEGIN_DECLS

/* Sets, and strings made of their members. Characters are compared as signed 8-bit values, on every
 * machine. */

/* A set of numbers or characters. A plugin may also fill in one of its own, with a table of its own. */
typedef struct vorn_input_set {
  const int32_t *values; /* the members, in any order, also repeatedly */
  size_t count;          /* how many values there are */
} vorn_input_set;

/* Returns the set of the `n` characters at `chars`, which the caller frees with vorn_input_free_set. Null
 * when `chars` is null, `n` is negative, or memory runs out. */
VORN_API vorn_input_set *vorn_input_new_string_set(const char *chars, int n) VORN_NOEXCEPT;

/* Returns a new set of the members of `base`, if it is not null, and of every value from `low` to `high`,
 * both included: of none when `low` is greater. The caller frees it with vorn_input_free_set, and still owns
 * the base, which does not change. Null when memory runs out. */
VORN_API vorn_input_set *vorn_input_get_set_from_range(int32_t low, int32_t high,
                                                       const vorn_input_set *base) VORN_NOEXCEPT;

/* Frees a set that vorn_input_new_string_set or vorn_input_get_set_from_range has made, with its values. A
 * null set is ignored. */
VORN_API void vorn_input_free_set(vorn_input_set *set) VORN_NOEXCEPT;

/* Every character is in the set; an empty value is valid too. With a null set no value is valid. */
VORN_API int vorn_input_is_string_in_set(const char *value, int len, const vorn_input_set *set) VORN_NOEXCEPT;

/* Every character is from `low` to `high`, both included. An empty value is valid. */
VORN_API int vorn_input_is_string_in_range(const char *value, int len, int32_t low,
                                           int32_t high) VORN_NOEXCEPT;

/* Every character is in one of the ranges. Each of the `npairs` pairs is the lowest and the highest character
 * of one: "09AZ--" and 3 stand for digits, capital letters and the hyphen. An empty value is valid. */
VORN_API int vorn_input_is_string_in_ranges(const char *value, int len, const char *pairs,
                                            int npairs) VORN_NOEXCEPT;

/* The value is one of the strings of `array`, which ends with a null pointer. Case matters. With a null array
 * no value is valid. */
VORN_API int vorn_input_is_string_in_array(const char *value, int len,
                                           const char *const *array) VORN_NOEXCEPT;

/* Numbers. An integer is what strtol (ISO C) converts as a whole in base 10, as if a `long` had 32 bits:
 * white space and a sign may come first, the empty value and one with a NUL in it are invalid. `errno` is
 * deliberately not cleared before: while it is ERANGE, -2147483648 and 2147483647 are invalid too. Numbers
 * beyond these two are always invalid, and set it to ERANGE. No value is an integer or a number when memory
 * for a copy runs out. */

/* An integer. */
VORN_API int vorn_input_is_int(const char *value, int len) VORN_NOEXCEPT;

/* An integer that is in the set. With a null set no value is valid. */
VORN_API int vorn_input_is_int_in_set(const char *value, int len, const vorn_input_set *set) VORN_NOEXCEPT;

/* An integer from `min` to `max`, both included. */
VORN_API int vorn_input_is_int_in_range(const char *value, int len, int32_t min, int32_t max) VORN_NOEXCEPT;

/* An integer above 0. */
VORN_API int vorn_input_is_positive_int(const char *value, int len) VORN_NOEXCEPT;

/* An integer that is 0. */
VORN_API int vorn_input_is_zero(const char *value, int len) VORN_NOEXCEPT;

/* An integer that is 0 or above. */
VORN_API int vorn_input_is_non_negative_int(const char *value, int len) VORN_NOEXCEPT;

/* Every value that vorn_input_is_non_negative_int refuses: deliberately also what is no integer, and a null
 * value. */
VORN_API int vorn_input_is_negative_int(const char *value, int len) VORN_NOEXCEPT;

/* An integer from 0 to 100. */
VORN_API int vorn_input_is_percent(const char *value, int len) VORN_NOEXCEPT;

/* An even integer, also a negative one. */
VORN_API int vorn_input_is_even(const char *value, int len) VORN_NOEXCEPT;

/* A number from `min` to `max`, both included, that strtod (ISO C) converts as a whole. Other than for
 * integers, the empty value is 0. While `errno` is ERANGE, which strtod sets and nothing clears before, 0 and
 * the infinities are invalid. NaN is in no range. */
VORN_API int vorn_input_is_double_in_range(const char *value, int len, double min, double max) VORN_NOEXCEPT;

/* Texts. */

/* ASCII letters and digits, hyphens and apostrophes, or nothing. */
VORN_API int vorn_input_is_word(const char *value, int len) VORN_NOEXCEPT;

/* Letters and digits, by isalnum (ISO C) in the process's locale, and hyphens, or nothing. The value ends
 * with a NUL. */
VORN_API int vorn_input_is_alpha_numeric_hyphen(const char *value) VORN_NOEXCEPT;

/* Printable ASCII characters, the blank included, or nothing. */
VORN_API int vorn_input_is_phrase(const char *value, int len) VORN_NOEXCEPT;

/* 8 to 63 printable ASCII characters, or nothing. */
VORN_API int vorn_input_is_passphrase(const char *value, int len) VORN_NOEXCEPT;

/* "yes" or "no". */
VORN_API int vorn_input_is_yes_no(const char *value, int len) VORN_NOEXCEPT;

/* "on" or "off". */
VORN_API int vorn_input_is_on_off(const char *value, int len) VORN_NOEXCEPT;

/* "up" or "down". */
VORN_API int vorn_input_is_up_down(const char *value, int len) VORN_NOEXCEPT;

/* Any value of at most 16 bytes that is not null. Only the length is checked, and a negative one is valid. */
VORN_API int vorn_input_is_interface(const char *value, int len) VORN_NOEXCEPT;

/* Addresses. */

/* Six pairs of hexadecimal digits of either case, with colons between. */
VORN_API int vorn_input_is_mac(const char *value, int len) VORN_NOEXCEPT;

/* Four integers from 0 to 255 with dots between, 7 to 15 bytes in all. The integers are those of
 * vorn_input_is_int: "+1" and "001" are good parts, and both are 1. */
VORN_API int vorn_input_is_ip(const char *value, int len) VORN_NOEXCEPT;

/* The address of a host in a form of RFC 4291, section 2.2: not ::1, no link-local (fe80::/10), multicast
 * (ff00::/8), IPv4-compatible or IPv4-mapped address (section 2.5.5), and deliberately not
 * 0:ff:0:ff:0:ff:0:ff; :: is valid. The value ends with a NUL, its length is ignored. */
VORN_API int vorn_input_is_ipv6(const char *value, int len) VORN_NOEXCEPT;

/* A label of a host's name: 1 to 63 ASCII letters, digits and hyphens, no hyphen first or last (RFC 1035,
 * section 2.3.1; a digit may be first, RFC 1123, section 2.1). */
VORN_API int vorn_input_is_domain_label(const char *value, int len) VORN_NOEXCEPT;

/* Labels with dots between, and optionally one after the last, that take less than 256 bytes in a message:
 * each label with its length before it, and the 0 of the root (RFC 1035, sections 2.3.4 and 3.1). */
VORN_API int vorn_input_is_domain_name(const char *value, int len) VORN_NOEXCEPT;

/* What vorn_input_is_ip or vorn_input_is_domain_name accepts; "256.1.1.1" is a name. */
VORN_API int vorn_input_is_ip_or_domain_name(const char *value, int len) VORN_NOEXCEPT;

/* Wireless networks (IEEE 802.11). `domain` is a regulatory domain, 0, 1 or 2; in any other one no channel is
 * valid. */

/* Any 1 to 32 bytes. */
VORN_API int vorn_input_is_ssid(const char *value, int len) VORN_NOEXCEPT;

/* A radio's mode: "a", "bg", "a-n", "bg-n", "n-only-a" or "n-only-g". */
VORN_API int vorn_input_is_mode(const char *value, int len) VORN_NOEXCEPT;

/* An integer that is a channel of 802.11a in the domain. */
VORN_API int vorn_input_is_a_channel(const char *value, int len, int domain) VORN_NOEXCEPT;

/* An integer from 1 to the last channel of 802.11b in the domain: 11, 13 or 14. */
VORN_API int vorn_input_is_b_channel(const char *value, int len, int domain) VORN_NOEXCEPT;

/* An integer that is a channel of 802.11g in the domain; these are the channels of 802.11b. */
VORN_API int vorn_input_is_g_channel(const char *value, int len, int domain) VORN_NOEXCEPT;

/* A channel of `band`, which is the string "a", "b" or "g". In another band no value is valid. */
VORN_API int vorn_input_is_channel(const char *value, int len, const char *band, int domain) VORN_NOEXCEPT;

/* An integer that is a rate of 802.11a, in Mbit/s. */
VORN_API int vorn_input_is_a_rate(const char *value, int len) VORN_NOEXCEPT;

/* A rate of 802.11b in Mbit/s, as a text: "1", "2", "5.5" or "11". */
VORN_API int vorn_input_is_b_rate(const char *value, int len) VORN_NOEXCEPT;

/* A rate of 802.11g in Mbit/s, as a text: one of 802.11b, or "6", "9", "12", "18", "24", "36", "48" or
 * "54". */
VORN_API int vorn_input_is_g_rate(const char *value, int len) VORN_NOEXCEPT;

/* A passphrase for WPA: 8 to 63 printable ASCII characters. The key itself, in 64 hexadecimal digits, is
 * invalid. */
VORN_API int vorn_input_is_wpa_psk_key(const char *value, int len) VORN_NOEXCEPT;

/* A WEP key of `bits` bits, which are 40, 104 or 128. When `ascii` is not 0, each printable ASCII character
 * stands for 8 bits, else each hexadecimal digit of either case for 4 bits. */
VORN_API int vorn_input_is_wep_key(const char *value, int len, int bits, int ascii) VORN_NOEXCEPT;

/* The bits of a WEP key, as a text: "40", "104" or "128". */
VORN_API int vorn_input_is_wep_key_length(const char *value, int len) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
