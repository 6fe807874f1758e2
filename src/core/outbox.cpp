// The loop waits for readable descriptors only. An epoll instance is one, as soon as a socket that it watches
// for room to write has some: it stands in the loop for all sockets that something waits for.
#include "core/outbox.hpp"

#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/immortal.hpp"
#include "core/limits.hpp"
#include <cerrno>
#include <chrono>
#include <list>
#include <poll.h>
#include <string>
#include <sys/epoll.h>
#include <sys/socket.h>

namespace vorn {

namespace {

using Clock = std::chrono::steady_clock;

// What waits for room on one socket.
struct Pending {
  int fd;
  std::string text;
  OutboxDone done;
  void *data;
  size_t taken = 0; // of the text
  Clock::time_point last_taken = Clock::now();

  std::string_view rest() const { return std::string_view(text).substr(taken); }
};

struct Outbox {
  std::list<Pending> pending{};
  Descriptor room_watch{}; // the epoll instance
  bool watching = false;   // it is in the loop: something waits
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

enum class Sending { complete, some, nothing, gone };

// Sends what the system takes of the rest.
Sending send_rest(Pending &pending) {
  std::string_view rest = pending.rest();
  const size_t before = rest.size();
  if (!send_some(pending.fd, rest)) return Sending::gone;
  if (rest.size() < before) {
    pending.taken = pending.text.size() - rest.size();
    pending.last_taken = Clock::now();
    restart_timeout(pending);
  }
  return rest.empty() ? Sending::complete : rest.size() < before ? Sending::some : Sending::nothing;
}

// The loop may just not have come to send for long. Room as the loop is told of it counts, not the little
// that the system finds by making its buffer larger.
Sending look_again(Pending &pending) {
  pollfd state = {pending.fd, POLLOUT, 0};
  return poll(&state, 1, 0) > 0 ? send_rest(pending) : Sending::nothing;
}

void time_is_over(void *pending_data, void *) {
  Pending &pending = *static_cast<Pending *>(pending_data);
  const Sending sending = look_again(pending);
  if (sending != Sending::some) finish(pending, sending == Sending::complete);
}

void room_found(int watch, void *, void *) {
  epoll_event events[8];
  const int count = epoll_wait(watch, events, std::size(events), 0);
  // Looked up anew each time: finishing one may have made its owner forget another.
  for (int i = 0; i < count; ++i) {
    Pending *pending = find(events[i].data.fd);
    const Sending sending = pending ? send_rest(*pending) : Sending::nothing;
    if (sending == Sending::complete || sending == Sending::gone)
      finish(*pending, sending == Sending::complete);
  }
}

bool start_watch() {
  keep_outbox_descriptor();
  const int watch = outbox->room_watch.get();
  if (!outbox->watching && watch >= 0)
    outbox->watching = eloop_register_read_sock(watch, room_found, nullptr, nullptr) == 0;
  return outbox->watching;
}

void stop_watch_when_idle() {
  if (!outbox->pending.empty() || !outbox->watching) return;
  eloop_unregister_read_sock(outbox->room_watch.get());
  outbox->watching = false;
}

Delivery wait_for_room(int fd, std::string_view rest, OutboxDone done, void *data) {
  outbox->pending.push_back({fd, std::string(rest), done, data});
  epoll_event event = {.events = EPOLLOUT, .data = {.fd = fd}};
  if (start_watch() && epoll_ctl(outbox->room_watch.get(), EPOLL_CTL_ADD, fd, &event) == 0) {
    restart_timeout(outbox->pending.back());
    return Delivery::pending;
  }
  outbox->pending.pop_back();
  stop_watch_when_idle();
  return Delivery::failed;
}

} // namespace

Delivery outbox_send(int fd, std::string_view text, size_t limit, OutboxDone done, void *data) noexcept {
  return guarded(Delivery::failed, [&] {
    if (Pending *pending = find(fd)) {
      if (pending->rest().size() + text.size() > limit) return Delivery::failed;
      pending->text.erase(0, pending->taken);
      pending->taken = 0;
      pending->text += text;
      return Delivery::pending;
    }
    std::string_view rest = text;
    if (!send_some(fd, rest)) return Delivery::failed;
    if (rest.empty()) return Delivery::complete;
    return wait_for_room(fd, rest, done, data);
  });
}

std::chrono::milliseconds outbox_stalled(int fd) noexcept {
  Pending *pending = find(fd);
  if (!pending) return {};
  look_again(*pending); // its end is told in a pass of the loop
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - pending->last_taken);
}

void keep_outbox_descriptor() noexcept {
  if (!outbox->room_watch) outbox->room_watch.reset(epoll_create1(EPOLL_CLOEXEC));
}

void outbox_forget(int fd) noexcept {
  for (auto it = outbox->pending.begin(); it != outbox->pending.end(); ++it) {
    if (it->fd != fd) continue;
    eloop_cancel_timeout(time_is_over, &*it, nullptr);
    epoll_ctl(outbox->room_watch.get(), EPOLL_CTL_DEL, fd, nullptr);
    outbox->pending.erase(it);
    break;
  }
  stop_watch_when_idle();
}

} // namespace vorn
