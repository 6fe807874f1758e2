// What comes in over sockets: connections and bytes.
#pragma once

#include "core/handles.hpp"
#include <cstddef>
#include <string_view>

namespace vorn {

// Accepts a connection: non-blocking and closed on exec. Returns none after a failure, which is reported with
// perror as "WHO accept" or "WHO fcntl".
Descriptor accept_connection(int listener, const char *who) noexcept;

// What one read from a socket has brought.
struct Received {
  enum class State { data, nothing_yet, closed } state;
  std::string_view bytes; // within the reader's buffer
};

Received receive(int fd, char *buffer, size_t size) noexcept;

} // namespace vorn
