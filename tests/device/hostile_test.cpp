// Clients that stall, lie, flood or vanish: the next one is served all the same.
#include "device/agent.hpp"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace {

using namespace vorn::test;
using std::string;
using namespace std::string_literals;

const string select_host = "<lsql><select><system><host/></system></select></lsql>";

struct Hostile : testing::Test {
  static void SetUpTestSuite() {
    prepare_device({"plugin.so"}, "<config><system><host>ap</host></system></config>");
    agent = std::make_unique<Agent>();
    lsql("<select><system/></select>");
    // A reply of some megabytes for a client that does not take it.
    const string text(100000, 'x');
    string radios;
    for (int i = 0; i < 50; ++i)
      radios += "<radio name=\"r" + std::to_string(i) + "\"><text>" + text + "</text></radio>";
    EXPECT_EQ(lsql("<insert>" + radios + "</insert>"), "<rc>0</rc><counter>50</counter>");
    descriptors = agent->descriptors();
  }
  static void TearDownTestSuite() {
    EXPECT_NE(Agent::output().find("\nBoot Successful - Config Ok\n"), string::npos);
    EXPECT_FALSE(exists("/etc/config/configBootFailures")); // it has lived for twenty seconds
    agent->signal(SIGTERM);
    EXPECT_EQ(agent->wait(), 0); // a sanitizer's complaints end it otherwise
    agent.reset();
  }
  void TearDown() override {
    expect_served();
    EXPECT_TRUE(eventually([] { return agent->descriptors() <= descriptors; }, 30)) << "descriptors leak";
  }

  static void expect_served() {
    EXPECT_NE(request(select_host).find("<host>ap</host>"), string::npos);
    Connection client = Connection::tcp(8002);
    client.send(select_host + terminator);
    EXPECT_NE(client.receive(terminator).find("<host>ap</host>"), string::npos);
  }
  static std::unique_ptr<Agent> agent;
  static int descriptors;
};
std::unique_ptr<Agent> Hostile::agent;
int Hostile::descriptors;

TEST_F(Hostile, LengthsThatLie) {
  const struct {
    string bytes;
    bool answered;
  } cases[] = {
      {"", false},
      {"\1", false},
      {length_prefix(0) + select_host, false},
      {length_prefix(0xffffffff), false},
      {length_prefix(0x7fffffff) + select_host, false},
      {length_prefix(1000) + select_host, true}, // what has come by the end of the stream is the request
      {length_prefix(1000) + select_host.substr(0, 30), false},
      {with_length(select_host) + "more", true},
      {length_prefix(9) + select_host, false}, // the length counts
      {length_prefix(1000) + select_host + string(1, '\0') + "<lsql/>", true},
  };
  for (const auto &c : cases) {
    Connection client = Connection::local();
    client.send(c.bytes);
    client.end_sending();
    EXPECT_EQ(client.receive().find("<host>ap</host>") != string::npos, c.answered) << c.bytes;
  }
}

TEST_F(Hostile, InformsThatLie) {
  const string version = length_prefix(0), good = "object=wan&state=up";
  const auto whole = length_prefix(static_cast<unsigned>(good.size()));
  const struct {
    string bytes, answer;
  } cases[] = {
      {version + whole + good, "OK\n"},
      {version + whole + good + "&state=bad", "OK\n"}, // the length counts
      {version + length_prefix(1000) + good, "OK\n"},  // what has come by the end of the stream
      {version + length_prefix(14) + good, "ERR returned by handler\n"},
      {version + length_prefix(1000) + "object=wan\0&state=up"s, "ERR returned by handler\n"},
      {version + length_prefix(1000) + "object=lan", "ERR no handler\n"},
      {version + length_prefix(1000), "ERR no object parameter\n"},
      {version + length_prefix(0) + good, ""},
      {version + length_prefix(0xffffffff) + good, ""},
      {length_prefix(1) + whole + good, ""},
      {version + "\1", ""},
      {"", ""},
  };
  Connection listener = Connection::tcp(8001), silent = Connection::local("vorn_sock_inform");
  listener.send("x");
  silent.send(version + "\1");
  for (const auto &c : cases) {
    Connection client = Connection::local("vorn_sock_inform");
    client.send(c.bytes);
    client.end_sending();
    EXPECT_EQ(client.receive(), c.answer) << c.bytes;
  }
  EXPECT_NE(listener.receive('\0').find("wan"), string::npos); // the handler has acted
  EXPECT_EQ(silent.receive(), "");
  EXPECT_TRUE(silent.ended);
}

