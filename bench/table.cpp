#include "table.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bench {

namespace {

using Cells = std::vector<std::string>;

// Characters on the screen, of which UTF-8 may need several bytes for one.
size_t width_of(const std::string &text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xc0) != 0x80; }));
}

std::string padded(const std::string &text, size_t width, bool left) {
  const std::string blanks(width - width_of(text), ' ');
  return left ? text + blanks : blanks + text;
}

void print_cells(const Cells &cells, const std::vector<size_t> &widths) {
  for (size_t i = 0; i < widths.size(); ++i) printf("| %s ", padded(cells.at(i), widths[i], i == 0).c_str());
  puts("|");
}

void print_rule(const std::vector<size_t> &widths) {
  for (size_t i = 0; i < widths.size(); ++i)
    printf("|%s%s%s", i == 0 ? ":" : "-", std::string(widths[i], '-').c_str(), i == 0 ? "-" : ":");
  puts("|");
}

struct Unit {
  double size;
  const char *name;
};

// Three significant digits in the largest unit that leaves something before the point.
template <size_t Count> std::string in_unit(double number, const Unit (&units)[Count]) {
  const Unit *unit = std::find_if(units, units + Count - 1, [&](const Unit &u) { return number >= u.size; });
  const double shown = number / unit->size;
  const int decimals = shown >= 99.95 ? 0 : shown >= 9.995 ? 1 : 2;
  return with_decimals(shown, decimals) + " " + unit->name;
}

} // namespace

void Table::print() const {
  std::vector<size_t> widths(rows_.front().size());
  for (const Cells &row : rows_)
    for (size_t i = 0; i < widths.size(); ++i) widths[i] = std::max(widths[i], width_of(row.at(i)));
  print_cells(rows_.front(), widths);
  print_rule(widths);
  std::for_each(rows_.begin() + 1, rows_.end(), [&](const Cells &row) { print_cells(row, widths); });
  fflush(stdout);
}

std::string with_decimals(double number, int decimals) {
  char text[32];
  snprintf(text, sizeof text, "%.*f", decimals, number);
  return text;
}

std::string duration(double seconds) {
  constexpr Unit units[] = {{1, "s"}, {1e-3, "ms"}, {1e-6, "µs"}};
  return in_unit(seconds, units);
}

std::string bytes(double count) {
  constexpr Unit units[] = {{1024 * 1024, "MiB"}, {1024, "KiB"}, {1, "B"}};
  return in_unit(count, units);
}

std::string grouped(double number) {
  std::string text = with_decimals(number, 0);
  for (size_t place = text.size(); place > 3; place -= 3) text.insert(place - 3, 1, ' ');
  return text;
}

std::string against_aim(double number, double aim) {
  const std::string text = with_decimals(number, number < 9.995 ? 2 : 1);
  return number > aim ? text + " (missed)" : text;
}

} // namespace bench
