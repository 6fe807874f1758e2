// What an agent finds when it starts, what the mode without actions leaves alone, and what is left when it
// ends.
#include "device/agent.hpp"

#include <csignal>
#include <ctime>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using namespace vorn::test;
using std::string;

const string config = "<config><system><host>ap</host></system></config>";

bool initialized() { return contains(Agent::log(), "Initialization complete."); }

// The process with this command line, or 0.
pid_t find(const string &command) {
  EXPECT_LE(system(("pgrep -fx '" + command + "' > /tmp/found").c_str()), 256);
  return atoi(read_file("/tmp/found").c_str());
}

bool runs(const string &command) { return find(command) != 0; }

// A service that ignores SIGTERM, as a sleep of this many seconds.
void start_stubborn(const string &name, const string &seconds) {
  write_file("/tmp/script", "trap '' TERM; exec sleep " + seconds);
  EXPECT_EQ(inform("object=service&name=" + name + "&start=. /tmp/script"), "OK\n");
  EXPECT_TRUE(eventually([&] { return runs("sleep " + seconds); }));
}

// A process that is none of the agent's, in a process group.
struct Stranger {
  explicit Stranger(pid_t group = 0) : pid(fork()) {
    if (pid == 0) {
      setpgid(0, group);
      execlp("sleep", "sleep", "399", nullptr);
      _exit(126);
    }
    setpgid(pid, group);
  }
  ~Stranger() {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  bool lives() const { return waitpid(pid, nullptr, WNOHANG) == 0; }
  const pid_t pid;
};

TEST(Start, ClosedStandardStreamsCostNeitherLogNorWatchdog) {
  for (const auto &options : {std::initializer_list<const char *>{"-f"}, {"-d"}}) {
    prepare_device({"plugin.so"}, config);
    write_file("/dev/watchdog", "");
    Agent agent(options, Streams::closed);
    EXPECT_TRUE(eventually([] { return initialized() && exists("/var/run/vorn.pid"); })) << Agent::log();
    const string pid = std::to_string(atoi(read_file("/var/run/vorn.pid").c_str()));
    for (const char *stream : {"0", "1", "2"}) {
      char path[64] = "";
      EXPECT_GT(readlink(("/proc/" + pid + "/fd/" + stream).c_str(), path, 63), 0);
      EXPECT_STREQ(path, "/dev/null");
    }
    kill(atoi(pid.c_str()), SIGUSR1);
    EXPECT_TRUE(eventually([] { return contains(Agent::log(), "Watchdog stopped.\n"); }));
    EXPECT_EQ(read_file("/dev/watchdog"), "V"); // and nothing that was meant for the standard output
    kill(atoi(pid.c_str()), SIGTERM);
    EXPECT_TRUE(eventually([&] { return !exists("/proc/" + pid) || agent.wait(0) == 0; }));
  }
}

TEST(Start, TheUsageIsAllThatItSaysAndLeavesNothingArmed) {
  const string usage = "\n\nUsage: vorn [-hfned]\n\nOptions:\n"
                       "   -h   show this usage\n"
                       "   -f   run in foreground (do not become a daemon)\n"
                       "   -n   no actions (executing processes, rebooting, watchdog, etc.)\n"
                       "   -e   exit on fatal errors\n"
                       "   -d   show debug messages - can be repeated up to 6 times for more messages\n";
  const struct {
    bool has_watchdog;
    std::initializer_list<const char *> options;
    string logged;
  } cases[] = {
      {true, {"-h"}, "vorn: Watchdog stopped.\n"},
      {true, {"-n", "-h"}, "vorn: Watchdog stopped.\n"},
      {false, {"-f", "x"}, "vorn: Watchdog stopped (before start).\n"},
      {true, {"-x"}, "vorn: Watchdog stopped.\n"},
      {true, {"-ddddddd"}, "vorn: Watchdog stopped.\n"},
      {true, {"-d", "-d", "-d", "-d", "-d", "-d", "-d"}, "vorn: Watchdog stopped.\n"},
  };
  for (const auto &c : cases) {
    prepare_device({}, config);
    if (c.has_watchdog) write_file("/dev/watchdog", "");
    Agent agent(c.options);
    EXPECT_EQ(WEXITSTATUS(agent.wait()), 1);
    EXPECT_TRUE(Agent::output().ends_with(usage)) << Agent::output();
    EXPECT_EQ(Agent::log(), c.logged);
    EXPECT_EQ(read_file("/dev/watchdog"), c.has_watchdog ? "V" : "");
  }
}

TEST(Start, WithoutActionsTheSystemStaysAsItIs) {
  prepare_device({"plugin.so"}, "damaged");
  write_file("/etc/config/backup_config.xml", config);
  for (const char *file : {"/etc/rebuild", "/dev/watchdog"}) write_file(file, "");
  write_file("/etc/post-init", "#!/bin/sh\n: > /tmp/post-init\n");
  chmod("/etc/post-init", 0755);
  EXPECT_EQ(system("mkdir -p /mnt/etc/config && cd /mnt/etc && touch a-rescue .rescue config/config.xml"), 0);
  Agent agent({"-fn"});
  EXPECT_TRUE(contains(lsql("<select><system><host/></system></select>"), "<host>ap</host>"));
  const string log = Agent::log();
  for (const char *command : {"rm -f /mnt/etc/*rescue*", "rm -f /mnt/etc/.*rescue*",
                              "rm -f /mnt/etc/config/config.xml", "init -r", "/usr/sbin/version &"})
    EXPECT_TRUE(contains(log, "vorn: Running \"" + string(command) + "\" -> (no actions)\n")) << command;
  for (const char *kept : {"a-rescue", ".rescue", "config/config.xml"})
    EXPECT_TRUE(exists("/mnt/etc/" + string(kept))) << kept;
  // What is the agent's own goes on.
  EXPECT_TRUE(contains(read_file(config_path), "<host>ap</host>"));
  EXPECT_FALSE(exists("/etc/rebuild") || exists("/etc/config/backup_config.xml"));
  EXPECT_EQ(inform("object=service&start=sleep 100"), "ERR returned by handler\n");
  EXPECT_FALSE(runs("sleep 100"));
  EXPECT_EQ(lsql("<insert><radio name=\"r\"/></insert><update><radio><mode>reboot</mode></radio></update>"),
            "<rc>0</rc><counter>1</counter><rc>0</rc><counter>1</counter>");
  EXPECT_TRUE(contains(Agent::log(), "vorn: Rebooting the system is disabled.\n"));
  EXPECT_EQ(read_file("/dev/watchdog"), "V");
  EXPECT_EQ(inform("object=reboot"), "OK\n");
  EXPECT_EQ(WEXITSTATUS(agent.wait()), 1);
  EXPECT_TRUE(contains(Agent::log(), "vorn: Sending signal 15 to process 1 -> (no actions)\n"));
  EXPECT_FALSE(exists("/tmp/post-init"));
  for (const char *trace : {"init", "version", "pid1"})
    EXPECT_FALSE(exists("/var/log/" + string(trace) + ".log")) << trace;

  prepare_device({"plugin.so"}, config);
  Agent other({"-fn"});
  const Stranger in_its_group(other.pid());
  EXPECT_TRUE(eventually(initialized));
  other.signal(SIGTERM);
  EXPECT_EQ(other.wait(), 0);
  EXPECT_TRUE(in_its_group.lives());
  EXPECT_TRUE(contains(Agent::log(), "vorn: Exit due to signal 15.\n"));
}

TEST(Start, AnAgentThatEndsAsksAllServicesAtOnce) {
  prepare_device({"plugin.so"}, config);
  Agent agent({"-f", "-d"});
  start_stubborn("a", "301");
  start_stubborn("b", "302");
  start_stubborn("child", "303");
  EXPECT_EQ(inform("object=service"), "ERR returned by handler\n"); // it does not stop in time
  write_file("/dev/console", "");
  const string pid = std::to_string(find("sleep 302"));
  const time_t begin = time(nullptr);
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.wait(), 0);
  EXPECT_LT(time(nullptr) - begin, 9); // of the fifteen that it takes to ask them one after the other
  for (const char *service : {"sleep 301", "sleep 302", "sleep 303"}) EXPECT_FALSE(runs(service));
  EXPECT_FALSE(exists("/var/run/vorn.services"));
  size_t at = 0;
  for (const string &line : {"Stopping b (" + pid + ")...\n",
                             "vorn_service_stop: Sending signal 15 to service b with pid " + pid + ".\n",
                             "Timeout while sending signal 15 to service b with pid " + pid + ".\n",
                             "vorn_service_stop: Sending signal 9 to service b with pid " + pid + ".\n",
                             "child pid " + pid + " exited in 0 seconds\n"}) {
    at = Agent::log().find("vorn: " + line, at);
    EXPECT_NE(at, string::npos) << line << Agent::log();
  }
}

