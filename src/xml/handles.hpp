// Owners for what libxml2 hands out.
#pragma once

#include "core/handles.hpp"
#include <libxml/tree.h>

namespace vorn {

// xmlFree is a variable: it cannot be a template's argument.
struct XmlCloser {
  void operator()(xmlChar *text) const noexcept { xmlFree(text); }
};

using XmlDocument = std::unique_ptr<xmlDoc, Closer<xmlFreeDoc>>;
using XmlText = std::unique_ptr<xmlChar, XmlCloser>;

} // namespace vorn
