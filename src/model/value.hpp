#pragma once

#include "core/shared_text.hpp"
#include "model/property.hpp"
#include <cstdint>

namespace vorn {

// A property and its text. The text lies in the instance's own block of memory, or, when it is long or came
// later, in a block that copies share. Copying a value copies no text: one that lies in an instance's block
// is good for as long as that instance.
class Value {
public:
  Value(const vorn_property *property, const char *text_in_block) noexcept
      : text_(text_in_block), property_(reinterpret_cast<uintptr_t>(property)) {}
  Value(const vorn_property *property, SharedText text) noexcept
      : text_(text.release()), property_(reinterpret_cast<uintptr_t>(property) | shared) {}
  Value(const Value &other) noexcept : text_(other.text_), property_(other.property_) {
    if (!is_shared()) return;
    SharedText owner = SharedText::adopt(text_);
    SharedText(owner).release(); // this value's reference
    owner.release();
  }
  Value(Value &&other) noexcept : text_(other.text_), property_(std::exchange(other.property_, 0)) {}
  Value &operator=(Value other) noexcept {
    std::swap(text_, other.text_);
    std::swap(property_, other.property_);
    return *this;
  }
  ~Value() {
    if (is_shared()) SharedText::adopt(text_);
  }

  const char *text() const noexcept { return text_; }
  // Null for a draft of none.
  const vorn_property *property() const noexcept {
    return reinterpret_cast<const vorn_property *>(property_ & ~shared);
  }
  bool is_shared() const noexcept { return (property_ & shared) != 0; }

private:
  static_assert(alignof(vorn_property) > 1);
  static constexpr uintptr_t shared = 1;

  const char *text_;
  uintptr_t property_; // the address; its lowest bit tells where the text lies
};

} // namespace vorn
