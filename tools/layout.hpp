// Documents and their layout: the blank text and the comments that people put between elements.
#pragma once

#include "xml/handles.hpp"
#include <string>

namespace lsql {

using vorn::XmlDocument;
using vorn::XmlText;

enum class Layout {
  blanks,              // blank text with an element beside it
  blanks_and_comments, // that, and comments with an element beside them
};

// Parses a document, keeping every node and without a word on the standard error. Null when the text is not
// well-formed XML.
XmlDocument parse_xml(const std::string &text);

// Removes the layout between the document's elements. Text of an element without child elements is a value
// and stays, even when it is blank. Returns whether there was anything to remove.
bool drop_layout(xmlDoc *document, Layout what);

// The document as UTF-8 text, indented or on one line. An indented one should have had its blanks dropped
// first. Empty when memory has run out.
std::string xml_text(xmlDoc *document, bool indented);

} // namespace lsql
