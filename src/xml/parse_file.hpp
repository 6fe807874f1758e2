// Parses a file that may be damaged or made to do harm.
#pragma once

#include "xml/handles.hpp"
#include <libxml/parser.h>

namespace vorn {

struct ParsedFile {
  XmlDocument document;
  // Without a document: it may be a good one, memory or descriptors did not suffice to tell.
  bool undecided = false;
};

// Who puts handlers of its own into the parser before it begins. These may stop it (xmlStopParser).
class ParserUser {
public:
  virtual ~ParserUser() = default;
  virtual int set_up(xmlParserCtxt &parser) noexcept = 0; // returns libxml2's options
};

// Parses as xmlParseFile does, in every encoding that it takes, compressed files included. A file whose
// document type declaration has parameter entities or attribute declarations is refused as if it were not
// well-formed: a few hundred bytes of these keep libxml2 busy for hours. All reasons are logged but what
// libxml2 itself writes to standard error. With handlers that build no document, an empty one stands for a
// file that is well-formed.
ParsedFile parse_file(const char *path, ParserUser *user = nullptr) noexcept;

} // namespace vorn
