// What outsiders may ask for at most.
#pragma once

#include <cstddef>

namespace vorn {

// The longest request that a client may send, in bytes: more than any configuration needs, and little enough
// to hold for every client at once.
constexpr size_t max_request_size = 8 * 1024 * 1024;

} // namespace vorn
