// OpenSSL 3 calls the plain AES functions deprecated. They are what is wanted here: every release that a
// device may come with has them, and they allocate nothing and read no configuration or provider from the
// file system.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "support/password.h"

#include "core/guard.hpp"
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <openssl/aes.h>
#include <openssl/crypto.h>
#include <vector>

namespace {

constexpr unsigned stored_block = 64;
constexpr size_t inner_length = size_t{2} * stored_block;
constexpr size_t stored_length = 2 * inner_length;

constexpr int key_bits = 128;
constexpr unsigned char password_key[] = "k3n7w1q9d5x2m8b4";
constexpr unsigned char test_key[] = {0x8e, 0x13, 0x5a, 0xf0, 0x27, 0xc4, 0x69, 0x0b,
                                      0xd2, 0x7f, 0x31, 0xa6, 0x4c, 0xe8, 0x95, 0x1d};

// Zeroed memory for clear text, which is not left behind for others to find.
class SecretBytes {
public:
  explicit SecretBytes(size_t size) : bytes_(size) {}
  ~SecretBytes() { OPENSSL_cleanse(bytes_.data(), bytes_.size()); }
  SecretBytes(const SecretBytes &) = delete;
  SecretBytes &operator=(const SecretBytes &) = delete;

  unsigned char *data() { return bytes_.data(); }
  char *text() { return reinterpret_cast<char *>(bytes_.data()); }
  size_t size() const { return bytes_.size(); }

private:
  std::vector<unsigned char> bytes_;
};

size_t whole_blocks(size_t size) { return (size + AES_BLOCK_SIZE - 1) / AES_BLOCK_SIZE * AES_BLOCK_SIZE; }

// Replaces the data, `size` bytes of whole blocks.
bool run_cipher(int direction, unsigned char *data, size_t size, const unsigned char *key) {
  AES_KEY schedule;
  const auto set_key = direction == AES_ENCRYPT ? AES_set_encrypt_key : AES_set_decrypt_key;
  if (set_key(key, key_bits, &schedule) != 0) return false;
  unsigned char vector[AES_BLOCK_SIZE] = {};
  AES_cbc_encrypt(data, data, size, &schedule, vector, direction);
  return true;
}

void write_hex(const unsigned char *bytes, size_t count, char *out) {
  static constexpr char digits[] = "0123456789abcdef";
  for (size_t i = 0; i < count; ++i) {
    *out++ = digits[bytes[i] >> 4];
    *out++ = digits[bytes[i] & 0xf];
  }
  *out = '\0';
}

int inner_digit(char c) { return c >= '0' && c <= '9' ? c - '0' : c - 'a' + 10; }

// The inner form's characters, without a terminator.
bool read_stored(const char *stored, char *inner) {
  if (strnlen(stored, stored_length) < stored_length) return false;
  for (size_t i = 0; i < inner_length; ++i) {
    const char *pair = stored + 2 * i;
    unsigned char code = 0;
    if (std::from_chars(pair, pair + 2, code, 16).ptr != pair + 2) return false;
    inner[i] = static_cast<char>(code);
  }
  return true;
}

// An empty password has an empty form, not an enciphered block.
int decrypt_inner(char *out, const char *hex, unsigned n) { return *hex ? pwDecrypt(out, hex, n) : 1; }

int print_both_ways(const char *plain, unsigned n) {
  std::vector<char> hex(2 * size_t{n} + 1);
  SecretBytes clear(size_t{n} + 1);
  int rc = pwEncrypt(plain, hex.data(), n);
  if (!rc) return printf("Encryption %u failed: rc = %d\n", n, rc);
  printf("Encrypted %u hex: %s\n", n, hex.data());
  rc = decrypt_inner(clear.text(), hex.data(), n);
  if (!rc) return printf("Decryption %u failed: rc = %d\n", n, rc);
  return printf("Decrypted %u    : %s\n", n, clear.text());
}

} // namespace

int pwEncryptAes(const char *plain, char *out, unsigned n) noexcept {
  if (!plain || !out || n == 0) return 0;
  if (!*plain) {
    *out = '\0';
    return 1;
  }
  const size_t length = strnlen(plain, size_t{n} + 1);
  if (length > n || n % AES_BLOCK_SIZE != 0) return 0;
  return vorn::guarded(0, [&] {
    SecretBytes block(n);
    memcpy(block.data(), plain, length);
    if (!run_cipher(AES_ENCRYPT, block.data(), block.size(), password_key)) return 0;
    write_hex(block.data(), block.size(), out);
    return 1;
  });
}

int pwEncrypt(const char *plain, char *out, unsigned n) noexcept { return pwEncryptAes(plain, out, n); }

int pwDecrypt(char *out, const char *hex, unsigned n) noexcept {
  if (!out || !hex || n == 0) return 0;
  return vorn::guarded(0, [&] {
    SecretBytes blocks(whole_blocks(n));
    for (size_t i = 0; i < n; ++i) {
      const char *pair = hex + 2 * i;
      blocks.data()[i] = static_cast<unsigned char>(16 * inner_digit(pair[0]) + inner_digit(pair[1]));
    }
    if (!run_cipher(AES_DECRYPT, blocks.data(), blocks.size(), password_key)) return 0;
    memcpy(out, blocks.data(), n);
    return 1;
  });
}

int pw_encrypt(const char *plain, char *out) noexcept {
  if (!plain || !out) return 0;
  memset(out, 0, stored_length + 1);
  if (!*plain) return 1;
  char inner[inner_length + 1];
  const int rc = pwEncrypt(plain, inner, stored_block);
  if (rc) write_hex(reinterpret_cast<const unsigned char *>(inner), inner_length, out);
  return rc;
}

int pw_decrypt(const char *stored, char *out) noexcept {
  if (!stored || !out) return 0;
  if (!*stored) {
    *out = '\0';
    return 1;
  }
  // Deliberately one byte more than the block, so that all of `out` is written; two zero bytes are its
  // digits.
  char inner[inner_length + 2] = {};
  if (read_stored(stored, inner) && pwDecrypt(out, inner, stored_block + 1)) return 1;
  *out = '\0';
  return 0;
}

int debugTestAes(const char *text) noexcept {
  if (!text) return 0;
  return vorn::guarded(0, [&] {
    constexpr size_t test_size = 1024;
    const size_t length = strlen(text) + 1;
    SecretBytes work(std::max(test_size, whole_blocks(length)));
    memcpy(work.data(), text, length);
    const bool done = run_cipher(AES_ENCRYPT, work.data(), whole_blocks(length), test_key) &&
                      run_cipher(AES_DECRYPT, work.data(), work.size(), test_key);
    return done ? printf("%s\n", work.text()) : 0;
  });
}

int debugTestPasswordEncrypt(const char *plain) noexcept {
  if (!plain) return 0;
  return vorn::guarded(0, [&] {
    printf("Clear text   : %s\n", plain);
    print_both_ways(plain, stored_block);
    return print_both_ways(plain, 2 * stored_block);
  });
}

int debugTestPasswordDecrypt(const char *stored) noexcept {
  if (!stored) return 0;
  return vorn::guarded(0, [&] {
    char inner[inner_length + 1] = {};
    memcpy(inner, stored, strnlen(stored, inner_length));
    SecretBytes clear(stored_block + 1);
    const int rc = decrypt_inner(clear.text(), inner, stored_block);
    return rc ? printf("Decrypted : %s\n", clear.text()) : printf("Decryption failed: rc = %d\n", rc);
  });
}
