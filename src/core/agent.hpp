#ifndef VORN_CORE_AGENT_HPP
#define VORN_CORE_AGENT_HPP

#include "core/agent.h"

namespace vorn {

// Whether vorn_reboot was called.
bool reboot_requested();

} // namespace vorn

#endif
