// The loop waits for readable descriptors only. An epoll instance is one, as soon as a socket that it watches
// for room to write has some: it stands in the loop for all sockets that something waits for.
#include "core/outbox.hpp"

#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/immortal.hpp"
#include <cerrno>
#include <list>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace vorn {

namespace {

// What waits for room on one socket.
struct Pending {
  int fd;
  std::string rest;
  OutboxDone done;
  void *data;
};

struct Outbox {
  std::list<Pending> pending{};
  Descriptor room_watch{}; // the epoll instance; open and in the loop while anything waits
};

Immortal<Outbox> outbox;

Pending *find(int fd) {
  for (Pending &pending : outbox->pending)
    if (pending.fd == fd) return &pending;
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

void time_is_over(void *pending, void *);

void restart_timeout(Pending &pending) {
  eloop_cancel_timeout(time_is_over, &pending, nullptr);
  eloop_register_timeout(outbox_timeout_seconds, 0, time_is_over, &pending, nullptr);
}

void finish(Pending &pending, bool sent) {
  const Pending done = {pending.fd, {}, pending.done, pending.data};
  outbox_forget(done.fd);
  done.done(done.fd, sent, done.data);
}

void time_is_over(void *pending, void *) { finish(*static_cast<Pending *>(pending), false); }

void send_rest(Pending &pending) {
  std::string_view rest = pending.rest;
  const bool alive = send_some(pending.fd, rest);
  if (!alive || rest.empty()) {
    finish(pending, alive);
    return;
  }
  if (rest.size() == pending.rest.size()) return;
  pending.rest.erase(0, pending.rest.size() - rest.size());
  restart_timeout(pending);
}

void room_found(int watch, void *, void *) {
  epoll_event events[8];
  const int count = epoll_wait(watch, events, std::size(events), 0);
  // Looked up anew each time: finishing one may have made its owner forget another.
  for (int i = 0; i < count; ++i)
    if (Pending *pending = find(events[i].data.fd)) send_rest(*pending);
}

bool open_watch() {
  Descriptor &room_watch = outbox->room_watch;
  if (room_watch) return true;
  room_watch.reset(epoll_create1(EPOLL_CLOEXEC));
  if (room_watch && eloop_register_read_sock(room_watch.get(), room_found, nullptr, nullptr) == 0)
    return true;
  room_watch.reset();
  return false;
}

void close_watch_when_idle() {
  if (!outbox->pending.empty() || !outbox->room_watch) return;
  eloop_unregister_read_sock(outbox->room_watch.get());
  outbox->room_watch.reset();
}

Delivery wait_for_room(int fd, std::string_view rest, OutboxDone done, void *data) {
  outbox->pending.push_back({fd, std::string(rest), done, data});
  epoll_event event = {.events = EPOLLOUT, .data = {.fd = fd}};
  if (open_watch() && epoll_ctl(outbox->room_watch.get(), EPOLL_CTL_ADD, fd, &event) == 0) {
    restart_timeout(outbox->pending.back());
    return Delivery::pending;
  }
  outbox->pending.pop_back();
  close_watch_when_idle();
  return Delivery::failed;
}

} // namespace

Delivery outbox_send(int fd, std::string_view text, size_t limit, OutboxDone done, void *data) noexcept {
  return guarded(Delivery::failed, [&] {
    if (Pending *pending = find(fd)) {
      if (pending->rest.size() + text.size() > limit) return Delivery::failed;
      pending->rest += text;
      return Delivery::pending;
    }
    std::string_view rest = text;
    if (!send_some(fd, rest)) return Delivery::failed;
    if (rest.empty()) return Delivery::complete;
    return wait_for_room(fd, rest, done, data);
  });
}

void outbox_forget(int fd) noexcept {
  for (auto it = outbox->pending.begin(); it != outbox->pending.end(); ++it) {
    if (it->fd != fd) continue;
    eloop_cancel_timeout(time_is_over, &*it, nullptr);
    epoll_ctl(outbox->room_watch.get(), EPOLL_CTL_DEL, fd, nullptr);
    outbox->pending.erase(it);
    break;
  }
  close_watch_when_idle();
}

} // namespace vorn
