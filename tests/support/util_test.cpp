#include "commit/providers.h"
#include "commit/refresher.h"
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
#include <random>
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

// What strangers can have a part in: names of networks and of clients.
TEST_F(Utilities, FieldsCannotBecomeAnythingButValues) {
  add(all, "system", nullptr, {{"host", "ap"}});
  static const char *columns[] = {"*name", "power", nullptr};
  static string attack;
  vorn_refresher *refresher = vorn_refresher_new("radio");
  vorn_refresher_set_property_fn(refresher, "power",
                                 [](vorn_instance *radio, const char *name, vorn_refresh_info *) {
                                   string line = attack;
                                   vorn_util_put2object(line.data(), columns, "radio");
                                   return vorn_instance_get_value(radio, name);
                                 });
  vorn_provider *provider = vorn_provider_new("radio");
  vorn_provider_set_refresh_fn(provider, vorn_refresher_fn, refresher);
  vorn_providers_add(provider);
  vorn_providers_done_adding();
  const string breakout = "x</power></radio></update><delete><radio/></delete><update><system><host>";
  const std::pair<string, string> cases[] = {
      // the line; the power of r
      {"r " + breakout, breakout},
      {"r \"x</power><mode>9</mode><power>\"", "x</power><mode>9</mode><power>"},
      {"\"r' name='s\" 5", "1"},
      {"r&quot;&gt;</radio></update><delete><radio/></delete><update><radio> 5", "1"},
      {"r &#60;/power>&lt;mode>", "</power><mode>"},
      {"r <![CDATA[</power>]]><!--<?x", "<![CDATA[</power>]]><!--<?x"},
  };
  for (const auto &[line, power] : cases) {
    attack = line + "\n";
    const vorn::CString reply(
        vorn_query_eval("<lsql><select><radio><power/><mode/></radio></select></lsql>"));
    EXPECT_NE(string(reply.get()).find("<counter>2</counter>"), string::npos);
    EXPECT_EQ(all_names(all), "radio:r,radio:s,system") << line;
    EXPECT_EQ(radios(), "1 " + power + " 2 1 ") << line;
    vorn_instance_set_value(vorn_instances_get(all, "radio", "r"), "power", "1");
  }
  EXPECT_EQ(log.take(), "");
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

TEST_F(Utilities, RandomStatusFilesSetTheirValuesAndNoOthers) {
  std::mt19937 random(4711); // the same ones each time
  static const char *const pieces[] = {
      "<",    ">",     "&",    "\"",     "'",      "/",   " ",        "  ",       "=",        "#",    "*",
      "r",    "&amp;", "&#0;", "&#60;",  "]]>",    "-->", "</power>", "<delete>", "<radio/>", "\x01", "\xc3",
      "\xff", "<?",    "<!--", "\ufffe", "<lsql>", "\t",  "\r",       "<where>",  "<mode>9",  "s"};
  const char *keys[] = {"speed", "load", nullptr}, *columns[] = {"*name", "power", "mode", nullptr};
  for (int round = 0; round < 1000; ++round) {
    string value;
    for (auto left = random() % 40; left > 0; --left)
      value += random() % 16 ? string(pieces[random() % std::size(pieces)])
                             : string(1, static_cast<char>(random()));
    for (size_t at; (at = value.find('\n')) != string::npos;) value.erase(at, 1);
    const string path = write("random", "speed=" + value + "\nload=" + std::to_string(round) + "\n");
    const size_t room = random() % 8 ? 8000 : random() % 300;
    const auto out = std::make_unique<char[]>(room + 1); // whatever is written past it is seen
    vorn_util_add_line_from_proc(out.get(), static_cast<int>(room), path.c_str(), "r ", keys);
    EXPECT_LE(strlen(out.get()), room);
    string table = string(room == 8000 ? out.get() : "r 1 1\n") + "s 2 2\n";
    vorn_util_put2object(table.data(), columns, "radio");
    // However hostile the first value, the second one and the next line find their places.
    const string mode = vorn_instance_get_value(vorn_instances_get(all, "radio", "r"), "mode");
    ASSERT_TRUE(room < 8000 || mode == std::to_string(round)) << value;
    ASSERT_TRUE(radios().ends_with(" 2 2 "));
    vorn_util_put2object(value.data(), columns + round % 3, "radio");
    ASSERT_EQ(all_names(all), "radio:r,radio:s");
    vorn_util_url_decode(value.data());
    vorn_instance_set_value(vorn_instances_get(all, "radio", "s"), "mode", "?");
  }
  EXPECT_EQ(log.take().find("Invalid"), string::npos);
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
