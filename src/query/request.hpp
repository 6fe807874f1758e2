// From the text of a request to its document.
#pragma once

#include "xml/handles.hpp"

namespace vorn {

struct ParsedRequest {
  XmlDocument document{};        // null for what is no request
  const char *refusal = nullptr; // an error for the reply when the text cannot be evaluated for its size, or
                                 // because memory ran out
};

// Logs why a text is refused. What libxml2 could not read whole because memory ran out is no document.
ParsedRequest parse_request(const char *text) noexcept;

} // namespace vorn
