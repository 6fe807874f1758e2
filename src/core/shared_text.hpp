// Immutable text with shared ownership: names and values.
#pragma once

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace vorn {

// A reference to a NUL-terminated string in one block of memory, or to none. Copies of an instance share its
// texts, so a pointer to a value holds as long as any of them has that value. The agent has one thread: the
// count is plain.
class SharedText {
public:
  SharedText() noexcept = default;
  // Copies the text; null gives none. Throws std::bad_alloc.
  explicit SharedText(const char *text) {
    if (!text) return;
    const size_t size = strlen(text) + 1;
    block_ = static_cast<Block *>(::operator new(sizeof(Block) + size));
    block_->references = 1;
    memcpy(chars(), text, size);
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

private:
  struct Block {
    uint32_t references;
  };
  char *chars() const noexcept { return reinterpret_cast<char *>(block_ + 1); }
  Block *block_ = nullptr;
};

} // namespace vorn
