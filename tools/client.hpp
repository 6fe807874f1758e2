// lsql as a whole, apart from the process that it runs in.
#pragma once

#include "connection.hpp"
#include <istream>
#include <ostream>

namespace lsql {

using vorn::client::Endpoint;

// The agent and the streams that a run works with.
struct Context {
  Endpoint local;         // LSQL, one request a connection
  Endpoint tcp;           // LSQL, over TCP
  Endpoint notifications; // the agent's announcements of changes
  Endpoint inform;        // events that the agent is told of, one a connection
  std::istream &in;
  std::ostream &out;
  std::ostream &err;
};

// Does what the command line asks for and returns the exit status. Failures are reported on `err`.
int run_client(int argc, char *const argv[], const Context &context);

} // namespace lsql
