#pragma once

#include "servers/inform.h"
#include <string>

namespace vorn {

// Handles the parameters of one request and returns the answer without its line end. Throws std::bad_alloc
// before any handler has been called.
const char *answer_inform_request(const std::string &parameters);

} // namespace vorn
