// Services, the watchdog and what happens to children when the agent ends.
#include "device/agent.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using namespace vorn::test;
using std::string;

const string config = "<config><system><host>ap</host></system></config>";

// The number of processes with this command line.
int count(const string &command) {
  return system(("n=$(pgrep -cfx '" + command + "'); exit $n").c_str()) / 256;
}

int times_fed() {
  const string text = Agent::output(), fed = "vorn_watchdog_ack ioctl[WDIOC_KEEPALIVE]: ";
  int times = 0;
  for (size_t at = text.find(fed); at != string::npos; at = text.find(fed, at + 1)) ++times;
  return times;
}

TEST(Processes, AreWatchedOverAndStoppedWithTheAgent) {
  prepare_device({"plugin.so"}, config);
  write_file("/dev/watchdog", "");
  write_file("/etc/post-init", "#!/bin/sh\necho $# > /tmp/post-init\n");
  chmod("/etc/post-init", 0755);
  Agent agent;
  write_file("/tmp/script", "sleep 77 & exec sleep 78");
  EXPECT_EQ(inform("object=service&start=. /tmp/script"), "OK\n");
  EXPECT_EQ(read_file("/tmp/post-init"), "0\n");
  EXPECT_TRUE(eventually([] { return count("sleep 78") == 1; }));
  EXPECT_EQ(system("pkill -9 -fx 'sleep 78'"), 0);
  EXPECT_TRUE(eventually([] { return count("sleep 100") == 1; })); // started by its callback
  EXPECT_TRUE(contains(Agent::log(), "vorn: The child ended.\n"));
  EXPECT_TRUE(eventually([] { return times_fed() >= 4; })); // twice while it starts, then every two seconds
  agent.signal(SIGHUP);
  EXPECT_TRUE(eventually([] { return contains(Agent::log(), "\nchild                running  "); }));
  agent.signal(SIGUSR1);
  EXPECT_TRUE(eventually([] { return contains(Agent::log(), "Watchdog stopped.\n"); }));
  agent.signal(SIGUSR1);
  EXPECT_TRUE(eventually([] { return contains(Agent::log(), "Watchdog already stopped.\n"); }));
  EXPECT_EQ(read_file("/dev/watchdog"), "V"); // the character that disarms it
  EXPECT_TRUE(contains(Agent::output(), "vorn_watchdog_ack ioctl[WDIOC_SETTIMEOUT]: "));
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.wait(), 0);
  EXPECT_EQ(count("sleep 100"), 0);
  EXPECT_EQ(count("sleep 77"), 1); // what a service leaves behind is its own
  EXPECT_EQ(system("pkill -fx 'sleep 77'"), 0);
}

TEST(Processes, AnInterruptEndsTheAgentInTheMidstOfStartUp) {
  prepare_device({"plugin.so"}, config);
  write_file("/tmp/slow", "");
  Agent agent({"-f", "-d"});
  EXPECT_TRUE(eventually([] { return count("sleep 100") == 1; })); // a commit runs a command
  agent.signal(SIGINT);
  EXPECT_EQ(agent.wait(), 0);
  EXPECT_TRUE(contains(Agent::log(), "Exit due to signal 2.\n"));
  EXPECT_TRUE(contains(Agent::output(), "vorn_watchdog_ack fopen: No such file or directory\n"));
  EXPECT_TRUE(contains(Agent::log(), "vorn: Watchdog stopped (before start).\n"));
  unlink("/tmp/slow");
  EXPECT_EQ(system("pkill -fx 'sleep 100'"), 0);
}

} // namespace
