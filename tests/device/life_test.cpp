// The life of an update, from a client's bytes to the provider, the file and the subscribers, and over a
// restart.
#include "device/agent.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <sys/wait.h>

namespace {

using namespace vorn::test;
using std::string;

const string config =
    "<?xml version=\"1.0\"?>\n<config><system><host>ap</host></system><port name=\"w\"><type>wire</type>"
    "<mtu>1500</mtu></port><radio name=\"a\"><mode>n</mode></radio><rule name=\"g\"/></config>\n";
const string ok = "<rc>0</rc><counter>1</counter>";

struct Life : testing::Test {
  static void SetUpTestSuite() {
    prepare_device({"plugin.so"}, config);
    agent = std::make_unique<Agent>();
    lsql("<select><system/></select>"); // once it answers it is up
  }
  static void TearDownTestSuite() { agent.reset(); }
  static std::unique_ptr<Agent> agent;
};
std::unique_ptr<Agent> Life::agent;

Connection subscriber() {
  Connection client = Connection::tcp(8001);
  client.send("x");
  usleep(100000); // the byte is read in a pass of the loop
  return client;
}

TEST_F(Life, BootLoadsAndCommitsTheConfiguration) {
  EXPECT_EQ(Agent::log(), "vorn: Watchdog stopped (before start).\nvorn: Initialization complete.\r\n");
  EXPECT_EQ(read_file("/tmp/commits"), "changed system: wire:w radio:a rule:g deleted\n");
  EXPECT_EQ(read_file(config_path), config); // untouched
  EXPECT_EQ(read_file("/var/run/vorn.pid"), std::to_string(agent->pid()) + "\n");
  EXPECT_EQ(read_file("/proc/sys/kernel/panic"), "5\n");
  EXPECT_TRUE(eventually([] { return exists("/var/log/version.log"); }));
}

TEST_F(Life, UpdateIsCommittedSavedAndAnnounced) {
  Connection silent = Connection::tcp(8001), listener = subscriber();
  write_file("/tmp/commits", "");
  EXPECT_EQ(lsql("<update><port><mtu>9000</mtu></port></update><where><eq><property>mtu</"
                 "property><value>1500</value>"
                 "</eq></where>"),
            ok);
  EXPECT_EQ(read_file("/tmp/commits"), "changed wire:w deleted\n");
  EXPECT_NE(read_file(config_path).find("\n    <mtu>9000</mtu>\n"), string::npos);
  const string head = "<?xml version=\"1.0\"?>";
  EXPECT_EQ(listener.receive('\0'),
            head + "<conf_changed origin=\"test\">2</conf_changed>\n" + '\0'); // the first
  request("<lsql><update><radio name=\"a\"><mode>ac</mode></radio></update></lsql>");
  EXPECT_EQ(listener.receive('\0'),
            head + "<object_changed><radio name=\"a\"><mode>ac</mode></radio></object_changed>\n" + '\0');
  EXPECT_EQ(listener.receive('\0'), head + "<conf_changed>3</conf_changed>\n" + '\0');
  request(
      "<lsql origin=\"&quot;&gt;&lt;a&amp;'&#10;\xc3\xbc\"><update><radio name=\"a\"><mode>b</mode></radio>"
      "</update></lsql>");
  for (const string changed : {"object", "conf"})
    EXPECT_TRUE(contains(listener.receive('\0'),
                         "<" + changed + "_changed origin=\"&quot;&gt;&lt;a&amp;&apos;&#10;\xc3\xbc\">"));
  EXPECT_EQ(silent.receive_now(), "");
}

TEST_F(Life, RefusedChangesReachNobody) {
  Connection listener = subscriber();
  const string before = read_file(config_path), commits = read_file("/tmp/commits");
  for (const char *operation :
       {"<update><port><mtu>bad</mtu></port></update>",
        "<update><system><uptime>1</uptime></system></update>", "<insert><radio name=\"a\"/></insert>",
        "<insert><port name=\"x\"><type>radio</type></port></insert>",
        "<write-transaction><delete><radio/></delete><insert><rule/></insert></write-transaction>"})
    EXPECT_NE(lsql(operation).find("<rc>1</rc>"), string::npos) << operation;
  EXPECT_EQ(read_file(config_path), before);
  EXPECT_EQ(read_file("/tmp/commits"), commits);
  EXPECT_EQ(listener.receive_now(), "");
}

TEST_F(Life, LiveValuesAreReadWhenTheyAreAskedFor) {
  const string select = "<select><system><uptime/></system></select>";
  for (const char *value : {"17", "18"}) {
    write_file("/tmp/live", value);
    EXPECT_EQ(lsql(select),
              "<dataset><system><uptime>" + string(value) + "</uptime></system></dataset>" + ok);
  }
  EXPECT_EQ(read_file(config_path).find("uptime"), string::npos);
}

TEST_F(Life, TcpCarriesManyRequestsOnOneConnection) {
  Connection client = Connection::tcp(8002);
  const string select = "<lsql><select><system><host/></system></select></lsql>";
  client.send("noise\r\n" + select.substr(0, 9));
  EXPECT_EQ(client.receive_now(), "");
  client.send(select.substr(9) + terminator + terminator + "<lsql>" + terminator + "<lsql/>" + terminator);
  EXPECT_NE(client.receive(terminator).find("<host>ap</host>"), string::npos);
  EXPECT_NE(client.receive(terminator).find("Incomplete"), string::npos); // what does not parse has no reply
  client.send(select + terminator);
  client.end_sending();
  EXPECT_NE(client.receive(terminator).find("<host>ap</host>"), string::npos);
  EXPECT_EQ(client.receive(), "");
  EXPECT_TRUE(client.ended);
}

TEST_F(Life, GetConfReturnsTheFileAsItIs) {
  EXPECT_EQ(request("<get_conf/>"), read_file(config_path));
  Connection client = Connection::tcp(8002);
  client.send(string("<get_conf/>") + terminator);
  EXPECT_EQ(client.receive(terminator), read_file(config_path) + terminator);
}

TEST_F(Life, AClientOfTheRealKindGetsItsReply) {
  const string select = "'<lsql><select><system><host/></system></select></lsql>' > /tmp/reply";
  for (const char *transport : {"lsql ", "lsql --tcp "}) {
    EXPECT_EQ(system((transport + select).c_str()), 0);
    EXPECT_NE(read_file("/tmp/reply").find("\n      <host>ap</host>\n"), string::npos);
  }
}

TEST_F(Life, SignalsCycleTheLevelAndDumpTheState) {
  write_file("/dev/console", "");
  for (int level = 1; level <= 7; ++level) {
    agent->signal(SIGWINCH);
    const string line = "vorn: Debug level is now " + std::to_string(level % 7) + ".\n";
    EXPECT_TRUE(eventually([&] { return Agent::log().find(line) != string::npos; })) << line;
  }
  agent->signal(SIGHUP);
  EXPECT_TRUE(
      eventually([] { return Agent::log().find("Instance name: w\tclass: wire\n") != string::npos; }));
  EXPECT_NE(Agent::log().find("Class: radio                Type: unique-named  Persistence: 1\n"),
            string::npos);
  agent->signal(SIGPIPE);
  EXPECT_NE(lsql("<select><system/></select>"), "");
}

// Last, since it starts the agent anew.
TEST_F(Life, RestartKeepsEveryValueAndTermEndsTheWholeGroup) {
  const string odd = "a&amp;b &lt;c&gt; \"'  Zürich — 東京 🙂 ";
  EXPECT_EQ(lsql("<insert><radio name=\"&lt;&amp;&gt;\"><text>" + odd + "</text></radio></insert>"), ok);
  lsql("<insert><radio name=\"blank\"><text>  </text></radio><rule "
       "name=\"g\"><action>second</action></rule></insert>");
  const string all = "<select><radio properties=\"all\"/></select><select><rule properties=\"all\"/></select>"
                     "<select><port properties=\"all\"/></select><select><system><host/></system></select>";
  const string before = lsql(all);
  const pid_t member = fork();
  if (member == 0) {
    sleep(20);
    _exit(0);
  }
  EXPECT_EQ(setpgid(member, agent->pid()), 0);
  Connection listener = subscriber();
  agent->signal(SIGTERM);
  int status = 0;
  waitpid(member, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  status = agent->wait();
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_NE(Agent::log().find("vorn: Exit due to signal 15.\n"), string::npos);
  EXPECT_TRUE(exists("/var/run/vorn.pid")); // only the loop's end removes it
  EXPECT_TRUE(contains(listener.receive(), "<conf_changed origin=\"the end\">")); // a destructor announces it
  agent = std::make_unique<Agent>();
  EXPECT_EQ(lsql(all), before);
  EXPECT_NE(before.find("<text>  </text>"), string::npos);
  EXPECT_EQ(Agent::log(), "vorn: Watchdog stopped (before start).\nvorn: Initialization complete.\r\n");
}

} // namespace
