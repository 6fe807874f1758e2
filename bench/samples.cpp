#include "samples.hpp"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <stdexcept>

namespace bench {

double processor_seconds() {
  timespec now;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double Samples::percentile(double percent) const {
  if (values_.empty()) throw std::logic_error("nothing was measured");
  const auto rank = static_cast<size_t>(std::ceil(percent / 100 * static_cast<double>(values_.size())));
  std::vector<double> sorted = values_;
  const auto place = sorted.begin() + static_cast<std::ptrdiff_t>(std::max<size_t>(rank, 1) - 1);
  std::nth_element(sorted.begin(), place, sorted.end());
  return *place;
}

} // namespace bench
