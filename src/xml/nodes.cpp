#include "xml/nodes.hpp"

#include <cstring>
#include <libxml/parserInternals.h>

const char *vorn_util_xmlNodeListGetString(const xmlDoc *, const xmlNode *node, int in_line) noexcept {
  if (!node || !in_line) return nullptr;
  const bool is_text = node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
  return is_text ? vorn::text_of(node->content) : nullptr;
}

const char *vorn_util_xmlGetProp(const xmlNode *node, const char *name) noexcept {
  if (!node || !name || node->type != XML_ELEMENT_NODE) return nullptr;
  const xmlAttr *attribute = xmlHasProp(node, vorn::xml_text(name));
  if (!attribute) return nullptr;
  if (!attribute->children) return "";
  return vorn_util_xmlNodeListGetString(node->doc, attribute->children, 1);
}

namespace vorn {

const char *node_name(const xmlNode &node) noexcept { return node.name ? text_of(node.name) : "(null)"; }

bool is_named(const xmlNode *node, const char *name) noexcept {
  return node && node->name && strcmp(text_of(node->name), name) == 0;
}

const xmlNode *first_child(const xmlNode &node) noexcept {
  return node.type == XML_ELEMENT_NODE ? node.children : nullptr;
}

const char *element_text(const xmlNode &element) noexcept {
  return vorn_util_xmlNodeListGetString(element.doc, first_child(element), 1);
}

namespace {

// The end of the text, or what in it is no character of XML.
const char *skip_xml_characters(const char *text) noexcept {
  for (;;) {
    while (static_cast<signed char>(*text) >= 0x20) ++text; // of ASCII
    if (!*text) return text;
    const Decoded next = decode_utf8(text);
    if (next.length == 0 || !is_xml_character(next.character)) return text;
    text += next.length;
  }
}

} // namespace

bool is_xml_characters(const char *text) noexcept { return !*skip_xml_characters(text); }

bool xml_can_carry(const char *text) noexcept {
  const char *end = skip_xml_characters(text);
  return !*end && end - text < XML_MAX_TEXT_LENGTH;
}

} // namespace vorn
