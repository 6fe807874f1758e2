#include "xml/parse_file.hpp"

#include "core/limits.hpp"
#include "core/memory_watch.hpp"
#include "core/refuse.hpp"
#include "core/whole_file.hpp"
#include "xml/file_source.hpp"
#include "xml/memory.hpp"
#include "xml/nodes.hpp"
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <libxml/SAX2.h>

namespace vorn {

namespace {

using Parser = std::unique_ptr<xmlParserCtxt, Closer<xmlFreeParserCtxt>>;

constexpr size_t piece_size = 4096;

// Ends the parsing where the declaration stands, before anything is made of it.
void refuse_declaration(xmlParserCtxt &parser, const char *what) {
  vorn_debug_eprintf("%s in the document type declaration of %s.\n", what,
                     or_null(parser.input ? parser.input->filename : nullptr));
  xmlStopParser(&parser);
  parser.wellFormed = 0;
}

void declare_entity(void *data, const xmlChar *name, int type, const xmlChar *public_id,
                    const xmlChar *system_id, xmlChar *content) {
  if (type == XML_INTERNAL_PARAMETER_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY)
    refuse_declaration(*static_cast<xmlParserCtxt *>(data), "Parameter entity");
  else
    xmlSAX2EntityDecl(data, name, type, public_id, system_id, content);
}

void declare_attribute(void *data, const xmlChar *, const xmlChar *, int, int, const xmlChar *,
                       xmlEnumeration *values) {
  xmlFreeEnumeration(values); // they are the handler's
  refuse_declaration(*static_cast<xmlParserCtxt *>(data), "Attribute declaration");
}

// Hands a file to the parser in small pieces.
struct Feed {
  xmlParserCtxt *parser;
  FileSource &source;
  const char *path;
};

// libxml2 compares each attribute and each namespace of an element with all others of it, when it has read
// the last one and before it asks anybody. Until then it collects them, which shows between the pieces.
bool collects_too_much(const xmlParserCtxt &parser) {
  constexpr int places_of_attribute = 5, places_of_namespace = 2;
  return parser.maxatts > max_file_attributes * places_of_attribute ||
         parser.nsNr > max_file_attributes * places_of_namespace;
}

int read_piece(void *data, char *buffer, int size) {
  Feed &feed = *static_cast<Feed *>(data);
  if (collects_too_much(*feed.parser)) {
    vorn_debug_eprintf("Too many attributes or namespaces in %s.\n", feed.path);
    feed.parser->wellFormed = 0;
    return -1;
  }
  return feed.source.read(buffer, std::min(piece_size, static_cast<size_t>(size)));
}

// A file that cannot be read to its end is not blamed for what its beginning lacks.
void read_rest(FileSource &source) {
  char piece[piece_size];
  while (source.read(piece, sizeof piece) > 0) continue;
}

XmlDocument parse(const char *path, FileSource &source, ParserUser *user) {
  const Parser parser(xmlNewParserCtxt());
  if (!parser) return nullptr;
  parser->sax->entityDecl = declare_entity;
  parser->sax->attributeDecl = declare_attribute;
  const int options = user ? user->set_up(*parser) : 0;
  Feed feed = {parser.get(), source, path};
  XmlDocument document(xmlCtxtReadIO(parser.get(), read_piece, nullptr, &feed, path, nullptr, options));
  if (!document && parser->errNo != XML_ERR_USER_STOP) read_rest(source);
  if (source.error() != 0) document.reset();
  return document;
}

} // namespace

ParsedFile parse_file(const char *path, ParserUser *user) noexcept {
  const MemoryWatch memory;
  const XmlMemoryWatch xml_memory;
  ParsedFile file;
  FileSource source(path);
  errno = 0;
  if (source.error() == 0) file.document = parse(path, source, user);
  // What was parsed while memory was short may look whole. A conversion of libc's may have been short of it.
  file.undecided = memory.has_failed() || xml_memory.has_failed() || is_shortage(source.error()) ||
                   (!file.document && errno == ENOMEM);
  if (file.undecided) file.document.reset();
  // That there is none is usual where nothing was saved yet.
  if (const int error = source.error())
    vorn_debug_lprintf(error == ENOENT ? 1 : 0, "Can't read %s: %s\n", path, strerror(error));
  return file;
}

} // namespace vorn
