// Requests and replies are each ended by one byte. Between requests everything but the "<" that starts one is
// passed over.
//
//   state      | waits for          | then
//   between    | "<"                | in request
//   in request | the ending byte    | evaluate; between when the reply goes at once, else replying
//   replying   | room for the reply | goes on with what has been received meanwhile
//
// A client whose reply is waiting for room is not read from: it cannot make the agent keep more than one
// reply.
#include "servers/lsql_server.hpp"

#include "core/accept.hpp"
#include "core/debug.h"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/limits.hpp"
#include "core/outbox.hpp"
#include "core/socket.h"
#include "query/query.h"
#include <array>
#include <cerrno>
#include <cstdint>
#include <string>

namespace vorn {

namespace {

constexpr unsigned short port = 8002;
constexpr size_t max_connections = 8;
constexpr char terminator = 0x13;

// One connection's place; free without a socket.
struct Slot {
  Descriptor socket{};
  std::string request{}; // what has come of one, from its "<" on
  std::string unread{};  // received while a reply was on its way

  void clear() { *this = Slot(); }
};

Immortal<std::array<Slot, max_connections>> slots;

void end_connection(Slot &slot) {
  const int fd = slot.socket.get();
  outbox_forget(fd);
  eloop_unregister_read_sock(fd);
  slot.clear();
  // The notify server's words, shared deliberately.
  vorn_debug_1printf("Notify connection ended (fd %d).\n", fd);
}

void connection_is_readable(int, void *slot, void *);
void take_bytes(Slot &slot, std::string_view bytes);

void reply_is_over(int fd, bool sent, void *slot_data) {
  Slot &slot = *static_cast<Slot *>(slot_data);
  const bool reading = sent && eloop_register_read_sock(fd, connection_is_readable, &slot, nullptr) == 0;
  if (!reading) {
    end_connection(slot);
    return;
  }
  const std::string unread = std::move(slot.unread);
  slot.unread.clear();
  take_bytes(slot, unread);
}

// Evaluates the request that has come and sends the reply. Returns false when the connection takes no further
// input: its reply is on its way, or it has ended.
bool answer(Slot &slot) {
  const CString result(vorn_query_eval(slot.request.c_str()));
  slot.request = {};
  if (!result) return true;
  const int fd = slot.socket.get();
  const Delivery delivery = guarded(Delivery::failed, [&] {
    return outbox_send(fd, std::string(result.get()) + terminator, SIZE_MAX, reply_is_over, &slot);
  });
  if (delivery == Delivery::complete) return true;
  if (delivery == Delivery::pending)
    eloop_unregister_read_sock(fd);
  else
    end_connection(slot);
  return false;
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

// At most one buffer's worth, since nothing is read meanwhile.
void keep_unread(Slot &slot, std::string_view bytes) {
  if (!slot.socket) return;
  const bool stored = guarded(false, [&] {
    slot.unread = bytes;
    return true;
  });
  if (!stored) end_connection(slot);
}

void take_bytes(Slot &slot, std::string_view bytes) {
  while (!bytes.empty()) {
    if (slot.request.empty()) bytes.remove_prefix(std::min(bytes.find('<'), bytes.size()));
    const size_t end = bytes.find(terminator);
    extend_request(slot, bytes.substr(0, end));
    if (end == std::string_view::npos) return;
    bytes.remove_prefix(end + 1);
    if (!slot.request.empty() && !answer(slot)) {
      keep_unread(slot, bytes);
      return;
    }
  }
}

// One buffer a pass: who sends without a pause does not keep the others waiting.
void connection_is_readable(int fd, void *slot_data, void *) {
  Slot &slot = *static_cast<Slot *>(slot_data);
  char buffer[4096];
  const Received input = receive(fd, buffer, sizeof buffer);
  if (input.state == Received::State::closed)
    end_connection(slot);
  else
    take_bytes(slot, input.bytes);
}

// Returns the place of a new connection, or null when all are taken.
Slot *add_connection(Descriptor &socket) {
  for (Slot &slot : *slots) {
    if (slot.socket) continue;
    slot.socket = std::move(socket);
    return &slot;
  }
  errno = EUSERS;
  return nullptr;
}

void connection_came(int listener, void *, void *) {
  Descriptor socket = accept_connection(listener, "vorn_lsql_new_connection");
  if (!socket) return;
  const int fd = socket.get();
  Slot *slot = add_connection(socket);
  if (!slot)
    vorn_debug_perror("vorn_lsql_new_connection add_connection");
  else if (eloop_register_read_sock(fd, connection_is_readable, slot, nullptr) != 0)
    slot->clear();
  else
    vorn_debug_1printf("LSQL connection started (fd %d).\n", fd);
}

} // namespace

void vorn_lsql_init() noexcept {
  Descriptor listener(vorn_socket_get_tcp(port, 1));
  if (listener && eloop_register_read_sock(listener.get(), connection_came, nullptr, nullptr) == 0)
    listener.release(); // the loop's for the process's life
  else
    vorn_debug_eprintf("Unable to open LSQL TCP socket - disabled.\n");
}

} // namespace vorn
