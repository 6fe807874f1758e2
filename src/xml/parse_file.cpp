#include "xml/parse_file.hpp"

#include "core/guard.hpp"
#include "core/limits.hpp"
#include "core/refuse.hpp"
#include "core/whole_file.hpp"
#include "xml/memory.hpp"
#include "xml/nodes.hpp"
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <libxml/SAX2.h>
#include <libxml/parser.h>

namespace vorn {

namespace {

using Parser = std::unique_ptr<xmlParserCtxt, Closer<xmlFreeParserCtxt>>;
using InputBuffer = std::unique_ptr<xmlParserInputBuffer, Closer<xmlFreeParserInputBuffer>>;

// libxml2 reads what gzip and xz have compressed.
bool is_compressed(const std::string &bytes) {
  return bytes.starts_with("\x1f\x8b") || bytes.starts_with(std::string_view("\xfd"
                                                                             "7zXZ\0",
                                                                             6));
}

// Throws std::bad_alloc.
bool expand(const char *path, std::string &bytes) {
  const InputBuffer input(xmlParserInputBufferCreateFilename(path, XML_CHAR_ENCODING_NONE));
  bytes.clear();
  char block[4096];
  int count = input ? 0 : -1;
  while (input && (count = input->readcallback(input->context, block, sizeof block)) > 0) {
    bytes.append(block, static_cast<size_t>(count));
    if (bytes.size() > max_config_size) {
      errno = EFBIG;
      return false;
    }
  }
  return count == 0;
}

bool read_file(const char *path, std::string &bytes) {
  if (!read_whole(path, max_config_size, bytes)) return false;
  return !is_compressed(bytes) || guarded(false, [&] { return expand(path, bytes); });
}

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
struct Source {
  xmlParserCtxt *parser;
  std::string_view rest;
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
  Source &source = *static_cast<Source *>(data);
  if (collects_too_much(*source.parser)) {
    vorn_debug_eprintf("Too many attributes or namespaces in %s.\n", source.path);
    source.parser->wellFormed = 0;
    return -1;
  }
  constexpr size_t piece_size = 4096;
  const size_t length = source.rest.copy(buffer, std::min(piece_size, static_cast<size_t>(size)));
  source.rest.remove_prefix(length);
  return static_cast<int>(length);
}

XmlDocument parse(const char *path, std::string_view bytes) {
  const Parser parser(xmlNewParserCtxt());
  if (!parser) return nullptr;
  parser->sax->entityDecl = declare_entity;
  parser->sax->attributeDecl = declare_attribute;
  Source source = {parser.get(), bytes, path};
  return XmlDocument(xmlCtxtReadIO(parser.get(), read_piece, nullptr, &source, path, nullptr, 0));
}

} // namespace

ParsedFile parse_file(const char *path) noexcept {
  const XmlMemoryWatch memory;
  std::string bytes;
  ParsedFile file;
  if (!read_file(path, bytes)) {
    file.undecided = memory.has_failed() || is_shortage(errno);
    // That there is none is usual where nothing was saved yet.
    vorn_debug_lprintf(errno == ENOENT ? 1 : 0, "Can't read %s: %s\n", path, strerror(errno));
    return file;
  }
  errno = 0;
  file.document = parse(path, bytes);
  // What was parsed while memory was short may look whole. A conversion of libc's may have been short of it.
  file.undecided = memory.has_failed() || (!file.document && errno == ENOMEM);
  if (file.undecided) file.document.reset();
  return file;
}

} // namespace vorn
