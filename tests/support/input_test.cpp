#include "support/input.h"

#include "core/handles.hpp"
#include <cerrno>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <regex>
#include <sstream>

namespace {

using namespace std::string_literals;
using Set = std::unique_ptr<vorn_input_set, vorn::Closer<vorn_input_free_set>>;
using Numbers = std::vector<int32_t>;

// Calls a check with the value in memory of exactly its size, where a sanitizer sees what is read after it.
template <class Check, class... More> int check(Check function, const std::string &value, More... more) {
  const std::unique_ptr<char[]> exact(new char[value.size()]);
  memcpy(exact.get(), value.data(), value.size());
  return function(exact.get(), static_cast<int>(value.size()), more...);
}

std::vector<std::string> split(const std::string &text) {
  std::vector<std::string> parts;
  std::istringstream stream(text + '|');
  for (std::string part; std::getline(stream, part, '|');) parts.push_back(part);
  return parts;
}

Numbers members(const Set &set) { return set ? Numbers(set->values, set->values + set->count) : Numbers{}; }

int is_small(const char *value, int len) { return vorn_input_is_double_in_range(value, len, -1, 1); }

template <int Bits, int Ascii> int is_wep_key(const char *value, int len) {
  return vorn_input_is_wep_key(value, len, Bits, Ascii);
}

const std::string a63(63, 'a'), name_253 = a63 + "." + a63 + "." + a63 + "." + std::string(61, 'a');

const struct {
  int (*check)(const char *value, int len);
  std::string valid, invalid; // with | between
} rules[] = {
    {vorn_input_is_word, "|-it's-9Zz", "a b|a_b|\xe1|a\0|@|[|`|{"s},
    {vorn_input_is_phrase, "| ~|" + a63 + a63, "\x1f|\x7f|\x80|a\0b|\n"s},
    {vorn_input_is_passphrase, "|8 chars.|" + a63, "7 chars|8 chars\t|" + a63 + "a"},
    {vorn_input_is_wpa_psk_key, "8 chars.|" + a63, "|7 chars|\xe1 chars.|" + std::string(64, 'f')},
    {vorn_input_is_yes_no, "yes|no", "|Yes|ye|yesno|no\0|n\0"s},
    {vorn_input_is_on_off, "on|off", "|of|ON|yes"},
    {vorn_input_is_up_down, "up|down", "|Up|downs"},
    {vorn_input_is_interface, "|\0/|0123456789abcdef"s, "0123456789abcdefg"},
    {vorn_input_is_ssid, "\0|"s + std::string(32, '\xff'), "|" + std::string(33, 'a')},
    {vorn_input_is_int, "-7|+7| 7|\t\n-007|2147483647|-2147483648",
     "|12a|7 | |-|- 7|0x7|7\0|\0|2147483648|-2147483649|4294967296|99999999999999999999"s},
    {vorn_input_is_positive_int, "1|2147483647", "0|-1|abc||4294967297"},
    {vorn_input_is_negative_int, "-1|abc||2147483648", "0|1| +5"},
    {vorn_input_is_zero, "0|-00| +0", "|1|0\0|4294967296|zero"s},
    {vorn_input_is_even, "0|-2|2147483646|-2147483648", "|1|-1|2147483648|2a"},
    {vorn_input_is_mac, "0a:1B:2c:3D:4e:5F", "|00-11-22-33-44-55|0a:1b:2c:3d:4e:5|0a:1b:2c:3d:4e:5f:"},
    {vorn_input_is_ip, "0.0.0.0|255.255.255.255|010.1.1.1|+1. 2.001.4",
     "|1.2.3|256.1.1.1|-1.1.1.1|1.2.3.|.1.2.3.4|1..2.3.4|1.2.3.4.5|1.2\0.3.4|0001.0001.0001.1"s},
    {vorn_input_is_domain_label, "a|9|a9|3com|x--y|" + a63, "|-|a-|-a|a_b|a.b|\xe1|a\0|"s + a63 + "a"},
    {vorn_input_is_domain_name, "ab.cd.|A.ISI.EDU|3.a|" + name_253 + "|" + name_253 + ".",
     "|.|..|ab.cd..|a..b|.a|-a.cd|a-.cd|a\0.b|"s + name_253 + "a|" + name_253 + "a.|" + a63 + "a.b"},
    {vorn_input_is_ip_or_domain_name, "1.2.3.4|+1.2.3.4|256.1.1.1|ab.cd", "|+256.1.1.1|a..b"},
    {vorn_input_is_mode, "a|bg|a-n|bg-n|n-only-a|n-only-g", "|b|g|n|a-|A|n-only-ag"},
    {vorn_input_is_a_rate, "6|9|12|18|24|36|48|54| +06", "|1|5.5|11|72"},
    {vorn_input_is_b_rate, "1|2|5.5|11", "|5|6|+1|01|11\0"s},
    {vorn_input_is_g_rate, "1|2|5.5|6|9|11|12|18|24|36|48|54", "|+6|5|108"},
    {is_small, "|0| -1|1|+1e-3|.5|1e-320|0x.8", "1.1|-1.1|nan|inf|.| |1 |1\0|1e-999"s},
    {is_wep_key<40, 0>, "09AFafA0aF", "|00000|000000000|00000000000|000000000g|000000000 "},
    {is_wep_key<40, 1>, " ~aZ9", "|four|sixsix|\t~aZ9|\xe1~aZ9|0000000000"},
    {is_wep_key<104, 0>, "01234567890123456789abcdef", "0123456789|13 characters|0123456789abcdef012345678"},
    {is_wep_key<128, 1>, "sixteen of chars", "0123456789abcdef0123456789ABCDEF"},
    {vorn_input_is_wep_key_length, "40|104|128", "|64|+40|1040"},
};

TEST(Input, TellsValidFromInvalid) {
  for (const auto &rule : rules) {
    for (const auto &value : split(rule.valid)) EXPECT_TRUE((errno = 0, check(rule.check, value))) << value;
    for (const auto &value : split(rule.invalid))
      EXPECT_FALSE((errno = 0, check(rule.check, value))) << '"' << value << "\", unlike " << rule.valid;
    const bool takes_anything = rule.check == vorn_input_is_negative_int;
    EXPECT_EQ(rule.check(nullptr, 8), takes_anything) << rule.valid;
    EXPECT_EQ(rule.check("8", -1), takes_anything || rule.check == vorn_input_is_interface) << rule.valid;
  }
  EXPECT_FALSE(check(vorn_input_is_wep_key, "12345678", 64, 1));
}

TEST(Input, AgreesWithExpressionsOnGeneratedValues) {
  static const struct {
    int (*check)(const char *value, int len);
    const char *expression, *valid, *characters;
  } languages[] = {
      {vorn_input_is_percent, "[ \\t]*([+]?0*(100|[0-9]?[0-9])|-0+)", "+100", "+-01 9a"},
      {vorn_input_is_mac, "([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}", "0a:1B:2c:3D:4e:5F", "09aAfFgG:-@`"},
      {vorn_input_is_ip, "(?=.{7,15}$)(( *([+]?0*(25[0-5]|2[0-4][0-9]|1?[0-9]?[0-9])|-0+))(\\.(?!$)|$)){4}",
       "10.0.255.31", "0125.+- "},
      {vorn_input_is_domain_name, "([0-9A-Za-z]([-0-9A-Za-z]*[0-9A-Za-z])?(\\.(?!$)|\\.?$))+", "a-b.c9.d",
       "aZ09.-_"},
  };
  std::mt19937 random(1);
  for (const auto &language : languages) {
    const std::regex expression(language.expression);
    for (int i = 0; i < 4000; ++i) {
      std::string value = language.valid;
      for (auto changes = random() % 4; changes > 0; --changes)
        value.replace(random() % (value.size() + 1), random() % 2, random() % 2,
                      language.characters[random() % strlen(language.characters)]);
      ASSERT_EQ(check(language.check, value), std::regex_match(value, expression)) << value;
    }
  }
}

TEST(Input, TakesAnErrorLeftBehindForOneOfTheExtremes) {
  for (const char *extreme : {"2147483647", "-2147483648"})
    EXPECT_FALSE((errno = ERANGE, check(vorn_input_is_int, extreme)));
  EXPECT_TRUE((errno = ERANGE, check(vorn_input_is_int, "2147483646") && check(is_small, "0.5")));
  EXPECT_FALSE((errno = ERANGE, check(is_small, "0") || check(is_small, "")));
  EXPECT_FALSE((errno = 0, check(vorn_input_is_int, "2147483648") || check(vorn_input_is_int, "2147483647")));
  EXPECT_TRUE((errno = 0, check(vorn_input_is_double_in_range, "-inf", -INFINITY, 0.)));
  EXPECT_FALSE((errno = 0, check(vorn_input_is_double_in_range, "1e999", 0., INFINITY)));
}

TEST(InputSet, HoldsItsBaseThenTheRange) {
  const Set base(vorn_input_new_string_set("b\xff", 2));
  const Set same(vorn_input_get_set_from_range(5, 1, base.get()));
  const Set more(vorn_input_get_set_from_range(-1, 1, same.get()));
  const Set top(vorn_input_get_set_from_range(INT32_MAX - 1, INT32_MAX, nullptr));
  EXPECT_EQ(members(base), (Numbers{'b', -1}));
  EXPECT_EQ(members(more), (Numbers{'b', -1, -1, 0, 1}));
  EXPECT_EQ(members(top), (Numbers{INT32_MAX - 1, INT32_MAX}));
  EXPECT_FALSE(vorn_input_new_string_set(nullptr, 1) || vorn_input_new_string_set("b", -1));
  vorn_input_free_set(nullptr);
  for (const char *n : {" 1", "2"}) EXPECT_EQ(check(vorn_input_is_int_in_set, n, more.get()), *n == ' ');
  EXPECT_FALSE(vorn_input_is_int_in_set("0", 1, nullptr) || vorn_input_is_int_in_range("5", 1, 6, 4));
}

TEST(InputSet, ComparesSignedCharacters) {
  const Set set(vorn_input_new_string_set("ab\xff", 3));
  for (int c = 0; c < 256; ++c) {
    SCOPED_TRACE(c);
    const std::string one(1, static_cast<char>(c)), none;
    EXPECT_EQ(check(vorn_input_is_string_in_set, "a" + one, set.get()), "ab\xff"s.find(one) != none.npos);
    EXPECT_EQ(check(vorn_input_is_string_in_range, "a" + one, -2, 'a'), c <= 'a' || c >= 0xfe);
    EXPECT_EQ(check(vorn_input_is_string_in_ranges, one, "ac--\x80\x81zAMN", 5),
              "abc-MN\x80\x81"s.find(one) != none.npos);
  }
  EXPECT_TRUE(check(vorn_input_is_string_in_set, "", set.get()));
  EXPECT_FALSE(vorn_input_is_string_in_set("", 0, nullptr) || vorn_input_is_string_in_array("", 0, nullptr));
}

TEST(Input, EndsAtTheTerminatorWhereThereIsNoLength) {
  const auto is_ipv6 = [](const std::string &value) { return vorn_input_is_ipv6(value.c_str(), 0); };
  for (const char *value : {"", "-", "a-9"}) EXPECT_TRUE(vorn_input_is_alpha_numeric_hyphen(value)) << value;
  for (const char *value : {"a_", " ", "\xe1"}) EXPECT_FALSE(vorn_input_is_alpha_numeric_hyphen(value));
  // Forms of RFC 4291 2.2 and 2.5.5, and of RFC 5952 2.
  for (const auto &value :
       split("::|ABCD:EF01:2345:6789:ABCD:EF01:2345:6789|2001:DB8::8:800:200C:417A|fe40::|"
             "fec0::1|64:ff9b::13.1.68.3|0:ff:0:ff:0:ff:0:fe|::1:0:0|::ffff:0:0:0"))
    EXPECT_TRUE(is_ipv6(value)) << value;
  for (const auto &value :
       split("|:|:::|1::2::3|1:2:3:4:5:6:7|12345::|2001:db8::/32|1.2.3.4|::1|::2|::13.1.68.3|"
             "::FFFF:129.144.52.38|FF01::101|ff00::|fe80::1|febf::|0:ff:0:ff:0:ff:0:ff"))
    EXPECT_FALSE(is_ipv6(value)) << value;
}

TEST(Input, HasChannelsByBandAndDomain) {
  const auto channels = [](const char *band, int domain) {
    std::string valid;
    for (int channel = -10; channel < 300; ++channel)
      if (const auto text = std::to_string(channel); check(vorn_input_is_channel, text, band, domain))
        valid += text + ' ';
    return valid;
  };
  EXPECT_EQ(channels("a", 0), "36 40 44 48 52 56 60 64 149 153 157 161 165 ");
  EXPECT_EQ(channels("a", 1), "36 40 44 48 52 56 60 64 100 104 108 112 116 120 124 128 132 136 140 ");
  EXPECT_EQ(channels("a", 2), "8 12 16 34 38 42 46 240 244 248 252 ");
  EXPECT_EQ(channels("b", 0), "1 2 3 4 5 6 7 8 9 10 11 ");
  EXPECT_EQ(channels("g", 1), channels("b", 0) + "12 13 ");
  EXPECT_EQ(channels("b", 2), channels("g", 1) + "14 ");
  for (const char *band : {"a", "b", "g"}) EXPECT_EQ(channels(band, -1) + channels(band, 3), "") << band;
  for (const char *band : {"", "A", "ab", "n"}) EXPECT_EQ(channels(band, 0), "") << band;
}

} // namespace
