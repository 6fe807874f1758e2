// The bytes of a file, all or none.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vorn {

// Return false with the reason in errno: EFBIG for more than `limit` bytes, ENOMEM without memory.
bool read_whole(int fd, size_t limit, std::string &bytes) noexcept;
bool read_whole(const char *path, size_t limit, std::string &bytes) noexcept;

// Writes everything from the descriptor's position on. Returns false with the reason in errno.
bool write_whole(int fd, std::string_view bytes) noexcept;

// Whether an error says that something has run out which may be there the next time: memory or descriptors.
bool is_shortage(int error) noexcept;

} // namespace vorn
