// Calls that list a program's arguments one by one.
#ifndef VORN_PROCESS_ARGUMENTS_HPP
#define VORN_PROCESS_ARGUMENTS_HPP

#include "process/spawn.hpp"
#include <cstdarg>
#include <vector>

namespace vorn {

// What such a call says: the arguments up to a null, and in some calls the place behind it.
struct ListedCall {
  std::vector<char *> arguments{};
  ChildPlace place{};

  // Reads the rest of a call that begins with `program`. Returns false, reported, without memory.
  bool read(const char *program, va_list *rest, bool with_place) noexcept;
};

} // namespace vorn

#endif
