// Repeated measurements of one thing.
#ifndef VORN_BENCH_SAMPLES_HPP
#define VORN_BENCH_SAMPLES_HPP

#include <chrono>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// The seconds that pass during a call.
template <class Work> double seconds_of(Work work) {
  const auto start = Clock::now();
  work();
  return seconds_since(start);
}

// The seconds that the processor works for this process, in it and in the kernel. For what never waits: other
// programs on the machine count as little as possible.
double processor_seconds();
template <class Work> double processor_seconds_of(Work work) {
  const double start = processor_seconds();
  work();
  return processor_seconds() - start;
}

class Samples {
public:
  void add(double value) { values_.push_back(value); }
  size_t count() const { return values_.size(); }
  double median() const { return percentile(50); }
  // The smallest value that at least this share of all values does not exceed; throws without values.
  double percentile(double percent) const;

private:
  std::vector<double> values_{};
};

// Tells how long to go on measuring: for a while, so that what is quick is measured often, and never less
// than a few times.
class Repetitions {
public:
  explicit Repetitions(double seconds, size_t least = 7) : seconds_(seconds), least_(least) {}
  bool next() { return done_++ < least_ || seconds_since(start_) < seconds_; }

private:
  double seconds_;
  size_t least_;
  size_t done_ = 0;
  Clock::time_point start_ = Clock::now();
};

} // namespace bench

#endif
