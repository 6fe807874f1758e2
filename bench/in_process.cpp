// Figures of the agent's code without a process around it. Each kind at each size is measured by a process of
// its own, which this program starts from itself. Overwrites the startup file: to be run on a private device.
#include "core/handles.hpp"
#include "figures.hpp"
#include "plugins/vorn.h"
#include "station.hpp"
#include <cstdio>
#include <iterator>
#include <libxml/parser.h>
#include <malloc.h>
#include <map>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace bench;
using std::string;

constexpr size_t all_sizes[] = {100, 1'000, 10'000, 100'000};
constexpr double seconds_each_file = 3, seconds_each_request = 1.5;
constexpr char saved_path[] = "/etc/config/saved.xml", built_path[] = "/etc/config/built.xml";
constexpr char parse[] = "libxml2: parse, free", build[] = "libxml2: build, save, free";

using Figures = std::map<string, double>;
using Sizes = std::map<size_t, Figures>; // by the number of instances
using Times = std::map<string, Samples>; // the processor's, since nothing here waits

Figures medians(const Times &times) {
  Figures figures;
  for (const auto &[name, samples] : times) {
    figures[name] = median(samples);
    figures[name + " runs"] = static_cast<double>(samples.size());
  }
  return figures;
}

// Opens and closes the registries with the one class and the one provider.
void set_up_agent() {
  if (vorn_providers_init() != 0 || !register_station() || vorn_classes_done_adding() != 0 ||
      vorn_providers_done_adding() != 0)
    throw std::runtime_error("the agent refuses the class or the provider");
}

void load_config() {
  if (vorn_config_copy_startup_to_running() != 0) throw std::runtime_error("the agent cannot load the file");
}

// Evaluates an operation, which must succeed on this many instances.
void evaluate(const string &operation, size_t instances) {
  const vorn::CString reply(vorn_query_eval(lsql(operation).c_str()));
  require_success(reply ? reply.get() : "none", instances);
}

// ---- Loading and saving, beside the work that libxml2 alone has with the same bytes ----

const xmlChar *xml(const char *text) { return reinterpret_cast<const xmlChar *>(text); }
const xmlChar *xml(const string &text) { return xml(text.c_str()); }

void parse_and_free() {
  xmlDoc *document = xmlParseFile(config_path);
  if (!document) throw std::runtime_error("libxml2 cannot parse the file");
  xmlFreeDoc(document);
}

// The cheapest way to such a document: xmlNewTextChild, unlike xmlNewChild, takes the value as it is, and
// escaping is left to the saving.
void add_station(xmlNode *root, const Station &station) {
  xmlNode *element = xmlNewChild(root, nullptr, xml(station_class), nullptr);
  xmlSetProp(element, xml("name"), xml(station.name));
  for (size_t i = 0; i < station.values.size(); ++i)
    xmlNewTextChild(element, nullptr, xml(station_properties[i]), xml(station.values[i]));
}

void build_save_and_free(const std::vector<Station> &stations) {
  xmlDoc *document = xmlNewDoc(xml("1.0"));
  xmlNode *root = xmlNewDocNode(document, nullptr, xml("config"), nullptr);
  xmlDocSetRootElement(document, root);
  for (const Station &station : stations) add_station(root, station);
  xmlSaveFormatFile(built_path, document, 1);
  xmlFreeDoc(document);
}

// Comparing times means nothing unless the work had the same outcome.
void require_equal_files() {
  const string loaded = content_of(config_path);
  if (loaded.empty() || loaded != content_of(saved_path) || loaded != content_of(built_path))
    throw std::runtime_error("the files that were loaded, saved and built differ");
}

Figures measure_files(size_t count) {
  Times times;
  parse_and_free(); // the first time sets the library up
  repeat_for(seconds_each_file, [&] {
    add_time(times[parse], processor_seconds, parse_and_free);
    vorn_instances_delete_all(vorn_config_get_running()); // a load leaves the one before to its users
    add_time(times["load"], processor_seconds, load_config);
  });
  std::vector<Station> stations;
  for (size_t i = 0; i < count; ++i) stations.push_back(make_station(i));
  repeat_for(seconds_each_file, [&] {
    add_time(times[build], processor_seconds, [&] { build_save_and_free(stations); });
    add_time(times["save"], processor_seconds, [] { vorn_config_dump_running(saved_path); });
  });
  require_equal_files();
  return medians(times);
}

// ---- Requests to the evaluator, without a socket ----

// Far from its neighbours: no station finds its memory warmed by the one before.
string scattered(size_t number, size_t stations) { return station_name(number * 7919 % stations); }

// One request or more, made for the station of a number that runs through all of them.
constexpr struct {
  const char *name;
  void (*run)(size_t number, size_t stations);
} requests[] = {
    {"select one by name", [](size_t i, size_t n) { evaluate(select_one(scattered(i, n)), 1); }},
    {"select all", [](size_t, size_t n) { evaluate(select_all(), n); }},
    {"update one by name", [](size_t i, size_t n) { evaluate(update_one(scattered(i, n), i), 1); }},
    {"update one in a transaction",
     [](size_t i, size_t n) { evaluate(in_transaction(update_one(scattered(i, n), i)), 1); }},
    {"insert and delete one",
     [](size_t, size_t) {
       evaluate(insert_one("newcomer"), 1);
       evaluate(delete_one("newcomer"), 1);
     }},
};

Figures measure_requests(size_t stations) {
  Times times;
  load_config();
  for (const auto &request : requests) {
    Samples &samples = times[request.name];
    request.run(0, stations);
    repeat_for(seconds_each_request, [&] {
      add_time(samples, processor_seconds, [&] { request.run(samples.size() + 1, stations); });
    });
  }
  return medians(times);
}

// ---- Memory, in a process that does nothing else ----

double heap_in_use() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
}

