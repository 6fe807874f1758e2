// Measures everything at each size, every kind in a process of its own, and prints the tables and draws the
// chart. Overwrites the startup file and starts agents: to be run on a private device.
#include "measures.hpp"
#include "reference.hpp"
#include "report.hpp"
#include "station.hpp"
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

using namespace bench;
using std::string;

constexpr size_t all_sizes[] = {100, 1'000, 10'000, 100'000};

// Up to which size things are measured, and for how long.
struct Effort {
  Seconds seconds;
  size_t most, most_over_sockets;
};

constexpr Effort usual = {1.5, 100'000, 1'000}, quick = {0.3, 10'000, 100};

constexpr struct Kind {
  const char *name;
  Figures (*measure)(size_t stations, Seconds seconds);
  size_t Effort::*most;
} kinds[] = {{"memory", measure_memory, &Effort::most},
             {"files", measure_files, &Effort::most},
             {"requests", measure_requests, &Effort::most},
             {"sockets", measure_sockets, &Effort::most_over_sockets}};

// Prints a figure a line: its value, then its name.
void measure_kind(const string &name, size_t stations, Seconds seconds) {
  for (const Kind &kind : kinds)
    if (name == kind.name)
      for (const auto &[figure, value] : kind.measure(stations, seconds))
        printf("%.9g %s\n", value, figure.c_str());
}

// Runs this program again, as the shell's parent, and reads what it prints.
void add_kind(const Kind &kind, size_t stations, Seconds seconds, Figures &figures) {
  fprintf(stderr, "bench: measuring %s with %zu instances\n", kind.name, stations);
  const string command = string("exec /proc/$PPID/exe ") + kind.name + " " + std::to_string(stations) + " " +
                         std::to_string(seconds);
  FILE *output = popen(command.c_str(), "re");
  char name[80];
  for (double value; output && fscanf(output, "%lf %79[^\n]", &value, name) == 2;) figures[name] = value;
  if (!output || pclose(output) != 0) throw std::runtime_error("a measuring process has failed");
}

void measure_and_report(const Effort &effort, const char *chart) {
  Sizes sizes;
  for (const size_t stations : all_sizes) {
    if (stations > effort.most) break;
    Figures &figures = sizes[stations];
    build_save_and_free(config_path, make_stations(stations));
    figures["file"] = static_cast<double>(std::filesystem::file_size(config_path));
    for (const Kind &kind : kinds)
      if (stations <= effort.*kind.most) add_kind(kind, stations, effort.seconds, figures);
  }
  report(sizes);
  draw_growth(sizes, chart);
}

} // namespace

int main(int argc, char **argv) {
  return run_on_device([&] {
    if (argc == 4)
      measure_kind(argv[1], std::stoul(argv[2]), std::stod(argv[3]));
    else if (argc == 3)
      measure_and_report(strcmp(argv[1], "quick") == 0 ? quick : usual, argv[2]);
    else
      throw std::runtime_error("Usage: bench usual|quick CHART");
  });
}
