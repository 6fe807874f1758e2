// Requests over the agent's sockets, beside a server that leaves everything but the sockets to libxml2.
// Client and servers share one processor: nobody gains by working while another one does.
#include "core/socket.h"
#include "exchange.hpp"
#include "measures.hpp"
#include "reference.hpp"
#include "station.hpp"
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <numeric>
#include <optional>
#include <sched.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace bench {

namespace {

using namespace vorn::client;
using std::string;

constexpr size_t rounds = 7;
constexpr std::chrono::seconds timeout(20);

// A child process, which ends with its owner or its parent.
struct Child {
  // `body` does not return unless it has failed.
  template <class Body> explicit Child(Body body) : pid(fork()) {
    if (pid < 0) throw std::runtime_error("cannot fork");
    if (pid > 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    body();
    _exit(1);
  }
  Child(const Child &) = delete;
  ~Child() {
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
  }
  const pid_t pid;
};

// ---- The agent ----

// The agent has a session of its own, since it signals its whole process group when it is asked to end.
void execute_agent(const string &program) noexcept {
  setsid();
  const int console = open("/dev/console", O_WRONLY | O_APPEND);
  for (const int output : {STDOUT_FILENO, STDERR_FILENO}) dup2(console, output); // not among the tables
  execl(program.c_str(), program.c_str(), "-f", nullptr);
  perror(program.c_str());
}

// The request waits at the socket until the agent's loop runs. What the agent has to say goes to the console,
// which is a file on a private device.
void wait_until_the_agent_answers() {
  for (const double start = wall_seconds();; usleep(20000)) {
    try {
      exchange_local(local_endpoint(lsql_socket), "<lsql/>", timeout);
      return;
    } catch (const Unreachable &error) {
      if (wall_seconds() - start > 20)
        throw std::runtime_error(error.what() + ("\n" + content_of("/dev/console")));
    }
  }
}

// ---- Both sides of the comparison ----

// A server, and what its only client has of it.
struct Side {
  Endpoint server;
  std::optional<Connection> connection{};
  string received{}, reply{};
  size_t number = 0; // of the next request
  Samples rates{};   // requests a second, a round each
};

// On the local socket: a connection for each request.
void ask_local(Side &side, const string &request) {
  side.reply = exchange_local(side.server, request, timeout);
}

// Over TCP: one connection for all requests.
void ask_tcp(Side &side, const string &request) {
  if (!side.connection) side.connection.emplace(side.server, timeout);
  side.connection->send(request + terminator);
  if (!side.connection->receive_message(terminator, side.received, side.reply))
    throw std::runtime_error("the TCP connection has ended");
}

constexpr char reference_socket[] = "vorn_bench_reference";
constexpr std::uint16_t reference_port = 8099;

const struct Transport {
  const char *name;
  Endpoint agent, reference;
  void (*ask)(Side &side, const string &request);
  int (*listen)(); // for the reference, as the agent does
  bool is_local;
} transports[] = {
    {transport_names[0], local_endpoint(lsql_socket), local_endpoint(reference_socket), ask_local,
     [] { return vorn_socket_get_unix(reference_socket, VORN_SOCKET_ABSTRACT); }, true},
    {transport_names[1], tcp_endpoint(lsql_port), tcp_endpoint(reference_port), ask_tcp,
     [] { return vorn_socket_get_tcp(reference_port, 1); }, false},
};

// ---- The measuring ----

// For this process and those that it starts.
void stay_on_one_processor() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  CPU_SET(static_cast<size_t>(sched_getcpu()), &processors);
  if (sched_setaffinity(0, sizeof processors, &processors) != 0)
    throw std::runtime_error(string("cannot stay on one processor: ") + strerror(errno));
}

void run_round(Side &side, const Transport &transport, const Request &kind, size_t stations,
               Seconds seconds) {
  Samples times;
  repeat_for(seconds, [&] {
    const string request = kind.text(side.number++, stations);
    add_time(times, wall_seconds, [&] { transport.ask(side, request); });
    require_success(side.reply, matches_of(kind, stations));
  });
  side.rates.push_back(static_cast<double>(times.size()) / std::accumulate(times.begin(), times.end(), 0.0));
}

void measure(const Request &kind, const Transport &transport, size_t stations, Seconds seconds,
             Figures &figures) {
  const Content content = content_of(kind, stations);
  Side agent{transport.agent}, reference{transport.reference};
  const vorn::Descriptor listener(transport.listen());
  const Child server([&]() noexcept { serve(listener.get(), transport.is_local, content); });
  for (Side *side : {&agent, &reference}) transport.ask(*side, kind.text(0, stations));
  if (agent.reply != reference.reply)
    throw std::runtime_error("the replies of the agent and the reference differ");
  const string name = over(kind.name, transport.name);
  figures[name + ", reply"] = static_cast<double>(agent.reply.size());
  for (size_t round = 0; round < rounds; ++round)
    for (Side *side : {&agent, &reference})
      run_round(*side, transport, kind, stations, seconds / static_cast<double>(rounds));
  figures[name] = median(agent.rates);
  figures[by_libxml2(name)] = median(reference.rates);
}

} // namespace

Figures measure_sockets(size_t stations, Seconds seconds) {
  constexpr char plugins[] = "/usr/lib/vorn/plugins";
  std::filesystem::create_directories(plugins);
  std::filesystem::copy(BENCH_PLUGIN, plugins, std::filesystem::copy_options::overwrite_existing);
  stay_on_one_processor();
  const Child agent([&] { execute_agent(BENCH_AGENT); });
  wait_until_the_agent_answers();
  Figures figures;
  for (size_t i = 0; i < socket_request_count; ++i)
    for (const Transport &transport : transports) measure(requests[i], transport, stations, seconds, figures);
  return figures;
}

} // namespace bench
