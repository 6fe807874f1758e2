// Reads the format of the configuration file.
#pragma once

#include "xml/parse_file.hpp"

namespace vorn {

// Without a document, with the reason logged, when the file is not a configuration.
ParsedFile open_config(const char *path) noexcept;

// Makes a new running configuration of a document and commits it. The collection before is not freed. Returns
// 0, or 1 without memory, with the running configuration as it was. A configuration that is not whole for
// want of memory is not saved.
int load_config(XmlDocument document) noexcept;

} // namespace vorn
