#include "common/allocation.hpp"

#include <cerrno>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || !defined(__GLIBC__)
#define OWN_MALLOC 0
#elif defined(__has_feature)
#define OWN_MALLOC !__has_feature(address_sanitizer)
#else
#define OWN_MALLOC 1
#endif

namespace vorn::test {
long mallocs_left = -1;
bool mallocs_stay_out = false;
unsigned long mallocs_fail_one_in = 0;
uint64_t mallocs_chance = 1;
long mallocs_failed = 0;

bool can_fail_mallocs() { return OWN_MALLOC; }
} // namespace vorn::test

#if OWN_MALLOC
// glibc and the libraries call the program's malloc where it shows one, also for strdup, fopen and the like;
// glibc's own stay there under these names.
#pragma GCC visibility push(default)
extern "C" {
void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void __libc_free(void *);

static bool has_bad_luck() {
  using namespace vorn::test;
  if (mallocs_fail_one_in == 0) return false;
  mallocs_chance = mallocs_chance * 6364136223846793005 + 1442695040888963407;
  return (mallocs_chance >> 33) % mallocs_fail_one_in == 0;
}

static bool is_its_turn() {
  using namespace vorn::test;
  if (mallocs_left < 0 || mallocs_left-- > 0) return false;
  if (mallocs_stay_out) mallocs_left = 0;
  return true;
}

static bool runs_out() {
  using namespace vorn::test;
  if (!is_its_turn() && !has_bad_luck()) return false;
  ++mallocs_failed;
  errno = ENOMEM;
  return true;
}

void *malloc(size_t size) { return runs_out() ? nullptr : __libc_malloc(size); }
void *calloc(size_t count, size_t size) { return runs_out() ? nullptr : __libc_calloc(count, size); }
void *realloc(void *block, size_t size) {
  return size != 0 && runs_out() ? nullptr : __libc_realloc(block, size);
}
void free(void *block) { __libc_free(block); }
}
#pragma GCC visibility pop
#endif
