#include "common/log.hpp"
#include "core/debug.h"
#include "process/command.h"
#include "process/reboot.h"
#include "process/service.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

using std::string;
using vorn::test::Log;

// Like the agent while it starts: children are collected as they end.
void collect(int number) { vorn_service_sig_child(number, nullptr, nullptr); }

template <class Condition> bool eventually(Condition condition) {
  for (int i = 0; i < 2000 && !condition(); ++i) usleep(5000);
  return condition();
}

bool contains(const string &text, const string &part) { return text.find(part) != string::npos; }

string table() {
  return vorn::test::printed([](FILE *out) { vorn_service_print(out); });
}

struct Processes : testing::Test {
  Processes() {
    signal(SIGCHLD, collect);
    vorn_service_init();
  }
  ~Processes() override {
    vorn_service_shutdown();
    signal(SIGCHLD, SIG_DFL);
    vorn_process_no_actions = 0;
    vorn_debug_set(0);
  }

  static int start(const char *name, const char *script) {
    return vorn_service_execlod(name, "sh", "-c", script, nullptr, 0, nullptr);
  }
  // Runs a shell command, whose exit status is the answer.
  static int ask(const char *script, int output = 0, const char *directory = nullptr) {
    return vorn_command_execlod("sh", "-c", script, nullptr, output, directory);
  }
  Log log;
};

TEST_F(Processes, CommandsReturnTheRawStatusWhoeverCollectsChildren) {
  for (int i = 0; i < 100; ++i) ASSERT_EQ(WEXITSTATUS(ask("exit 3")), 3);
  EXPECT_EQ(WTERMSIG(ask("kill -9 $$")), 9);
  EXPECT_EQ(vorn_command_execl("true", nullptr), 0);
  char absent[] = "no-such-program", *argv[] = {absent, nullptr};
  EXPECT_EQ(WEXITSTATUS(vorn_command_execv(argv)), 127);
  EXPECT_EQ(vorn_command_execv(argv + 1), -1);
  EXPECT_EQ(ask("test \"$PWD\" = /", 0, "/"), 0);
  EXPECT_EQ(ask("exit 0", 0, "/no-such-directory"), 0); // it runs all the same
  EXPECT_EQ(log.take(),
            "vorn: Unable to execute \"no-such-program\": No such file or directory\n"
            "vorn: Null program.\n"
            "vorn: Unable to change directories to \"/no-such-directory\" while executing \"sh\": "
            "No such file or directory\n");
}

TEST_F(Processes, ChildrenGetDefaultSignalsASessionAndNoDescriptors) {
  signal(SIGPIPE, SIG_IGN);
  signal(SIGTERM, [](int) {});
  EXPECT_GE(dup2(STDERR_FILENO, 700), 0);
  EXPECT_GE(dup2(STDERR_FILENO, 1010), 0);
  EXPECT_EQ(ask("[ \"$(echo /proc/self/fd/*)\" = '/proc/self/fd/0 /proc/self/fd/1 /proc/self/fd/2 "
                "/proc/self/fd/3' ]"),
            0)
      << "but for the directory that is read";
  EXPECT_EQ(ask("grep -q '^SigIgn:[[:space:]]*0*$' /proc/self/status"), 0);
  EXPECT_EQ(ask("grep -q '^SigBlk:[[:space:]]*0*$' /proc/self/status"), 0);
  EXPECT_EQ(ask("[ $(cut -d' ' -f6 /proc/$$/stat) = $$ ]"), 0);
  const char *outputs =
      "[ $(readlink /proc/$$/fd/0) = /dev/null ] && [ $(readlink /proc/$$/fd/2) = /dev/null ]";
  EXPECT_EQ(ask(outputs, 0) + ask(outputs, 1), 0);
  EXPECT_NE(ask(outputs, 2), 0);
  vorn_debug_set(1);
  EXPECT_NE(ask(outputs, 1), 0);
  EXPECT_EQ(ask(outputs, 0), 0);
}

TEST_F(Processes, StepsAreToldInOneLine) {
  vorn_debug_set(1);
  log.take();
  EXPECT_EQ(vorn_command_execl("test", "a b", "=", "c", nullptr), 256);
  const string line = log.take();
  EXPECT_EQ(line.substr(0, line.find("pid")), "vorn: Running \"test a b = c\" -> ");
  EXPECT_TRUE(contains(line, " -> status = 256\n"));
  vorn_process_no_actions = 1;
  EXPECT_EQ(vorn_command_execl("false", nullptr), 0);
  EXPECT_EQ(start("s", "sleep 9"), 1);
  EXPECT_EQ(log.take(),
            "vorn: Running \"false\" -> (no actions) vorn: Running \"sh -c sleep 9\" -> (no actions) ");
  EXPECT_EQ(vorn_service_is_running("s"), 0);
  EXPECT_EQ(vorn_service_stop("s", SIGTERM, 1), 0);
}

