// How long clients keep their places, with a clock that stands still until a case moves it.
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/running.hpp"
#include "core/debug.h"
#include "core/eloop.hpp"
#include "core/limits.hpp"
#include "core/outbox.hpp"
#include "exchange.hpp"
#include "notify/notify.h"
#include "servers/lsql_server.hpp"
#include "servers/socket_api.hpp"

#include <chrono>
#include <gtest/gtest.h>
#include <list>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/times.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
std::chrono::milliseconds ahead{100000};

} // namespace

// Stand for what the loop and the servers read the clock with (the linker's --wrap).
Clock::time_point test_now() noexcept asm("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");
[[gnu::visibility("default")]] Clock::time_point test_now() noexcept { return Clock::time_point(ahead); }
extern "C" [[gnu::visibility("default")]] clock_t __wrap_times(tms *) {
  return static_cast<clock_t>(ahead.count() * sysconf(_SC_CLK_TCK) / 1000);
}

namespace {

using namespace vorn::test;
using std::string;
using vorn::client::terminator, vorn::client::with_length;

void pass() {
  const auto nothing = [](void *, void *) {};
  eloop_register_timeout(0, 0, nothing, nullptr, nullptr);
  vorn::run_loop_once();
  eloop_cancel_timeout(nothing, nullptr, nullptr);
}

// Lets the agent do all that there is to do.
void settle() {
  for (int i = 0; i < 100; ++i, sched_yield()) pass();
}

void advance(double seconds) {
  ahead += std::chrono::milliseconds(static_cast<long>(seconds * 1000));
  settle();
}

struct Client {
  explicit Client(const vorn::client::Endpoint &agent)
      : socket(::socket(agent.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int small = 65536, on = 1; // the system's own clock goes on: it must not wait for more to send
    setsockopt(socket.get(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(socket.get(), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
    EXPECT_EQ(connect(socket.get(), reinterpret_cast<const sockaddr *>(&agent.address), agent.length), 0);
  }
  Client &send(const string &text) {
    ::send(socket.get(), text.data(), text.size(), MSG_NOSIGNAL);
    return *this;
  }
  // What has come, or what comes up to the byte that ends a message.
  string take(int until = -1) {
    string text;
    char buffer[65536];
    for (int tries = 0; tries < 5000 && !ended; ++tries, pass()) {
      const ssize_t count = recv(socket.get(), buffer, sizeof buffer, MSG_DONTWAIT);
      ended = count == 0 || (count < 0 && errno != EAGAIN);
      if (count > 0) text.append(buffer, static_cast<size_t>(count)), tries = 0;
      if (until < 0 ? count < 0 : text.ends_with(static_cast<char>(until))) break;
      if (tries > 100) usleep(100);
    }
    return text;
  }
  bool is_gone() { return take(), ended; }
  vorn::Descriptor socket;
  bool ended = false;
};

const string asked = "<lsql/>", all = "<lsql><select><radio properties=\"all\"/></select></lsql>";

struct Waiting : testing::Test {
  static bool open() {
    eloop_init(nullptr);
    add_all_kinds();
    vorn::set_running(vorn_instances_new());
    for (const char *name : {"r", "s"})
      add(vorn_config_get_running(), "radio", name, {{"mode", string(3'000'000, 'x').c_str()}});
    vorn::vorn_lsql_init();
    EXPECT_EQ(vorn_notify_init() + vorn::vorn_socket_api_init(), 0);
    return vorn_debug_set(1) == 0;
  }
  Waiting() {
    static const bool is_open = open();
    EXPECT_TRUE(is_open);
  }
  ~Waiting() override {
    clients.clear();
    advance(1);
  }
  // One more of the case's clients.
  Client &come(const string &said = "") { return clients.emplace_back(agent).send(said); }
  void come(int count, const string &said = "") {
    for (; count > 0; --count, pass()) come(said);
    settle();
  }
  Client &nth(int n) { return *std::next(clients.begin(), n); }
  int gone() {
    return static_cast<int>(
        std::count_if(clients.begin(), clients.end(), [](Client &client) { return client.is_gone(); }));
  }
  bool said(const string &text) {
    logged += log.take();
    const size_t at = logged.find(text);
    logged.erase(0, at == string::npos ? 0 : at + text.size());
    return at != string::npos;
  }
  Log log;
  string logged;
  std::list<Client> clients;
  vorn::client::Endpoint agent = vorn::client::local_endpoint(vorn::client::lsql_socket);
};

struct WaitingFor8001 : Waiting {
  WaitingFor8001() { agent = vorn::client::tcp_endpoint(8001); }
  static void announce(const char *value = "up") {
    vorn_notify_object_change(nullptr, "radio", "r", "power", value);
  }
};

struct WaitingFor8002 : Waiting {
  WaitingFor8002() { agent = vorn::client::tcp_endpoint(8002); }
  static bool answers(Client &client) {
    return client.send(asked + terminator).take(terminator).ends_with(terminator);
  }
};

TEST_F(WaitingFor8001, SilentOnesMakeRoomAfterTenSecondsAndListenersNever) {
  come(8, "x");
  EXPECT_EQ(come("x").take('\0'), ""); // one listener too many
  EXPECT_TRUE(clients.back().ended && said("vorn: Unable to add notify connection.\n"));
  clients.pop_back();
  nth(0).send("more");
  settle();
  announce();
  for (Client &listener : clients) EXPECT_TRUE(listener.take('\0').ends_with(string("\n\0", 2)));
  clients.pop_back();
  settle();
  come(57);
  Client newcomer(agent);
  newcomer.send("x");
  for (const double seconds : {0., 9.9}) {
    advance(seconds);
    announce();
    EXPECT_EQ(newcomer.take(), "");
    EXPECT_EQ(gone(), 0);
  }
  advance(0.2);
  announce();
  EXPECT_NE(newcomer.take('\0'), "");
  EXPECT_TRUE(nth(7).is_gone());
  EXPECT_EQ(gone(), 1);
}

TEST_F(WaitingFor8001, AListenerThatTakesNothingIsDroppedAndGetsNoHalfMessages) {
  come(2, "x");
  const string value(60000, 'v');
  for (int i = 0; i < 150; ++i) { // more than the system keeps for it
    vorn_notify_conf_change(value.c_str());
    EXPECT_TRUE(nth(0).take('\0').ends_with(string("\n\0", 2)));
  }
  advance(9.9);
  EXPECT_FALSE(said("Notify connection ended"));
  advance(0.2);
  EXPECT_TRUE(said("Notify connection ended"));
  EXPECT_FALSE(nth(0).is_gone());
  come("x");
  settle();
  for (int i = 0; i < 150; ++i) vorn_notify_conf_change(value.c_str());
  const string messages = nth(2).take();
  EXPECT_TRUE(messages.ends_with(string("</conf_changed>\n\0", 17)));
  for (size_t start = 0, end; start < messages.size(); start = end + 1) {
    end = messages.find('\0', start);
    EXPECT_EQ(messages.compare(start, 21, "<?xml version=\"1.0\"?>"), 0) << "a message was cut";
  }
}

TEST_F(WaitingFor8002, WhoHasBeenIdleForAMinuteMakesRoomAndWhoStallsGoesAfterTenSeconds) {
  come(8);
  int kept_alive = 0;
  for (int fd = 3, on = 0; fd < 200; ++fd, on = 0) {
    socklen_t size = sizeof on;
    kept_alive += getsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, &size) == 0 && on;
  }
  EXPECT_EQ(kept_alive, 8);
  advance(0.3);
  EXPECT_TRUE(answers(nth(1)));
  advance(0.3);
  EXPECT_TRUE(answers(nth(0)) && answers(nth(7)));
  const auto is_refused = [&] {
    const bool refused = !answers(come()) && said("vorn_lsql_new_connection add_connection: ");
    clients.pop_back();
    return refused;
  };
  EXPECT_TRUE(is_refused());
  advance(59);
  EXPECT_TRUE(is_refused());
  advance(0.8);
  for (const int next : {2, 3, 4, 5, 6, 1}) // who has been so longest
    EXPECT_TRUE(answers(come()) && nth(next).is_gone()) << next;
  EXPECT_FALSE(nth(0).is_gone() || nth(7).is_gone());

  const std::pair<const char *, double> life[] = {{"<lsql", 9.9}, {"/", 9.9}, {"", 0.2}};
  for (const auto &[sent, seconds] : life) {
    EXPECT_FALSE(nth(0).is_gone());
    nth(0).send(sent);
    settle();
    advance(seconds);
  }
  EXPECT_TRUE(nth(0).is_gone() && said("LSQL client sent nothing for 10 seconds - dropped.\nvorn: Notify"));
  nth(7).send(all + terminator);
  settle();
  advance(9.9);
  EXPECT_FALSE(said("Notify connection ended"));
  advance(0.2);
  EXPECT_TRUE(said("Notify connection ended")); // it has taken nothing of its reply
}

TEST_F(Waiting, ACrowdOnALocalSocketWaitsForWhoStallsASecondOrTwo) {
  const struct {
    const char *what;
    string sent;
    double seconds;
  } crowds[] = {{"silent", "", 1},
                {"in a request", with_length(asked).substr(0, 6), 1},
                {"taking no reply", with_length(all), 2}};
  for (const auto &crowd : crowds) {
    SCOPED_TRACE(crowd.what);
    come(16, crowd.sent);
    Client newcomer(agent);
    newcomer.send(with_length(asked));
    advance(crowd.seconds - 0.1);
    EXPECT_EQ(newcomer.take(), "");
    advance(0.2);
    EXPECT_NE(newcomer.take(), "");
    EXPECT_TRUE(said(" made room for another one.\n"));
    clients.clear();
    settle();
  }
  come(16);
  Client newcomer(agent);
  newcomer.send(with_length(asked));
  for (const char c : with_length(string(99, ' ')).substr(0, 34)) { // each byte in time
    for (Client &client : clients) client.send({c});
    settle();
    EXPECT_EQ(newcomer.take(), "");
    advance(0.9);
  }
  EXPECT_NE(newcomer.take(), ""); // but half a minute is enough
  clients.clear();
  for (int i = 0; i < 100; ++i, pass()) come().socket.reset(); // and gone
  EXPECT_NE(come(with_length(asked)).take('\n'), "");
}

TEST_F(Waiting, WhatHasComeWhileTheAgentWasBusyIsNotTakenForSilence) {
  const string request = with_length(asked);
  Client tcp(vorn::client::tcp_endpoint(8002)), reader(vorn::client::tcp_endpoint(8002));
  reader.send(all + terminator);
  settle();
  advance(0.1); // its time is over first
  tcp.send("<lsql");
  come(16, request.substr(0, 6));
  for (Client &client : clients) client.send(request.substr(6));
  tcp.send("/>").send({terminator});
  Client newcomer(agent);
  newcomer.send(request);
  char buffer[65536];
  size_t count = 0;
  for (ssize_t got; (got = recv(reader.socket.get(), buffer, sizeof buffer, MSG_DONTWAIT)) > 0;)
    count += static_cast<size_t>(got);
  advance(12);
  for (Client &client : clients) EXPECT_NE(client.take(), "");
  EXPECT_NE(newcomer.take('\n'), "");
  EXPECT_NE(tcp.take(terminator), "");
  EXPECT_GT(count + reader.take(terminator).size(), 6'000'000u);
}

TEST_F(Waiting, WithoutDescriptorsWhoComesIsTurnedAwayAndToldOfOnceAMinute) {
  Client here(vorn::client::tcp_endpoint(8002));
  settle();
  rlimit limit = {};
  getrlimit(RLIMIT_NOFILE, &limit);
  for (int i = 0; i < 30; ++i) come(); // into the system's queue
  const vorn::Descriptor lowest(dup(STDIN_FILENO));
  const rlimit low = {static_cast<rlim_t>(lowest.get()), limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &low);
  settle();
  EXPECT_EQ(gone(), 30);
  EXPECT_TRUE(WaitingFor8002::answers(here)); // who is there is served
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_TRUE(said("turned away for lack of descriptors: 1.\n"));
  EXPECT_FALSE(said("turned away"));
  advance(61);
  EXPECT_TRUE(said("turned away for lack of descriptors: 29.\n"));
}

TEST_F(Waiting, TheOutboxCountsFromTheLastThatWasTaken) {
  static string events;
  int fds[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds), 0);
  const vorn::Descriptor sender(fds[0]), reader(fds[1]);
  const auto done = [](int, bool sent, void *) { events += sent ? "sent" : "gone"; };
  EXPECT_EQ(vorn::outbox_send(sender.get(), string(5'000'000, 'x'), 0, done, nullptr),
            vorn::Delivery::pending);
  for (int i = 0; i < 3; ++i) {
    advance(9);
    EXPECT_EQ(vorn::outbox_stalled(sender.get()), std::chrono::seconds(9));
    char buffer[65536];
    while (recv(reader.get(), buffer, sizeof buffer, 0) > 0) continue;
    settle();
    EXPECT_EQ(vorn::outbox_stalled(sender.get()).count(), 0);
    EXPECT_EQ(events, "");
  }
  advance(10.1);
  EXPECT_EQ(events, "gone");
}

} // namespace
