#include "process/argument_list.hpp"

#include "core/debug.h"
#include <cerrno>
#include <new>

namespace vorn {

bool ArgumentList::read(const char *program, va_list *rest, bool with_options) noexcept {
  try {
    arguments.push_back(const_cast<char *>(program)); // execvp's type; nobody writes to them
    while (arguments.back()) arguments.push_back(va_arg(*rest, char *));
  } catch (const std::bad_alloc &) {
    errno = ENOMEM;
    vorn_debug_perror(arguments.empty() ? "malloc" : "realloc");
    return false;
  }
  if (with_options) {
    options.output = va_arg(*rest, int);
    options.directory = va_arg(*rest, const char *);
  }
  return true;
}

} // namespace vorn
