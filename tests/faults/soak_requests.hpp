#pragma once

#include "faults/soak_model.hpp"
#include <random>

namespace vorn::soak {

// A request of any kind, most of them such as do something.
Request make_request(std::mt19937_64 &chance);

} // namespace vorn::soak
