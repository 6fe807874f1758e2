// Figures of the agent's code without a process around it. Overwrites the startup file: to be run on a
// private device.
//
// Each kind of figure at each size is measured by a process of its own, which this program starts from
// itself.
#include "child.hpp"
#include "device.hpp"
#include "report.hpp"
#include "station_file.hpp"
#include <cstdio>
#include <exception>
#include <iterator>
#include <sstream>

namespace {

using bench::Figures;

constexpr size_t all_sizes[] = {100, 1'000, 10'000, 100'000};

struct Kind {
  const char *name;
  Figures (*measure)(size_t stations);
};
constexpr Kind kinds[] = {{"memory", bench::measure_memory},
                          {"files", bench::measure_files},
                          {"requests", bench::measure_requests}};

// A figure a line: its value, then its name.
void print_figures(const Figures &figures) {
  for (const auto &[name, value] : figures) printf("%.9g %s\n", value, name.c_str());
}

void read_figures(const std::string &text, Figures &figures) {
  std::istringstream lines(text);
  std::string name;
  for (double value; lines >> value && std::getline(lines >> std::ws, name);) figures[name] = value;
}

Figures measure_size(size_t stations) {
  Figures figures;
  figures["file"] = static_cast<double>(bench::write_config(stations));
  for (const Kind &kind : kinds) {
    fprintf(stderr, "bench: measuring %s with %zu instances\n", kind.name, stations);
    read_figures(bench::output_of_self({kind.name, std::to_string(stations)}), figures);
  }
  return figures;
}

void measure_and_report() {
  bench::Sizes sizes;
  for (const size_t stations : all_sizes) sizes[stations] = measure_size(stations);
  bench::report_files(sizes);
  bench::report_requests(sizes);
  bench::report_growth(sizes);
  bench::report_memory(sizes);
}

int run_kind(const std::string &name, const std::string &stations) {
  for (const Kind &kind : kinds) {
    if (name != kind.name) continue;
    print_figures(kind.measure(std::stoul(stations)));
    return 0;
  }
  return 2;
}

} // namespace

int main(int argc, char **argv) {
  try {
    bench::require_device();
    if (argc == 3) return run_kind(argv[1], argv[2]);
    measure_and_report();
    return 0;
  } catch (const std::exception &error) {
    fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}
