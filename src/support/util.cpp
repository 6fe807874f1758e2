#include "support/util.h"

#include "core/handles.hpp"
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>

namespace {

constexpr size_t longest_status = 254;

// The process id that the name is, or 0.
int process_id(const char *name) {
  if (strspn(name, "0123456789") != strlen(name)) return 0;
  const long id = strtol(name, nullptr, 10);
  return id > 0 && id <= INT_MAX ? static_cast<int>(id) : 0;
}

bool status_contains(int process, const char *text) {
  char path[32];
  char line[longest_status + 1];
  snprintf(path, sizeof path, "/proc/%d/stat", process);
  const vorn::File file(fopen(path, "re"));
  return file && fgets(line, sizeof line, file.get()) && strstr(line, text);
}

// The byte that follows a percent sign as two hexadecimal digits; 0 when there are none.
int escaped_byte(const char *digits) {
  const auto is_digit = [](char c) { return isxdigit(static_cast<unsigned char>(c)) != 0; };
  if (!is_digit(digits[0]) || !is_digit(digits[1])) return 0;
  const char pair[] = {digits[0], digits[1], '\0'};
  return static_cast<int>(strtol(pair, nullptr, 16));
}

} // namespace

int vorn_util_findpid(const char *text) noexcept {
  const vorn::Directory processes(text ? opendir("/proc") : nullptr);
  if (!processes) return -1;
  while (const dirent *entry = readdir(processes.get())) {
    const int process = process_id(entry->d_name);
    if (process && status_contains(process, text)) return process;
  }
  return -1;
}

char *vorn_util_url_decode(char *s) noexcept {
  if (!s) return nullptr;
  char *end = s;
  for (const char *from = s; *from; ++end) {
    const int byte = *from == '%' ? escaped_byte(from + 1) : 0;
    *end = byte ? static_cast<char>(byte) : *from;
    from += byte ? 3 : 1;
  }
  *end = '\0';
  return end;
}

int vorn_util_mkdir(const char *path) noexcept { return mkdir(path, 0777); }
