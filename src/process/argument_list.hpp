// Calls that list a program's arguments one by one.
#pragma once

#include "process/spawn.hpp"
#include <cstdarg>
#include <vector>

namespace vorn {

// What such a call says: the arguments up to a null, and in some calls the options after it.
struct ArgumentList {
  std::vector<char *> arguments{};
  SpawnOptions options{};

  // Reads the rest of a call that begins with `program`. Returns false, reported, without memory.
  bool read(const char *program, va_list *rest, bool with_options) noexcept;
};

} // namespace vorn
