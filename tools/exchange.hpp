// One request and its reply, on one of the agent's servers.
#ifndef LSQL_EXCHANGE_HPP
#define LSQL_EXCHANGE_HPP

#include "connection.hpp"

#include <chrono>
#include <string>

namespace lsql {

// Sends the request to the local socket, its length before it, and returns the reply's bytes. The agent
// marks the reply's end by closing the connection. Throws Failure: EXIT_UNREACHABLE when there is no agent
// or it does not answer in time, EXIT_REFUSED when it closes without a reply, EXIT_USAGE when the length
// cannot be expressed.
std::string exchange_local(const Endpoint &agent, const std::string &request,
                           std::chrono::milliseconds patience);

// Likewise over TCP, where a terminator byte ends the request and the reply; it is not part of the result.
// A request that holds the terminator is an EXIT_USAGE failure, a reply without it EXIT_REFUSED.
std::string exchange_tcp(const Endpoint &agent, const std::string &request,
                         std::chrono::milliseconds patience);

// Sends the body to the local socket that takes word of events, its form's version and its length before it.
// Returns the one line of the answer without the newline. Throws Failure as exchange_local does, and
// EXIT_REFUSED for a line that does not end.
std::string exchange_inform(const Endpoint &agent, const std::string &body,
                            std::chrono::milliseconds patience);

} // namespace lsql

#endif
