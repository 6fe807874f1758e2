#include "core/accept.hpp"

#include "core/debug.h"
#include "core/socket.h"
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/socket.h>

namespace vorn {

namespace {

void report(const char *who, const char *what) {
  const int error = errno;
  char text[80];
  snprintf(text, sizeof text, "%s %s", who, what);
  errno = error;
  vorn_debug_perror(text);
}

} // namespace

Descriptor accept_connection(int listener, const char *who) noexcept {
  Descriptor client(accept(listener, nullptr, nullptr));
  if (!client) {
    report(who, "accept");
  } else if (fcntl(client.get(), F_SETFD, FD_CLOEXEC) < 0) {
    report(who, "fcntl");
    client.reset();
  } else if (vorn_socket_set_nonblock(client.get()) != 0) {
    client.release(); // reported and closed there
  }
  return client;
}

Received receive(int fd, char *buffer, size_t size) noexcept {
  ssize_t count;
  do count = recv(fd, buffer, size, MSG_DONTWAIT);
  while (count < 0 && errno == EINTR);
  if (count > 0) return {Received::State::data, {buffer, static_cast<size_t>(count)}};
  const bool later = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
  return {later ? Received::State::nothing_yet : Received::State::closed, {}};
}

} // namespace vorn
