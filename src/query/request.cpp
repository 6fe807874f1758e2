#include "query/request.hpp"

#include "core/debug.hpp"
#include "core/limits.hpp"
#include "core/log_text.hpp"
#include "core/refuse.hpp"
#include "query/request_check.hpp"
#include "query/result.hpp"
#include "xml/memory.hpp"
#include "xml/nodes.hpp"
#include <climits>
#include <cstring>
#include <libxml/parserInternals.h>

namespace vorn {

namespace {

static_assert(max_request_size <= INT_MAX, "libxml2 counts a document's bytes with an int");

using ParserContext = std::unique_ptr<xmlParserCtxt, Closer<xmlFreeParserCtxt>>;

#if LIBXML_VERSION >= 21200
using XmlError = const xmlError;
#else
using XmlError = xmlError;
#endif

// Logs the first fault of a document: libxml2 reports all, and a hostile one has hundreds of thousands.
void note_fault(void *parser_context, XmlError *error) {
  auto *context = static_cast<xmlParserCtxt *>(parser_context);
  if (!context || context->_private || error->level != XML_ERR_FATAL) return;
  context->_private = context;
  const char *message = error->message ? error->message : "";
  vorn_debug_eprintf("LSQL request, line %d: %.*s\n", error->line, static_cast<int>(strcspn(message, "\n")),
                     message);
}

XmlDocument parse(const char *text, size_t length) {
  ParserContext context(xmlCreateMemoryParserCtxt(text, static_cast<int>(length)));
  if (!context) return nullptr;
  xmlCtxtUseOptions(context.get(), XML_PARSE_COMPACT | XML_PARSE_NONET);
  context->sax->serror = note_fault;
  xmlParseDocument(context.get());
  XmlDocument document(context->myDoc);
  context->myDoc = nullptr;
  if (!context->wellFormed) document.reset();
  return document;
}

ParsedRequest refuse_whole(const char *error, size_t length) {
  vorn_debug_eprintf("LSQL request of %zu bytes refused: %s\n", length, error);
  return {nullptr, error};
}

ParsedRequest refuse_as_invalid(const char *text) {
  vorn_debug_eprintf("Invalid LSQL request: %s\n", Excerpt(text).get());
  return {};
}

} // namespace

ParsedRequest parse_request(const char *text) noexcept {
  if (!text) return refuse_as_invalid(text);
  const size_t length = strlen(text);
  if (length > max_request_size) return refuse_whole("Request is too long.", length);
  const RequestCheck check = check_request(text);
  if (const char *reason = explain(check.fault)) vorn_debug_eprintf("LSQL request refused: %s.\n", reason);
  if (check.fault != RequestFault::none) return refuse_as_invalid(text);
  if (check.nodes > max_request_nodes) return refuse_whole("Request has too many elements.", length);
  const XmlMemoryWatch memory;
  XmlDocument document = parse(text, length);
  if (memory.has_failed()) return refuse_whole(no_memory, length);
  return document ? ParsedRequest{std::move(document)} : refuse_as_invalid(text);
}

} // namespace vorn
