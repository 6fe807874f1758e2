#include "commands.hpp"
#include "exchange.hpp"
#include "failure.hpp"
#include "reply.hpp"
#include "request.hpp"

namespace lsql {

namespace {

// The request's text as it is to be sent. One that stands on the command line is sent as it is: whoever
// writes it there, most often a program, says exactly what is meant.
std::string request_text(const Options &options, std::istream &in) {
  if (options.operands.size() + (options.file ? 1 : 0) > 1)
    throw Failure(EXIT_USAGE, "more than one request; try --help");
  std::string operand = options.operands.empty() ? "-" : options.operands[0];
  if (operand != "-") return operand;
  const std::string text = read_request(options.file.value_or("-"), in);
  return options.exact ? text : compact_request(text);
}

} // namespace

int send_request(const Options &options, const Surroundings &surroundings) {
  const std::string request = request_text(options, surroundings.in);
  const Reply reply(options.tcp ? exchange_tcp(surroundings.tcp, request, options.timeout)
                                : exchange_local(surroundings.local, request, options.timeout));
  surroundings.out << (options.raw ? reply.raw() : reply.indented());
  if (!reply.usable()) surroundings.err << "lsql: the reply is not one that the agent gives\n";
  return reply.verdict();
}

} // namespace lsql
