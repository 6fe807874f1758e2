// A client sends a 4-byte length in the host's byte order and a request of that length; the reply runs until
// the connection is closed.
//
//   state      | waits for               | then
//   receiving  | the length, the request | evaluate, send the reply; close when there is none
//   replying   | room for the reply      | close
//
// A client that stays silent for patience_seconds while it is receiving, or takes nothing of its reply for as
// long as the outbox allows, is dropped. When all places are taken, the one that has been silent longest
// goes.
#include "query/socket_api.hpp"

#include "core/debug.h"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/outbox.hpp"
#include "core/socket.h"
#include "query/accept.hpp"
#include "query/query.h"
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <list>
#include <string>

namespace vorn {

namespace {

constexpr char socket_name[] = "vorn_sock_lsql";
constexpr size_t max_clients = 16;
constexpr unsigned patience_seconds = 10;
constexpr size_t reads_a_pass = 16; // more comes in the next pass of the loop: others have their turn

// One connection. Its place in the list goes with its last sign of life.
struct Client {
  Descriptor socket;
  std::string received{};
  bool replying = false;

  bool has_length() const { return received.size() >= sizeof(uint32_t); }
  uint32_t length() const {
    uint32_t value;
    memcpy(&value, received.data(), sizeof value);
    return value;
  }
  bool is_complete() const { return has_length() && received.size() - sizeof(uint32_t) >= length(); }
};

std::list<Client> clients; // the one that has been silent longest comes first

std::list<Client>::iterator place_of(const Client &client) {
  return std::find_if(clients.begin(), clients.end(), [&](const Client &other) { return &other == &client; });
}

void client_is_silent(void *client, void *);

void drop(Client &client) {
  eloop_cancel_timeout(client_is_silent, &client, nullptr);
  eloop_unregister_read_sock(client.socket.get());
  outbox_forget(client.socket.get());
  clients.erase(place_of(client));
}

void client_is_silent(void *client, void *) {
  vorn_debug_1printf("LSQL client sent nothing for %u seconds - dropped.\n", patience_seconds);
  drop(*static_cast<Client *>(client));
}

void renew_patience(Client &client) {
  clients.splice(clients.end(), clients, place_of(client));
  eloop_cancel_timeout(client_is_silent, &client, nullptr);
  eloop_register_timeout(patience_seconds, 0, client_is_silent, &client, nullptr);
}

void reply_is_over(int, bool sent, void *client) {
  if (!sent) vorn_debug_1printf("LSQL client did not take its reply - dropped.\n");
  drop(*static_cast<Client *>(client));
}

void reply(Client &client) {
  // From here on only the reply keeps the client.
  client.replying = true;
  eloop_cancel_timeout(client_is_silent, &client, nullptr);
  eloop_unregister_read_sock(client.socket.get());
  // The length counts, not what else the client may have sent; a NUL ends the request before it.
  const size_t size = std::min<size_t>(client.received.size(), sizeof(uint32_t) + client.length());
  client.received.resize(size);
  const CString result(vorn_query_eval(client.received.c_str() + sizeof(uint32_t)));
  client.received = {};
  if (!result ||
      outbox_send(client.socket.get(), result.get(), SIZE_MAX, reply_is_over, &client) != Delivery::pending)
    drop(client);
}

// Returns false for a request that is not to be received further, and reports it.
bool is_acceptable(const Client &client) {
  if (!client.has_length()) return true;
  if (client.length() > max_request_size)
    vorn_debug_eprintf("LSQL request of %u bytes is too long.\n", client.length());
  return client.length() != 0 && client.length() <= max_request_size;
}

enum class Progress { wait, evaluate, give_up };

// Takes what the client has sent; the end of its stream ends its request too.
Progress take_input(Client &client) {
  char buffer[4096];
  for (size_t i = 0; i < reads_a_pass; ++i) {
    const Received input = receive(client.socket.get(), buffer, sizeof buffer);
    if (input.state == Received::State::nothing_yet) return Progress::wait;
    if (input.state == Received::State::closed)
      return client.has_length() && is_acceptable(client) ? Progress::evaluate : Progress::give_up;
    client.received += input.bytes;
    if (!is_acceptable(client)) return Progress::give_up;
    if (client.is_complete()) return Progress::evaluate;
  }
  return Progress::wait;
}

void client_is_readable(int, void *client_data, void *) {
  Client &client = *static_cast<Client *>(client_data);
  Progress progress = Progress::give_up;
  try {
    progress = take_input(client);
  } catch (const std::bad_alloc &) {
    vorn_debug_fatal("malloc");
  }
  switch (progress) {
  case Progress::wait:
    return renew_patience(client);
  case Progress::evaluate:
    return reply(client);
  case Progress::give_up:
    return drop(client);
  }
}

// Makes room for one more client. Who waits for its reply stays as long as there is anyone else.
void make_room() {
  if (clients.size() < max_clients) return;
  auto place =
      std::find_if(clients.begin(), clients.end(), [](const Client &client) { return !client.replying; });
  drop(place == clients.end() ? clients.front() : *place);
}

void connection_came(int listener, void *, void *) {
  Descriptor socket = accept_connection(listener, "do_sockapi");
  if (!socket) return;
  guarded(1, [&] {
    make_room();
    Client &client = clients.emplace_back(Client{std::move(socket)});
    if (eloop_register_read_sock(client.socket.get(), client_is_readable, &client, nullptr) == 0)
      renew_patience(client);
    else
      clients.pop_back();
    return 0;
  });
}

} // namespace

int vorn_socket_api_init() noexcept {
  Descriptor listener(vorn_socket_get_unix(socket_name, VORN_SOCKET_ABSTRACT));
  if (!listener || eloop_register_read_sock(listener.get(), connection_came, nullptr, nullptr) != 0) return 1;
  listener.release(); // the loop's for the process's life
  return 0;
}

} // namespace vorn
