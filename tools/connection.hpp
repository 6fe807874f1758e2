// A stream connection to one of the agent's sockets.
#ifndef LSQL_CONNECTION_HPP
#define LSQL_CONNECTION_HPP

#include "core/handles.hpp"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <sys/socket.h>

namespace lsql {

using vorn::Descriptor;

// Where one of the agent's servers listens.
struct Endpoint {
  sockaddr_storage address;
  socklen_t length;
  std::string description; // for messages
};

// A local socket in the abstract namespace; the name has at most 107 characters.
Endpoint local_endpoint(std::string_view name);

// A TCP port on the loopback address.
Endpoint tcp_endpoint(std::uint16_t port);

// A connection that blocks, but never longer than its patience at a time.
class Connection {
public:
  // Connects. Zero patience waits for ever. Throws Failure (EXIT_UNREACHABLE) when there is no agent.
  Connection(const Endpoint &to, std::chrono::milliseconds patience);

  // Sends all of the data. Returns early when the agent has closed the connection: what it sent before that
  // can still be read. Throws Failure (EXIT_UNREACHABLE) when the agent takes nothing for too long.
  void send(std::string_view data);

  // Tells the agent that nothing more will be sent.
  void end_sending() noexcept;

  // Waits for data and appends it. Returns false at the end of the stream. Throws Failure
  // (EXIT_UNREACHABLE) when none came in time.
  bool receive(std::string &data);

  int descriptor() const noexcept { return socket_.get(); }

private:
  Descriptor socket_;
};

} // namespace lsql

#endif
