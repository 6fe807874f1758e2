// Reads the format of the configuration file.
#pragma once

#include "xml/handles.hpp"

namespace vorn {

// Returns the parsed file, or null, with the reason logged, when it is not a configuration.
XmlDocument open_config(const char *path) noexcept;

// Makes a new running configuration of a document and commits it. The collection before is not freed. Returns
// 0, or 1 without memory, with the running configuration as it was.
int load_config(XmlDocument document) noexcept;

} // namespace vorn
