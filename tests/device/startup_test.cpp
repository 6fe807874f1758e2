// Boots: plugins and configurations that are wrong, options, reboots, the restoring of a backup.
#include "device/agent.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

using namespace vorn::test;
using std::string;

const string config = "<config><system><host>ap</host></system></config>";
const string system_host = "<select><system><host/></system></select>";

bool exited_with(int status, int code) { return WIFEXITED(status) && WEXITSTATUS(status) == code; }

TEST(Startup, FatalErrorsEndItOnlyWhenToldTo) {
  const struct {
    std::initializer_list<const char *> plugins;
    const char *fatal;
  } cases[] = {
      {{"plugin.so", "plugin_no_entry.so"}, "Plugins were invalid."},
      {{"plugin_circle.so"}, "Providers were invalid."},
      {{"plugin_no_class.so"}, "Classes were invalid."},
  };
  for (const auto &c : cases) {
    prepare_device(c.plugins, config);
    Agent agent({"-fe"});
    EXPECT_TRUE(exited_with(agent.wait(), 1));
    EXPECT_TRUE(contains(Agent::log(),
                         "vorn: Fatal error: " + string(c.fatal) + "\nvorn: Exiting due to fatal error.\n"))
        << Agent::log();
  }
  prepare_device({}, config);
  EXPECT_EQ(system("rmdir /usr/lib/vorn/plugins"), 0);
  Agent agent({"-f", "-e"});
  EXPECT_TRUE(exited_with(agent.wait(), 1));
  EXPECT_TRUE(contains(
      Agent::output(),
      "vorn: Unable to open plugins directory \"/usr/lib/vorn/plugins/\": No such file or directory\n"));
}

TEST(Startup, GoodPluginsLoadBesideBadOnes) {
  prepare_device({"plugin.so", "plugin_no_entry.so", "plugin_other_version.so", "plugin_circle.so"}, config);
  write_file("/usr/lib/vorn/plugins/broken.vorn", "not an object");
  write_file("/usr/lib/vorn/plugins/notes.txt", "");
  write_file("/usr/lib/vorn/plugins/x.so.1", "");
  write_file("/usr/lib/vorn/plugins/.so", "");
  Agent agent({"-f", "-d"});
  EXPECT_TRUE(contains(lsql(system_host), "<host>ap</host>"));
  const string log = Agent::log();
  EXPECT_TRUE(contains(log, "vorn: Reading plugins.\n"));
  EXPECT_TRUE(contains(log, "vorn: Unable to load plugin \"/usr/lib/vorn/plugins/broken.vorn\": "));
  EXPECT_TRUE(contains(log, "vorn: Plugin does not contain vorn_plugin_init: "));
  EXPECT_TRUE(contains(log, "vorn: Plugin \"plugin_other_version.so\" version \"1.1\" is unsupported.\n"));
  EXPECT_TRUE(contains(log, "vorn: Loop detected in providers order: a, b, a.\n"));
  EXPECT_TRUE(
      contains(log, "vorn: Fatal error: Plugins were invalid.\nvorn: Attempting to continue operation.\n"));
  EXPECT_TRUE(
      contains(log, "vorn: Fatal error: Providers were invalid.\nvorn: Attempting to continue operation.\n"));
  for (const char *passed_over : {"notes", "x.so.1", "Loading .so"})
    EXPECT_FALSE(contains(log, passed_over)) << passed_over;
}

