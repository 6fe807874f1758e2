// What the servers' clients send, in pieces. The first byte chooses the server, the second one what other
// clients do, the next eight the lengths of the pieces, in turn; the rest is what is sent. The reply must not
// depend on the pieces.
#include "core/eloop.hpp"
#include "core/handles.hpp"
#include "notify/notify.h"
#include "servers/inform.h"
#include "servers/lsql_server.hpp"
#include "servers/socket_api.hpp"
#include "world.hpp"
#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

using namespace vorn::fuzz;

namespace {

constexpr struct Server {
  const char *name; // of a local socket, or null
  uint16_t port;
} servers[] = {{"vorn_sock_inform", 0}, {"vorn_sock_lsql", 0}, {nullptr, 8002}, {nullptr, 8001}};

bool open_servers() {
  eloop_init(nullptr);
  vorn::vorn_lsql_init();
  const auto repeat = [] { return vorn_inform_get_value("fail") ? 1 : 0; };
  return vorn_inform_init() == 0 && vorn::vorn_socket_api_init() == 0 && vorn_notify_init() == 0 &&
         vorn_inform_fn_add("wan", repeat) == 0;
}

// A whole request of a local server, whose length a mutation rarely gets right.
std::string framed(const Server &server, const std::string &text) {
  const auto size = static_cast<uint32_t>(text.size());
  const std::string length(reinterpret_cast<const char *>(&size), sizeof size), version(sizeof size, '\0');
  return (&server == servers ? version : "") + length + text;
}

template <class Address> bool connect_to(int fd, const Address &address) {
  return connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

vorn::Descriptor connect_to(const Server &server) {
  vorn::Descriptor client(socket(server.name ? AF_UNIX : AF_INET, SOCK_STREAM, 0));
  sockaddr_un local = {AF_UNIX, {}};
  sockaddr_in remote = {AF_INET, htons(server.port), {htonl(INADDR_LOOPBACK)}, {}};
  if (server.name) strcpy(local.sun_path + 1, server.name);
  require(server.name ? connect_to(client.get(), local) : connect_to(client.get(), remote),
          "a server is reached");
  // It closes with a reset: thousands of closed connections a second would use up the ports.
  const linger reset = {1, 0};
  setsockopt(client.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  return client;
}

// One pass of the agent's loop, which does not wait.
void pass() {
  eloop_register_timeout(
      0, 0, [](void *, void *) {}, nullptr, nullptr);
  vorn::run_loop_once();
}

// Takes what there is of the reply. Returns false at its end.
bool receive(const vorn::Descriptor &client, std::string &reply) {
  char buffer[4096];
  ssize_t count;
  while ((count = recv(client.get(), buffer, sizeof buffer, MSG_DONTWAIT)) > 0)
    reply.append(buffer, static_cast<size_t>(count));
  return count < 0 && errno == EAGAIN;
}

// Sends and returns the reply, when the server has closed the connection.
std::string talk(const Server &server, std::string_view text, const std::vector<size_t> &pieces) {
  const World world;
  const vorn::Descriptor client = connect_to(server);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  std::string reply;
  for (size_t i = 0; receive(client, reply); pass()) {
    require(std::chrono::steady_clock::now() < end, "a connection comes to its end");
    const ssize_t sent = send(client.get(), text.data(), std::min(text.size(), pieces[i++ % pieces.size()]),
                              MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0) text.remove_prefix(static_cast<size_t>(sent));
    if (text.empty()) shutdown(client.get(), SHUT_WR);
  }
  return reply;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  {
    const World silent;
  }
  static const bool open = open_servers();
  require(open, "the servers are open");
  Input input(data, size);
  const Server &server = servers[input.below(std::size(servers))];
  const uint8_t others = input.byte();
  std::vector<size_t> pieces;
  for (int i = 0; i < 8; ++i) pieces.push_back(1 + input.below(48));
  std::string text = input.rest();
  if (others & 8) text = framed(server, text);

  std::vector<vorn::Descriptor> idle; // and one that goes in the middle
  for (int i = 0; i < others % 4; ++i) idle.push_back(connect_to(server));
  if (others & 4) send(connect_to(server).get(), text.data(), text.size() / 2, MSG_NOSIGNAL | MSG_DONTWAIT);
  const std::string whole = talk(server, text, {text.size() + 1});
  require(talk(server, text, pieces) == whole, "a reply does not depend on the pieces of its request");
  return 0;
}
