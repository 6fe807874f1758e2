#include "core/listener.hpp"

#include "core/accept.hpp"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/limits.hpp"
#include "core/outbox.hpp"

namespace vorn {

bool Listener::open(Descriptor socket, const Owner &owner) noexcept {
  keep_spare_descriptor();
  keep_outbox_descriptor();
  if (!socket || eloop_register_read_sock(socket.get(), somebody_comes, this, nullptr) != 0) return false;
  socket_ = std::move(socket);
  owner_ = owner;
  return true;
}

void Listener::somebody_comes(int, void *listener_data, void *) {
  Listener &listener = *static_cast<Listener *>(listener_data);
  size_t count = 1;
  while (listener.take_one() && count++ < accepts_a_pass)
    if (!is_readable(listener.socket_.get())) break; // nobody has to make room
}

// Returns whether there may be another one to take.
bool Listener::take_one() {
  if (const unsigned milliseconds = owner_.make_room(owner_.data)) {
    wait(milliseconds);
    return false;
  }
  Descriptor client;
  const Acceptance acceptance = accept_connection(socket_.get(), owner_.who, client);
  if (acceptance == Acceptance::taken)
    guarded(1, [&] {
      owner_.take(std::move(client), owner_.data);
      return 0;
    });
  if (acceptance == Acceptance::impossible) wait(accept_retry_ms);
  return acceptance == Acceptance::taken || acceptance == Acceptance::turned_away;
}

// Without memory for the timeout it goes on listening, which costs time only.
void Listener::wait(unsigned milliseconds) {
  if (eloop_register_timeout(milliseconds / 1000, milliseconds % 1000 * 1000, time_is_over, this, nullptr) !=
      0)
    return;
  eloop_unregister_read_sock(socket_.get());
  waiting_ = true;
}

void Listener::time_is_over(void *listener, void *) { static_cast<Listener *>(listener)->resume(); }

void Listener::resume() noexcept {
  if (!waiting_) return;
  eloop_cancel_timeout(time_is_over, this, nullptr);
  waiting_ = eloop_register_read_sock(socket_.get(), somebody_comes, this, nullptr) != 0;
  if (waiting_)
    eloop_register_timeout(accept_retry_ms / 1000, accept_retry_ms % 1000 * 1000, time_is_over, this,
                           nullptr);
}

} // namespace vorn
