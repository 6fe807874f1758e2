// The least that a server on the same kind of socket has to do: it accepts and reads as the agent does, and
// answers every request with the same text.
#ifndef VORN_BENCH_ECHO_SERVER_HPP
#define VORN_BENCH_ECHO_SERVER_HPP

#include "child.hpp"
#include "net.hpp"

namespace bench {

inline constexpr char echo_local_name[] = "vorn_bench_echo";

// Serves in a process of its own, one connection after the other, until it is freed.
class EchoServer {
public:
  static EchoServer local(size_t reply_size);
  static EchoServer tcp(size_t reply_size);
  // Of the TCP one.
  unsigned short port() const { return port_of(listener_); }

private:
  using Serve = void (*)(const Socket &client, const std::string &reply);
  EchoServer(Socket listener, size_t reply_size, Serve serve);
  Socket listener_;
  Child child_;
};

} // namespace bench

#endif
