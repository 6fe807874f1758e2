// Reading of XML trees as the configuration file and LSQL share it.
#pragma once

#include "core/xml_text.hpp"
#include "xml/nodes.h"
#include <libxml/tree.h>

namespace vorn {

inline const char *text_of(const xmlChar *text) noexcept { return reinterpret_cast<const char *>(text); }
inline const xmlChar *xml_text(const char *text) noexcept { return reinterpret_cast<const xmlChar *>(text); }

// The node's name; "(null)" for a node that has none, such as a CDATA section.
const char *node_name(const xmlNode &node) noexcept;

bool is_named(const xmlNode *node, const char *name) noexcept;

// The first child of an element, or null. Other nodes have none that count: an entity's stand in its
// declaration.
const xmlNode *first_child(const xmlNode &node) noexcept;

// The value of an element: the content of its first child when that is text, else null.
const char *element_text(const xmlNode &element) noexcept;

// Whether the text is valid UTF-8 of the characters that XML 1.0 allows (its production 2, "Char").
bool is_xml_characters(const char *text) noexcept;

// Whether an XML document can hold the text and be read again: characters that XML allows, and not more
// of them than libxml2 takes.
bool xml_can_carry(const char *text) noexcept;

} // namespace vorn
