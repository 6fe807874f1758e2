#include "exchange.hpp"

#include <cstring>
#include <limits>

namespace vorn::client {

std::string length_prefix(std::uint32_t length) {
  char bytes[sizeof length]; // the agent is on this host: its byte order is ours
  std::memcpy(bytes, &length, sizeof length);
  return {bytes, sizeof bytes};
}

std::string with_length(const std::string &request) {
  if (request.size() > std::numeric_limits<std::uint32_t>::max())
    throw UnsendableRequest("the request is too long");
  return length_prefix(static_cast<std::uint32_t>(request.size())) + request;
}

std::string exchange_local(const Endpoint &agent, const std::string &request,
                           std::chrono::milliseconds timeout) {
  const std::string message = with_length(request);
  Connection connection(agent, timeout);
  connection.send(message);
  std::string reply;
  while (connection.receive(reply)) {
  }
  if (reply.empty()) throw NoReply("no reply: the agent could not parse the request, see its log");
  return reply;
}

std::string exchange_tcp(const Endpoint &agent, const std::string &request,
                         std::chrono::milliseconds timeout) {
  if (request.find(terminator) != std::string::npos)
    throw UnsendableRequest("the request holds the byte 0x13, which ends a request over TCP");
  Connection connection(agent, timeout);
  connection.send(request + terminator);
  // The agent stays silent on a request that it cannot parse. Seeing our end of the stream it then closes,
  // so there is no need to wait for the timeout.
  connection.end_sending();

  std::string received, reply;
  if (connection.receive_message(terminator, received, reply)) return reply;
  throw NoReply(received.empty() ? "no reply: the agent could not parse the request, see its log; "
                                   "or all its connections are in use"
                                 : "the agent broke off its reply");
}

std::string exchange_inform(const Endpoint &agent, const std::string &body,
                            std::chrono::milliseconds timeout) {
  const std::string message = length_prefix(inform_version) + with_length(body);
  Connection connection(agent, timeout);
  connection.send(message);
  std::string received, answer;
  if (connection.receive_message('\n', received, answer)) return answer;
  throw NoReply(received.empty() ? "no answer: the agent could not read the request, see its log"
                                 : "the agent broke off its answer");
}

} // namespace vorn::client
