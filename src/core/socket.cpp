#include "core/socket.h"

#include "core/debug.h"
#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/limits.hpp"
#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using vorn::Descriptor;

// Reports `errno` and ends the attempt: the descriptor is closed after the report, which it must not disturb.
int fail(Descriptor &socket, const char *text) {
  vorn_debug_perror(text);
  socket.reset();
  return -1;
}

int fail_named(Descriptor &socket, const char *format, const char *name) {
  const int error = errno;
  char text[160];
  snprintf(text, sizeof text, format, name);
  errno = error;
  return fail(socket, text);
}

// Adds and removes status flags. A failure is reported and the descriptor closed: it must not be used
// further.
int change_status_flags(int fd, int add, int remove) {
  const int flags = fcntl(fd, F_GETFL);
  if (flags >= 0 && fcntl(fd, F_SETFL, (flags | add) & ~remove) >= 0) return 0;
  Descriptor closed(fd);
  fail(closed, "fcntl");
  return 1;
}

bool set_close_on_exec(const Descriptor &socket) { return fcntl(socket.get(), F_SETFD, FD_CLOEXEC) >= 0; }

// The absolute form of a path: of the file that stands there, which is removed, or else of its directory and
// the name in it. A path that leads nowhere is left as it is, for bind to refuse.
std::string canonical_path(const std::string &path) {
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved)) {
    unlink(resolved);
    return resolved;
  }
  const size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  if (!realpath(directory.c_str(), resolved)) return path;
  return std::string(resolved) + "/" + path.substr(slash + 1);
}

sockaddr_un local_address(const char *name, bool abstract) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = abstract ? std::string(1, '\0') + name : canonical_path(name);
  const size_t room = abstract ? sizeof address.sun_path : sizeof address.sun_path - 1;
  memcpy(address.sun_path, path.data(), std::min(path.size(), room));
  return address;
}

template <class Address> bool bind_to(const Descriptor &socket, const Address &address) {
  return bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

// What all listening sockets have in common before they are bound; `socket` is none after a failure.
void prepare(Descriptor &socket) {
  if (vorn_socket_set_nonblock(socket.get()) != 0) {
    socket.release(); // reported and closed there
    return;
  }
  if (!set_close_on_exec(socket)) fail(socket, "fcntl");
}

int listening(Descriptor &socket) {
  if (listen(socket.get(), vorn::listen_backlog) != 0) return fail(socket, "listen");
  return socket.release();
}

} // namespace

int vorn_socket_get_unix(const char *name, unsigned flags) noexcept {
  if (!name) {
    vorn_debug_eprintf("Null name.\n");
    return -1;
  }
  Descriptor server(socket(AF_UNIX, SOCK_STREAM, 0));
  if (!server) return fail(server, "socket");
  prepare(server);
  if (!server) return -1;
  return vorn::guarded(-1, [&] {
    if (!bind_to(server, local_address(name, flags & VORN_SOCKET_ABSTRACT)))
      return fail_named(server, "Unable to bind to domain %s", name);
    return listening(server);
  });
}

int vorn_socket_get_tcp(unsigned short port, int local_only) noexcept {
  Descriptor server(socket(AF_INET, SOCK_STREAM, 0));
  if (!server) return fail(server, "socket");
  const int on = 1;
  setsockopt(server.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  prepare(server);
  if (!server) return -1;

  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(local_only ? INADDR_LOOPBACK : INADDR_ANY);
  if (!bind_to(server, address))
    return fail_named(server, "Unable to bind to port %s", std::to_string(port).c_str());
  return listening(server);
}

int vorn_socket_get_udp() noexcept {
  Descriptor client(socket(AF_INET, SOCK_DGRAM, 0));
  if (!client) return fail(client, "socket");
  if (!set_close_on_exec(client)) return fail(client, "fcntl");
  return client.release();
}

int vorn_socket_set_nonblock(int fd) noexcept { return change_status_flags(fd, O_NONBLOCK, 0); }

int vorn_socket_set_block(int fd) noexcept { return change_status_flags(fd, 0, O_NONBLOCK); }
