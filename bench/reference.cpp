#include "reference.hpp"

#include "xml/handles.hpp"
#include <libxml/parser.h>
#include <stdexcept>

namespace bench {

namespace {

using vorn::XmlDocument;

const xmlChar *xml(const char *text) { return reinterpret_cast<const xmlChar *>(text); }
const xmlChar *xml(const std::string &text) { return xml(text.c_str()); }

XmlDocument document_with(const char *root) {
  XmlDocument document(xmlNewDoc(xml("1.0")));
  xmlDocSetRootElement(document.get(), xmlNewDocNode(document.get(), nullptr, xml(root), nullptr));
  return document;
}

// The cheapest way to such a document: xmlNewTextChild, unlike xmlNewChild, takes the value as it is, and
// escaping is left to the saving.
void add_stations(xmlNode *parent, const std::vector<Station> &stations) {
  for (const Station &station : stations) {
    xmlNode *element = xmlNewChild(parent, nullptr, xml(station_class), nullptr);
    xmlSetProp(element, xml("name"), xml(station.name));
    for (size_t i = 0; i < station.values.size(); ++i)
      xmlNewTextChild(element, nullptr, xml(station_properties[i]), xml(station.values[i]));
  }
}

XmlDocument reply_with(const Content &content) {
  XmlDocument document = document_with("lsql_result");
  xmlNode *root = xmlDocGetRootElement(document.get());
  if (!content.stations.empty())
    add_stations(xmlNewChild(root, nullptr, xml("dataset"), nullptr), content.stations);
  xmlNewTextChild(root, nullptr, xml("rc"), xml("0"));
  xmlNewTextChild(root, nullptr, xml("counter"), xml(std::to_string(content.matches)));
  return document;
}

} // namespace

void parse_and_free(const char *path) {
  if (!XmlDocument(xmlParseFile(path))) throw std::runtime_error("libxml2 cannot parse the file");
}

void build_save_and_free(const char *path, const std::vector<Station> &stations) {
  const XmlDocument document = document_with("config");
  add_stations(xmlDocGetRootElement(document.get()), stations);
  xmlSaveFormatFile(path, document.get(), 1);
}

std::vector<Station> make_stations(size_t count) {
  std::vector<Station> stations;
  for (size_t i = 0; i < count; ++i) stations.push_back(make_station(i));
  return stations;
}

Content content_of(const Request &request, size_t stations) {
  const size_t matches = matches_of(request, stations);
  return {make_stations(request.answer == Answer::without_instances ? 0 : matches), matches};
}

vorn::CString answer(const std::string &request, const Content &content) {
  constexpr int options = XML_PARSE_COMPACT | XML_PARSE_NONET; // the agent's
  const XmlDocument parsed(
      xmlReadMemory(request.data(), static_cast<int>(request.size()), nullptr, nullptr, options));
  if (!parsed) throw std::runtime_error("libxml2 cannot parse the request");
  xmlChar *text = nullptr;
  int size = 0;
  xmlDocDumpMemory(reply_with(content).get(), &text, &size);
  return vorn::CString(reinterpret_cast<char *>(text)); // libxml2 allocates with malloc
}

} // namespace bench
