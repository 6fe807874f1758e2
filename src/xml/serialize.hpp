// Writes XML as text, in the very bytes that libxml2 writes for a document without a declared encoding.
#pragma once

#include "core/growing_text.hpp"
#include <string>

namespace vorn {

// Append the text as content of an element, or as the value of an attribute in double quotes. Return false,
// with nothing appended, when XML cannot carry it (xml_can_carry). Throw std::bad_alloc. For std::string and
// GrowingText.
template <class Out> bool append_xml_text(Out &out, const char *text);
template <class Out> bool append_xml_attribute(Out &out, const char *value);

} // namespace vorn
