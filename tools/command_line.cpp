#include "command_line.hpp"

#include "failure.hpp"
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <getopt.h>

namespace lsql {

namespace {

Failure bad_value(const char *what, const char *value) {
  return {EXIT_USAGE, std::string("bad ") + what + " \"" + value + '"'};
}

std::chrono::milliseconds parse_timeout(const char *value) {
  constexpr double longest = 1e6;
  char *end = nullptr;
  const double seconds = std::strtod(value, &end);
  if (end == value || *end != '\0' || !(seconds >= 0 && seconds <= longest))
    throw bad_value("time-out", value);
  // Rounded up, for a small time-out must not become zero, which is none.
  return std::chrono::milliseconds(static_cast<long long>(std::ceil(seconds * 1000)));
}

unsigned long parse_count(const char *value) {
  unsigned long count = 0;
  const char *end = value + std::strlen(value);
  const auto [stop, error] = std::from_chars(value, end, count);
  if (error != std::errc() || stop != end || count == 0) throw bad_value("count", value);
  return count;
}

struct Row {
  char letter;
  const char *name;
  const char *argument; // null: takes none
  const char *help;
  void (*apply)(Options &, const char *argument);
};

constexpr Row rows[] = {
    {'t', "tcp", nullptr, "use the agent's TCP port instead of its local socket",
     [](Options &o, const char *) { o.tcp = true; }},
    {'r', "raw", nullptr, "print the reply as it came, not indented",
     [](Options &o, const char *) { o.raw = true; }},
    {'f', "file", "FILE", "read the request from a file; - is the standard input",
     [](Options &o, const char *argument) { o.file = argument; }},
    {'e', "exact", nullptr, "send what was read unchanged, layout and all",
     [](Options &o, const char *) { o.exact = true; }},
    {'T', "timeout", "SECONDS", "longest silence of the agent to bear, 0 for ever (default 30)",
     [](Options &o, const char *argument) { o.timeout = parse_timeout(argument); }},
    {'n', "count", "N", "watch: end after N notifications",
     [](Options &o, const char *argument) { o.count = parse_count(argument); }},
    {'h', "help", nullptr, "print this and end", [](Options &o, const char *) { o.help = true; }},
    {'V', "version", nullptr, "print the version and end",
     [](Options &o, const char *) { o.version = true; }},
};

std::string short_options() {
  std::string letters;
  for (const Row &row : rows) letters.append(1, row.letter).append(row.argument != nullptr ? ":" : "");
  return letters;
}

std::vector<option> long_options() {
  std::vector<option> options;
  for (const Row &row : rows)
    options.push_back(
        {row.name, row.argument != nullptr ? required_argument : no_argument, nullptr, row.letter});
  options.push_back({nullptr, 0, nullptr, 0});
  return options;
}

const Row *row_of(int letter) {
  for (const Row &row : rows)
    if (row.letter == letter) return &row;
  return nullptr;
}

} // namespace

Options parse_options(int argc, char *const argv[]) {
  const std::string letters = short_options();
  const std::vector<option> names = long_options();
  Options options;
  optind = 0; // starts getopt afresh, whatever was parsed before
  int letter = 0;
  while ((letter = getopt_long(argc, argv, letters.c_str(), names.data(), nullptr)) != -1) {
    const Row *row = row_of(letter);
    if (row == nullptr) throw Failure(EXIT_USAGE, "try --help");
    options.given.push_back(row->letter);
    row->apply(options, optarg);
  }
  options.operands.assign(argv + optind, argv + argc);
  return options;
}

std::string options_help() {
  std::string text;
  for (const Row &row : rows) {
    std::string left = std::string("  -") + row.letter + ", --" + row.name;
    if (row.argument != nullptr) left.append(" ").append(row.argument);
    left.resize(25, ' ');
    text += left + row.help + '\n';
  }
  return text;
}

} // namespace lsql
