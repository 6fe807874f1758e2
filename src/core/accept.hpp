// What comes in over sockets: connections and bytes.
#pragma once

#include "core/handles.hpp"
#include <cstddef>
#include <string_view>

namespace vorn {

enum class Acceptance {
  taken,
  turned_away, // there is no descriptor for it: it was closed at once
  nobody,      // nobody is there any more
  impossible   // somebody is there, and stays
};

// Makes sure that connections can be turned away when descriptors run out, by keeping one for them.
void keep_spare_descriptor() noexcept;

// Accepts a connection: non-blocking and closed on exec. A failure is reported with perror as "WHO accept" or
// "WHO fcntl", those of accept with the number of connections that were turned away and not more often than
// accept_report_seconds allow.
Acceptance accept_connection(int listener, const char *who, Descriptor &client) noexcept;

// Lets the kernel find out when a TCP peer has vanished: the connection then ends with an error.
void keep_alive(int fd) noexcept;

// What one read from a socket has brought.
struct Received {
  enum class State { data, nothing_yet, closed } state;
  std::string_view bytes; // within the reader's buffer
};

Received receive(int fd, char *buffer, size_t size) noexcept;

// The same, but what was read stays to be read again.

// Tells whether bytes, connections or the end of the stream wait to be read. Whoever was silent by the clock
// may just not have been listened to.
bool is_readable(int fd) noexcept;

} // namespace vorn
