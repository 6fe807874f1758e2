// Clients that lie or never end: the next one is served all the same.
#include "device/agent.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <memory>

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
    descriptors = agent->descriptors();
  }
  static void TearDownTestSuite() {
    const auto succeeded = [] { return contains(Agent::output(), "\nBoot Successful - Config Ok\n"); };
    EXPECT_TRUE(eventually(succeeded, 30)); // it has lived for twenty seconds
    EXPECT_FALSE(exists("/etc/config/configBootFailures"));
    agent->signal(SIGTERM);
    EXPECT_EQ(agent->wait(), 0); // a sanitizer's complaints end it otherwise
    agent.reset();
  }
  void TearDown() override {
    EXPECT_TRUE(contains(request(select_host), "<host>ap</host>"));
    EXPECT_TRUE(eventually([] { return agent->descriptors() <= descriptors; }, 30)) << "descriptors leak";
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
  EXPECT_TRUE(contains(Agent::log(), "vorn: Bad inform request.\n"));
  EXPECT_EQ(silent.receive(), "");
  EXPECT_TRUE(silent.ended);
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

} // namespace