TEST(Startup, AConfigurationThatCannotBeReadLeadsToTheCorrectiveAction) {
  const string damaged = "<config><system>";
  prepare_device({"plugin.so"}, damaged);
  EXPECT_EQ(
      system("mkdir -p /mnt/etc/config && cd /mnt/etc && touch a-rescue-b .rescue config/config.xml kept"),
      0);
  Agent agent;
  // It runs on without one.
  EXPECT_EQ(lsql("<select><system/></select>"), "<dataset/><rc>0</rc><counter>0</counter>");
  EXPECT_TRUE(contains(lsql("<insert><system/></insert>"), "<rc>1</rc>"));
  EXPECT_EQ(lsql("<update><system><host>x</host></system></update>"), "<rc>0</rc><counter>0</counter>");
  EXPECT_EQ(inform("object=default"), "ERR returned by handler\n");
  agent.signal(SIGHUP);
  EXPECT_TRUE(contains(Agent::log(), "vorn: Unable to parse startup config - resetting to default.\n"
                                     "vorn: vorn_config_cp: Can't open /etc/rescueconfig.xml\n"));
  EXPECT_TRUE(contains(Agent::log(), "vorn: Unable to read the default either."));
  EXPECT_TRUE(contains(Agent::output(), "\nTaking corrective action...\n"));
  EXPECT_EQ(read_file("/var/log/init.log"), "init -r\n");
  for (const char *removed : {"a-rescue-b", ".rescue", "config/config.xml"})
    EXPECT_FALSE(exists("/mnt/etc/" + string(removed))) << removed;
  EXPECT_TRUE(exists("/mnt/etc/kept"));
  EXPECT_EQ(request("<get_conf/>"), damaged);
  const auto error = [](const string &text) {
    return "<?xml version=\"1.0\"?><error>" + text + "</error>\n";
  };
  EXPECT_EQ(system(": > /etc/config/config.xml"), 0);
  EXPECT_EQ(request("<get_conf/>"), error("Config file is zero-length."));
  EXPECT_EQ(system("rm /etc/config/config.xml && mkdir /etc/config/config.xml"), 0);
  EXPECT_EQ(request("<get_conf/>"), error("Can't read config file."));
}

TEST(Startup, ADaemonRebootsWhenAskedTo) {
  prepare_device({"plugin.so"}, config);
  Agent starter({"-d"});
  EXPECT_TRUE(exited_with(starter.wait(), 0)); // the daemon is its child
  lsql("<insert><radio name=\"r\"/></insert>");
  string process = "/proc/" + read_file("/var/run/vorn.pid");
  process.pop_back();
  EXPECT_TRUE(contains(read_file(process + "/stat"), "(vorn)"));
  char standard_input[64] = "";
  EXPECT_GT(readlink((process + "/fd/0").c_str(), standard_input, 63), 0);
  EXPECT_STREQ(standard_input, "/dev/null");
  lsql("<update><radio name=\"r\"><mode>reboot</mode></radio></update>");
  EXPECT_TRUE(eventually([&] { return !exists(process); }));
  EXPECT_FALSE(exists("/var/run/vorn.pid"));
  EXPECT_TRUE(eventually([] { return exists("/var/log/pid1.log"); })); // init was asked to terminate
  EXPECT_TRUE(contains(Agent::log(), "vorn: Daemonizing...\nvorn: Daemonized.\n"));
  EXPECT_TRUE(contains(Agent::log(), "vorn: Rebooting the system.\n"));
}

TEST(Backup, IsRestoredOverTwoBoots) {
  const string backup = "/etc/config/backup_config.xml";
  prepare_device({"plugin.so"}, config);
  write_file(backup, "<config><system><host>restored</host></system></config>");
  {
    Agent agent;
    EXPECT_TRUE(contains(lsql(system_host), "<host>ap</host>"));
    EXPECT_TRUE(exited_with(agent.wait(30), 1));
    EXPECT_TRUE(
        contains(Agent::log(), "vorn: auto rebuild procedure started.\nvorn: Rebooting the system.\n"));
    EXPECT_TRUE(exists("/etc/rebuild") && exists(backup));
    EXPECT_FALSE(exists("/var/run/vorn.pid"));
  }
  Agent agent;
  EXPECT_TRUE(contains(lsql(system_host), "<host>restored</host>"));
  EXPECT_TRUE(contains(read_file(config_path), "<host>restored</host>"));
  EXPECT_FALSE(exists("/etc/rebuild") || exists(backup));
  EXPECT_TRUE(exited_with(agent.wait(30), 1));
  EXPECT_TRUE(contains(
      Agent::log(), "vorn: Running configuration is saved and rebooting to restart all the deaemons. \r\n"));
}

} // namespace