int exits;
void start_again(void *value) {
  EXPECT_EQ(vorn_service_get_pid("s"), -1) << "it is forgotten by now";
  if (++exits == 3) return;
  vorn_service_set_exited_fn("s", start_again, value);
  EXPECT_EQ(vorn_service_execl("s", "true", nullptr), 0);
}

TEST_F(Processes, ServicesThatEndByThemselvesCallBackAndMayStartAgain) {
  exits = 0;
  vorn_debug_set(1);
  vorn_service_set_exited_fn("s", start_again, nullptr);
  EXPECT_EQ(table(), "Service              State        PID\ns                    stopped        0\n");
  EXPECT_EQ(start("s", "exit 1"), 0);
  EXPECT_TRUE(eventually([] { return vorn_service_poll(), exits == 3; }));
  EXPECT_EQ(vorn_service_get_pid("s"), -1);
  EXPECT_TRUE(contains(log.take(), " is no longer running. Service has no callback.\n")); // though it has one
}

TEST_F(Processes, StoppedServicesStayWithoutACallback) {
  exits = 0;
  vorn_service_set_exited_fn(
      "s", [](void *) { ++exits; }, nullptr);
  EXPECT_EQ(start("s", "sleep 100"), 0);
  const string pid = std::to_string(vorn_service_get_pid("s"));
  EXPECT_EQ(vorn_service_is_running("s"), 1);
  EXPECT_EQ(vorn_service_stop("s", SIGTERM, 0), 1); // at once
  EXPECT_TRUE(contains(table(), "stopping"));
  EXPECT_TRUE(eventually([] { return vorn_service_poll(), contains(table(), "stopped"); }));
  sig_child_received = 1;
  vorn_service_poll();
  EXPECT_TRUE(contains(table(), "s                    stopped "));
  EXPECT_TRUE(contains(table(), " " + pid + "\n"));
  EXPECT_EQ(vorn_service_stop("s", SIGTERM, 0), 0);
  EXPECT_EQ(start("s", "sleep 100"), 0);
  EXPECT_EQ(vorn_service_stop("s", SIGKILL, 5000000), 1);
  EXPECT_EQ(exits, 0);
}

TEST_F(Processes, WhoIgnoresTheSignalIsLeftStopping) {
  const char *stubborn = "trap '' TERM; while :; do sleep 0.05; done";
  EXPECT_EQ(start("s", stubborn), 0);
  signal(SIGCHLD, SIG_DFL); // nobody collects from here on
  EXPECT_EQ(start("dead", "exit 0"), 0);
  EXPECT_TRUE(eventually([] { return vorn_service_is_running("dead") == 0; })) << "a zombie does not run";
  const string ignores =
      "grep -q '^SigIgn:.*4...$' /proc/" + std::to_string(vorn_service_get_pid("s")) + "/status";
  EXPECT_TRUE(eventually([&] { return system(ignores.c_str()) == 0; }));
  EXPECT_EQ(vorn_service_stop("s", SIGTERM, 100000), -1);
  const pid_t pid = vorn_service_get_pid("s");
  EXPECT_TRUE(
      contains(log.take(), "Timeout while sending signal 15 to service s with pid " + std::to_string(pid)));
  EXPECT_TRUE(contains(table(), "s                    stopping"));
  EXPECT_EQ(vorn_service_stop("s", SIGKILL, 5000000), 1);
  EXPECT_EQ(kill(pid, 0), -1);
}

int ends[300];

TEST_F(Processes, HundredsMayEndAtOnce) {
  for (int &end : ends) {
    const string name = "s" + std::to_string(&end - ends);
    vorn_service_set_exited_fn(
        name.c_str(), [](void *value) { ++*static_cast<int *>(value); }, &end);
    ASSERT_EQ(vorn_service_execl(name.c_str(), "true", nullptr), 0);
  }
  EXPECT_TRUE(eventually([] {
    vorn_service_poll();
    return std::count(std::begin(ends), std::end(ends), 1) == 300;
  }));
  EXPECT_FALSE(contains(table(), "running"));
}

} // namespace
