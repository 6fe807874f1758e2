#pragma once

#include "model/types.h"

namespace vorn {

// Makes a collection the running configuration and leaves the one before to whoever still refers to it.
void set_running(vorn_instances *instances);

} // namespace vorn
