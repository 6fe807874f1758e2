// A stream connection to one of the agent's sockets.
#pragma once

#include "core/handles.hpp"
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>

namespace vorn::client {

// There is no agent, or it does not answer in time.
struct Unreachable : std::runtime_error {
  using runtime_error::runtime_error;
};

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

// A connection that blocks, but never longer than its timeout at a time.
class Connection {
public:
  // Connects. A timeout of zero waits for ever. Throws Unreachable when there is no agent.
  Connection(const Endpoint &to, std::chrono::milliseconds timeout);

  // Takes over a socket that is connected, as one that a server has accepted is.
  explicit Connection(Descriptor socket) noexcept : socket_(std::move(socket)) {}

  // Sends all of the data. Returns false when the peer has closed the connection: what it sent before that
  // can still be read. Throws Unreachable when the peer takes nothing for too long.
  bool send(std::string_view data);

  // Tells the peer that nothing more will be sent.
  void end_sending() noexcept;

  // Waits for data and appends it. Returns false at the end of the stream. Throws Unreachable when none came
  // in time.
  bool receive(std::string &data);

  // Waits until the data, to which it appends, holds a whole message, and takes that as take_message does.
  // Returns false when the stream ends before; throws as receive does.
  bool receive_message(char end, std::string &data, std::string &message);

  int descriptor() const noexcept { return socket_.get(); }

private:
  Descriptor socket_;
};

// Cuts the first message from the data, and drops the byte that ends it. Returns false when it is not whole
// yet. The first `searched` bytes are known not to end one.
bool take_message(char end, std::string &data, std::string &message, std::size_t searched = 0);

} // namespace vorn::client
