// Reads the format of the configuration file.
#pragma once

#include "config/config_draft.hpp"

namespace vorn {

// What was read and waits to be loaded.
struct ReadConfig {
  std::unique_ptr<ConfigDraft> draft;
  // Without one: the file may be a good one, memory or descriptors did not suffice to tell.
  bool undecided = false;
};

// Without a draft, with the reason logged, when the file is not a configuration.
ReadConfig open_config(const char *path) noexcept;

// Whether it is one; logs why not.
bool is_config(const char *path) noexcept;

// Makes a new running configuration of a draft and commits it. The collection before is not freed. Returns 0,
// or 1 without memory, with the running configuration as it was. A configuration that is not whole for want
// of memory is not saved.
int load_config(std::unique_ptr<ConfigDraft> draft) noexcept;

} // namespace vorn
