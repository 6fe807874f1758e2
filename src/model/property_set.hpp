#pragma once

#include "model/property.hpp"
#include <cstdint>
#include <memory>
#include <vector>

namespace vorn {

// A set of properties of one class and its superclass. Two small numbers stand for most of them.
class PropertySet {
public:
  // Makes sure that the property can be added without memory. Throws std::bad_alloc.
  void reserve(const vorn_property &property, const vorn_class &cls) {
    const size_t bit = bit_of(property, cls);
    if (bit < few) return;
    if (!more_) more_ = std::make_unique<std::vector<bool>>();
    if (more_->size() <= bit - few) more_->resize(bit - few + 1);
  }
  void add(const vorn_property &property, const vorn_class &cls) noexcept {
    const size_t bit = bit_of(property, cls);
    if (bit < few)
      bits_ |= uint64_t{1} << bit;
    else
      (*more_)[bit - few] = true;
  }
  bool contains(const vorn_property &property, const vorn_class &cls) const noexcept {
    const size_t bit = bit_of(property, cls);
    if (bit < few) return (bits_ >> bit & 1) != 0;
    return more_ && bit - few < more_->size() && (*more_)[bit - few];
  }

private:
  static constexpr size_t few = 64;
  static size_t bit_of(const vorn_property &property, const vorn_class &cls) noexcept {
    return 2 * property.number + (property.owner != &cls);
  }
  uint64_t bits_ = 0;
  std::unique_ptr<std::vector<bool>> more_{};
};

} // namespace vorn
