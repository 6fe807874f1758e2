#include "net.hpp"

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

constexpr int backlog = 50;

[[noreturn]] void fail(const char *what) {
  throw std::runtime_error(std::string(what) + ": " + strerror(errno));
}

Socket open_socket(int family) {
  Socket socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket) fail("socket");
  return socket;
}

sockaddr_un local_address(std::string_view name) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
  return address;
}

sockaddr_in loopback_address(unsigned short port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

template <class Address> const sockaddr *generic(const Address &address) {
  return reinterpret_cast<const sockaddr *>(&address);
}

template <class Address> Socket listen_at(int family, const Address &address) {
  Socket socket = open_socket(family);
  if (bind(socket.fd(), generic(address), sizeof address) != 0) fail("bind");
  if (listen(socket.fd(), backlog) != 0) fail("listen");
  return socket;
}

template <class Address> Socket connect_to(int family, const Address &address) {
  Socket socket = open_socket(family);
  if (connect(socket.fd(), generic(address), sizeof address) == 0) return socket;
  if (errno != ECONNREFUSED) fail("connect");
  return Socket();
}

} // namespace

Socket listen_local(std::string_view name) { return listen_at(AF_UNIX, local_address(name)); }
Socket connect_local(std::string_view name) { return connect_to(AF_UNIX, local_address(name)); }
Socket listen_tcp(unsigned short port) { return listen_at(AF_INET, loopback_address(port)); }
Socket connect_tcp(unsigned short port) { return connect_to(AF_INET, loopback_address(port)); }

unsigned short port_of(const Socket &socket) {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  if (getsockname(socket.fd(), reinterpret_cast<sockaddr *>(&address), &size) != 0) fail("getsockname");
  return ntohs(address.sin_port);
}

void send_all(const Socket &socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = send(socket.fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0) fail("send");
    bytes.remove_prefix(static_cast<size_t>(count));
  }
}

size_t receive(const Socket &socket, char *buffer, size_t size) {
  const ssize_t count = recv(socket.fd(), buffer, size, 0);
  if (count < 0) fail("recv");
  return static_cast<size_t>(count);
}

} // namespace bench
