#include "support/password.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using std::string;
using Result = std::pair<int, string>; // what was returned, and all of the output buffer

// Made with: { printf %s PASSWORD; head -c ZEROS /dev/zero; } | openssl enc -aes-128-cbc -nopad
//   -K 6b336e3777317139643578326d386234 -iv 00000000000000000000000000000000 | xxd -p -c 256
const string plain = "Secret pass-phrase!", longer(65, 'p'), text(2000, 't');
const string inner =
    "aa0761f14d759c65b76641d68216cfd672de9533dbbc9a545ab689bd655447b20dc6bd38092bd6317eac91a85bb8e3c0"
    "4a22ef6c27124a5feac858156f0dda9c4ca5bfd862ca0e631f18fb57d6dc86dac1fe087cb12ea9744db3bdf42756d76d"
    "05e53007f10d287670d9784a31dfaf528a411995803fa1c89847e746911de9c1"; // of 128 bytes, 64 of them the first
                                                                        // half
// "a" in 64 bytes, through another xxd -p.
const string stored_a =
    "36633835633437663939323339353231646633613334396434393466616431623030656330303238386362343637303235656531"
    "38343035346361396465353033376233653837343732623066353031393938346639346535366663396634343366363566336463"
    "313936396432393563646636653239373865353662346464";
const string tail = stored_a.substr(2);

// The buffer is of exactly this size, so that sanitizers see a byte too many.
template <class Function> Result into(size_t size, Function function) {
  std::vector<char> out(size, 'x');
  const int rc = function(out.data());
  return {rc, string(out.begin(), out.end())};
}
Result encrypt(const string &password, unsigned n) {
  return into(2 * n + 1, [&](char *out) { return pwEncrypt(password.c_str(), out, n); });
}
Result decrypt(const string &hex, unsigned n) {
  return into(n, [&](char *out) { return pwDecrypt(out, hex.c_str(), n); });
}
Result store(const string &password) {
  return into(257, [&](char *out) { return pw_encrypt(password.c_str(), out); });
}
Result read_back(const string &stored) {
  const auto [rc, out] = into(65, [&](char *to) { return pw_decrypt(string(stored.c_str()).c_str(), to); });
  return {rc, out.substr(0, 64).c_str()}; // the 65th means nothing
}

TEST(Password, IsEncipheredAsElsewhere) {
  EXPECT_EQ(encrypt(plain, 128), Result(1, inner + '\0'));
  EXPECT_EQ(decrypt(inner, 128), Result(1, plain + string(128 - plain.size(), '\0')));
  EXPECT_NE(decrypt("AA" + inner.substr(2), 128), decrypt(inner, 128)) << "capitals are no digits here";
  EXPECT_EQ(store(string("a\0and what was there before", 27)), Result(1, stored_a + '\0'));
}

TEST(Password, RefusesWhatDoesNotFitOrIsNoStoredForm) {
  EXPECT_EQ(store(longer), Result(0, string(257, '\0')));
  EXPECT_EQ(read_back(stored_a + "and more"), Result(1, "a"));
  EXPECT_EQ(read_back("6A" + tail), read_back("6a" + tail));
  for (const string &bad : {"6" + tail, string("6"), string(256, 'g'), " 6" + tail, "-6" + tail, tail + "6 "})
    EXPECT_EQ(read_back(bad), Result(0, "")) << bad;
  EXPECT_EQ(pw_encrypt(nullptr, nullptr) + pw_decrypt(nullptr, nullptr) + pwDecrypt(nullptr, "", 16), 0);
}

TEST(Password, SelfTestsPrintWhatTheyFind) {
  testing::internal::CaptureStdout();
  const std::vector results{debugTestPasswordEncrypt(longer.c_str()), debugTestPasswordDecrypt(inner.c_str()),
                            debugTestAes(text.c_str()), debugTestPasswordDecrypt("")};
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Clear text   : " + longer + "\nEncryption 64 failed: rc = 0\nEncrypted 128 hex: " +
                encrypt(longer, 128).second.c_str() + "\nDecrypted 128    : " + longer +
                "\nDecrypted : " + plain + "\n" + text + "\nDecrypted : \n");
  EXPECT_EQ(results, std::vector({85, 32, 2001, 13}));
}

} // namespace
