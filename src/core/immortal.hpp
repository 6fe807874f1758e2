#pragma once

#include <cstddef>
#include <new>
#include <type_traits>

namespace vorn {

// An object of the process: made before main, used as a pointer to it, and never destroyed. Signals are
// handled, and destructors of plugins run, while the process ends; what they call must still find its tables.
// Making it cannot fail: its containers are empty.
template <class T> class Immortal {
  static_assert(std::is_nothrow_default_constructible_v<T>);

public:
  Immortal() noexcept { new (bytes_) T(); }
  Immortal(const Immortal &) = delete;
  Immortal &operator=(const Immortal &) = delete;

  T &operator*() noexcept { return *std::launder(reinterpret_cast<T *>(bytes_)); }
  T *operator->() noexcept { return &**this; }

private:
  alignas(T) std::byte bytes_[sizeof(T)];
};

} // namespace vorn
