#pragma once

#include "core/handles.hpp"
#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>

namespace vorn {

// A text that grows in a block of malloc(3), so that a C caller can be given the block itself: a copy of a
// long text would double what it costs. realloc(3) moves large blocks without copying them, too.
class GrowingText {
public:
  size_t size() const noexcept { return size_; }
  std::string_view view() const noexcept { return {block_.get(), size_}; }

  // Throw std::bad_alloc, with the text unchanged. After reserve() so many bytes can be appended without.
  void reserve(size_t more) {
    if (more >= capacity_ - size_) grow(size_ + more + 1);
  }
  void append(std::string_view text) {
    reserve(text.size());
    memcpy(block_.get() + size_, text.data(), text.size());
    size_ += text.size();
    block_.get()[size_] = '\0';
  }
  void append(const char *begin, const char *end) { append({begin, static_cast<size_t>(end - begin)}); }
  GrowingText &operator+=(std::string_view text) {
    append(text);
    return *this;
  }

  // Drops what comes after the first `size` bytes.
  void cut(size_t size) noexcept {
    size_ = size;
    if (block_) block_.get()[size] = '\0';
  }

  // Hands the text out in a block of its own size; null when nothing has been appended.
  CString release() noexcept {
    if (block_) resize(size_ + 1); // giving back cannot fail, or does not matter
    size_ = capacity_ = 0;
    return std::move(block_);
  }

private:
  void grow(size_t least) {
    if (!resize(std::max({least, capacity_ + capacity_ / 4, size_t{256}}))) throw std::bad_alloc();
  }

  bool resize(size_t capacity) noexcept {
    auto *moved = static_cast<char *>(realloc(block_.get(), capacity));
    if (!moved) return false;
    block_.release(); // realloc has freed it
    block_.reset(moved);
    capacity_ = capacity;
    return true;
  }

  CString block_;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

} // namespace vorn
