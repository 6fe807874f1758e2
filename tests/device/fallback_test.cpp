// What a device comes up on when its configuration file is damaged or kills it.
#include "device/agent.hpp"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using namespace vorn::test;
using std::string;

const char counter_path[] = "/etc/config/configBootFailures";
const char default_path[] = "/etc/defaultconfig.xml";
const char rescue_path[] = "/etc/rescueconfig.xml";

string config(const string &host) { return "<config><system><host>" + host + "</host></system></config>\n"; }

// A default that is good but for what the arguments replace.
string default_file(const string &length = "", const string &md5 = "") {
  const string body = config("default");
  write_file("/tmp/body", body);
  EXPECT_EQ(system("md5sum < /tmp/body > /tmp/body.md5"), 0);
  return "Version: 1\nLength: " + (length.empty() ? std::to_string(body.size()) : length) +
         "\nMD5sum: " + (md5.empty() ? read_file("/tmp/body.md5").substr(0, 32) : md5) + "\n\n" + body +
         "what is after the body";
}

// Boots until the configuration has been loaded, and takes the power away. Returns what was logged.
string boot(std::initializer_list<const char *> options = {"-f"}) {
  write_file("/dev/console", "");
  const Agent agent(options);
  EXPECT_TRUE(eventually([] { return contains(Agent::log(), "Initialization complete."); })) << Agent::log();
  return Agent::log();
}

TEST(Fallback, FiveBootsThatDieRevertToTheDefault) {
  prepare_device({"plugin.so"}, config("deadly"));
  write_file(default_path, default_file());
  boot();
  EXPECT_TRUE(contains(Agent::output(), "No previous Config Boot failures detected\n"));
  for (int died = 1; died <= 5; ++died) {
    EXPECT_EQ(read_file(counter_path), std::to_string(died));
    EXPECT_TRUE(contains(read_file(config_path), "deadly"));
    boot();
    EXPECT_TRUE(contains(Agent::output(), "Previous Boot Failures Counter = " + std::to_string(died) + "\n"));
  }
  EXPECT_TRUE(contains(Agent::output(), "Reverting to default config\n"));
  EXPECT_EQ(read_file(config_path), config("default"));
  EXPECT_TRUE(exists("/tmp/factory-reset"));
  EXPECT_FALSE(exists(counter_path));
}

TEST(Fallback, TheCounterTakesRubbishAndIsGoneWhereABackupWaits) {
  const struct {
    string before, counted, after;
  } cases[] = {{"", "0", "1"},     {"rubbish", "0", "1ubbish"}, {"3abc", "3", "4abc"},
               {"-7", "-7", "*7"}, {"12345", "1234", ""},       {"9", "9", ""}};
  for (const auto &c : cases) {
    prepare_device({"plugin.so"}, config("x"));
    write_file(counter_path, c.before);
    boot();
    EXPECT_TRUE(contains(Agent::output(), "Previous Boot Failures Counter = " + c.counted + "\n"))
        << c.before;
    EXPECT_EQ(read_file(counter_path), c.after);
  }
  prepare_device({"plugin.so"}, config("x"));
  EXPECT_EQ(mkdir(counter_path, 0777), 0);
  EXPECT_TRUE(contains(boot(), "vorn: Fatal error: vorn_config_init() failed.\n"));
  prepare_device({"plugin.so"}, config("x"));
  write_file(counter_path, "5");
  write_file("/etc/config/backup_config.xml", config("backup"));
  boot();
  EXPECT_FALSE(exists(counter_path));
  EXPECT_TRUE(contains(read_file(config_path), ">x<"));
}

TEST(Fallback, ADefaultThatCannotBeUsedGivesWayToTheRescueConfiguration) {
  const string good = default_file();
  const struct {
    string file, logged, host;
  } cases[] = {
      {good, "The startup configuration is now the default configuration.\n", "default"},
      {default_file("12x"), "Length: 12x.\nvorn: Error 104 copying default config.\n", "rescue"},
      {default_file("-1"), "failed checksum.\nvorn: Error 4 copying", "rescue"},
      {default_file("", string(32, '0')), "/etc/defaultconfig.xml failed checksum.\n", "rescue"},
      {"", "The startup configuration is now the rescue configuration.\n", "rescue"},
  };
  for (const auto &c : cases) {
    prepare_device({"plugin.so"}, "<config><sys");
    if (!c.file.empty()) write_file(default_path, c.file);
    write_file(rescue_path, config("rescue"));
    const string log = boot();
    EXPECT_TRUE(contains(log, c.logged)) << log;
    EXPECT_EQ(contains(log, "copying default config"), c.host == "rescue" && !c.file.empty());
    EXPECT_TRUE(contains(log, "is now the " + c.host + " configuration.\n"));
    EXPECT_EQ(read_file(config_path), config(c.host));
    EXPECT_FALSE(contains(Agent::output(), "Taking corrective action"));
  }
  prepare_device({"plugin.so"}, "<config><sys");
  EXPECT_EQ(mkdir(rescue_path, 0777), 0);
  EXPECT_FALSE(contains(boot(), "is now the"));
  EXPECT_EQ(read_file(config_path), "<config><sys"); // what cannot be read replaces nothing
  // Without actions nothing is executed, and so nothing checked.
  prepare_device({"plugin.so"}, "<config><sys");
  write_file(default_path, default_file("", string(32, '0')));
  boot({"-fn"});
  EXPECT_EQ(read_file(config_path), config("default"));
}

TEST(Saving, OnAFullFileSystemKeepsTheOldFileAndIsNotAnnounced) {
  prepare_device({"plugin.so"}, "");
  ASSERT_EQ(system("mount -t tmpfs -o size=64k tmpfs /etc/config"), 0);
  write_file(config_path, config("small"));
  Agent agent;
  lsql("<select><system/></select>");
  EXPECT_EQ(system("cat /dev/zero > /etc/config/filler 2>/dev/null"), 256);
  Connection listener = Connection::tcp(8001);
  listener.send("x");
  const string text(20000, 'x');
  lsql("<insert><radio name=\"r\"><text>" + text + "</text></radio></insert>"); // it cannot be saved
  EXPECT_TRUE(contains(lsql("<select><radio><text/></radio></select>"), text));
  EXPECT_EQ(read_file(config_path), config("small"));
  EXPECT_TRUE(contains(Agent::log(), "vorn: Can't write /etc/config/config.xml: No space left on device\n"));
  EXPECT_EQ(listener.receive_now(), "");
  unlink("/etc/config/filler");
  lsql("<update><system><host>x</host></system></update>");
  EXPECT_TRUE(contains(read_file(config_path), text));
  EXPECT_TRUE(contains(listener.receive_now(), "<conf_changed origin=\"test\">2<"));
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.wait(), 0);
  EXPECT_EQ(system("umount /etc/config"), 0);
}

} // namespace
