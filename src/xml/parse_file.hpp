// Parses a file that may be damaged or made to do harm.
#pragma once

#include "xml/handles.hpp"

namespace vorn {

struct ParsedFile {
  XmlDocument document;
  // Without a document: it may be a good one, memory or descriptors did not suffice to tell.
  bool undecided = false;
};

// Parses as xmlParseFile does, in every encoding that it takes, compressed files included. A file whose
// document type declaration has parameter entities or attribute declarations is refused as if it were not
// well-formed: a few hundred bytes of these keep libxml2 busy for hours. All reasons are logged but what
// libxml2 itself writes to standard error.
ParsedFile parse_file(const char *path) noexcept;

} // namespace vorn
