// Requests over the agent's sockets, beside a bare echo server on the same kind of socket. Overwrites the
// agent's files: to be run on a private device.
#include "agent.hpp"
#include "clients.hpp"
#include "device.hpp"
#include "echo_server.hpp"
#include "memory.hpp"
#include "requests.hpp"
#include "samples.hpp"
#include "station_file.hpp"
#include "table.hpp"
#include <cstdio>
#include <exception>

namespace {

using namespace bench;

constexpr size_t all_sizes[] = {100, 1'000};
constexpr size_t rounds = 5;
constexpr double seconds_each_round = 0.4;

struct Kind {
  const char *name;
  std::string (*request)(size_t number, size_t stations);
  size_t (*matches)(size_t stations);
};

constexpr auto one = [](size_t) -> size_t { return 1; };
constexpr Kind kinds[] = {
    {"select one by name", [](size_t i, size_t n) { return select_one(station_name(i % n)); }, one},
    {"update one by name", [](size_t i, size_t n) { return update_one(station_name(i % n), i); }, one},
    {"select all", [](size_t, size_t) { return select_all(); }, [](size_t n) { return n; }},
};

struct Transport {
  const char *name;
  std::unique_ptr<Client> (*to_agent)();
  EchoServer (*echo)(size_t reply_size);
  std::unique_ptr<Client> (*to_echo)(const EchoServer &echo);
};

constexpr Transport transports[] = {
    {"local socket", [] { return local_client(agent_local_name); }, EchoServer::local,
     [](const EchoServer &) { return local_client(echo_local_name); }},
    {"TCP", [] { return tcp_client(agent_port); }, EchoServer::tcp,
     [](const EchoServer &echo) { return tcp_client(echo.port()); }},
};

// One side's requests, one after the other.
struct Side {
  std::unique_ptr<Client> client;
  Samples latencies{};
  double busy = 0;

  template <class Request> void run_round(Request request) {
    for (Repetitions repetitions(seconds_each_round); repetitions.next();) {
      const std::string text = request(latencies.count());
      const double seconds = seconds_of([&] { client->exchange(text); });
      latencies.add(seconds);
      busy += seconds;
    }
  }
  double per_second() const { return static_cast<double>(latencies.count()) / busy; }
  std::string latency() const {
    return duration(latencies.median()) + " / " + duration(latencies.percentile(99));
  }
};

void measure(Table &table, const Kind &kind, const Transport &transport, size_t stations) {
  const auto request = [&](size_t number) { return kind.request(number, stations); };
  Side agent{transport.to_agent()};
  const std::string reply = agent.client->exchange(request(0));
  require_success(reply.c_str(), kind.matches(stations));
  const EchoServer server = transport.echo(reply.size());
  Side echo{transport.to_echo(server)};
  for (size_t round = 0; round < rounds; ++round) {
    agent.run_round(request);
    echo.run_round(request);
  }
  require_success(agent.client->exchange(request(1)).c_str(), kind.matches(stations));
  table.add({std::string(kind.name) + ", " + transport.name, grouped(static_cast<double>(stations)),
             bytes(static_cast<double>(reply.size())), grouped(agent.per_second()),
             grouped(echo.per_second()), with_decimals(echo.per_second() / agent.per_second(), 1),
             agent.latency(), echo.latency()});
}

void measure_all(Table &table, size_t stations) {
  for (const Kind &kind : kinds)
    for (const Transport &transport : transports) {
      fprintf(stderr, "bench: measuring %s over %s with %zu instances\n", kind.name, transport.name,
              stations);
      measure(table, kind, transport, stations);
    }
}

void measure_agent(const std::string &program, size_t stations, Table &requests, Table &memory) {
  write_config(stations);
  fprintf(stderr, "bench: starting the agent with %zu instances; it answers after 5 seconds\n", stations);
  const Agent agent(program);
  const Memory started = memory_of(agent.pid());
  measure_all(requests, stations);
  const Memory worked = memory_of(agent.pid());
  memory.add({grouped(static_cast<double>(stations)), bytes(started.resident), bytes(worked.resident),
              bytes(worked.peak)});
}

void measure_and_report(const std::string &program, const std::string &plugin) {
  install_plugin(plugin);
  Table requests({"request", "instances", "reply", "agent, req/s", "echo, req/s", "echo : agent",
                  "agent, median / 99 %", "echo, median / 99 %"});
  Table memory({"instances", "agent after start", "agent after all requests", "its peak"});
  for (const size_t stations : all_sizes) measure_agent(program, stations, requests, memory);
  puts("\n## Requests over the agent's sockets\n");
  requests.print();
  puts(R"(
One client, one request at a time; on the local socket each request has a connection of its own, on TCP all
share one. The echo server does the same with its sockets, blocking and without an event loop, and answers
with a fixed text of the reply's size. The two take turns. An agent starts to answer 5 seconds after its
start, by design; no figure has these seconds in it.

## The agent's memory
)");
  memory.print();
  puts("\nResident (VmRSS) and peak (VmHWM).");
}

} // namespace

int main(int argc, char **argv) {
  if (argc != 3) {
    fputs("Usage: bench_sockets AGENT PLUGIN\n", stderr);
    return 2;
  }
  try {
    require_device();
    measure_and_report(argv[1], argv[2]);
    return 0;
  } catch (const std::exception &error) {
    fprintf(stderr, "bench: %s\n", error.what());
    return 1;
  }
}
