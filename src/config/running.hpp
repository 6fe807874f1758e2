#pragma once

#include "model/types.h"

namespace vorn {

// Makes a collection the running configuration and leaves the one before to whoever still refers to it.
void set_running(vorn_instances *instances);

// Makes a collection the running configuration and frees the one before, with all its instances; null, and
// the running one itself, change nothing.
void replace_running(vorn_instances *instances) noexcept;

// From here on the running configuration is not saved, since it is not all that the startup file holds: what
// it lacks would be lost for good. Logs the reason, such as "memory ran out".
void refuse_saving(const char *reason) noexcept;

// Whether it may be saved; logs why not.
bool may_be_saved() noexcept;

} // namespace vorn
