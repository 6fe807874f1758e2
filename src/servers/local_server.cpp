#include "servers/local_server.hpp"

#include "core/accept.hpp"
#include "core/debug.h"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/limits.hpp"
#include "core/listener.hpp"
#include "core/outbox.hpp"
#include "core/socket.h"
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <list>

namespace vorn {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

milliseconds since(Clock::time_point moment) {
  return std::chrono::duration_cast<milliseconds>(Clock::now() - moment);
}

// One listening socket and its clients.
class LocalServer {
public:
  explicit LocalServer(const LocalProtocol &protocol) : protocol_(protocol) {}
  bool open();

private:
  // One connection. Its place in the list goes with its last sign of life.
  struct Client {
    LocalServer &server;
    Descriptor socket;
    std::string received{};
    bool replying = false;
    Clock::time_point came = Clock::now();
    Clock::time_point last_sign = came;
  };

  static unsigned make_room(void *server);
  static void take(Descriptor socket, void *server);
  static void client_is_readable(int, void *client, void *);
  static void client_is_silent(void *client, void *);
  static void reply_is_over(int, bool sent, void *client);

  static milliseconds time_left(const Client &client);
  std::list<Client>::iterator iterator_of(const Client &client);
  void restart_timeout(Client &client);
  Progress take_input(Client &client);
  void reply(Client &client);
  void drop(Client &client);

  const LocalProtocol &protocol_;
  Listener listener_;
  std::list<Client> clients_; // the one that has been silent longest comes first
};

bool LocalServer::open() {
  return listener_.open(Descriptor(vorn_socket_get_unix(protocol_.socket_name, VORN_SOCKET_ABSTRACT)),
                        {protocol_.who, make_room, take, this});
}

void LocalServer::take(Descriptor socket, void *server_data) {
  LocalServer &server = *static_cast<LocalServer *>(server_data);
  Client &client = server.clients_.emplace_back(Client{server, std::move(socket)});
  if (eloop_register_read_sock(client.socket.get(), client_is_readable, &client, nullptr) == 0)
    server.restart_timeout(client); // its request waits for the next pass: who came before is served before
  else
    server.clients_.pop_back();
}

// How long the client may keep its place when others wait for one. Who waits for its reply is asked last.
milliseconds LocalServer::time_left(const Client &client) {
  if (client.replying) return seconds(local_reply_seconds) - outbox_stalled(client.socket.get());
  return std::min<milliseconds>(seconds(local_silence_seconds) - since(client.last_sign),
                                seconds(local_request_seconds) - since(client.came));
}

unsigned LocalServer::make_room(void *server_data) {
  LocalServer &server = *static_cast<LocalServer *>(server_data);
  if (server.clients_.size() < max_local_clients) return 0;
  milliseconds soonest = seconds(local_silence_seconds);
  for (const bool replying : {false, true})
    for (Client &client : server.clients_) {
      if (client.replying != replying) continue;
      const milliseconds left = time_left(client);
      soonest = std::min(soonest, left);
      if (left > milliseconds(0) || (!replying && is_readable(client.socket.get()))) continue;
      vorn_debug_1printf("%s made room for another one.\n", server.protocol_.client);
      server.drop(client);
      return 0;
    }
  constexpr milliseconds shortest(10); // who is overdue is just being listened to
  return static_cast<unsigned>(std::max(soonest, shortest).count());
}

std::list<LocalServer::Client>::iterator LocalServer::iterator_of(const Client &client) {
  return std::find_if(clients_.begin(), clients_.end(),
                      [&](const Client &other) { return &other == &client; });
}

void LocalServer::restart_timeout(Client &client) {
  client.last_sign = Clock::now();
  clients_.splice(clients_.end(), clients_, iterator_of(client));
  eloop_cancel_timeout(client_is_silent, &client, nullptr);
  eloop_register_timeout(silence_seconds, 0, client_is_silent, &client, nullptr);
}

void LocalServer::client_is_silent(void *client_data, void *) {
  Client &client = *static_cast<Client *>(client_data);
  if (is_readable(client.socket.get())) {
    client.server.restart_timeout(client);
    return;
  }
  vorn_debug_1printf("%s sent nothing for %u seconds - dropped.\n", client.server.protocol_.client,
                     silence_seconds);
  client.server.drop(client);
}

// Takes what the client has sent; the end of its stream ends its request too.
Progress LocalServer::take_input(Client &client) {
  char buffer[4096];
  for (size_t i = 0; i < reads_a_pass; ++i) {
    const Received input = receive(client.socket.get(), buffer, sizeof buffer);
    if (input.state == Received::State::nothing_yet) return Progress::wait;
    if (input.state == Received::State::closed) return protocol_.inspect(client.received, true);
    client.received += input.bytes;
    const Progress progress = protocol_.inspect(client.received, false);
    if (progress != Progress::wait) return progress;
  }
  return Progress::wait;
}

void LocalServer::client_is_readable(int, void *client_data, void *) {
  Client &client = *static_cast<Client *>(client_data);
  Progress progress = Progress::give_up;
  try {
    progress = client.server.take_input(client);
  } catch (const std::bad_alloc &) {
    vorn_debug_fatal("malloc");
  }
  switch (progress) {
  case Progress::wait: client.server.restart_timeout(client); break;
  case Progress::answer: client.server.reply(client); break;
  case Progress::give_up: client.server.drop(client); break;
  }
}

void LocalServer::reply(Client &client) {
  // From here on only the reply keeps the client.
  client.replying = true;
  eloop_cancel_timeout(client_is_silent, &client, nullptr);
  eloop_unregister_read_sock(client.socket.get());
  const CString text = protocol_.answer(client.received);
  client.received = {};
  if (!text ||
      outbox_send(client.socket.get(), text.get(), SIZE_MAX, reply_is_over, &client) != Delivery::pending)
    drop(client);
}

void LocalServer::reply_is_over(int, bool sent, void *client_data) {
  Client &client = *static_cast<Client *>(client_data);
  if (!sent) vorn_debug_1printf("%s did not take its reply - dropped.\n", client.server.protocol_.client);
  client.server.drop(client);
}

void LocalServer::drop(Client &client) {
  eloop_cancel_timeout(client_is_silent, &client, nullptr);
  eloop_unregister_read_sock(client.socket.get());
  outbox_forget(client.socket.get());
  clients_.erase(iterator_of(client));
  listener_.resume();
}

Immortal<std::list<LocalServer>> servers;

} // namespace

int serve_locally(const LocalProtocol &protocol) noexcept {
  return guarded(1, [&] {
    if (servers->emplace_back(protocol).open()) return 0;
    servers->pop_back();
    return 1;
  });
}

uint32_t number_at(std::string_view bytes, size_t position) noexcept {
  uint32_t number;
  memcpy(&number, bytes.data() + position, sizeof number);
  return number;
}

} // namespace vorn
