// Text of a limited size.
#pragma once

#include <cstddef>
#include <cstring>

namespace vorn {

// Holds at most `Size` bytes and a terminator, without allocating. What does not fit is not appended at all,
// and from then on the buffer is not whole.
template <size_t Size> class TextBuffer {
public:
  const char *get() const noexcept { return text_; }
  bool empty() const noexcept { return length_ == 0; }
  bool is_whole() const noexcept { return whole_; }

  TextBuffer &operator<<(const char *text) noexcept {
    const size_t length = strlen(text);
    whole_ = whole_ && length <= Size - length_;
    if (!whole_) return *this;
    memcpy(text_ + length_, text, length + 1);
    length_ += length;
    return *this;
  }

private:
  char text_[Size + 1] = {};
  size_t length_ = 0;
  bool whole_ = true;
};

} // namespace vorn
