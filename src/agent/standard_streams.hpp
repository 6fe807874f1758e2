#pragma once

namespace vorn {

// Opens those of the descriptors 0 to 2 that are closed, on /dev/null: what is opened next would become one
// of them, and be lost when the standard input is replaced, or be written to as the standard output.
void fill_standard_streams() noexcept;

// Makes /dev/null the standard input.
void release_standard_input() noexcept;

} // namespace vorn
