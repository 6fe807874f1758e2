// The hash of the keyed tables.
#pragma once

#include <cstdint>
#include <string_view>

namespace vorn {

// SipHash-1-3 (Aumasson and Bernstein, 2012) with a key that the process draws when it starts: who chooses
// names cannot choose them so that they meet in one bucket. A seed alone would not do for a weaker hash.
uint32_t hash_bytes(std::string_view bytes) noexcept;

} // namespace vorn
