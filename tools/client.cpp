#include "client.hpp"

#include "commands.hpp"
#include "exchange.hpp"
#include "failure.hpp"

namespace lsql {

namespace {

// Something the client does, chosen by the first operand.
struct Command {
  const char *name;
  const char *options; // the letters of those it takes
  const char *usage;
  int (*run)(const Options &, const Context &);
};

constexpr Command commands[] = {
    {"watch", "nT", "lsql watch [-n N]                  print change notifications as they come", watch},
    {"inform", "T", "lsql inform OBJECT [KEY=VALUE]...  tell the agent what happened to an object", inform},
};

// What is done when the first operand names no command.
constexpr Command request_command = {
    "request", "trfeT", "lsql [OPTION]... [REQUEST]         send an LSQL request, print the reply",
    send_request};

constexpr const char *notes = R"(
Without REQUEST or FILE the request is read from the standard input.

The agent takes every node of a request as meant, so blank text or a comment
between two elements would be an error. Both are therefore dropped from a
request that is read from a file or the standard input. Text inside an element
that has no child elements is a value: it is kept, even when it is blank. A
request on the command line, one that is not well-formed XML (but for a newline
at its end), and any request with --exact are sent unchanged.

What inform sends is not encoded: no operand may contain "&". A value ends its
operand, so it may contain "="; a key may be given once, and not be "object".

Exit status:
  0  done; every operation of the request succeeded, or inform was answered OK
  1  the agent reported an error, or gave no reply or one that makes no sense
  2  wrong usage; nothing was sent
  3  the agent cannot be reached, did not answer in time, or ended a watch
)";

std::string help() {
  std::string text = std::string("Usage: ") + request_command.usage + '\n';
  for (const Command &command : commands) text += std::string("       ") + command.usage + '\n';
  return text + '\n' + options_help() + notes;
}

const Command &command_of(const Options &options) {
  if (!options.operands.empty())
    for (const Command &command : commands)
      if (options.operands[0] == command.name) return command;
  return request_command;
}

void refuse_foreign_options(const Command &command, const Options &options) {
  const std::size_t foreign = options.given.find_first_not_of(command.options);
  if (foreign == std::string::npos) return;
  throw Failure(EXIT_USAGE,
                std::string("-") + options.given[foreign] + " does not go with this command; try --help");
}

int run_command(const Options &options, const Context &context) {
  if (options.help) {
    context.out << help();
    return EXIT_DONE;
  }
  if (options.version) {
    context.out << "lsql " LSQL_VERSION "\n";
    return EXIT_DONE;
  }
  const Command &command = command_of(options);
  refuse_foreign_options(command, options);
  return command.run(options, context);
}

} // namespace

int run_client(int argc, char *const argv[], const Context &context) {
  const auto report = [&](const std::exception &error, ExitStatus status) {
    context.err << "lsql: " << error.what() << '\n';
    return status;
  };
  try {
    const int status = run_command(parse_options(argc, argv), context);
    if (!context.out.flush()) throw Failure(EXIT_REFUSED, "cannot write the output");
    return status;
  } catch (const Failure &failure) {
    return report(failure, failure.status());
  } catch (const vorn::client::UnsendableRequest &error) {
    return report(error, EXIT_USAGE);
  } catch (const vorn::client::NoReply &error) {
    return report(error, EXIT_REFUSED);
  } catch (const vorn::client::Unreachable &error) {
    return report(error, EXIT_UNREACHABLE);
  }
}

} // namespace lsql
