// Documents of libxml2's, to hold what the agent writes against.
#pragma once

#include "core/xml_text.hpp"
#include "xml/handles.hpp"
#include "xml/nodes.hpp"
#include <string>

namespace vorn {

inline xmlDoc *new_document(const char *root_name) {
  xmlDoc *document = xmlNewDoc(xml_text("1.0"));
  xmlDocSetRootElement(document, xmlNewDocNode(document, nullptr, xml_text(root_name), nullptr));
  return document;
}

// Appends an element; a null or empty value gives an empty one.
inline xmlNode *add_element(xmlNode *parent, const char *name, const char *value = nullptr) {
  return xmlNewTextChild(parent, nullptr, xml_text(name), value && *value ? xml_text(value) : nullptr);
}

inline void set_attribute(xmlNode *element, const char *name, const char *value) {
  xmlSetProp(element, xml_text(name), xml_text(value));
}

inline std::string dump(const XmlDocument &document) {
  xmlChar *text = nullptr;
  int size = 0;
  xmlDocDumpMemory(document.get(), &text, &size);
  return text_of(XmlText(text).get());
}

} // namespace vorn
