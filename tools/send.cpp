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

int send_request(const Options &options, const Context &context) {
  const std::string request = request_text(options, context.in);
  const Reply reply(options.tcp ? exchange_tcp(context.tcp, request, options.timeout)
                                : exchange_local(context.local, request, options.timeout));
  context.out << (options.raw ? reply.raw() : reply.indented());
  if (!reply.usable()) context.err << "lsql: the reply is not one that the agent gives\n";
  return reply.verdict();
}

} // namespace lsql
