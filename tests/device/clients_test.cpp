// Who is served when places, descriptors or time are short.
#include "device/agent.hpp"

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace {

using namespace vorn::test;
using std::string;
using Clock = std::chrono::steady_clock;

const string select_host = "<lsql><select><system><host/></system></select></lsql>";
const string local_request = length_prefix(static_cast<unsigned>(select_host.size())) + select_host;
const string wan = "object=wan&state=up";
const string inform_request = length_prefix(0) + length_prefix(static_cast<unsigned>(wan.size())) + wan;
const string ended = "sent nothing for 10 seconds - dropped.\n";

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

int times(const string &part, const string &text) {
  int count = 0;
  for (size_t at = text.find(part); at != string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

Connection subscriber() {
  Connection client = Connection::tcp(8001);
  client.send("x");
  return client;
}

bool ask_tcp(Connection &client) {
  client.send(select_host + terminator);
  return contains(client.receive(terminator), "<host>ap</host>");
}

// The agent's connections, as /proc/net/tcp shows them: state 1 is established, timer 2 keep-alive.
constexpr char port_8001[] = ":1F41", port_8002[] = ":1F42";
int established(const char *port, const char *timer = " ") {
  std::ifstream table("/proc/net/tcp");
  int count = 0;
  for (string line; getline(table, line);)
    if (contains(line.substr(0, 20), port) && contains(line, " 01 ") && contains(line, timer)) ++count;
  return count;
}

struct Clients : testing::Test {
  static void SetUpTestSuite() {
    prepare_device({"plugin.so"}, "<config><system><host>ap</host></system></config>");
    agent = std::make_unique<Agent>(std::initializer_list<const char *>{"-f", "-d"});
    lsql("<select><system/></select>");
    at_rest = agent->descriptors() + 1;
    quiet = std::make_unique<Connection>(subscriber());
    EXPECT_TRUE(eventually([] { return agent->descriptors() == at_rest; }));
  }
  static void TearDownTestSuite() {
    idle.clear();
    quiet.reset();
    agent.reset();
  }
  static void add_idle() { // as soon as a place is free
    for (const size_t before = idle.size(); idle.size() == before;) {
      Connection client = Connection::tcp(8002);
      if (ask_tcp(client)) idle.push_back(std::move(client));
    }
  }
  static std::unique_ptr<Agent> agent;
  static std::unique_ptr<Connection> quiet; // a subscriber that never says more
  static std::vector<Connection> idle;      // all places of port 8002
  static Clock::time_point idle_since;
  static int at_rest; // the agent's descriptors, without the idle clients'
};
std::unique_ptr<Agent> Clients::agent;
std::unique_ptr<Connection> Clients::quiet;
std::vector<Connection> Clients::idle;
Clock::time_point Clients::idle_since;
int Clients::at_rest;

TEST_F(Clients, ACrowdOnALocalSocketIsServedWhole) {
  for (const bool of_inform : {false, true}) {
    std::vector<Connection> crowd;
    for (int i = 0; i < 40; ++i)
      crowd.push_back(Connection::local(of_inform ? "vorn_sock_inform" : "vorn_sock_lsql"));
    usleep(50000);
    for (Connection &client : crowd) client.send(of_inform ? inform_request : local_request);
    for (Connection &client : crowd)
      EXPECT_TRUE(contains(client.receive(), of_inform ? "OK\n" : "<host>ap</host>"));
  }
}

TEST_F(Clients, WhoStallsLosesItsPlaceAfterItsTimeAndNotBefore) {
  const auto start = Clock::now();
  std::vector<Connection> silent, late;
  for (int i = 0; i < 64; ++i) silent.push_back(Connection::tcp(8001)); // with the quiet one all places
  for (int i = 0; i < 8; ++i) {
    late.push_back(Connection::tcp(8002));
    late.back().send("<lsql>");
  }
  EXPECT_TRUE(eventually([] { return established(port_8002, " 02:") == 8; }));
  Connection ninth = Connection::tcp(8002);
  EXPECT_EQ(ninth.receive(), ""); // refused
  Connection listener = subscriber();
  sleep(5);
  late[0].send("<select"); // a sign of life
  EXPECT_EQ(established(port_8002), 8);
  string message;
  do {
    inform(wan);
    message = listener.receive_now();
  } while (message.empty() && seconds_since(start) < 15);
  EXPECT_TRUE(contains(message, "name=\"wan\"")) << message;
  EXPECT_GT(seconds_since(start), 9);
  EXPECT_TRUE(eventually([] { return established(port_8002) == 1; }, 5));
  EXPECT_EQ(times("LSQL client " + ended, Agent::log()), 7);
  EXPECT_TRUE(late[7].receive().empty() && late[7].ended);
  late[0].send(">" + string(1, terminator));
  EXPECT_FALSE(late[0].receive_now().empty() && late[0].ended);
  late.clear();
  while (idle.size() < 8) add_idle();
  idle_since = Clock::now();
}

// Clients that come again and again, each a process of its own.
class Flood {
public:
  explicit Flood(const std::function<void()> &one_visit) {
    for (int i = 0; i < 30; ++i) {
      pids_.push_back(fork());
      if (pids_.back() == 0)
        for (;;) one_visit();
    }
    sleep(2); // every place is taken
  }
  ~Flood() {
    for (const pid_t pid : pids_) kill(pid, SIGKILL);
    for (const pid_t pid : pids_) waitpid(pid, nullptr, 0);
  }
  Flood(const Flood &) = delete;
  Flood &operator=(const Flood &) = delete;

private:
  std::vector<pid_t> pids_;
};

TEST_F(Clients, AFloodDelaysOthersByAFewSecondsAtMost) {
  const struct {
    const char *name;
    std::function<void()> visit;
  } floods[] = {
      {"silent", [] { Connection::local().receive(); }},
      {"hurried", [] { Connection::local(); }},
      {"in the middle of a request",
       [] {
         Connection client = Connection::local();
         client.send(local_request.substr(0, 9));
         client.receive();
       }},
      {"never taking their reply",
       [] {
         const string all = "<lsql><select><radio properties=\"all\"/></select></lsql>";
         Connection client = Connection::local();
         client.send(length_prefix(static_cast<unsigned>(all.size())) + all);
         while (client.send("x")) usleep(10000);
       }},
  };
  lsql("<insert><radio name=\"big\"><text>" + string(1000000, 'x') + "</text></radio></insert>");
  for (const auto &flood : floods) {
    SCOPED_TRACE(flood.name);
    const Flood running(flood.visit);
    for (int i = 0; i < 3; ++i) {
      auto start = Clock::now();
      EXPECT_TRUE(contains(request(select_host), "<host>ap</host>"));
      EXPECT_LT(seconds_since(start), 5);
      start = Clock::now();
      EXPECT_EQ(inform(wan), "OK\n");
      EXPECT_LT(seconds_since(start), 1);
      start = Clock::now();
      EXPECT_TRUE(ask_tcp(idle[7]));
      EXPECT_LT(seconds_since(start), 1);
    }
  }
}

TEST_F(Clients, WithoutDescriptorsWhoComesIsTurnedAwayAndToldOfOnceAMinute) {
  // Who came before is gone, and the idle ones, which may have come during the flood, have low numbers.
  const size_t places = idle.size();
  idle.clear();
  EXPECT_TRUE(eventually([] { return agent->descriptors() == at_rest; }, 30));
  while (idle.size() < places) add_idle();
  idle_since = Clock::now();
  // Connections take the numbers that are free below the highest one in use.
  const auto is_used = [](rlim_t fd) {
    return exists("/proc/" + std::to_string(agent->pid()) + "/fdinfo/" + std::to_string(fd));
  };
  std::vector<Connection> held;
  rlim_t end = 0;
  for (rlim_t fd = 0; fd < 200; ++fd)
    if (is_used(fd)) end = fd + 1;
  for (rlim_t fd = 0; fd < end; ++fd) {
    if (is_used(fd)) continue;
    held.push_back(Connection::tcp(8001));
    EXPECT_TRUE(eventually([&] { return is_used(fd); }));
  }
  rlimit limit = {};
  ASSERT_EQ(prlimit(agent->pid(), RLIMIT_NOFILE, nullptr, &limit), 0);
  const rlimit low = {end, limit.rlim_max};
  ASSERT_EQ(prlimit(agent->pid(), RLIMIT_NOFILE, &low, nullptr), 0);
  for (int i = 0; i < 300; ++i) {
    Connection client = i % 2 ? Connection::local() : Connection::tcp(8001);
    EXPECT_EQ(client.receive(), "");
    ASSERT_TRUE(client.ended);
  }
  EXPECT_TRUE(ask_tcp(idle[7])); // who is there is served
  ASSERT_EQ(prlimit(agent->pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
  EXPECT_TRUE(contains(request(select_host), "<host>ap</host>"));
  EXPECT_EQ(times("accept: Too many open files\n", Agent::output()), 1);
  EXPECT_EQ(times("turned away for lack of descriptors: ", Agent::log()), 1);
}

TEST_F(Clients, WhatHasComeWhileTheAgentWasBusyIsNotTakenForSilence) {
  const string text(300000, 'x');
  for (int i = 0; i < 20; ++i)
    lsql("<insert><radio name=\"r" + std::to_string(i) + "\"><text>" + text + "</text></radio></insert>");
  // The loop serves one local client a pass, in the order in which they came: the last one's turn comes after
  // the timeouts of all.
  std::vector<Connection> halves;
  for (int i = 0; i < 8; ++i) halves.push_back(Connection::local());
  idle.pop_back();
  add_idle();
  Connection &half_tcp = idle[7], &reader = idle[6];
  half_tcp.send(select_host.substr(0, 20));
  for (Connection &half : halves) half.send(local_request.substr(0, 20));
  reader.send("<lsql><select><radio properties=\"all\"/></select></lsql>" + string(1, terminator));
  usleep(200000);
  write_file("/tmp/slow", "");
  Connection busy = Connection::local();
  const string update = "<lsql><update><system><host>ap</host></system></update></lsql>";
  busy.send(length_prefix(static_cast<unsigned>(update.size())) + update);
  const string children =
      "/proc/" + std::to_string(agent->pid()) + "/task/" + std::to_string(agent->pid()) + "/children";
  EXPECT_TRUE(eventually([&] { return !read_file(children).empty(); }));
  unlink("/tmp/slow");
  std::vector<Connection> waiting; // more than places
  for (int i = 0; i < 20; ++i) {
    waiting.push_back(Connection::local());
    waiting.back().send(local_request);
  }
  for (Connection &half : halves) half.send(local_request.substr(20));
  half_tcp.send(select_host.substr(20) + terminator);
  string reply;
  std::thread taking([&] { reply = reader.receive(terminator); });
  sleep(12);
  kill(static_cast<pid_t>(std::stol(read_file(children))), SIGKILL);
  EXPECT_TRUE(contains(busy.receive(), "<rc>0</rc>"));
  for (Connection &half : halves) EXPECT_TRUE(contains(half.receive(), "<host>ap</host>"));
  EXPECT_TRUE(contains(half_tcp.receive(terminator), "<host>ap</host>"));
  for (Connection &client : waiting) EXPECT_TRUE(contains(client.receive(), "<host>ap</host>"));
  taking.join();
  EXPECT_TRUE(reply.ends_with(string("</lsql_result>\n") + terminator));
  EXPECT_GT(reply.size(), 20 * text.size());
}

TEST_F(Clients, AListenerThatTakesNothingIsDroppedAndAQuietOneStays) {
  Connection deaf = subscriber();
  EXPECT_TRUE(eventually([] { return established(port_8001) == 2; }));
  const string much(200000, 'x');
  for (int i = 0; i < 60; ++i) {
    inform("object=wan&state=" + much);
    while (!contains(quiet->receive('\0'), "xxx") && !quiet->ended) continue;
  }
  EXPECT_TRUE(eventually([&] { return established(port_8001) == 1; }, 15));
}

TEST_F(Clients, WhoHasBeenIdleForAMinuteOnPort8002MakesRoom) {
  if (seconds_since(idle_since) < 59) {
    Connection ninth = Connection::tcp(8002);
    EXPECT_EQ(ninth.receive(), "");
  }
  EXPECT_TRUE(ask_tcp(idle[1]) && ask_tcp(idle[7]));
  while (seconds_since(idle_since) < 61) usleep(100000);
  Connection ninth = Connection::tcp(8002);
  EXPECT_TRUE(ask_tcp(ninth));
  for (size_t i = 0; i < idle.size(); ++i) EXPECT_EQ(ask_tcp(idle[i]), i != 0) << i;
}

// Last, since it ends the agent: a plugin's destructor announces it.
TEST_F(Clients, SubscribersHearWhatAPluginSaysWhileTheProcessEnds) {
  agent->signal(SIGTERM);
  EXPECT_EQ(agent->wait(), 0);
  EXPECT_TRUE(contains(quiet->receive(), "<conf_changed origin=\"the end\">"));
}

} // namespace
