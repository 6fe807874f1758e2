#include "commands.hpp"
#include "failure.hpp"
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/signalfd.h>

namespace lsql {

using vorn::client::Connection, vorn::client::take_message;

namespace {

// Takes the signals that ask to end as something to wait for, so that none is lost between looking and
// waiting. Restores the thread's signal mask.
class EndSignals {
public:
  EndSignals() : descriptor_(take(&before_)) {
    if (descriptor_.get() >= 0) return;
    const int error = errno;
    restore();
    throw Failure(EXIT_UNREACHABLE, std::string("cannot wait for signals: ") + std::strerror(error));
  }
  EndSignals(const EndSignals &) = delete;
  EndSignals &operator=(const EndSignals &) = delete;
  ~EndSignals() {
    signalfd_siginfo taken;
    while (::read(descriptor_.get(), &taken, sizeof taken) > 0) {
    }
    restore();
  }
  int descriptor() const noexcept { return descriptor_.get(); }

private:
  static int take(sigset_t *before) {
    sigset_t wanted;
    sigemptyset(&wanted);
    sigaddset(&wanted, SIGINT);
    sigaddset(&wanted, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &wanted, before);
    return ::signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
  }
  void restore() noexcept { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  sigset_t before_{};
  vorn::Descriptor descriptor_;
};

// Waits until the connection has something. Returns false when a signal asks to end instead.
bool wait_for(const Connection &connection, const EndSignals &signals) {
  pollfd ready[] = {{signals.descriptor(), POLLIN, 0}, {connection.descriptor(), POLLIN, 0}};
  while (::poll(ready, 2, -1) < 0)
    if (errno != EINTR) throw Failure(EXIT_UNREACHABLE, std::string("poll: ") + std::strerror(errno));
  return ready[0].revents == 0;
}

void print(std::ostream &out, const std::string &message) {
  out << message << (message.ends_with('\n') ? "" : "\n") << std::flush;
  if (!out) throw Failure(EXIT_REFUSED, "cannot write the output");
}

} // namespace

int watch(const Options &options, const Context &context) {
  if (options.operands.size() > 1) throw Failure(EXIT_USAGE, "watch takes no operand; try --help");
  Connection connection(context.notifications, options.timeout);
  const EndSignals signals;
  connection.send("\n"); // the agent takes a client for a listener once it has sent something

  std::string data;
  std::string message;
  unsigned long printed = 0;
  while (wait_for(connection, signals)) {
    if (!connection.receive(data)) throw Failure(EXIT_UNREACHABLE, "the agent closed the connection");
    while (take_message('\0', data, message)) {
      print(context.out, message);
      if (++printed == options.count) return EXIT_DONE;
    }
  }
  return EXIT_DONE;
}

} // namespace lsql
