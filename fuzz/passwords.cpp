// Passwords and their stored forms, in buffers of just the size that is asked for.
#include "support/password.h"
#include "world.hpp"
#include <algorithm>
#include <cstring>
#include <vector>

using namespace vorn::fuzz;

namespace {

void store_and_read(const std::string &plain) {
  std::vector<char> stored(257, 'x'), read(65, 'x');
  const bool fits = plain.size() <= 64;
  require(pw_encrypt(plain.c_str(), stored.data()) == fits, "64 characters can be stored");
  if (!fits) {
    require(std::all_of(stored.begin(), stored.end(), [](char c) { return c == 0; }),
            "a failure stores nothing");
    return;
  }
  require(strlen(stored.data()) == (plain.empty() ? 0 : 256), "a stored form has 256 digits");
  require(pw_decrypt(stored.data(), read.data()) == 1, "a stored form is read");
  require(std::string(read.data(), strnlen(read.data(), 64)) == plain, "a stored password comes back");
}

void read_stored(const std::string &stored) {
  std::vector<char> read(65, 'x');
  const bool good =
      stored.empty() || (stored.size() >= 256 && stored.find_first_not_of("0123456789abcdefABCDEF") >= 256);
  require(pw_decrypt(stored.c_str(), read.data()) == good, "a stored form has 256 hexadecimal digits");
  require(good || read[0] == '\0', "what cannot be read gives an empty password");
}

void inner_form(const std::string &plain, unsigned n) {
  std::vector<char> hex(2 * n + 1, 'x'), read(n, 'x');
  const bool fits = n > 0 && (plain.empty() || (n % 16 == 0 && plain.size() <= n));
  require(pwEncrypt(plain.c_str(), hex.data(), n) == fits, "n characters fit into an inner form");
  if (!fits || plain.empty()) return;
  require(pwDecrypt(read.data(), hex.data(), n) == 1, "an inner form is read");
  require(std::string(read.data(), strnlen(read.data(), n)) == plain, "an inner form's password comes back");
}

void read_inner(const std::string &hex) {
  const auto n = static_cast<unsigned>(hex.size() / 2);
  const std::vector<char> exact(hex.begin(), hex.begin() + 2 * n);
  std::vector<char> read(n, 'x');
  require(pwDecrypt(read.data(), exact.data(), n) == (n > 0), "any digits are read");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  start();
  Input input(data, size);
  const unsigned n = input.byte();
  const std::string text = input.until('\0');
  store_and_read(text);
  read_stored(text);
  inner_form(text, n);
  inner_form(text, 16 * (n / 16));
  read_inner(text);
  debugTestAes(text.c_str());
  debugTestPasswordEncrypt(text.c_str());
  debugTestPasswordDecrypt(text.c_str());
  return 0;
}
