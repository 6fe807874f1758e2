#include "core/accept.hpp"

#include "core/debug.h"
#include "core/eloop.h"
#include "core/immortal.hpp"
#include "core/limits.hpp"
#include "core/socket.h"
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>

namespace vorn {

namespace {

// Given up to take a connection that there is no descriptor for: one that waits on would keep the loop busy.
Immortal<Descriptor> spare;

// What has failed since the last report.
struct Failures {
  const char *who;
  int error;
  unsigned turned_away;
  bool any;
};

Failures failures = {};
bool reported = false; // not long ago

void report(const char *who, const char *what) {
  const int error = errno;
  char text[80];
  snprintf(text, sizeof text, "%s %s", who, what);
  errno = error;
  vorn_debug_perror(text);
}

void report_failures();

void time_for_next_report(void *, void *) {
  reported = false;
  if (failures.any) report_failures();
}

void report_failures() {
  errno = failures.error;
  report(failures.who, "accept");
  if (failures.turned_away > 0)
    vorn_debug_eprintf("Connections turned away for lack of descriptors: %u.\n", failures.turned_away);
  failures = {};
  reported = eloop_register_timeout(accept_report_seconds, 0, time_for_next_report, nullptr, nullptr) == 0;
}

void add_failure(const char *who, int error, unsigned turned_away) {
  failures = {who, error, failures.turned_away + turned_away, true};
  if (!reported) report_failures();
}

// Takes a connection that cannot be served, and closes it.
Acceptance turn_away(int listener, const char *who, int error) {
  spare->reset();
  const bool taken = static_cast<bool>(Descriptor(accept(listener, nullptr, nullptr)));
  keep_spare_descriptor();
  add_failure(who, error, taken ? 1 : 0);
  return taken ? Acceptance::turned_away : Acceptance::impossible;
}

Acceptance without_connection(int listener, const char *who, int error) {
  switch (error) {
  case EAGAIN:
  case EINTR: return Acceptance::nobody;
  case EMFILE:
  case ENFILE: return turn_away(listener, who, error);
  case ECONNABORTED: // the connection's own fault: it is gone
  case EPROTO:
  case EPERM: add_failure(who, error, 0); return Acceptance::nobody;
  default: add_failure(who, error, 0); return Acceptance::impossible;
  }
}

} // namespace

void keep_spare_descriptor() noexcept {
  if (!*spare) spare->reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

Acceptance accept_connection(int listener, const char *who, Descriptor &client) noexcept {
  keep_spare_descriptor(); // it may have been lost to somebody else
  client.reset(accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!client) return without_connection(listener, who, errno);
  if (client.get() >= FD_SETSIZE) { // the loop cannot hold it
    client.reset();
    add_failure(who, EMFILE, 1);
    return Acceptance::turned_away;
  }
  return Acceptance::taken;
}

void keep_alive(int fd) noexcept {
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
  setsockopt(fd, IPPROTO_TCP, TCP_KEEPIDLE, &keep_alive_idle_seconds, sizeof keep_alive_idle_seconds);
  setsockopt(fd, IPPROTO_TCP, TCP_KEEPINTVL, &keep_alive_interval_seconds,
             sizeof keep_alive_interval_seconds);
  setsockopt(fd, IPPROTO_TCP, TCP_KEEPCNT, &keep_alive_probes, sizeof keep_alive_probes);
}

Received receive(int fd, char *buffer, size_t size) noexcept {
  ssize_t count;
  do count = recv(fd, buffer, size, MSG_DONTWAIT);
  while (count < 0 && errno == EINTR);
  if (count > 0) return {Received::State::data, {buffer, static_cast<size_t>(count)}};
  const bool later = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
  return {later ? Received::State::nothing_yet : Received::State::closed, {}};
}

bool is_readable(int fd) noexcept {
  pollfd state = {fd, POLLIN, 0};
  return poll(&state, 1, 0) > 0;
}

} // namespace vorn
