// What one process measures at one size, by name.
#ifndef VORN_BENCH_FIGURES_HPP
#define VORN_BENCH_FIGURES_HPP

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace bench {

using Figures = std::map<std::string, double>;

// Each runs in a process of its own, with a startup file of this many stations in place.
Figures measure_files(size_t stations);
Figures measure_requests(size_t stations);
Figures measure_memory(size_t stations);

// The figures of measure_requests.
std::vector<std::string> request_names();

} // namespace bench

#endif
