#pragma once

#include "process/reboot.h"

namespace vorn {

// Whether vorn_reboot was called.
bool reboot_requested();

} // namespace vorn
