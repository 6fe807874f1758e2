// Clients of the agent's two kinds of socket, and of servers that speak alike.
#ifndef VORN_BENCH_CLIENTS_HPP
#define VORN_BENCH_CLIENTS_HPP

#include "net.hpp"
#include <memory>
#include <string>
#include <vector>

namespace bench {

inline constexpr char agent_local_name[] = "vorn_sock_lsql";
inline constexpr unsigned short agent_port = 8002;

class Client {
public:
  virtual ~Client() = default;
  // Sends a request and returns the reply, which holds until the next one. Throws when there is none.
  virtual const std::string &exchange(const std::string &request) = 0;

protected:
  std::string reply_{};
  std::vector<char> buffer_ = std::vector<char>(65536);
};

// A connection for each request: the length and the document; the reply runs to the end of the stream.
std::unique_ptr<Client> local_client(std::string name);

// One connection for all requests; a byte ends each request and reply.
std::unique_ptr<Client> tcp_client(unsigned short port);

} // namespace bench

#endif
