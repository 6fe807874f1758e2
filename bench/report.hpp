// The tables of the figures that were measured in process.
#ifndef VORN_BENCH_REPORT_HPP
#define VORN_BENCH_REPORT_HPP

#include "figures.hpp"

namespace bench {

// All figures, by the number of stations.
using Sizes = std::map<size_t, Figures>;

void report_files(const Sizes &sizes);
void report_requests(const Sizes &sizes);
void report_growth(const Sizes &sizes);
void report_memory(const Sizes &sizes);

} // namespace bench

#endif
