#ifndef VORN_PROCESS_REBOOT_HPP
#define VORN_PROCESS_REBOOT_HPP

#include "process/reboot.h"

namespace vorn {

// Whether vorn_reboot was called.
bool reboot_requested();

} // namespace vorn

#endif
