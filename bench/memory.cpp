#include "memory.hpp"

#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {

Memory memory_of(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  Memory memory{-1, -1};
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) memory.resident = 1024 * std::stod(line.substr(6));
    if (line.starts_with("VmHWM:")) memory.peak = 1024 * std::stod(line.substr(6));
  }
  if (memory.resident < 0 || memory.peak < 0) throw std::runtime_error("no memory figures of a process");
  return memory;
}

} // namespace bench
