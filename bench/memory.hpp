// A process's memory, as the kernel counts it.
#ifndef VORN_BENCH_MEMORY_HPP
#define VORN_BENCH_MEMORY_HPP

#include <sys/types.h>

namespace bench {

struct Memory {
  double resident; // bytes (VmRSS)
  double peak;     // bytes (VmHWM)
};

// Throws when the process has ended.
Memory memory_of(pid_t pid);

} // namespace bench

#endif
