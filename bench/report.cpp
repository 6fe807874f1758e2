#include "report.hpp"

#include "measures.hpp"
#include "station.hpp"
#include <algorithm>
#include <cstdio>
#include <optional>
#include <sstream>

namespace bench {

namespace {

using std::string;

// ---- What is aimed at ----

constexpr size_t every_size = 0;

struct Limit {
  size_t stations;
  double value;
};

enum class Kind { at_most, at_least, growth }; // growth is over the figure at the first size

// A figure at each size over another one, and what that should be.
struct Aim {
  string name, figure, other; // no other one: the figure itself
  std::vector<Limit> limits;  // for a size at a time, or one for every size
  Kind kind = Kind::at_most;
};

Aim growth(const string &name, const std::vector<Limit> &limits) {
  return {name + " : at 100 instances", name, name, limits, Kind::growth};
}

Aim beside_libxml2(const string &name, const string &other, Limit limit) {
  return {name + " : libxml2's own", name, other, {limit}};
}

Aim rate_beside_libxml2(const string &name) {
  return {name + ", a second : libxml2's own", name, by_libxml2(name), {{100, 0.9}}, Kind::at_least};
}

std::vector<Aim> all_aims() {
  std::vector<Aim> aims;
  for (const Request &request : requests)
    if (request.answer != Answer::all_stations)
      aims.push_back(growth(request.name, {{10'000, 1.3}, {100'000, 2}}));
  const string update = "update one by name", select_all = "select all";
  aims.insert(aims.end(),
              {growth(table_figure, {{1'000, 1.3}}),
               beside_libxml2(update, by_libxml2(update), {100, 1.8}),
               beside_libxml2(select_all, by_libxml2(select_all), {1'000, 1.3}),
               beside_libxml2(load, parse, {every_size, 1.3}),
               beside_libxml2(save, build, {every_size, 0.8}),
               {"peak memory of a load : what stays", "load peak", "loaded", {{every_size, 1.25}}},
               {"resident bytes an instance", "bytes each", "", {{10'000, 800}}}});
  for (size_t i = 0; i < socket_request_count; ++i)
    for (const char *transport : transport_names)
      if (requests[i].answer != Answer::all_stations)
        aims.push_back(rate_beside_libxml2(over(requests[i].name, transport)));
  return aims;
}

string explain(const Aim &aim) {
  std::ostringstream text;
  for (const Limit &limit : aim.limits) {
    text << (&limit == &aim.limits.front() ? "" : ", ") << (aim.kind == Kind::at_least ? "≥ " : "≤ ")
         << limit.value;
    if (limit.stations != every_size) text << " at " << grouped(limit.stations);
  }
  return text.str();
}

std::optional<double> value_of(const Aim &aim, const Figures &figures, const Figures &first) {
  const auto figure = figures.find(aim.figure);
  if (figure == figures.end()) return std::nullopt;
  const Figures &others = aim.kind == Kind::growth ? first : figures;
  return figure->second / (aim.other.empty() ? 1 : others.at(aim.other));
}

// How many values have a limit, and how many are beyond it.
struct Tally {
  size_t limited = 0, missed = 0;
};

string judge(const Aim &aim, size_t stations, double value, Tally &tally) {
  const auto limit = std::find_if(aim.limits.begin(), aim.limits.end(), [&](const Limit &each) {
    return each.stations == every_size || each.stations == stations;
  });
  if (limit == aim.limits.end()) return ratio(value);
  const bool missed = aim.kind == Kind::at_least ? value < limit->value : value > limit->value;
  ++tally.limited;
  tally.missed += missed;
  return ratio(value) + (missed ? " (missed)" : "");
}

void report_aims(const Sizes &sizes) {
  puts("\n## What is aimed at\n");
  Table table{{"figure", "aim"}};
  Tally tally;
  for (const auto &size : sizes) table[0].push_back(grouped(size.first));
  for (const Aim &aim : all_aims()) {
    table.push_back({aim.name, explain(aim)});
    for (const auto &[stations, figures] : sizes) {
      const auto value = value_of(aim, figures, sizes.begin()->second);
      table.back().push_back(value ? judge(aim, stations, *value, tally) : "");
    }
  }
  print(table);
  printf("\nOf %zu figures with an aim, %zu miss it.\n", tally.limited, tally.missed);
}

// ---- The figures themselves ----

using Cell = string (*)(double);
string count(double number) { return grouped(number); }

struct Column {
  string heading;
  string figure;
  Cell text;
};

// A line for each size.
void print_by_size(const Sizes &sizes, const std::vector<Column> &columns) {
  Table table{{"instances"}};
  for (const Column &column : columns) table[0].push_back(column.heading);
  for (const auto &[stations, figures] : sizes) {
    table.push_back({grouped(stations)});
    for (const Column &column : columns) table.back().push_back(column.text(figures.at(column.figure)));
  }
  print(table);
}

void report_files(const Sizes &sizes) {
  puts("\n## Loading and saving the configuration file\n");
  print_by_size(sizes, {{"file", "file", bytes},
                        {load, load, duration},
                        {parse, parse, duration},
                        {save, save, duration},
                        {build, build, duration}});
}

void report_requests(const Sizes &sizes) {
  puts("\n## Requests, evaluated in process\n");
  Table table{{"time per request"}};
  for (const auto &size : sizes) table[0].push_back(grouped(size.first) + " instances");
  const auto add_row = [&](const string &name) {
    table.push_back({name});
    for (const auto &size : sizes) table.back().push_back(duration(size.second.at(name)));
  };
  for (const Request &request : requests) {
    add_row(request.name);
    add_row(by_libxml2(request.name));
  }
  add_row(table_figure);
  print(table);
}

void report_memory(const Sizes &sizes) {
  puts("\n## Memory\n");
  print_by_size(sizes, {{"before loading", "empty", bytes},
                        {"after loading", "loaded", bytes},
                        {"peak of loading", "load peak", bytes},
                        {"bytes an instance", "bytes each", count},
                        {"of them heap in use", "heap each", count},
                        {"peak after changes", "update peak", bytes}});
}

void report_sockets(const Sizes &sizes) {
  puts("\n## Requests over the agent's sockets\n");
  Table table{{"request", "instances", "reply", "agent, a second", "libxml2, a second"}};
  for (const auto &[stations, figures] : sizes)
    for (size_t i = 0; i < socket_request_count; ++i)
      for (const char *transport : transport_names)
        if (const string name = over(requests[i].name, transport); figures.contains(name))
          table.push_back({name, grouped(stations), bytes(figures.at(name + ", reply")),
                           grouped(figures.at(name)), grouped(figures.at(by_libxml2(name)))});
  print(table);
}

} // namespace

void report(const Sizes &sizes) {
  for (const auto part : {report_aims, report_files, report_requests, report_memory, report_sockets})
    part(sizes);
}

} // namespace bench
