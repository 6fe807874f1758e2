#include "echo_server.hpp"

#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace bench {

namespace {

// Reads the length and the request, and replies once.
void serve_local(const Socket &client, const std::string &reply) {
  std::string request;
  char buffer[4096];
  uint32_t length = 0;
  while (request.size() < sizeof length || request.size() - sizeof length < length) {
    const size_t count = receive(client, buffer, sizeof buffer);
    if (count == 0) return;
    request.append(buffer, count);
    if (request.size() >= sizeof length) memcpy(&length, request.data(), sizeof length);
  }
  send_all(client, reply);
}

// Replies to every request until the client goes.
void serve_tcp(const Socket &client, const std::string &reply) {
  char buffer[4096];
  std::string request;
  while (const size_t count = receive(client, buffer, sizeof buffer)) {
    request.append(buffer, count);
    if (request.back() != terminator) continue;
    request.clear();
    send_all(client, reply + terminator);
  }
}

} // namespace

EchoServer::EchoServer(Socket listener, size_t reply_size, Serve serve)
    : listener_(std::move(listener)), child_([&]() -> int {
        const std::string reply(reply_size, '-');
        while (true) {
          const Socket client(accept(listener_.fd(), nullptr, nullptr));
          if (!client) throw std::runtime_error("the echo server cannot accept");
          serve(client, reply);
        }
      }) {}

EchoServer EchoServer::local(size_t reply_size) {
  return EchoServer(listen_local(echo_local_name), reply_size, serve_local);
}

EchoServer EchoServer::tcp(size_t reply_size) { return EchoServer(listen_tcp(0), reply_size, serve_tcp); }

} // namespace bench
