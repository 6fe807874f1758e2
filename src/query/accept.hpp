// What the servers have in common.
#ifndef VORN_QUERY_ACCEPT_HPP
#define VORN_QUERY_ACCEPT_HPP

#include "core/handles.hpp"
#include <cstddef>
#include <string_view>

namespace vorn {

// The longest request that a client may send, in bytes: more than any configuration needs, and little enough
// to hold for every client at once.
constexpr size_t max_request_size = 8 * 1024 * 1024;

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

#endif
