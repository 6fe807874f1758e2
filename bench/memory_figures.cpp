// Memory, in a process that does nothing else.
#include "agent_state.hpp"
#include "figures.hpp"
#include "memory.hpp"
#include "requests.hpp"
#include "station_file.hpp"
#include <malloc.h>
#include <unistd.h>

namespace bench {

namespace {

double heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

} // namespace

Figures measure_memory(size_t) {
  Figures figures;
  set_up_agent();
  figures["empty"] = memory_of(getpid()).resident;
  const double empty_heap = heap_in_use();
  load_config();
  figures["loaded"] = memory_of(getpid()).resident;
  figures["load peak"] = memory_of(getpid()).peak;
  figures["heap"] = heap_in_use() - empty_heap;
  evaluate(update_one(station_name(0), 1), 1);
  figures["update peak"] = memory_of(getpid()).peak;
  evaluate(in_transaction(update_one(station_name(0), 2)), 1);
  figures["transaction peak"] = memory_of(getpid()).peak;
  return figures;
}

} // namespace bench
