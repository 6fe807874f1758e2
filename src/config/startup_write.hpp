// Writes the startup file so that a device that dies meanwhile comes up on its old or its new configuration.
//
//   step                                     | cut off after it, a boot finds
//   the copy beside, under another name      | the old startup file
//   the copy gets its name                   | the old startup file, and a copy that it removes
//   the startup file is marked as unfinished | no startup file, and the copy
//   it is written in place                   | the same
//   the mark is taken away                   | the new startup file, and a copy that it removes
//   the copy is removed                      | the new startup file
//
// Each step is on the disk before the next one begins.
#pragma once

#include "config/config_reader.hpp"
#include <string_view>

namespace vorn {

// Returns 0, or 1 with the reason logged and the startup file as it was.
int replace_startup(std::string_view content) noexcept;

// Reads the startup file, or, when it was cut off, its copy, which becomes the startup file.
ReadConfig open_startup() noexcept;

// Keeps the beginning of the startup file, which cannot be used, for whoever wants to see why.
void keep_startup() noexcept;

// Removes the startup file, and what a save that was cut off would bring back.
void remove_startup() noexcept;

} // namespace vorn
