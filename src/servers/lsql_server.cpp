// Requests and replies are each ended by one byte. Between requests everything but the "<" that starts one is
// passed over.
//
//   state      | waits for          | then
//   between    | "<"                | in request; after a minute it makes room for one that finds no place
//   in request | the ending byte    | evaluate; between when the reply goes at once, else replying
//              | 10 seconds' silence| closed
//   replying   | room for the reply | between; closed when nothing of it is taken
//
// A client whose reply is waiting for room is not read from: it cannot make the agent keep more than one
// reply. One request a pass is taken from each: who has sent many does not keep the others waiting.
#include "servers/lsql_server.hpp"

#include "core/accept.hpp"
#include "core/debug.h"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/limits.hpp"
#include "core/listener.hpp"
#include "core/outbox.hpp"
#include "core/socket.h"
#include "query/query.h"
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>

namespace vorn {

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned short port = 8002;
constexpr char terminator = 0x13;

// One connection's place; free without a socket.
struct Slot {
  Descriptor socket{};
  std::string request{}; // what has come of one, from its "<" on
  std::string ahead{};   // what has come after it, for the next pass
  bool replying = false;
  Clock::time_point last_sign{};

  void clear() { *this = Slot(); }
};

struct Server {
  Listener listener{};
  std::array<Slot, max_lsql_connections> slots{};
};

Immortal<Server> server;

void request_is_late(void *slot, void *);
void take_ahead(void *slot, void *);

void end_connection(Slot &slot) {
  const int fd = slot.socket.get();
  eloop_cancel_timeout(request_is_late, &slot, nullptr);
  eloop_cancel_timeout(take_ahead, &slot, nullptr);
  outbox_forget(fd);
  eloop_unregister_read_sock(fd);
  slot.clear();
  // The notify server's words, shared deliberately.
  vorn_debug_1printf("Notify connection ended (fd %d).\n", fd);
}

void connection_is_readable(int, void *slot, void *);

// Has the loop go on with what has come already, in its next pass. False without memory.
bool go_on(Slot &slot) {
  return slot.ahead.empty() || slot.replying || eloop_register_timeout(0, 0, take_ahead, &slot, nullptr) == 0;
}

void reply_is_over(int fd, bool sent, void *slot_data) {
  Slot &slot = *static_cast<Slot *>(slot_data);
  slot.replying = false;
  slot.last_sign = Clock::now();
  if (!sent || eloop_register_read_sock(fd, connection_is_readable, &slot, nullptr) != 0 || !go_on(slot))
    end_connection(slot);
}

// Evaluates the request that has come and sends the reply.
void answer(Slot &slot) {
  const CString result(vorn_query_eval(slot.request.c_str()));
  slot.request = {};
  if (!result) return;
  const int fd = slot.socket.get();
  const Delivery delivery = guarded(Delivery::failed, [&] {
    return outbox_send(fd, std::string(result.get()) + terminator, SIZE_MAX, reply_is_over, &slot);
  });
  if (delivery == Delivery::failed) {
    end_connection(slot);
  } else if (delivery == Delivery::pending) {
    slot.replying = true;
    eloop_unregister_read_sock(fd);
  }
}

// Adds to the request; one that is too long, or finds no memory, is dropped and the next "<" starts over.
void extend_request(Slot &slot, std::string_view bytes) {
  const bool extended = guarded(false, [&] {
    if (slot.request.size() + bytes.size() > max_request_size) return false;
    slot.request += bytes;
    return true;
  });
  if (extended) return;
  vorn_debug_eprintf("LSQL request of more than %zu bytes dropped (fd %d).\n", slot.request.size(),
                     slot.socket.get());
  slot.request = {};
}

// How much of the bytes is taken in this pass: through the end of one request.
size_t through_request(std::string_view bytes, bool started) {
  const size_t start = started ? 0 : bytes.find('<');
  const size_t end = bytes.find(terminator, start);
  return start == std::string_view::npos || end == std::string_view::npos ? bytes.size() : end + 1;
}

void take_bytes(Slot &slot, std::string_view bytes) {
  if (slot.request.empty()) bytes.remove_prefix(std::min(bytes.find('<'), bytes.size()));
  const bool whole = bytes.ends_with(terminator);
  if (whole) bytes.remove_suffix(1);
  extend_request(slot, bytes);
  if (whole && !slot.request.empty()) answer(slot);
}

void restart_timeout(Slot &slot) {
  slot.last_sign = Clock::now();
  eloop_cancel_timeout(request_is_late, &slot, nullptr);
  if (!slot.request.empty()) eloop_register_timeout(silence_seconds, 0, request_is_late, &slot, nullptr);
}

void request_is_late(void *slot_data, void *) {
  Slot &slot = *static_cast<Slot *>(slot_data);
  if (!slot.ahead.empty() || is_readable(slot.socket.get())) {
    restart_timeout(slot);
    return;
  }
  vorn_debug_1printf("LSQL client sent nothing for %u seconds - dropped.\n", silence_seconds);
  end_connection(slot);
}

void take_one_request(Slot &slot, std::string_view bytes) {
  const size_t count = through_request(bytes, !slot.request.empty());
  const bool kept = guarded(false, [&] {
    slot.ahead = bytes.substr(count);
    return true;
  });
  take_bytes(slot, bytes.substr(0, count));
  if (!slot.socket) return;
  restart_timeout(slot);
  if (!kept || !go_on(slot)) end_connection(slot);
}

void take_ahead(void *slot_data, void *) {
  Slot &slot = *static_cast<Slot *>(slot_data);
  take_one_request(slot, std::exchange(slot.ahead, {}));
}

// While something has come that is not taken yet, the rest stays with the kernel.
void connection_is_readable(int fd, void *slot_data, void *) {
  Slot &slot = *static_cast<Slot *>(slot_data);
  if (!slot.ahead.empty()) return;
  char buffer[4096];
  const Received input = receive(fd, buffer, sizeof buffer);
  if (input.state == Received::State::closed)
    end_connection(slot);
  else
    take_one_request(slot, input.bytes);
}

// Returns a free place, or null when all are taken.
Slot *free_slot() {
  const auto free =
      std::find_if(server->slots.begin(), server->slots.end(), [](const Slot &slot) { return !slot.socket; });
  return free == server->slots.end() ? nullptr : &*free;
}

bool may_be_dropped(const Slot &slot) {
  return !slot.replying && slot.request.empty() && slot.ahead.empty() &&
         Clock::now() - slot.last_sign >= std::chrono::seconds(lsql_idle_seconds) &&
         !is_readable(slot.socket.get());
}

// The connection that has been idle longest makes room, if that is long enough. Who comes is taken in any
// case, to be refused.
unsigned make_room(void *) {
  if (free_slot()) return 0;
  Slot *idle = nullptr;
  for (Slot &slot : server->slots)
    if (may_be_dropped(slot) && (!idle || slot.last_sign < idle->last_sign)) idle = &slot;
  if (idle) {
    vorn_debug_1printf("LSQL client that was idle made room for another one.\n");
    end_connection(*idle);
  }
  return 0;
}

void take(Descriptor socket, void *) {
  const int fd = socket.get();
  Slot *slot = free_slot();
  if (!slot) {
    errno = EUSERS;
    vorn_debug_perror("vorn_lsql_new_connection add_connection");
  } else if (eloop_register_read_sock(fd, connection_is_readable, slot, nullptr) == 0) {
    keep_alive(fd);
    slot->socket = std::move(socket);
    slot->last_sign = Clock::now();
    vorn_debug_1printf("LSQL connection started (fd %d).\n", fd);
  }
}

} // namespace

void vorn_lsql_init() noexcept {
  if (!server->listener.open(Descriptor(vorn_socket_get_tcp(port, 1)),
                             {"vorn_lsql_new_connection", make_room, take, nullptr}))
    vorn_debug_eprintf("Unable to open LSQL TCP socket - disabled.\n");
}

} // namespace vorn
