// Writes XML as text, in the very bytes that libxml2 writes for a document without a declared encoding.
#pragma once

#include <string>

namespace vorn {

// Appends the text as content of an element, or as the value of an attribute in double quotes. It must be one
// that XML can carry (xml_can_carry). Throw std::bad_alloc.
void append_xml_text(std::string &out, const char *text);
void append_xml_attribute(std::string &out, const char *value);

} // namespace vorn
