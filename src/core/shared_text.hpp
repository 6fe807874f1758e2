// Immutable text with shared ownership: names and values.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

namespace vorn {

// A reference to a NUL-terminated string in one block of memory, or to none. The agent has one thread: the
// count is plain.
class SharedText {
public:
  SharedText() noexcept = default;
  // Copies the text; null gives none. Throws std::bad_alloc.
  explicit SharedText(const char *text) {
    if (text) *this = SharedText(std::string_view(text));
  }
  explicit SharedText(std::string_view text)
      : block_(static_cast<Block *>(::operator new(sizeof(Block) + text.size() + 1))) {
    block_->references = 1;
    text.copy(chars(), text.size());
    chars()[text.size()] = '\0';
  }
  SharedText(const SharedText &other) noexcept : block_(other.block_) {
    if (block_) ++block_->references;
  }
  SharedText(SharedText &&other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  SharedText &operator=(SharedText other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }
  ~SharedText() {
    if (block_ && --block_->references == 0) ::operator delete(block_);
  }

  const char *get() const noexcept { return block_ ? chars() : nullptr; }

  // The text with its reference, which only adopt() takes over again.
  const char *release() noexcept {
    const char *text = get();
    block_ = nullptr;
    return text;
  }
  static SharedText adopt(const char *text) noexcept {
    SharedText owner;
    owner.block_ = reinterpret_cast<Block *>(const_cast<char *>(text)) - 1;
    return owner;
  }

private:
  struct Block {
    uint32_t references;
  };
  char *chars() const noexcept { return reinterpret_cast<char *>(block_ + 1); }
  Block *block_ = nullptr;
};

} // namespace vorn
