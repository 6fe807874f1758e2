// How a run of the client ends: its exit statuses, and the exception that carries one with its message.
#pragma once

#include <stdexcept>
#include <string>

namespace lsql {

enum ExitStatus : int {
  EXIT_DONE = 0,        // all went well
  EXIT_REFUSED = 1,     // the agent was reached, but refused the request or sent no usable reply
  EXIT_USAGE = 2,       // the command line or the request file is wrong: nothing was sent
  EXIT_UNREACHABLE = 3, // no agent, or none that answers in time
};

// Ends the run with a status, and with a message for the standard error.
class Failure : public std::runtime_error {
public:
  Failure(ExitStatus status, const std::string &message) : std::runtime_error(message), status_(status) {}
  ExitStatus status() const noexcept { return status_; }

private:
  ExitStatus status_;
};

} // namespace lsql
