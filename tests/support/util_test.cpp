#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/running.hpp"
#include "core/handles.hpp"
#include "query/query.h"
#include "support/interface_address.h"
#include "support/status_file.h"
#include "support/text_table.h"
#include "support/util.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sys/ioctl.h>

namespace {

using namespace vorn::test;
using std::string;

const string folder = "util_test." + std::to_string(getpid());

struct Utilities : testing::Test {
  Utilities() {
    std::filesystem::create_directories(folder);
    add_all_kinds();
    add_radios();
    vorn::set_running(all);
  }
  ~Utilities() override {
    std::filesystem::remove_all(folder);
    vorn::set_running(nullptr);
    vorn_instances_delete_all(all);
  }
  void add_radios() {
    add(all, "radio", "r", {{"mode", "1"}, {"power", "1"}});
    add(all, "radio", "s", {{"mode", "2"}, {"power", "1"}});
  }
  // Mode and power of both radios.
  string radios() const {
    string text;
    for (const char *name : {"r", "s"})
      for (const char *property : {"mode", "power"})
        text.append(vorn_instance_get_value(vorn_instances_get(all, "radio", name), property)).append(" ");
    return text;
  }
  static string write(const string &name, const string &text) {
    std::ofstream(folder + "/" + name) << text;
    return folder + "/" + name;
  }
  Log log;
  vorn_instances *all = vorn_instances_new();
};

TEST_F(Utilities, EveryLineOfATableIsAnUpdate) {
  const char *by_name[] = {"*name", "#power", "", "mode", nullptr};
  const char *by_key[] = {"*mode", "power", nullptr};
  const char *by_two[] = {"*mode", "*power", "power", nullptr};
  const char *plain[] = {"name", "power", nullptr};
  const char *name_last[] = {"power", "name", nullptr}, *key_last[] = {"power", "*mode", nullptr};
  const string s80(80, 's'), v2985(2985, 'v'), k1100(1100, 'k'), quotes(2985, '\'');
  const struct {
    string text;
    const char **columns;
    int result;
    string radios;
  } cases[] = {
      {"r 5 x 6\n", by_name, 0, "6 5 2 1 "},
      {"r 5 all after the columns\ns 7 \n", plain, 0, "1 5 2 7 "},
      {"r \"a b\" \"\" 2\n", by_name, 0, "2 a b 2 1 "},
      {"s \"to the end", plain, 4, "1 1 2 to the end "},
      {"s  x 4\n", by_name, 0, "1 1 4  "}, // two blanks are an empty field
      // What comes after a quoted field belongs to it.
      {"s \"5\"x\nr 7\n", plain, 0, "1 7 2 5x "},
      {"r \"a b\"c d 4\ns \"\"\"x y\" 9", by_name, 4, "4 a bc 9 \"x "},
      {"s \"5\"x", plain, 4, "1 1 2 5x "},
      {" 5\nr 6\n", plain, 0, "1 6 2 1 "}, // the empty name is nobody's
      {"\nr 5\n", plain, 0, "1 1 2 1 "},   // a line without values ends it
      {"1 1 8\n2 2 9\n", by_two, 0, "1 8 2 1 "},
      {"4\n5 r\n6", name_last, 4, "1 5 2 1 "}, // without its name a line selects nothing
      {"4\n5 2\n6", key_last, 4, "1 1 2 5 "},
      {"r <x>\ns Bob & Co\n", by_name, 0, "1 <x> Co Bob "},
      {"r &amp;&#38;&lt;\ns \"Bob & \xc3\xbc\x01\xff'\"\n", plain, 0, "1 &&< 2 Bob & \xc3\xbc\ufffd\ufffd' "},
      {"r bad\ns 4\n", plain, 0, "1 1 2 4 "}, // it costs its own line only
      {s80 + " 1\ns 4\n", plain, 0, "1 1 2 4 "},
      {"r 5" + v2985 + "\ns 4\n", plain, 0, "1 1 2 4 "},
      {"r " + v2985, plain, 4, "1 " + v2985 + " 2 1 "},
      {"r " + quotes, plain, 4, "1 " + quotes + " 2 1 "}, // limits count before escaping
      {k1100 + " 5\n2 3\n", by_key, 0, "1 1 2 3 "},
  };
  for (const auto &c : cases) {
    vorn_instances_delete_class(all, "radio");
    add_radios();
    string text = c.text;
    EXPECT_EQ(vorn_util_put2object(text.data(), c.columns, "radio"), c.result) << c.text;
    EXPECT_EQ(radios(), c.radios) << c.text;
  }
  EXPECT_NE(log.take().find("A line of values for class \"radio\" is too long.\n"), string::npos);
}

int reads;
int read_lines(void *arg, char *buf, int size) {
  snprintf(buf, static_cast<size_t>(size), "%s%d\n", static_cast<const char *>(arg), ++reads);
  return 0;
}
const char *radio_columns[] = {"*name", "#speed", "", "load", nullptr};
char radio_lines[] = "r 5 x ";
vorn_util_txt_table radio_table = {0,         read_lines,   radio_lines, vorn_util_put2object,
                                   "station", radio_columns};
vorn_util_txt_table *tables[] = {&radio_table, nullptr};

TEST(TextTables, AreReadOnceInARequestThatAsks) {
  vorn_class *station = vorn_class_new("station");
  vorn_class_set_type(station, VORN_CLASS_UNIQUE_NAMED);
  EXPECT_EQ(vorn_util_txt_tables_add_properties(tables, station), 0);
  EXPECT_EQ(vorn_util_txt_tables_add_properties(tables, station), 1); // they are there already
  vorn_classes_add(station);
  vorn_classes_done_adding();
  const vorn::OwnedInstances all(vorn_instances_new());
  vorn_instance *r = add(all.get(), "station", "r"), *other = add(all.get(), "station", "other");
  vorn::set_running(all.get());
  for (const char *load : {"1", "2"}) {
    ++vorn_query_transaction_number;
    EXPECT_STREQ(vorn_util_txt_tables_get_val(r, tables, "load"), load);
    EXPECT_STREQ(vorn_util_txt_tables_get_val(r, tables, "speed"), "5");
    EXPECT_EQ(vorn_util_txt_tables_get_val(other, tables, "load"), nullptr);
    EXPECT_EQ(vorn_util_txt_tables_get_val(r, tables, "place"), nullptr); // in no table
  }
  EXPECT_EQ(reads, 2);
  vorn::set_running(nullptr);
}

TEST_F(Utilities, LinesFromStatusFilesFitTheirRoom) {
  const char *columns[] = {"speed", "#load", "", "duplex", nullptr};
  const string full =
      write("full", "duplex=half way\nno pair\nspeed=10=20\n*load=\"a b\"\nother=1\nspeed=11");
  const string empty = write("empty", "");
  const string long_one = write("long", "speed=1\nload=" + string(3000, 'x'));
  const string nul("speed=a\0b\nduplex=\"a\nload=my \"home\" net", 38);
  const string quotes = write("quotes", nul);
  const string closed = write("closed", "speed=\"a b\"c\nload=\"a\" b\nduplex=a\"b");
  const struct {
    string path;
    const char *prefix;
    int room;
    string line;
  } cases[] = {
      {full, "eth0 ", 200, "eth0 11 \"a b\"  \"half way\"\n"},
      {empty, "", 200, "   \n"},
      {long_one, "p ", 200, "p 1   \n"},
      {full, "eth0 ", 27, "eth0 11 \"a b\" \n"}, // the last value needs one byte more than the room has
      {full, "eth0 ", 28, "eth0 11 \"a b\"  \"half way\"\n"},
      {full, "eth0 ", 7, ""},
      {full, nullptr, 1, ""},
      {folder, "d ", 200, "d    \n"},
      {quotes, "q ", 200, "q a\ufffdb \"my &quot;home&quot; net\"  \"&quot;a\"\n"},
      {closed, "c ", 200, "c \"a b\"c \"&quot;a&quot; b\"  a\"b\n"},
  };
  for (const auto &c : cases) {
    const size_t room = static_cast<size_t>(c.room);
    const auto out = std::make_unique<char[]>(room); // whatever is written past it is seen
    EXPECT_EQ(vorn_util_add_line_from_proc(out.get(), c.room, c.path.c_str(), c.prefix, columns), 0);
    EXPECT_EQ(string(out.get()), c.line) << c.room;
  }
  char none[] = "kept";
  for (const int room : {0, -1, -2147483647})
    vorn_util_add_line_from_proc(none, room, full.c_str(), "p ", columns);
  EXPECT_EQ(vorn_util_add_line_from_proc(none, 5, (folder + "/absent").c_str(), "p ", columns), 1);
  EXPECT_STREQ(none, "kept");
  EXPECT_EQ(log.take(), "vorn: Can't open " + folder + "/absent.\n");
}

int note_path(char *out, int room, const char *path, const char *prefix, const char **) {
  snprintf(out, static_cast<size_t>(room), "%s=%s;", path + folder.size(), prefix);
  return 1;
}

TEST_F(Utilities, WalksFindRegularFilesWhateverNamesTheyMeet) {
  for (const char *name : {"a", "*", ".hidden"}) {
    std::filesystem::create_directories(folder + "/n/" + name + "/s");
    write("n/" + string(name) + "/s/x", "");
  }
  write("n/" + string(70, 'l'), "");
  std::filesystem::create_directories(folder + "/n/b/t/x"); // not a regular file
  const auto walk = [](const string &pattern) {
    char out[1000] = "";
    vorn_util_dir_walk(pattern.c_str(), out, sizeof out, "p ", note_path, nullptr);
    std::set<string> found; // the order is the directory's
    std::istringstream lines(out);
    for (string line; std::getline(lines, line, ';');) found.insert(line);
    return found;
  };
  using Set = std::set<string>;
  EXPECT_EQ(walk(folder + "/n/*/*/x"), (Set{"/n/a/s/x=p a s ", "/n/*/s/x=p * s "}));
  EXPECT_EQ(walk(folder + "/n/a/s/x"), (Set{"/n/a/s/x=p "}));
  EXPECT_EQ(walk(folder + "/absent/*"), Set());
  EXPECT_EQ(walk(folder + string(80, '/') + "*"), Set());
  EXPECT_NE(log.take().find("is too long"), string::npos);
}

TEST(Util, UrlDecodingTakesTwoHexadecimalDigits) {
  const char *cases[][2] = {{"a%20b%zz", "a b%zz"}, {"%4a%4A", "JJ"}, {"%", "%"},         {"%00x", "%00x"},
                            {"%%41", "%A"},         {"+%+1", "+%+1"}, {"%ff%2", "\xff%2"}};
  for (const auto &c : cases) {
    string text = c[0];
    const char *end = vorn_util_url_decode(text.data());
    EXPECT_STREQ(text.c_str(), c[1]);
    EXPECT_EQ(end, text.data() + strlen(c[1]));
  }
}

TEST(Util, AddressesAndProcesses) {
  char buffer[25] = "kept";
  EXPECT_EQ(vorn_util_macaddress_get("lo", buffer, 23), -1);
  EXPECT_EQ(vorn_util_ipaddress_get("lo", SIOCGIFNETMASK, buffer, 8), -1);
  EXPECT_EQ(vorn_util_ipaddress_get("an interface name", SIOCGIFADDR, buffer, 24), -1);
  EXPECT_STREQ(buffer, "kept");
  EXPECT_EQ(vorn_util_macaddress_get("lo", buffer, 24), 1);
  EXPECT_STREQ(buffer, "00:00:00:00:00:00");
  EXPECT_EQ(vorn_util_ipaddress_get("lo", SIOCGIFNETMASK, buffer, 9), 1);
  EXPECT_STREQ(buffer, "255.0.0.000:00:00");                 // no terminator is written
  EXPECT_EQ(vorn_util_findpid(("\n" + folder).c_str()), -1); // of the first line only
  EXPECT_EQ(vorn_util_findpid((std::to_string(getpid()) + " (").c_str()), getpid());
}

} // namespace
