#include "servers/local_server.hpp"

#include "core/accept.hpp"
#include "core/debug.h"
#include "core/eloop.h"
#include "core/guard.hpp"
#include "core/immortal.hpp"
#include "core/outbox.hpp"
#include "core/socket.h"
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <list>

namespace vorn {

namespace {

constexpr size_t max_clients = 16;
constexpr unsigned silence_seconds = 10;
constexpr size_t reads_a_pass = 16; // more comes in the next pass of the loop: others have their turn

// One listening socket and its clients.
class LocalServer {
public:
  explicit LocalServer(const LocalProtocol &protocol) : protocol_(protocol) {}
  int open();

private:
  // One connection. Its place in the list goes with its last sign of life.
  struct Client {
    LocalServer &server;
    Descriptor socket;
    std::string received{};
    bool replying = false;
  };

  static void connection_came(int listener, void *server, void *);
  static void client_is_readable(int, void *client, void *);
  static void client_is_silent(void *client, void *);
  static void reply_is_over(int, bool sent, void *client);

  void accept(int listener);
  void make_room();
  std::list<Client>::iterator iterator_of(const Client &client);
  void restart_timeout(Client &client);
  Progress take_input(Client &client);
  void reply(Client &client);
  void drop(Client &client);

  const LocalProtocol &protocol_;
  std::list<Client> clients_; // the one that has been silent longest comes first
};

int LocalServer::open() {
  Descriptor listener(vorn_socket_get_unix(protocol_.socket_name, VORN_SOCKET_ABSTRACT));
  if (!listener || eloop_register_read_sock(listener.get(), connection_came, this, nullptr) != 0) return 1;
  listener.release(); // the loop's for the process's life
  return 0;
}

void LocalServer::connection_came(int listener, void *server, void *) {
  static_cast<LocalServer *>(server)->accept(listener);
}

void LocalServer::accept(int listener) {
  Descriptor socket = accept_connection(listener, protocol_.who);
  if (!socket) return;
  guarded(1, [&] {
    make_room();
    Client &client = clients_.emplace_back(Client{*this, std::move(socket)});
    if (eloop_register_read_sock(client.socket.get(), client_is_readable, &client, nullptr) == 0)
      restart_timeout(client);
    else
      clients_.pop_back();
    return 0;
  });
}

// Makes room for one more client. Who waits for its reply stays as long as there is anyone else.
void LocalServer::make_room() {
  if (clients_.size() < max_clients) return;
  auto place =
      std::find_if(clients_.begin(), clients_.end(), [](const Client &client) { return !client.replying; });
  drop(place == clients_.end() ? clients_.front() : *place);
}

std::list<LocalServer::Client>::iterator LocalServer::iterator_of(const Client &client) {
  return std::find_if(clients_.begin(), clients_.end(),
                      [&](const Client &other) { return &other == &client; });
}

void LocalServer::restart_timeout(Client &client) {
  clients_.splice(clients_.end(), clients_, iterator_of(client));
  eloop_cancel_timeout(client_is_silent, &client, nullptr);
  eloop_register_timeout(silence_seconds, 0, client_is_silent, &client, nullptr);
}

void LocalServer::client_is_silent(void *client_data, void *) {
  Client &client = *static_cast<Client *>(client_data);
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
}

Immortal<std::list<LocalServer>> servers;

} // namespace

int serve_locally(const LocalProtocol &protocol) noexcept {
  return guarded(1, [&] {
    if (servers->emplace_back(protocol).open() == 0) return 0;
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
