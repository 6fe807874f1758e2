#include "exchange.hpp"

#include "failure.hpp"

#include <cstdint>
#include <cstring>
#include <limits>

namespace lsql {

namespace {

constexpr char terminator = 0x13;
constexpr std::uint32_t inform_version = 0;

// The agent is on this host: its byte order is ours.
std::string bytes_of(std::uint32_t number) {
  char bytes[sizeof number];
  std::memcpy(bytes, &number, sizeof number);
  return {bytes, sizeof bytes};
}

std::string with_length(const std::string &request) {
  if (request.size() > std::numeric_limits<std::uint32_t>::max())
    throw Failure(EXIT_USAGE, "the request is too long");
  return bytes_of(static_cast<std::uint32_t>(request.size())) + request;
}

} // namespace

std::string exchange_local(const Endpoint &agent, const std::string &request,
                           std::chrono::milliseconds patience) {
  const std::string message = with_length(request);
  Connection connection(agent, patience);
  connection.send(message);
  std::string reply;
  while (connection.receive(reply)) {
  }
  if (reply.empty())
    throw Failure(EXIT_REFUSED, "no reply: the agent could not parse the request, see its log");
  return reply;
}

std::string exchange_tcp(const Endpoint &agent, const std::string &request,
                         std::chrono::milliseconds patience) {
  if (request.find(terminator) != std::string::npos)
    throw Failure(EXIT_USAGE, "the request holds the byte 0x13, which ends a request over TCP");
  Connection connection(agent, patience);
  connection.send(request + terminator);
  // The agent stays silent on a request that it cannot parse. Seeing our end of the stream it then closes,
  // so there is no need to wait until patience ends.
  connection.end_sending();

  std::string reply;
  std::size_t searched = 0;
  while (connection.receive(reply)) {
    const std::size_t end = reply.find(terminator, searched);
    if (end != std::string::npos) return reply.substr(0, end);
    searched = reply.size();
  }
  if (!reply.empty()) throw Failure(EXIT_REFUSED, "the agent broke off its reply");
  throw Failure(EXIT_REFUSED, "no reply: the agent could not parse the request, see its log; "
                              "or all its connections are in use");
}

std::string exchange_inform(const Endpoint &agent, const std::string &body,
                            std::chrono::milliseconds patience) {
  const std::string message = bytes_of(inform_version) + with_length(body);
  Connection connection(agent, patience);
  connection.send(message);
  std::string answer;
  std::size_t end = std::string::npos;
  while ((end = answer.find('\n')) == std::string::npos && connection.receive(answer)) {
  }
  if (end != std::string::npos) return answer.substr(0, end);
  throw Failure(EXIT_REFUSED, answer.empty() ? "no answer: the agent could not read the request, see its log"
                                             : "the agent broke off its answer");
}

} // namespace lsql