TEST(Start, WhatAKilledAgentHasLeftIsEndedAndNothingElse) {
  const string record = "/var/run/vorn.services";
  prepare_device({"plugin.so"}, config);
  const Stranger stranger;
  {
    Agent agent;
    start_stubborn("stubborn", "304");
    EXPECT_EQ(inform("object=service&start=exec sleep 305"), "OK\n");
    EXPECT_TRUE(eventually([] { return runs("sleep 305"); }));
    Agent second; // another one at the same time leaves them alone
    EXPECT_TRUE(eventually([] { return contains(Agent::log(), "its services are left to it.\n"); }));
    EXPECT_TRUE(runs("sleep 304") && runs("sleep 305"));
  }
  EXPECT_EQ(system(("awk '{ print $1, $22, \"init\" }' /proc/1/stat >> " + record).c_str()), 0);
  append_file(record, std::to_string(stranger.pid) + " 12345 stranger\n-1 5 x\n0 5 x\n1 5 init\n\n5\n" +
                          std::to_string(stranger.pid) + " 0 stranger\n99999999999999999999 1 x\n" +
                          string(5000, '9') + "\n" + string("\0 \0\n", 4) + std::to_string(getpid()));
  for (const bool actions : {false, true}) {
    write_file("/dev/console", "");
    Agent agent({actions ? "-f" : "-fn"});
    EXPECT_TRUE(eventually(initialized));
    for (const char *service : {"sleep 304", "sleep 305"}) EXPECT_EQ(runs(service), !actions);
    const string end = string(", which an earlier agent has left.") + (actions ? "\n" : " -> (no actions)\n");
    EXPECT_TRUE(contains(Agent::log(), end)) << Agent::log();
    EXPECT_FALSE(contains(Agent::log(), "stranger"));
    EXPECT_EQ(exists(record), !actions);
    EXPECT_TRUE(stranger.lives());
  }
  EXPECT_FALSE(exists("/var/log/pid1.log"));
  // A record of another boot: its numbers are those of strangers.
  prepare_device({"plugin.so"}, config);
  {
    Agent agent;
    EXPECT_EQ(inform("object=service&start=exec sleep 306"), "OK\n");
    EXPECT_TRUE(eventually([] { return runs("sleep 306"); }));
  }
  write_file("/dev/console", "");
  string text = read_file(record);
  write_file(record, text.replace(text.find('-') + 1, 4, "zzzz")); // in the middle of the boot's identity
  Agent agent;
  EXPECT_TRUE(eventually(initialized));
  EXPECT_TRUE(runs("sleep 306"));
  EXPECT_EQ(system("pkill -fx 'sleep 306'"), 0);
}

} // namespace
