// Apart from malloc: the linker puts a test's own in the place of what is called here.
#include "common/allocation.hpp"

#include <cstdlib>
#include <new>

namespace vorn::test {
long allocations_left = -1;
long live_blocks = 0;

namespace {
void *allocate(size_t size) {
  if (allocations_left == 0) return nullptr;
  if (allocations_left > 0) --allocations_left;
  void *block = malloc(size ? size : 1);
  if (block) ++live_blocks;
  return block;
}
void release(void *block) {
  if (!block) return;
  --live_blocks;
  free(block);
}
} // namespace
} // namespace vorn::test

void *operator new(size_t size) {
  if (void *block = vorn::test::allocate(size)) return block;
  throw std::bad_alloc();
}
void *operator new(size_t size, const std::nothrow_t &) noexcept { return vorn::test::allocate(size); }
void *operator new[](size_t size) { return operator new(size); }
void *operator new[](size_t size, const std::nothrow_t &) noexcept { return vorn::test::allocate(size); }
void operator delete(void *block) noexcept { vorn::test::release(block); }
void operator delete(void *block, size_t) noexcept { vorn::test::release(block); }
void operator delete[](void *block) noexcept { vorn::test::release(block); }
void operator delete[](void *block, size_t) noexcept { vorn::test::release(block); }
