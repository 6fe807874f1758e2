#include "process/identity.hpp"

#include "core/handles.hpp"
#include <cstdlib>
#include <cstring>
#include <fcntl.h>

namespace vorn {

namespace {

// The fields of "stat" from the state (the third) to the start (the 22nd) and beyond.
struct Stat {
  char text[1024] = ""; // longer than 52 numbers and a name of 64 bytes
  const char *fields = "";

  explicit Stat(pid_t pid) noexcept {
    char path[32];
    snprintf(path, sizeof path, "/proc/%d/stat", pid);
    const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
    const ssize_t length = file ? read(file.get(), text, sizeof text - 1) : 0;
    text[length > 0 ? length : 0] = '\0';
    const char *end = strrchr(text, ')'); // of the name, which may hold any character
    if (end && end[1] == ' ') fields = end + 2;
  }

  unsigned long long start() const noexcept {
    const char *field = fields;
    for (int number = 3; number < 22 && field; ++number) {
      field = strchr(field, ' ');
      if (field) ++field;
    }
    return field ? strtoull(field, nullptr, 10) : 0;
  }
};

} // namespace

ProcessIdentity identify(pid_t pid) noexcept { return {pid, Stat(pid).start()}; }

char process_state(pid_t pid) noexcept { return *Stat(pid).fields; }

bool lives(const ProcessIdentity &process) noexcept {
  const Stat now(process.pid);
  const char state = *now.fields;
  return state && state != 'Z' && state != 'X' && now.start() == process.start;
}

} // namespace vorn
