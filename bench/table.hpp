// Tables in Markdown.
#ifndef VORN_BENCH_TABLE_HPP
#define VORN_BENCH_TABLE_HPP

#include <string>
#include <vector>

namespace bench {

class Table {
public:
  explicit Table(std::vector<std::string> heads) : rows_{std::move(heads)} {}
  void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  // The first column stands to the left, the others to the right.
  void print() const;

private:
  std::vector<std::vector<std::string>> rows_;
};

// Numbers with three significant digits and the unit that suits them.
std::string duration(double seconds);
std::string bytes(double count);
// A whole number in groups of three digits.
std::string grouped(double number);
std::string with_decimals(double number, int decimals);
// A number beside what it should not exceed, marked when it does.
std::string against_aim(double number, double aim);

} // namespace bench

#endif
