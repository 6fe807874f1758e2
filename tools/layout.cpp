#include "layout.hpp"

#include <climits>
#include <libxml/parser.h>

namespace lsql {

namespace {

bool is_layout(const xmlNode *node, Layout what) {
  if (node->type == XML_COMMENT_NODE) return what == Layout::blanks_and_comments;
  return node->type == XML_TEXT_NODE && xmlIsBlankNode(node) == 1;
}

bool has_elements(const xmlNode *first) {
  for (const xmlNode *node = first; node != nullptr; node = node->next)
    if (node->type == XML_ELEMENT_NODE) return true;
  return false;
}

// Works on a row of siblings and on all below it. The parser's limit of nesting bounds the recursion.
bool drop_between(xmlNode *first, Layout what) {
  if (!has_elements(first)) return false;
  bool dropped = false;
  for (xmlNode *node = first, *next = nullptr; node != nullptr; node = next) {
    next = node->next;
    if (node->type == XML_ELEMENT_NODE) {
      dropped |= drop_between(node->children, what);
    } else if (is_layout(node, what)) {
      xmlUnlinkNode(node);
      xmlFreeNode(node);
      dropped = true;
    }
  }
  return dropped;
}

} // namespace

XmlDocument parse_xml(const std::string &text) {
  if (text.size() > INT_MAX) return nullptr;
  constexpr int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;
  return XmlDocument(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, options));
}

bool drop_layout(xmlDoc *document, Layout what) { return drop_between(document->children, what); }

std::string xml_text(xmlDoc *document, bool indented) {
  xmlChar *memory = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(document, &memory, &size, "UTF-8", indented ? 1 : 0);
  const XmlText text(memory);
  if (text == nullptr || size <= 0) return {};
  return {reinterpret_cast<const char *>(text.get()), static_cast<std::size_t>(size)};
}

} // namespace lsql
