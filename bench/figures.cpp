#include "figures.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace bench {

namespace {

double seconds_by(clockid_t clock) {
  timespec now;
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Characters on the screen, of which UTF-8 may need several bytes for one.
size_t width_of(const std::string &text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xc0) != 0x80; }));
}

double memory_of(pid_t pid, const std::string &field) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with(field)) return 1024 * std::stod(line.substr(field.size()));
  throw std::runtime_error("no memory figures of a process");
}

// Three significant digits in the largest unit that leaves something before the point, or the last one.
std::string in_unit(double number, std::initializer_list<std::pair<double, const char *>> units) {
  auto unit = units.begin();
  while (number < unit->first && unit + 1 != units.end()) ++unit;
  const double shown = number / unit->first;
  return with_decimals(shown, shown >= 99.95 ? 0 : shown >= 9.995 ? 1 : 2) + " " + unit->second;
}

} // namespace

int run_on_device(const std::function<void()> &work) {
  try {
    if (!getenv("VORN_DEVICE")) throw std::runtime_error("not on a private device: run scripts/bench");
    work();
    return 0;
  } catch (const std::exception &error) {
    fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}

double wall_seconds() { return seconds_by(CLOCK_MONOTONIC); }
double processor_seconds() { return seconds_by(CLOCK_PROCESS_CPUTIME_ID); }

double percentile(Samples samples, double percent) {
  if (samples.empty()) throw std::logic_error("nothing was measured");
  const double rank = std::ceil(percent / 100 * static_cast<double>(samples.size()));
  const auto place = samples.begin() + static_cast<std::ptrdiff_t>(std::max(rank, 1.0)) - 1;
  std::nth_element(samples.begin(), place, samples.end());
  return *place;
}

double resident_memory(pid_t pid) { return memory_of(pid, "VmRSS:"); }
double peak_memory(pid_t pid) { return memory_of(pid, "VmHWM:"); }

std::string content_of(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void print(const Table &table) {
  std::vector<size_t> widths(table.front().size());
  for (const auto &row : table)
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width_of(row[i]));
  std::string rule;
  for (const size_t width : widths)
    rule += (rule.empty() ? ":" : "|-") + std::string(width, '-') + (rule.empty() ? "-" : ":");
  for (const auto &row : table) {
    for (size_t i = 0; i < row.size(); ++i) {
      const std::string blanks(widths[i] - width_of(row[i]), ' ');
      printf("| %s ", (i == 0 ? row[i] + blanks : blanks + row[i]).c_str());
    }
    puts("|");
    if (&row == &table.front()) printf("|%s|\n", rule.c_str());
  }
  fflush(stdout);
}

std::string with_decimals(double number, int decimals) {
  char text[32];
  snprintf(text, sizeof text, "%.*f", decimals, number);
  return text;
}

std::string duration(double seconds) { return in_unit(seconds, {{1, "s"}, {1e-3, "ms"}, {1e-6, "µs"}}); }
std::string bytes(double count) { return in_unit(count, {{1 << 20, "MiB"}, {1 << 10, "KiB"}, {1, "B"}}); }

std::string grouped(double number) {
  std::string text = with_decimals(number, 0);
  for (size_t place = text.size(); place > 3; place -= 3) text.insert(place - 3, 1, ' ');
  return text;
}

std::string ratio(double number) {
  return number < 99.95 ? with_decimals(number, number < 9.995 ? 2 : 1) : grouped(number);
}

} // namespace bench
