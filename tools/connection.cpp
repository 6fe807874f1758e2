#include "connection.hpp"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/time.h>
#include <sys/un.h>

namespace vorn::client {

namespace {

template <typename Address> Endpoint endpoint(const Address &address, std::string description) {
  Endpoint made{{}, sizeof address, std::move(description)};
  std::memcpy(&made.address, &address, sizeof address);
  return made;
}

Unreachable unreachable(const std::string &what, int error) {
  return Unreachable(what + ": " + std::strerror(error));
}

// Blocking calls then end with EAGAIN.
void limit_waiting(int fd, std::chrono::milliseconds timeout) {
  timeval limit{};
  limit.tv_sec = static_cast<time_t>(timeout.count() / 1000);
  limit.tv_usec = static_cast<suseconds_t>(timeout.count() % 1000 * 1000);
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

bool closed_by_peer(int error) { return error == EPIPE || error == ECONNRESET; }

// What a send or a receive that ended with this error means.
Unreachable broken_off(int error) {
  if (error == EAGAIN || error == EWOULDBLOCK) return Unreachable("the agent did not answer in time");
  return unreachable("the connection failed", error);
}

} // namespace

Endpoint local_endpoint(std::string_view name) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  // The agent binds the whole path area, and an abstract name is all the bytes of its address: the zeros
  // after the name are part of it.
  name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
  return endpoint(address, "local socket " + std::string(name));
}

Endpoint tcp_endpoint(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return endpoint(address, "TCP port " + std::to_string(port));
}

Connection::Connection(const Endpoint &to, std::chrono::milliseconds timeout)
    : socket_(::socket(to.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  if (!socket_) throw unreachable("cannot make a socket", errno);
  limit_waiting(socket_.get(), timeout);
  if (::connect(socket_.get(), reinterpret_cast<const sockaddr *>(&to.address), to.length) != 0)
    throw unreachable("cannot reach the agent (" + to.description + ")", errno);
}

bool Connection::send(std::string_view data) {
  while (!data.empty()) {
    const ssize_t sent = ::send(socket_.get(), data.data(), data.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      data.remove_prefix(static_cast<std::size_t>(sent));
    } else if (closed_by_peer(errno)) {
      return false;
    } else if (errno != EINTR) {
      throw broken_off(errno);
    }
  }
  return true;
}

void Connection::end_sending() noexcept { ::shutdown(socket_.get(), SHUT_WR); }

bool Connection::receive(std::string &data) {
  char buffer[65536];
  ssize_t got = 0;
  do {
    got = ::recv(socket_.get(), buffer, sizeof buffer, 0);
  } while (got < 0 && errno == EINTR);
  if (got < 0 && !closed_by_peer(errno)) throw broken_off(errno);
  if (got <= 0) return false;
  data.append(buffer, static_cast<std::size_t>(got));
  return true;
}

bool Connection::receive_message(char end, std::string &data, std::string &message) {
  for (std::size_t searched = 0; !take_message(end, data, message, searched);) {
    searched = data.size();
    if (!receive(data)) return false;
  }
  return true;
}

bool take_message(char end, std::string &data, std::string &message, std::size_t searched) {
  const std::size_t length = data.find(end, searched);
  if (length == std::string::npos) return false;
  message.swap(data); // a large message is not copied
  data.assign(message, length + 1);
  message.resize(length);
  return true;
}

} // namespace vorn::client
