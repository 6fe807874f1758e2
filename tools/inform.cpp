#include "commands.hpp"
#include "exchange.hpp"
#include "failure.hpp"
#include <set>
#include <string_view>

namespace lsql {

namespace {

Failure bad_operand(const std::string &operand, const char *why) {
  return {EXIT_USAGE, "bad operand \"" + operand + "\": " + why};
}

// Nothing in the request is encoded, so no operand may hold what separates one from the next.
void check_separators(const std::string &operand) {
  if (operand.find('&') != std::string::npos) throw bad_operand(operand, "it contains \"&\"");
}

void check_object(const std::string &object) {
  check_separators(object);
  if (object.empty()) throw bad_operand(object, "the object's name is empty");
}

// Adds the parameter's key to those taken. The agent would silently keep the first of two alike.
void check_parameter(const std::string &parameter, std::set<std::string_view> &keys) {
  check_separators(parameter);
  const std::size_t end = parameter.find('=');
  if (end == std::string::npos) throw bad_operand(parameter, "it is not KEY=VALUE");
  if (end == 0) throw bad_operand(parameter, "its key is empty");
  if (!keys.insert(std::string_view(parameter).substr(0, end)).second)
    throw bad_operand(parameter, "its key is taken already");
}

// The request's body. The first operand is the command's name.
std::string body_of(const std::vector<std::string> &operands) {
  if (operands.size() < 2) throw Failure(EXIT_USAGE, "inform needs the name of an object; try --help");
  check_object(operands[1]);
  std::string body = "object=" + operands[1];
  std::set<std::string_view> keys{"object"};
  for (std::size_t i = 2; i < operands.size(); ++i) {
    check_parameter(operands[i], keys);
    body += '&' + operands[i];
  }
  return body;
}

} // namespace

int inform(const Options &options, const Context &context) {
  const std::string answer = exchange_inform(context.inform, body_of(options.operands), options.timeout);
  context.out << answer << '\n';
  if (answer == "OK") return EXIT_DONE;
  if (!answer.starts_with("ERR")) context.err << "lsql: the answer is not one that the agent gives\n";
  return EXIT_REFUSED;
}

} // namespace lsql
