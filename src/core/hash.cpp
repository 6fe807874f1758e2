#include "core/hash.hpp"

#include <bit>
#include <cstring>
#include <ctime>
#include <sys/auxv.h>
#include <sys/random.h>

namespace vorn {

namespace {

struct Key {
  uint64_t half[2];
};

// Before the kernel has gathered randomness for getrandom(2), and where that is missing, the sixteen bytes do
// that it gives to every program (getauxval(3)).
Key draw_key() noexcept {
  Key key{};
  if (getrandom(&key, sizeof key, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof key)) return key;
  if (const auto *bytes = reinterpret_cast<const void *>(getauxval(AT_RANDOM)))
    memcpy(&key, bytes, sizeof key);
  key.half[0] ^= static_cast<uint64_t>(time(nullptr));
  return key;
}

class SipHash {
public:
  explicit SipHash(const Key &key) noexcept
      : state_{key.half[0] ^ 0x736f6d6570736575, key.half[1] ^ 0x646f72616e646f6d,
               key.half[0] ^ 0x6c7967656e657261, key.half[1] ^ 0x7465646279746573} {}

  void add(uint64_t word) noexcept {
    state_[3] ^= word;
    round();
    state_[0] ^= word;
  }

  uint64_t finish() noexcept {
    state_[2] ^= 0xff;
    for (int i = 0; i < 3; ++i) round();
    return state_[0] ^ state_[1] ^ state_[2] ^ state_[3];
  }

private:
  void round() noexcept {
    auto &[a, b, c, d] = state_;
    a += b, b = std::rotl(b, 13) ^ a, a = std::rotl(a, 32);
    c += d, d = std::rotl(d, 16) ^ c;
    a += d, d = std::rotl(d, 21) ^ a;
    c += b, b = std::rotl(b, 17) ^ c, c = std::rotl(c, 32);
  }
  uint64_t state_[4];
};

} // namespace

uint32_t hash_bytes(std::string_view bytes) noexcept {
  static const Key key = draw_key();
  SipHash hash(key);
  uint64_t word;
  const uint64_t size = bytes.size();
  for (; bytes.size() >= sizeof word; bytes.remove_prefix(sizeof word)) {
    memcpy(&word, bytes.data(), sizeof word);
    hash.add(word);
  }
  word = 0;
  if (!bytes.empty()) memcpy(&word, bytes.data(), bytes.size());
  hash.add(word ^ size << 56);
  return static_cast<uint32_t>(hash.finish());
}

} // namespace vorn
