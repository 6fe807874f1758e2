#pragma once

#include "process/watchdog.h"

namespace vorn {

// Whether the watchdog is open, and so resets the device when nobody feeds it.
bool watchdog_is_armed() noexcept;

} // namespace vorn
