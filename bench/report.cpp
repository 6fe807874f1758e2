#include "report.hpp"

#include "table.hpp"
#include <cstdio>
#include <iterator>

namespace bench {

namespace {

constexpr double load_aim = 3;
constexpr double save_aim = 2;

void heading(const char *text) { printf("\n## %s\n\n", text); }

std::string size_name(size_t stations) { return grouped(static_cast<double>(stations)); }

// Of our own work growth has an aim; libxml2's, beside it, shows what the machine makes of larger sizes.
void add_growth(Table &table, const Sizes &sizes, const std::string &shown, const std::string &figure,
                bool has_aim = true) {
  std::vector<std::string> cells{shown};
  for (auto smaller = sizes.begin(), larger = std::next(smaller); larger != sizes.end();
       ++smaller, ++larger) {
    const double step = static_cast<double>(larger->first) / static_cast<double>(smaller->first);
    const double factor = larger->second.at(figure) / smaller->second.at(figure);
    cells.push_back(has_aim ? against_aim(factor, step) : with_decimals(factor, 1));
  }
  table.add(cells);
}

} // namespace

void report_files(const Sizes &sizes) {
  heading("Loading and saving the configuration file");
  Table loads({"instances", "file", "load", "libxml2: parse, free", "ratio (aim: 3)", "runs"});
  Table saves({"instances", "file", "save", "libxml2: build, save, free", "ratio (aim: 2)", "runs"});
  for (const auto &[stations, f] : sizes) {
    loads.add({size_name(stations), bytes(f.at("file")), duration(f.at("load")), duration(f.at("parse")),
               against_aim(f.at("load") / f.at("parse"), load_aim), grouped(f.at("load runs"))});
    saves.add({size_name(stations), bytes(f.at("file")), duration(f.at("save")), duration(f.at("build")),
               against_aim(f.at("save") / f.at("build"), save_aim), grouped(f.at("save runs"))});
  }
  loads.print();
  puts(R"(
A load reads the startup file into a new running configuration and commits it; libxml2 alone parses the
same file and frees the document (xmlParseFile, xmlFreeDoc).
)");
  saves.print();
  puts(R"(
A save writes the running configuration to a file; libxml2 alone builds the same document of texts that lie
ready (xmlNewDoc, xmlNewDocNode, xmlNewChild, xmlSetProp, xmlNewTextChild), saves it (xmlSaveFormatFile)
and frees it. All files are equal, byte by byte. The sync() behind a save to the startup file is not in it.

Medians of processor time, the kernel's included; none of this waits for anything. The two sides take
turns.)");
}

void report_requests(const Sizes &sizes) {
  heading("Requests, evaluated in process");
  std::vector<std::string> heads{"time per request"};
  for (const auto &[stations, figures] : sizes) heads.push_back(size_name(stations) + " instances");
  Table table(heads);
  for (const std::string &request : request_names()) {
    std::vector<std::string> cells{request};
    for (const auto &[stations, figures] : sizes) cells.push_back(duration(figures.at(request)));
    table.add(cells);
  }
  table.print();
  puts(R"(
Medians of processor time, from the request's text to the reply's, with the refresh and the commit. Every
request starts a recorder over the whole collection, which copies its instances (they share their values),
so that each is linear in the number of instances, also where it is about one. The last line is two
requests.)");
}

void report_growth(const Sizes &sizes) {
  heading("Growth from size to size");
  std::vector<std::string> heads{"factor (aim: that of the size)"};
  for (auto smaller = sizes.begin(), larger = std::next(smaller); larger != sizes.end(); ++smaller, ++larger)
    heads.push_back(size_name(smaller->first) + " to " + size_name(larger->first));
  Table table(heads);
  add_growth(table, sizes, "load", "load");
  add_growth(table, sizes, "libxml2: parse, free", "parse", false);
  add_growth(table, sizes, "save", "save");
  add_growth(table, sizes, "libxml2: build, save, free", "build", false);
  for (const std::string &request : request_names()) add_growth(table, sizes, request, request);
  table.print();
  puts(R"(
libxml2's own growth has no aim: it shows what caches and page tables make of the larger sizes.)");
}

void report_memory(const Sizes &sizes) {
  heading("Memory");
  Table table({"instances", "before loading", "after loading", "peak of loading", "per instance",
               "of it heap in use", "peak after an update", "peak after a transaction"});
  for (const auto &[stations, f] : sizes) {
    const auto count = static_cast<double>(stations);
    table.add({size_name(stations), bytes(f.at("empty")), bytes(f.at("loaded")), bytes(f.at("load peak")),
               grouped((f.at("loaded") - f.at("empty")) / count) + " B", grouped(f.at("heap") / count) + " B",
               bytes(f.at("update peak")), bytes(f.at("transaction peak"))});
  }
  table.print();
  puts(R"(
Of a process that does nothing else: resident (VmRSS) and peak (VmHWM). What was resident before loading is
the program and its libraries. "Per instance" is what loading added to the resident memory, with the freed
blocks that the allocator keeps; "heap in use" is without these.)");
}

} // namespace bench
