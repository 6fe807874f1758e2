// Loading and saving, beside the work that libxml2 alone has with the same bytes.
#include "agent_state.hpp"
#include "figures.hpp"
#include "plugins/vorn.h"
#include "samples.hpp"
#include "station_file.hpp"
#include <fstream>
#include <iterator>
#include <libxml/parser.h>
#include <stdexcept>
#include <vector>

namespace bench {

namespace {

constexpr double seconds_each = 3;
constexpr char saved_path[] = "/etc/config/saved.xml";
constexpr char built_path[] = "/etc/config/built.xml";

const xmlChar *xml(const char *text) { return reinterpret_cast<const xmlChar *>(text); }
const xmlChar *xml(const std::string &text) { return xml(text.c_str()); }

void parse_and_free() {
  xmlDoc *document = xmlParseFile(config_path);
  if (!document) throw std::runtime_error("libxml2 cannot parse the file");
  xmlFreeDoc(document);
}

// The cheapest way to such a document: xmlNewTextChild, unlike xmlNewChild, takes the value as it is, and
// escaping is left to the saving.
void add_station(xmlNode *root, const Station &station) {
  xmlNode *element = xmlNewChild(root, nullptr, xml(STATION_CLASS), nullptr);
  xmlSetProp(element, xml("name"), xml(station.name));
  for (size_t i = 0; i < STATION_PROPERTIES; ++i)
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

std::string content(const char *path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Comparing times means nothing unless the work had the same outcome.
void require_equal_files() {
  const std::string loaded = content(config_path);
  if (loaded.empty() || loaded != content(saved_path) || loaded != content(built_path))
    throw std::runtime_error("the files that were loaded, saved and built differ");
}

// The collection that a load replaces is left to its users: here, to be freed before the next one.
void free_running() { vorn_instances_delete_all(vorn_config_get_running()); }

void measure_loading(Figures &figures) {
  Samples load, parse;
  parse_and_free(); // the first time sets the library up
  for (Repetitions repetitions(seconds_each); repetitions.next();) {
    parse.add(processor_seconds_of(parse_and_free));
    if (load.count() > 0) free_running();
    load.add(processor_seconds_of(load_config));
  }
  figures["load"] = load.median();
  figures["parse"] = parse.median();
  figures["load runs"] = static_cast<double>(load.count());
}

void measure_saving(Figures &figures, const std::vector<Station> &stations) {
  Samples save, build;
  for (Repetitions repetitions(seconds_each); repetitions.next();) {
    build.add(processor_seconds_of([&] { build_save_and_free(stations); }));
    save.add(processor_seconds_of([] { vorn_config_dump_running(saved_path); }));
  }
  figures["save"] = save.median();
  figures["build"] = build.median();
  figures["save runs"] = static_cast<double>(save.count());
}

} // namespace

Figures measure_files(size_t count) {
  Figures figures;
  set_up_agent();
  measure_loading(figures);
  std::vector<Station> stations;
  for (size_t i = 0; i < count; ++i) stations.push_back(make_station(i));
  measure_saving(figures, stations);
  require_equal_files();
  return figures;
}

} // namespace bench