Figures measure_memory(size_t) {
  Figures figures;
  figures["empty"] = resident_memory(getpid());
  const double empty_heap = heap_in_use();
  load_config();
  figures["loaded"] = resident_memory(getpid());
  figures["load peak"] = peak_memory(getpid());
  figures["heap"] = heap_in_use() - empty_heap;
  evaluate(update_one(station_name(0), 1), 1);
  figures["update peak"] = peak_memory(getpid());
  evaluate(in_transaction(update_one(station_name(0), 2)), 1);
  figures["transaction peak"] = peak_memory(getpid());
  return figures;
}

// ---- The processes that measure ----

constexpr struct {
  const char *name;
  Figures (*measure)(size_t stations);
} kinds[] = {{"memory", measure_memory}, {"files", measure_files}, {"requests", measure_requests}};

// Prints a figure a line: its value, then its name.
void measure_kind(const string &name, size_t stations) {
  set_up_agent();
  for (const auto &kind : kinds)
    if (name == kind.name)
      for (const auto &[figure, value] : kind.measure(stations)) printf("%.9g %s\n", value, figure.c_str());
}

// Runs this program again for each kind, as the shell's parent, and reads what it prints.
Figures measure_size(size_t stations) {
  Figures figures = {{"file", static_cast<double>(write_config(stations))}};
  for (const auto &kind : kinds) {
    fprintf(stderr, "bench: measuring %s with %zu instances\n", kind.name, stations);
    const string command = "exec /proc/$PPID/exe " + string(kind.name) + " " + std::to_string(stations);
    FILE *output = popen(command.c_str(), "re");
    char name[64];
    for (double value; output && fscanf(output, "%lf %63[^\n]", &value, name) == 2;) figures[name] = value;
    if (!output || pclose(output) != 0) throw std::runtime_error("a measuring process has failed");
  }
  return figures;
}

// ---- The tables ----

// The agent's work beside libxml2's.
void print_comparison(const Sizes &sizes, const string &ours, const string &theirs, double aim) {
  Table table{{"instances", "file", ours, theirs, "ratio (aim: " + with_decimals(aim, 0) + ")", "runs"}};
  for (const auto &[stations, f] : sizes)
    table.push_back({grouped(stations), bytes(f.at("file")), duration(f.at(ours)), duration(f.at(theirs)),
                     against_aim(f.at(ours) / f.at(theirs), aim), grouped(f.at(ours + " runs"))});
  print(table);
}

