#include "config/default_header.hpp"

#include "core/debug.h"
#include <cstdlib>
#include <cstring>

namespace vorn {

namespace {

constexpr size_t md5_digits = 32;
constexpr size_t longest_line = 1023; // far more than any line of a header has

enum Fault { none = 0, ended_prematurely = 1, no_name = 2, bad_name = 6, missing = 7 };

bool take_version(const char *value, DefaultHeader &) { return strcmp(value, "1") == 0; }

bool take_length(const char *value, DefaultHeader &header) {
  char *end = nullptr;
  header.length = strtol(value, &end, 10);
  return *value && *end == '\0';
}

bool take_md5(const char *value, DefaultHeader &header) {
  header.md5 = value;
  return header.md5.size() == md5_digits;
}

// The lines that there are; all of them are required, and a repeated one counts as its last.
constexpr struct Line {
  const char *name;
  bool (*take)(const char *value, DefaultHeader &header); // false for a bad value
  int fault;                                              // the code of a bad value
  const char *message;
  int seen; // what it adds to the code of missing lines
} lines[] = {
    {"Length", take_length, 4, "Bad default Length: %s.\n", 1},
    {"Version", take_version, 3, "Bad default Version: %s.\n", 2},
    {"MD5sum", take_md5, 5, "Bad default Md5sum: %s.\n", 4},
};
constexpr int all_seen = 1 + 2 + 4;

int report(int fault, const char *format, const char *argument = "") {
  vorn_debug_eprintf(format, argument);
  return fault;
}

int take_line(const char *name, const char *value, DefaultHeader &header, int &seen) {
  for (const Line &line : lines) {
    if (strcmp(line.name, name) != 0) continue;
    if (!line.take(value, header)) return report(line.fault, line.message, value);
    seen |= line.seen;
    return none;
  }
  return report(bad_name, "Bad default header name: %s.\n", name);
}

// Splits a line at the first ": ". Returns the value, or null when it has none.
char *split(char *line) {
  char *separator = strstr(line, ": ");
  if (!separator) return nullptr;
  *separator = '\0';
  char *value = separator + 2;
  value[strcspn(value, "\n")] = '\0';
  return value;
}

} // namespace

int read_default_header(FILE *file, DefaultHeader &header) {
  char line[longest_line + 1];
  int seen = 0;
  while (fgets(line, sizeof line, file)) {
    if (strcmp(line, "\n") == 0)
      return seen == all_seen ? none : report(missing + seen, "Headers are missing.\n");
    const bool whole = strchr(line, '\n') || feof(file);
    const char *value = whole ? split(line) : nullptr;
    if (!value) return report(no_name, "Couldn't read header line in default.\n");
    if (const int fault = take_line(line, value, header, seen)) return fault;
  }
  return report(ended_prematurely, "Headers ended prematurely in default.\n");
}

} // namespace vorn
