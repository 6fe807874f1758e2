// The loop waits for readable descriptors only. An epoll instance is one, as soon as a socket that it watches
// for room to write has some: it stands in the loop for all sockets that something is kept for.
#include "core/outbox.hpp"

#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/handles.hpp"
#include <cerrno>
#include <list>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace vorn {

namespace {

// What is kept for one socket.
struct Kept {
  int fd;
  std::string rest;
  OutboxDone done;
  void *data;
};

std::list<Kept> outbox;
Descriptor room_watch; // the epoll instance; open and in the loop while anything is kept

Kept *find(int fd) {
  for (Kept &kept : outbox)
    if (kept.fd == fd) return &kept;
  return nullptr;
}

// Sends what the system takes now and drops it from the text. False when the reader is gone.
bool send_some(int fd, std::string_view &text) {
  while (!text.empty()) {
    const ssize_t count = send(fd, text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count >= 0)
      text.remove_prefix(static_cast<size_t>(count));
    else if (errno != EINTR)
      return errno == EAGAIN || errno == EWOULDBLOCK;
  }
  return true;
}

void patience_is_over(void *fd_data, void *);

void restart_patience(Kept &kept) {
  eloop_cancel_timeout(patience_is_over, &kept, nullptr);
  eloop_register_timeout(outbox_patience_seconds, 0, patience_is_over, &kept, nullptr);
}

void finish(Kept &kept, bool sent) {
  const Kept done = {kept.fd, {}, kept.done, kept.data};
  outbox_forget(done.fd);
  done.done(done.fd, sent, done.data);
}

void patience_is_over(void *kept, void *) { finish(*static_cast<Kept *>(kept), false); }

void send_rest(Kept &kept) {
  std::string_view rest = kept.rest;
  const bool alive = send_some(kept.fd, rest);
  if (!alive || rest.empty()) return finish(kept, alive);
  if (rest.size() == kept.rest.size()) return;
  kept.rest.erase(0, kept.rest.size() - rest.size());
  restart_patience(kept);
}

void room_found(int watch, void *, void *) {
  epoll_event events[8];
  const int count = epoll_wait(watch, events, std::size(events), 0);
  // Looked up anew each time: finishing one may have made its owner forget another.
  for (int i = 0; i < count; ++i)
    if (Kept *kept = find(events[i].data.fd)) send_rest(*kept);
}

bool open_watch() {
  if (room_watch) return true;
  room_watch.reset(epoll_create1(EPOLL_CLOEXEC));
  if (room_watch && eloop_register_read_sock(room_watch.get(), room_found, nullptr, nullptr) == 0)
    return true;
  room_watch.reset();
  return false;
}

void close_watch_when_idle() {
  if (!outbox.empty() || !room_watch) return;
  eloop_unregister_read_sock(room_watch.get());
  room_watch.reset();
}

Delivery keep(int fd, std::string_view rest, OutboxDone done, void *data) {
  outbox.push_back({fd, std::string(rest), done, data});
  epoll_event event = {.events = EPOLLOUT, .data = {.fd = fd}};
  if (open_watch() && epoll_ctl(room_watch.get(), EPOLL_CTL_ADD, fd, &event) == 0) {
    restart_patience(outbox.back());
    return Delivery::pending;
  }
  outbox.pop_back();
  close_watch_when_idle();
  return Delivery::failed;
}

} // namespace

Delivery outbox_send(int fd, std::string_view text, size_t backlog, OutboxDone done, void *data) noexcept {
  return guarded(Delivery::failed, [&] {
    if (Kept *kept = find(fd)) {
      if (kept->rest.size() + text.size() > backlog) return Delivery::failed;
      kept->rest += text;
      return Delivery::pending;
    }
    std::string_view rest = text;
    if (!send_some(fd, rest)) return Delivery::failed;
    if (rest.empty()) return Delivery::complete;
    return keep(fd, rest, done, data);
  });
}

void outbox_forget(int fd) noexcept {
  for (auto it = outbox.begin(); it != outbox.end(); ++it) {
    if (it->fd != fd) continue;
    eloop_cancel_timeout(patience_is_over, &*it, nullptr);
    epoll_ctl(room_watch.get(), EPOLL_CTL_DEL, fd, nullptr);
    outbox.erase(it);
    break;
  }
  close_watch_when_idle();
}

} // namespace vorn
