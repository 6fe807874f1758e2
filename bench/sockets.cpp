// Requests over the agent's sockets, beside a bare echo server on the same kind of socket. Overwrites the
// agent's files: to be run on a private device.
#include "exchange.hpp"
#include "figures.hpp"
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
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace {

using namespace bench;
using namespace vorn::client;
using std::string;

constexpr size_t all_sizes[] = {100, 1'000};
constexpr size_t rounds = 5;
constexpr double seconds_each_round = 0.4;
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

// ---- The echo server: the least that a server on the same kind of socket has to do ----

// Listens there, and fills in the port that the system chooses.
vorn::Descriptor listen_at(Endpoint &endpoint) {
  auto *address = reinterpret_cast<sockaddr *>(&endpoint.address);
  vorn::Descriptor listener(socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (bind(listener.get(), address, endpoint.length) != 0 || listen(listener.get(), 50) != 0 ||
      getsockname(listener.get(), address, &endpoint.length) != 0)
    throw std::runtime_error("cannot listen at " + endpoint.description + ": " + strerror(errno));
  return listener;
}

// Reads the length and the request, as the agent does, and replies once.
void echo_local(Connection &client, const string &reply) {
  string request;
  std::uint32_t length = 0;
  while (request.size() < sizeof length || request.size() - sizeof length < length) {
    if (!client.receive(request)) return;
    if (request.size() >= sizeof length) memcpy(&length, request.data(), sizeof length);
  }
  client.send(reply);
}

// Replies to every request until the client goes.
void echo_tcp(Connection &client, const string &reply) {
  string received, request;
  while (client.receive_message(terminator, received, request)) client.send(reply + terminator);
}

// ---- Both sides of the comparison ----

// A server, and what its only client has of it.
struct Side {
  Endpoint server;
  std::optional<Connection> connection{};
  string received{}, reply{};
  Samples latencies{};
};

// The agent's protocol on the local socket: a connection for each request.
void ask_local(Side &side, const string &request) {
  Connection connection(side.server, timeout);
  connection.send(with_length(request));
  side.reply.clear();
  while (connection.receive(side.reply)) continue;
  if (side.reply.empty()) throw std::runtime_error("no reply at the local socket");
}

// And over TCP: one connection for all requests.
void ask_tcp(Side &side, const string &request) {
  if (!side.connection) side.connection.emplace(side.server, timeout);
  side.connection->send(request + terminator);
  if (!side.connection->receive_message(terminator, side.received, side.reply))
    throw std::runtime_error("the TCP connection has ended");
}

const struct Transport {
  const char *name;
  Endpoint agent, echo;
  void (*ask)(Side &side, const string &request);
  void (*serve_echo)(Connection &client, const string &reply);
} transports[] = {
    {"local socket", local_endpoint(lsql_socket), local_endpoint("vorn_bench_echo"), ask_local, echo_local},
    {"TCP", tcp_endpoint(lsql_port), tcp_endpoint(0), ask_tcp, echo_tcp},
};

constexpr struct Kind {
  const char *name;
  string (*request)(size_t number, size_t stations);
  bool matches_all;
} kinds[] = {
    {"select one by name", [](size_t i, size_t n) { return lsql(select_one(station_name(i % n))); }, false},
    {"update one by name", [](size_t i, size_t n) { return lsql(update_one(station_name(i % n), i)); },
     false},
    {"select all", [](size_t, size_t) { return lsql(select_all()); }, true},
};

// ---- The measuring ----

void run_round(Side &side, const Transport &transport, const Kind &kind, size_t stations) {
  repeat_for(seconds_each_round, [&] {
    const string request = kind.request(side.latencies.size(), stations);
    add_time(side.latencies, wall_seconds, [&] { transport.ask(side, request); });
  });
}

double per_second(const Samples &latencies) {
  return static_cast<double>(latencies.size()) / std::accumulate(latencies.begin(), latencies.end(), 0.0);
}

string latency(const Samples &latencies) {
  return duration(median(latencies)) + " / " + duration(percentile(latencies, 99));
}

void measure(const Kind &kind, const Transport &transport, size_t stations, Table &table) {
  fprintf(stderr, "bench: measuring %s over %s with %zu instances\n", kind.name, transport.name, stations);
  const size_t matches = kind.matches_all ? stations : 1;
  Side agent{transport.agent}, echo{transport.echo};
  transport.ask(agent, kind.request(0, stations));
  require_success(agent.reply, matches);
  const string reply = agent.reply;
  const vorn::Descriptor listener = listen_at(echo.server);
  const Child server([&]() noexcept {
    while (true) {
      Connection client{vorn::Descriptor(accept(listener.get(), nullptr, nullptr))};
      transport.serve_echo(client, reply);
    }
  });
  for (size_t round = 0; round < rounds; ++round) {
    run_round(agent, transport, kind, stations);
    run_round(echo, transport, kind, stations);
  }
  transport.ask(agent, kind.request(1, stations));
  require_success(agent.reply, matches);
  const double ours = per_second(agent.latencies), theirs = per_second(echo.latencies);
  table.push_back({string(kind.name) + ", " + transport.name, grouped(stations),
                   bytes(static_cast<double>(reply.size())), grouped(ours), grouped(theirs),
                   with_decimals(theirs / ours, 1), latency(agent.latencies), latency(echo.latencies)});
}

void measure_agent(const string &program, size_t stations, Table &requests, Table &memory) {
  write_config(stations);
  fprintf(stderr, "bench: starting the agent with %zu instances; it answers after 5 seconds\n", stations);
  const Child agent([&] { execute_agent(program); });
  wait_until_the_agent_answers();
  const double started = resident_memory(agent.pid);
  for (const Kind &kind : kinds)
    for (const Transport &transport : transports) measure(kind, transport, stations, requests);
  memory.push_back(
      {grouped(stations), bytes(started), bytes(resident_memory(agent.pid)), bytes(peak_memory(agent.pid))});
}

void measure_and_report(const string &program, const string &plugin) {
  constexpr char plugins[] = "/usr/lib/vorn/plugins";
  std::filesystem::create_directories(plugins);
  std::filesystem::copy(plugin, plugins, std::filesystem::copy_options::overwrite_existing);
  Table requests{{"request", "instances", "reply", "agent, req/s", "echo, req/s", "echo : agent",
                  "agent, median / 99 %", "echo, median / 99 %"}};
  Table memory{{"instances", "agent after start", "agent after all requests", "its peak"}};
  for (const size_t stations : all_sizes) measure_agent(program, stations, requests, memory);
  puts("\n## Requests over the agent's sockets\n");
  print(requests);
  puts(R"(
One client, one request at a time; on the local socket each request has a connection of its own, on TCP all
share one. The echo server does the same with its sockets, blocking and without an event loop, and answers
with a fixed text of the reply's size. The two take turns. An agent starts to answer 5 seconds after its
start, by design; no figure has these seconds in it.

## The agent's memory
)");
  print(memory);
  puts("\nResident (VmRSS) and peak (VmHWM).");
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    fputs("Usage: bench_sockets AGENT PLUGIN\n", stderr);
    return 2;
  }
  return run_on_device([&] { measure_and_report(argv[1], argv[2]); });
}