void report_files(const Sizes &sizes) {
  puts("\n## Loading and saving the configuration file\n");
  print_comparison(sizes, "load", parse, 3);
  puts(R"(
A load reads the startup file into a new running configuration and commits it; libxml2 alone parses the
same file and frees the document (xmlParseFile, xmlFreeDoc).
)");
  print_comparison(sizes, "save", build, 2);
  puts(R"(
A save writes the running configuration to a file; libxml2 alone builds the same document of texts that lie
ready (xmlNewDoc, xmlNewDocNode, xmlNewChild, xmlSetProp, xmlNewTextChild), saves it (xmlSaveFormatFile)
and frees it. All files are equal, byte by byte. The sync() after a save to the startup file is not in it.

Medians of processor time, the kernel's included; none of this waits for anything. The two sides take
turns.)");
}

void report_requests(const Sizes &sizes) {
  puts("\n## Requests, evaluated in process\n");
  Table table{{"time per request"}};
  for (const auto &size : sizes) table[0].push_back(grouped(size.first) + " instances");
  for (const auto &request : requests) {
    table.push_back({request.name});
    for (const auto &size : sizes) table.back().push_back(duration(size.second.at(request.name)));
  }
  print(table);
  puts(R"(
Medians of processor time, from the request's text to the reply's, with the refresh and the commit. Every
request starts a recorder over the whole collection, which copies its instances (they share their values),
so that each is linear in the number of instances, also where it is about one. The last line is two
requests.)");
}

void report_growth(const Sizes &sizes) {
  puts("\n## Growth from size to size\n");
  Table table{{"factor (aim: that of the size)"}, {"load"}, {parse}, {"save"}, {build}};
  for (const auto &request : requests) table.push_back({request.name});
  for (auto less = sizes.begin(), more = std::next(less); more != sizes.end(); ++less, ++more) {
    const double step = static_cast<double>(more->first) / static_cast<double>(less->first);
    table[0].push_back(grouped(less->first) + " to " + grouped(more->first));
    for (size_t row = 1; row < table.size(); ++row) {
      const string &name = table[row][0];
      const double factor = more->second.at(name) / less->second.at(name);
      const bool has_aim = name != parse && name != build;
      table[row].push_back(has_aim ? against_aim(factor, step) : with_decimals(factor, 1));
    }
  }
  print(table);
  puts("\nlibxml2's own growth has no aim: it shows what caches and page tables make of the larger sizes.");
}

void report_memory(const Sizes &sizes) {
  puts("\n## Memory\n");
  Table table{{"instances", "before loading", "after loading", "peak of loading", "per instance",
               "of it heap in use", "peak after an update", "peak after a transaction"}};
  for (const auto &[stations, f] : sizes) {
    const auto count = static_cast<double>(stations);
    table.push_back({grouped(stations), bytes(f.at("empty")), bytes(f.at("loaded")), bytes(f.at("load peak")),
                     grouped((f.at("loaded") - f.at("empty")) / count) + " B",
                     grouped(f.at("heap") / count) + " B", bytes(f.at("update peak")),
                     bytes(f.at("transaction peak"))});
  }
  print(table);
  puts(R"(
Of a process that does nothing else: resident (VmRSS) and peak (VmHWM). What was resident before loading is
the program and its libraries. "Per instance" is what loading added to the resident memory, with the freed
blocks that the allocator keeps; "heap in use" is without these.)");
}

void measure_and_report() {
  Sizes sizes;
  for (const size_t stations : all_sizes) sizes[stations] = measure_size(stations);
  for (const auto report : {report_files, report_requests, report_growth, report_memory}) report(sizes);
}

} // namespace

int main(int argc, char **argv) {
  return run_on_device(
      [&] { argc == 3 ? measure_kind(argv[1], std::stoul(argv[2])) : measure_and_report(); });
}