TEST_F(Hostile, ClientsThatNeverTakeTheirReply) {
  const string all = "<lsql><select><radio properties=\"all\"/></select></lsql>";
  std::vector<Connection> idle;
  for (int i = 0; i < 4; ++i) {
    idle.push_back(Connection::local());
    idle.back().send(with_length(all));
    idle.push_back(Connection::tcp(8002));
    idle.back().send(all + terminator + all + terminator);
  }
  const auto start = std::chrono::steady_clock::now();
  expect_served();
  // Nobody had to wait for them: they are dropped after ten seconds, the others were served before.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
  EXPECT_TRUE(eventually([] { return agent->descriptors() <= descriptors; }, 30));
  for (Connection &client : idle) { // cut off in the middle
    EXPECT_FALSE(client.receive().ends_with("</lsql_result>\n"));
    EXPECT_TRUE(client.ended);
  }
}

TEST_F(Hostile, ASlowReaderGetsItsReplyWhole) {
  Connection client = Connection::tcp(8002);
  client.send("<lsql><select><radio properties=\"all\"/></select></lsql>" + string(1, terminator) +
              select_host + terminator);
  usleep(300000);
  expect_served();
  const string reply = client.receive(terminator);
  EXPECT_GT(reply.size(), 5000000u);
  EXPECT_NE(reply.find("<counter>50</counter>"), string::npos);
  EXPECT_NE(client.receive(terminator).find("<host>ap</host>"),
            string::npos); // the next one was not forgotten
}

TEST_F(Hostile, RequestsWithoutEnd) {
  const string megabyte(1 << 20, 'x');
  Connection local = Connection::local(), tcp = Connection::tcp(8002), noise = Connection::tcp(8002);
  local.send(length_prefix(9 << 20));
  EXPECT_EQ(local.receive(), "");
  tcp.send("<");
  for (int i = 0; i < 9; ++i) {
    EXPECT_TRUE(tcp.send(megabyte));
    EXPECT_TRUE(noise.send(megabyte));
  }
  for (Connection *client : {&tcp, &noise}) {
    client->send(string(1, terminator) + select_host + terminator);
    EXPECT_NE(client->receive(terminator).find("<host>ap</host>"), string::npos);
  }
  EXPECT_NE(Agent::log().find("too long"), string::npos);
  EXPECT_NE(Agent::log().find("dropped"), string::npos);
}

TEST_F(Hostile, SubscribersThatNeverRead) {
  lsql("<delete><radio/></delete><insert><radio name=\"r1\"/></insert>"); // each update is saved: let that be
                                                                          // quick
  Connection deaf = Connection::tcp(8001), listener = Connection::tcp(8001);
  deaf.send("x");
  listener.send("x");
  usleep(100000);
  const string value(20000, 'v');
  string last;
  for (int i = 0; i < 200; ++i) {
    lsql("<update><radio name=\"r1\"><mode>" + value + std::to_string(i) + "</mode></radio></update>");
    do // each listener that reads gets each message whole
      last = listener.receive('\0');
    while (!listener.ended && last.find("conf_changed") == string::npos);
  }
  EXPECT_NE(last.find("<conf_changed origin=\"test\">"), string::npos);
  lsql("<update><radio name=\"r1\"><mode>n</mode></radio></update>");
  string messages = deaf.receive_now();
  for (string more; !(more = deaf.receive_now()).empty();) messages += more;
  const size_t whole = messages.rfind('\0') + 1; // what comes after it may still be on its way
  size_t start = 0;
  for (size_t end; start < whole; start = end + 1) {
    end = messages.find('\0', start);
    ASSERT_EQ(messages.compare(start, 21, "<?xml version=\"1.0\"?>"), 0) << "a message was cut";
    ASSERT_EQ(messages[end - 1], '\n');
  }
}

} // namespace
