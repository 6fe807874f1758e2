// The things that the client can be asked to do. Each returns the exit status or throws Failure.
#pragma once

#include "client.hpp"
#include "command_line.hpp"

namespace lsql {

// Sends the request that the options name, and prints the reply.
int send_request(const Options &options, const Context &context);

// Prints notifications as they come: until as many as asked for were printed or a signal asks to end, which
// are both success, or until the agent closes the connection, which is EXIT_UNREACHABLE.
int watch(const Options &options, const Context &context);

// Tells the agent that something happened to the object that the operands name, and prints the answer.
// EXIT_REFUSED when that is not "OK".
int inform(const Options &options, const Context &context);

} // namespace lsql
