#pragma once

#include "core/eloop.h"

namespace vorn {

// One pass of the loop: waits until something is ready or due, and calls its handlers. Returns false, without
// waiting, where eloop_run would end.
bool run_loop_once() noexcept;

} // namespace vorn
