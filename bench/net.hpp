// Sockets as both ends of the measurement use them.
#ifndef VORN_BENCH_NET_HPP
#define VORN_BENCH_NET_HPP

#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace bench {

// A request or reply of a connection that carries several ends with this byte.
inline constexpr char terminator = 0x13;

class Socket {
public:
  explicit Socket(int fd = -1) : fd_(fd) {}
  Socket(Socket &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Socket &operator=(Socket &&other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Socket() {
    if (fd_ >= 0) close(fd_);
  }
  int fd() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

private:
  int fd_;
};

// The local socket of that name in the abstract name space, padded with NULs to the full length.
// Connecting gives no socket when nobody listens; all else throws.
Socket listen_local(std::string_view name);
Socket connect_local(std::string_view name);

// A port of the loopback; 0 lets the system choose one, which port_of tells.
Socket listen_tcp(unsigned short port);
Socket connect_tcp(unsigned short port);
unsigned short port_of(const Socket &socket);

// Sends everything; throws when the other end is gone.
void send_all(const Socket &socket, std::string_view bytes);
// Returns what recv(2) gives, 0 at the end of the stream; throws on errors.
size_t receive(const Socket &socket, char *buffer, size_t size);

} // namespace bench

#endif
