#include "report.hpp"

#include "measures.hpp"
#include "station.hpp"
#include <algorithm>
#include <cmath>
#include <fstream>
#include <stdexcept>

namespace bench {

namespace {

using std::string;

// The page and its colours, for bright and for dark screens. A line's colour is that of its class.
constexpr char head[] =
    R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 800 440" width="800" height="440" role="img"
     aria-labelledby="title desc">
  <title id="title">Time of a request over the number of instances</title>
  <desc id="desc">A line for each kind of request that is about one instance, and one for libxml2 alone, which parses
    the same update and builds and dumps its reply. Both scales are logarithmic.</desc>

  <style>
    text { font: 12px "Segoe UI", "Helvetica Neue", Arial, sans-serif; fill: #57606a; }
    .name { font-size: 13px; fill: #1f2328; }
    .page { fill: #fff; }
    .grid { stroke: #d8dee4; }
    .line { fill: none; stroke: currentColor; stroke-width: 2; }
    .dot { fill: currentColor; }
    .a { color: #0a5cc2; }
    .b { color: #b35900; }
    .c { color: #1a7f37; }
    .d { color: #8250df; }
    .e { color: #57606a; stroke-dasharray: 6 4; }
    @media (prefers-color-scheme: dark) {
      text { fill: #a3adb8; }
      .name { fill: #e6edf3; }
      .page { fill: #0d1117; }
      .grid { stroke: #2a313a; }
      .a { color: #6cb0ff; }
      .b { color: #f0a050; }
      .c { color: #56d364; }
      .d { color: #c297ff; }
      .e { color: #a3adb8; }
    }
  </style>

  <rect class="page" width="800" height="440" rx="8"/>
)";

constexpr double left = 86, right = 556, top = 24, bottom = 376; // of the area that the lines are drawn in
constexpr double names_left = 580, names_top = 44, names_step = 26;

constexpr const char *times[] = {"1 µs", "10 µs", "100 µs", "1 ms", "10 ms", "100 ms", "1 s"};
constexpr int first_time = -6, last_time = 0; // their decimal logarithms

int decade_below(double value) { return static_cast<int>(std::floor(std::log10(value))); }
int decade_above(double value) { return static_cast<int>(std::ceil(std::log10(value))); }

// Leads from decades of a value to one side of the area.
struct Scale {
  int from, to; // decimal logarithms
  double start, end;

  double operator()(double value) const {
    return start + (end - start) * (std::log10(value) - from) / (to - from);
  }
};

string at(double x, double y) { return with_decimals(x, 1) + "," + with_decimals(y, 1); }

string line(const string &style, const string &points) {
  return "  <path class=\"" + style + "\" d=\"M" + points + "\"/>\n";
}

// The anchor is the point that the text starts, ends or has its middle at.
string text(double x, double y, const string &anchor, const string &content, const string &more = "") {
  return "  <text transform=\"translate(" + at(x, y) + ")" + more + "\" text-anchor=\"" + anchor + "\">" +
         content + "</text>\n";
}

string grid(const Scale &across, const Scale &up) {
  string svg;
  for (int decade = across.from; decade <= across.to; ++decade) {
    const double value = std::pow(10, decade), x = across(value);
    svg += line("grid", at(x, top) + " " + at(x, bottom)) + text(x, bottom + 20, "middle", grouped(value));
  }
  for (int decade = up.from; decade <= up.to; ++decade) {
    const double y = up(std::pow(10, decade));
    svg += line("grid", at(left, y) + " " + at(right, y)) +
           text(left - 10, y + 4, "end", times[static_cast<size_t>(decade - first_time)]);
  }
  return svg + text((left + right) / 2, bottom + 46, "middle", "instances in the configuration") +
         text(24, (top + bottom) / 2, "middle", "processor time of a request", " rotate(-90)");
}

// One figure over the sizes, and its name in a row beside the area.
string curve(const Sizes &sizes, const string &figure, const string &style, double row, const Scale &across,
             const Scale &up) {
  string points, dots;
  for (const auto &[stations, figures] : sizes) {
    const double x = across(static_cast<double>(stations)), y = up(figures.at(figure));
    points += (points.empty() ? "" : " ") + at(x, y);
    dots += "  <circle class=\"dot " + style + "\" r=\"3.5\" transform=\"translate(" + at(x, y) + ")\"/>\n";
  }
  const double y = names_top + names_step * row;
  return line("line " + style, points) + dots +
         line("line " + style, at(names_left, y) + " " + at(names_left + 26, y)) +
         "  <text class=\"name\" x=\"" + with_decimals(names_left + 34, 0) + "\" y=\"" +
         with_decimals(y + 4, 0) + "\">" + figure + "</text>\n";
}

} // namespace

void draw_growth(const Sizes &sizes, const char *path) {
  std::vector<string> drawn;
  for (const Request &request : requests)
    if (request.answer != Answer::all_stations) drawn.push_back(request.name);
  drawn.push_back(by_libxml2("update one by name"));

  Samples values;
  for (const auto &size : sizes)
    for (const string &figure : drawn) values.push_back(size.second.at(figure));
  const Scale across{decade_below(static_cast<double>(sizes.begin()->first)),
                     decade_above(static_cast<double>(sizes.rbegin()->first)), left, right};
  const Scale up{std::max(first_time, decade_below(percentile(values, 0))),
                 std::min(last_time, decade_above(percentile(values, 100))), bottom, top};

  string svg = head + grid(across, up);
  for (size_t i = 0; i < drawn.size(); ++i)
    svg += curve(sizes, drawn[i], string(1, static_cast<char>('a' + i)), static_cast<double>(i), across, up);
  std::ofstream file(path);
  file << svg << "</svg>\n";
  file.close();
  if (!file) throw std::runtime_error(string("cannot write ") + path);
}

} // namespace bench
