// The agent's sockets: their names and ports, how requests and replies are framed on them, and one request
// with its reply.
#pragma once

#include "connection.hpp"
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace vorn::client {

inline constexpr char lsql_socket[] = "vorn_sock_lsql";     // one request a connection, its length in front
inline constexpr char inform_socket[] = "vorn_sock_inform"; // likewise one event, version and length in front
inline constexpr std::uint16_t lsql_port = 8002;   // many requests and replies, a terminator ends each
inline constexpr std::uint16_t notify_port = 8001; // notifications, a NUL byte ends each
inline constexpr char terminator = 0x13;
inline constexpr std::uint32_t inform_version = 0;

// The request cannot be framed. Nothing was sent.
struct UnsendableRequest : std::runtime_error {
  using runtime_error::runtime_error;
};

// The agent closed the connection without a whole reply.
struct NoReply : std::runtime_error {
  using runtime_error::runtime_error;
};

// A length or a version in front of a request.
std::string length_prefix(std::uint32_t length);

// The request with its length in front. Throws UnsendableRequest when the length cannot be expressed.
std::string with_length(const std::string &request);

// Sends the request to a local socket and returns the reply's bytes. The agent marks the reply's end by
// closing the connection. Throws Unreachable, UnsendableRequest, or NoReply.
std::string exchange_local(const Endpoint &agent, const std::string &request,
                           std::chrono::milliseconds timeout);

// Likewise over TCP. The terminator is not part of the result; a request may not hold it.
std::string exchange_tcp(const Endpoint &agent, const std::string &request,
                         std::chrono::milliseconds timeout);

// Tells of an event. Returns the one line of the answer without the newline. Throws as exchange_local
// does, and NoReply for a line that does not end.
std::string exchange_inform(const Endpoint &agent, const std::string &body,
                            std::chrono::milliseconds timeout);

} // namespace vorn::client
