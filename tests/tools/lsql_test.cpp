#include "client.hpp"
#include "exchange.hpp"

#include <csignal>
#include <cstdlib>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <iterator>
#include <linux/sockios.h>
#include <pthread.h>
#include <sched.h>
#include <sstream>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

using namespace lsql;
using namespace vorn::client;
using namespace std::string_literals;

namespace {

enum Transport { local, tcp, events };

/// Listens as the agent does, on an address of the test's own; returns the descriptor.
int listen_as_agent(Transport transport, Endpoint &endpoint) {
  endpoint = transport != tcp ? local_endpoint("lsql_test." + std::to_string(getpid())) : tcp_endpoint(0);
  auto *address = reinterpret_cast<sockaddr *>(&endpoint.address);
  const int listener = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (::bind(listener, address, endpoint.length) != 0 || ::listen(listener, 5) != 0) std::abort();
  ::getsockname(listener, address, &endpoint.length); // the port that the system has chosen
  return listener;
}

/// Reads as many bytes as the length (of an event after a version of 0) says, or to the terminator, left out.
std::string read_from(int client, Transport transport) {
  std::uint32_t length = 0;
  if (transport == events && (::recv(client, &length, sizeof length, MSG_WAITALL) < 0 || length != 0))
    return "?";
  if (transport != tcp && ::recv(client, &length, sizeof length, MSG_WAITALL) != sizeof length) return "?";
  std::string request(length, '?');
  if (transport != tcp) return ::recv(client, request.data(), length, MSG_WAITALL) == length ? request : "?";
  char buffer[4096];
  for (ssize_t got = 0; !request.ends_with('\x13') && (got = ::recv(client, buffer, sizeof buffer, 0)) > 0;)
    request.append(buffer, static_cast<std::size_t>(got));
  return request.substr(0, request.find('\x13'));
}

/// Sends all in one piece, and returns when the client on a local socket has read it or has gone.
void send_packet(int client, const std::string &data) {
  if (::send(client, data.data(), data.size(), MSG_NOSIGNAL) < 0) return;
  for (int unread = 1; ::ioctl(client, SIOCOUTQ, &unread) == 0 && unread > 0;) sched_yield();
}

struct Outcome {
  int status;
  std::string out, err;
};

Outcome run(const Endpoint &agent, std::vector<std::string> arguments, const std::string &input = "") {
  std::istringstream in(input);
  std::ostringstream out, err;
  arguments.insert(arguments.begin(), "lsql");
  std::vector<char *> argv;
  for (std::string &argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const int status =
      run_client(static_cast<int>(arguments.size()), argv.data(), {agent, agent, agent, agent, in, out, err});
  return {status, out.str(), err.str()};
}

/// Runs the client against an agent that talks to it on a thread. `gone` is set when the client has ended.
using Talk = std::function<void(int client, std::future<void> gone)>;
Outcome run_against(Transport transport, const Talk &talk, std::vector<std::string> arguments,
                    const std::string &input = "") {
  if (transport == tcp) arguments.push_back("--tcp");
  Endpoint endpoint;
  const int listener = listen_as_agent(transport, endpoint);
  std::promise<void> ended;
  std::thread agent([&] {
    const int client = ::accept(listener, nullptr, nullptr);
    if (client >= 0) talk(client, ended.get_future());
    ::close(client);
  });
  Outcome outcome = run(endpoint, std::move(arguments), input);
  ended.set_value();
  ::shutdown(listener, SHUT_RDWR); // ends a wait for a client that never came
  agent.join();
  ::close(listener);
  return outcome;
}

/// One request, answered with this reply; the request as it arrived goes to `arrived`.
Outcome ask(Transport transport, const std::string &reply, std::vector<std::string> arguments,
            const std::string &input = "", std::string *arrived = nullptr) {
  const auto talk = [&](int client, std::future<void>) {
    const std::string request = read_from(client, transport);
    if (arrived != nullptr) *arrived = request;
    const std::string bytes = transport == tcp ? reply + '\x13' : reply;
    if (!reply.empty()) {
      send_packet(client, bytes.substr(0, bytes.size() - 1));
      send_packet(client, bytes.substr(bytes.size() - 1)); // what ends a reply may come alone
    }
    char c = 0;
    while (transport == tcp && ::recv(client, &c, 1, 0) > 0) continue; // open until the client ends its side
  };
  return run_against(transport, talk, std::move(arguments), input);
}

std::string result(const std::string &inside) {
  return "<?xml version=\"1.0\"?>\n<lsql_result>" + inside + "</lsql_result>\n";
}

TEST(Client, ReplyIsShownWithItsValuesAndDecidesTheExitStatus) {
  const struct {
    std::string reply;
    int status;
    const char *shown; // on the standard output
  } cases[] = {
      {result("<rc>0</rc><counter>1</counter>"), 0, "  <rc>0</rc>\n  <counter>1</counter>\n"},
      {result("<rc>0</rc><counter>1</counter><error>E</error><rc>1</rc><counter>0</counter>"), 1, "<error>E"},
      {result("<dataset><R><rc>7</rc></R></dataset><rc>0</rc><counter>1</counter>"), 0, "      <rc>7</rc>\n"},
      {result("<C name=\"&quot;&#xE9;\"><p> </p><q> a\n\n b&#13;</q><r>&#x20AC;&lt;</r></C><rc>0</rc>"), 0,
       "  <C name=\"&quot;\xc3\xa9\">\n    <p> </p>\n    <q> a\n\n b&#13;</q>\n    "
       "<r>\xe2\x82\xac&lt;</r>\n"},
      {"<config><a name=\"x\"/></config>", 0, "<config>\n  <a name=\"x\"/>\n</config>\n"},
      {"<?xml version=\"1.0\"?><error>Can't read config file.</error>\n", 1, "Can't read"},
      {"<lsql_result><rc>0</rc>", 1, "<lsql_result><rc>0</rc>\n"},
      {"", 1, ""},
  };
  for (const auto &c : cases)
    for (const Transport transport : {local, tcp}) {
      SCOPED_TRACE(c.reply + (transport == tcp ? " over TCP" : " over the local socket"));
      const Outcome ran = ask(transport, c.reply, {"<lsql/>"});
      EXPECT_EQ(ran.status, c.status);
      EXPECT_NE(ran.out.find(c.shown), std::string::npos) << ran.out;
      EXPECT_EQ(ran.err.find("no reply") != std::string::npos, c.reply.empty()) << ran.err;
    }
}

/// Runs a line of words where there is no agent.
Outcome run_alone(const std::string &line) {
  std::istringstream words(line);
  return run(local_endpoint("lsql_test.nobody"), {std::istream_iterator<std::string>{words}, {}});
}

TEST(Client, WrongUsageSendsNothing) {
  const char *cases[] = {"--nonsense",  "<a/> <b/>",   "<a/> -f -",   "-f /nonexistent", "-f /",
                         "-f",          "-T -1",       "-T x <a/>",   "-T nan <a/>",     "-n 1 <a/>",
                         "-t <a\x13/>", "watch -n 0",  "watch -n 1x", "watch it",        "watch --raw",
                         "inform",      "inform a -t", "inform a&b"};
  for (const char *line : cases) EXPECT_EQ(run_alone(line).status, 2) << line; // sending would end with 3
}

TEST(Client, AgentThatIsAbsentSilentOrGoneIsToldApart) {
  for (const char *line : {"<lsql/>", "watch", "inform a"}) EXPECT_EQ(run_alone(line).status, 3) << line;
  const std::string large(8 << 20, 'x'); // more than the socket buffers hold
  const auto begin_and_stop = [](int client, std::future<void> gone) {
    send_packet(client, "<lsql_result>");
    gone.wait();
  };
  const auto close_at_once = [](int, std::future<void>) {};
  for (const Transport transport : {local, tcp}) {
    EXPECT_EQ(run_against(transport, begin_and_stop, {"<lsql/>", "-T", "0.05"}).status, 3);
    const Outcome ran = run_against(transport, close_at_once, {}, large);
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.err.find("no reply"), std::string::npos) << ran.err;
  }
  const auto omit_terminator = [](int client, std::future<void>) {
    read_from(client, tcp);
    send_packet(client, result("<rc>0</rc>"));
  };
  EXPECT_EQ(run_against(tcp, omit_terminator, {"<lsql/>"}).status, 1);
}

TEST(Client, LargeRequestsAndRepliesArriveWhole) {
  const std::string value(8 << 20, 'x');
  for (const Transport transport : {local, tcp}) {
    std::string arrived;
    const std::string reply = result("<dataset>" + value + "</dataset><rc>0</rc>");
    const Outcome ran = ask(transport, reply, {"--raw"}, value, &arrived);
    EXPECT_TRUE(arrived == value);
    EXPECT_TRUE(ran.out == reply);
  }
}

TEST(Client, OnlyLayoutIsTakenOutOfARequestThatIsRead) {
  const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  const std::pair<std::string, std::string> cases[] = {
      {"<l> <!-- why --><p>caf\xc3\xa9 &lt;&amp;&#13;</p>\n<p> </p> <q/><![CDATA[ ]]></l>",
       declaration + "<l><p>caf\xc3\xa9 &lt;&amp;&#13;</p><p> </p><q/><![CDATA[ ]]></l>\n"},
      {"<l><p>a<!-- in a value -->b</p></l>\n", "<l><p>a<!-- in a value -->b</p></l>"},
      {"<l> <p> </l>\n\n", "<l> <p> </l>\n"},
  };
  for (const auto &[read, compacted] : cases) {
    const auto sent = [](std::vector<std::string> arguments, const std::string &input) {
      std::string arrived;
      ask(local, result("<rc>0</rc>"), std::move(arguments), input, &arrived);
      return arrived;
    };
    EXPECT_EQ(sent({}, read), compacted);
    EXPECT_EQ(sent({"--exact"}, read), read);
    EXPECT_EQ(sent({read}, ""), read);
  }
}

TEST(Inform, SendsItsOperandsAsTheyStandAndEndsAsTheAnswerSays) {
  const struct {
    const char *answer;
    int status;
    const char *out, *complaint;
  } cases[] = {{"OK\n", 0, "OK\n", ""},
               {"ERR no handler\n", 1, "ERR no handler\n", ""},
               {"OKAY\n", 1, "OKAY\n", "gives"},
               {"OK", 1, "", "broke off"},
               {"", 1, "", "no answer"}};
  for (const auto &c : cases) {
    std::string arrived;
    const Outcome ran = ask(events, c.answer, {"inform", "a=b", "k=v=w", "-T9", "e=", " f=\n"}, "", &arrived);
    EXPECT_EQ(arrived, "object=a=b&k=v=w&e=& f=\n");
    EXPECT_EQ(ran.status, c.status) << c.answer;
    EXPECT_EQ(ran.out, c.out);
    EXPECT_TRUE(*c.complaint ? ran.err.find(c.complaint) != std::string::npos : ran.err.empty()) << ran.err;
  }
}

TEST(Inform, OperandThatTheAgentWouldMisreadIsNamedAndNothingSent) {
  for (const std::string operand : {"&", "k", "=v", "k&=v", "k=v&", "c=2", "object=a"}) {
    const Outcome ran = run_alone("inform a c=1 " + operand);
    EXPECT_EQ(ran.status, 2) << operand;
    EXPECT_NE(ran.err.find("\"" + operand + "\": "), std::string::npos) << ran.err;
  }
  EXPECT_EQ(run({}, {"inform", ""}).status, 2);
}

/// Watches an agent that sends these packets, each when the one before has been read, and then does `end`.
Outcome watch_packets(const std::vector<std::string> &packets, const char *count, std::function<void()> end) {
  const auto talk = [&](int client, std::future<void>) {
    char registering = 0;
    if (::recv(client, &registering, 1, 0) != 1) return; // a silent client is no listener
    for (const std::string &packet : packets) send_packet(client, packet);
    end();
  };
  return run_against(local, talk, {"watch", "-n", count});
}

TEST(Watch, NulEndsAMessageWhereverPacketsAreCutAndNoPartOfOneIsShown) {
  const std::string all = "<a>1</a>\n\0<b>x\ny</b>\n\0<c/>\0<d>"s;
  for (std::size_t cut = 1; cut < all.size(); cut++)
    for (const bool limited : {true, false}) { // without the limit the agent that closes ends it
      const Outcome ran = watch_packets({all.substr(0, cut), all.substr(cut)}, limited ? "2" : "9", [] {});
      EXPECT_EQ(ran.status, limited ? 0 : 3);
      EXPECT_EQ(ran.out, limited ? "<a>1</a>\n<b>x\ny</b>\n" : "<a>1</a>\n<b>x\ny</b>\n<c/>\n");
    }
}

TEST(Watch, SignalEndsItWithSuccess) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const pthread_t watcher = pthread_self();
    const Outcome ran = watch_packets({}, "9", [&] { pthread_kill(watcher, signal); });
    EXPECT_EQ(ran.status, 0) << ran.err;
  }
}

} // namespace
