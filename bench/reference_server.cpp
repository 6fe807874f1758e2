#include "connection.hpp"
#include "exchange.hpp"
#include "reference.hpp"

#include <cstring>
#include <list>
#include <sys/select.h>

namespace bench {

namespace {

using vorn::client::Connection;

struct Client {
  Connection connection;
  std::string received{};
};

// Returns whether the client stays, as after each step on its local socket and TCP.
bool advance_local(Client &client, const Content &content) {
  std::uint32_t length = 0;
  if (client.received.size() < sizeof length) return true;
  memcpy(&length, client.received.data(), sizeof length);
  if (client.received.size() - sizeof length < length) return true;
  client.connection.send(answer(client.received.substr(sizeof length), content).get());
  return false;
}

bool advance_tcp(Client &client, const Content &content) {
  std::string request;
  if (vorn::client::take_message(vorn::client::terminator, client.received, request))
    client.connection.send(std::string(answer(request, content).get()) + vorn::client::terminator);
  return true;
}

// Waits for the sockets and returns those that are ready.
fd_set wait_for(int listener, const std::list<Client> &clients) {
  fd_set ready;
  FD_ZERO(&ready);
  FD_SET(listener, &ready);
  int last = listener;
  for (const Client &client : clients) {
    FD_SET(client.connection.descriptor(), &ready);
    last = std::max(last, client.connection.descriptor());
  }
  select(last + 1, &ready, nullptr, nullptr, nullptr);
  return ready;
}

} // namespace

void serve(int listener, bool is_local, const Content &content) {
  const auto advance = is_local ? advance_local : advance_tcp;
  for (std::list<Client> clients;;) {
    const fd_set ready = wait_for(listener, clients);
    clients.remove_if([&](Client &client) {
      return FD_ISSET(client.connection.descriptor(), &ready) &&
             !(client.connection.receive(client.received) && advance(client, content));
    });
    if (FD_ISSET(listener, &ready))
      clients.push_back({Connection(vorn::Descriptor(accept(listener, nullptr, nullptr)))});
  }
}

} // namespace bench
