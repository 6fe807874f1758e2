// What all figures are made with: clocks, samples, a process's memory, and tables to print.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

// Runs a program's work and returns the program's exit status; reports what is thrown. Refuses to work
// anywhere but on a private device (scripts/device): only there may the agent's paths be overwritten.
int run_on_device(const std::function<void()> &work);

double wall_seconds();
// The seconds that the processor has worked for this process, in it and in the kernel. For what never waits:
// other programs on the machine count as little as possible.
double processor_seconds();

// Repeats a call for a while, so that what is quick is measured often, and never less than a few times.
template <class Work> void repeat_for(double seconds, Work work) {
  const double start = wall_seconds();
  for (int done = 0; done < 5 || wall_seconds() - start < seconds; ++done) work();
}

using Samples = std::vector<double>;

// Adds the seconds that a call takes by one of the clocks: the mean of so many in a row.
template <class Work> void add_time(Samples &samples, double (*clock)(), Work work, size_t calls = 1) {
  const double start = clock();
  for (size_t call = 0; call < calls; ++call) work();
  samples.push_back((clock() - start) / static_cast<double>(calls));
}

// The smallest value that at least this share of all values does not exceed; throws without values.
double percentile(Samples samples, double percent);
inline double median(const Samples &samples) { return percentile(samples, 50); }

using Figures = std::map<std::string, double>;
using Sizes = std::map<size_t, Figures>; // by the number of instances

// A process's memory in bytes, as the kernel counts it: VmRSS and VmHWM. Throws when the process has ended.
double resident_memory(pid_t pid);
double peak_memory(pid_t pid);

std::string content_of(const std::string &path);

// A table in Markdown: rows of cells, the first row the headings. The first column stands to the left, the
// others to the right.
using Table = std::vector<std::vector<std::string>>;
void print(const Table &table);

// Numbers with three significant digits and the unit that suits them.
std::string duration(double seconds);
std::string bytes(double count);
// A whole number in groups of three digits.
std::string grouped(double number);
inline std::string grouped(size_t number) { return grouped(static_cast<double>(number)); }
std::string with_decimals(double number, int decimals);
// Without a unit, as a factor.
std::string ratio(double number);

} // namespace bench
