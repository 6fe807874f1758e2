#include "common/log.hpp"
#include "common/schema.hpp"
#include "common/xml.hpp"
#include "config/config.h"
#include "config/config_reader.hpp"
#include "config/running.hpp"
#include "xml/handles.hpp"
#include "xml/nodes.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <libxml/xmlerror.h>
#include <random>
#include <sstream>

namespace {

using namespace vorn::test;

void say_nothing(void *, const char *, ...) {}

struct Config : testing::Test {
  Config() {
    add_all_kinds();
    xmlSetGenericErrorFunc(nullptr, say_nothing); // libxml2's own words
  }
  ~Config() override {
    vorn_instances_delete_all(vorn_config_get_running());
    unlink(path.c_str());
  }
  // Writes a file and loads it; returns what the running configuration then holds.
  std::string load(const std::string &text) {
    unlink(path.c_str()); // some file systems wait for the disk when a file is cut off
    std::ofstream(path) << text;
    vorn_instances *before = vorn_config_get_running();
    vorn::ReadConfig file = vorn::open_config(path.c_str());
    if (!file.draft) return "not loaded";
    EXPECT_EQ(vorn::load_config(std::move(file.draft)), 0);
    vorn_instances_delete_all(before);
    return all_names(vorn_config_get_running());
  }
  std::string save() {
    EXPECT_EQ(vorn_config_dump_running(path.c_str()), 0);
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
  }
  static const char *value(const char *cls, const char *name, const char *property) {
    return vorn_instance_get_value(vorn_instances_get(vorn_config_get_running(), cls, name), property);
  }
  Log log;
  const std::string path = testing::TempDir() + "vorn-config-" + std::to_string(getpid()) + ".xml";
};

TEST_F(Config, FilesThatAreNoneAreRefusedWithTheirReason) {
  const std::string no_xml = "vorn: Config not parsed successfully.\n";
  const std::pair<std::string, std::string> cases[] = {
      {"", no_xml},
      {"<config><radio name=\"r\">", no_xml},
      {"<config><nothing/><radio/><radio name='r'><power>bad</power><colour/></radio><config>", no_xml},
      {std::string("\x7f\0ELF", 5), no_xml},
      {"<lsql/>", "vorn: Document of the wrong type: root node is not \"config\"."},
  };
  for (const auto &[text, message] : cases) {
    EXPECT_EQ(load(text), "not loaded") << text;
    EXPECT_EQ(log.take(), message) << text;
  }
  EXPECT_EQ(vorn::open_config(testing::TempDir().c_str()).draft, nullptr); // a directory
  EXPECT_EQ(vorn_config_get_running(), nullptr);
}

TEST_F(Config, GoodPartsAreKeptAndBadOnesNamed) {
  vorn_property_set_required_on_insert(vorn_class_get_property(vorn_classes_get("radio"), "mode"), 1);
  EXPECT_EQ(load("<config><nothing/>text<!-- comment --><radio><mode>a</mode></radio>"
                 "<radio name='r'><mode>a</mode><power>bad</power><colour>red</colour></radio>"
                 "<radio name='r'><mode>b</mode></radio><radio name='s'/>"
                 "<server name='x'/><system><host><!-- --> h</host></system><system/></config>"),
            "radio:r,system");
  EXPECT_EQ(log.take(),
            "vorn: Instance has an unknown class \"nothing\".\n"
            "vorn: Instance of \"radio\" requires requires name.\n"
            "vorn: Bad instance name \"(null)\" of class \"radio\"- skipping.\n"
            "vorn: Value \"bad\" is not valid for property \"power\" of class \"radio\".\n"
            "vorn: Value \"bad\" is not valid for property \"power\" of class \"radio\" - skipping.\n"
            "vorn: Property \"colour\" is not valid for class \"radio\" - skipping.\n"
            "vorn: Couldn't add instance \"r\" of class \"radio\". Skipping instance.\n"
            "vorn: Instance is invalid: Property \"mode\" of class \"radio\" is required on insert but "
            "not set. Skipping instance."
            "vorn: Instance of \"server\" may not have a name.\n"
            "vorn: Bad instance name \"x\" of class \"server\"- skipping.\n"
            "vorn: Singleton class may not have multiple instances.\n"
            "vorn: Couldn't add instance \"(null)\" of class \"system\". Skipping instance.\n");
  EXPECT_STREQ(value("radio", "r", "mode"), "a");
  const vorn_instance *system = vorn_instances_get_singleton(vorn_config_get_running(), "system");
  EXPECT_STREQ(vorn_instance_get_value(system, "host"), ""); // a comment comes first: the value is empty
}

TEST_F(Config, SubclassesAreNamedByTheirIdentifier) {
  add_class("stray", VORN_CLASS_UNIQUE_NAMED, {});
  EXPECT_EQ(load("<config><port name='a'><type>wire</type><mtu>1</mtu><speed>2</speed></port>"
                 "<port name='b'/><port name='c'><type/></port><port name='d'><type>nothing</type></port>"
                 "<port name='e'><type>stray</type></port><port name='f'><type>port</type></port>"
                 "<air name='g'><type>air</type></air><air name='h'><type>wire</type></air>"
                 "<port name='i'><type>wire</type><type>air</type></port></config>"),
            "wire:a,wire:i,air:g,system");
  const std::string port = "vorn: Instance of class \"port\" ";
  const std::string identifier = port + "subclass identifier property \"type\" ";
  std::string expected = port + "does not contain a subclass identifier property \"type\".\n";
  expected += identifier + "has a null value.\n";
  expected += identifier + "value is an unknown class \"nothing\".\n";
  for (const std::string cls : {"stray", "port"})
    expected += identifier + "value is \"" + cls + "\", which is not a subclass of \"port\".\n";
  const std::string skipped = "\" - skipping.\n";
  expected += "vorn: Value \"wire\" is not valid for property \"type\" of class \"air" + skipped;
  expected +=
      "vorn: Instance is invalid: Property \"type\" of class \"air\" is required on insert but not set. "
      "Skipping instance.";
  expected += "vorn: Value \"air\" is not valid for property \"type\" of class \"wire" + skipped;
  EXPECT_EQ(log.take(), expected);
}

TEST_F(Config, WritesWhatPersistsInTheRegistrysOrder) {
  vorn_class *transient = add_class("transient", VORN_CLASS_SINGLETON, {"t"});
  vorn_class_set_persistence(transient, 0);
  vorn_property_set_persistence(vorn_class_get_property(vorn_classes_get("radio"), "power"), 0);
  vorn_class_resolve(transient);
  EXPECT_EQ(
      load("<config><transient><t>1</t></transient><radio name='r'><power>1</power><mode>a</mode></radio>"
           "<port name='w'><speed>2</speed><type>wire</type><mtu>1</mtu></port><server/>"
           "<system><place/><host>h</host></system></config>"),
      "transient,radio:r,wire:w,server,system");
  EXPECT_EQ(save(),
            "<?xml version=\"1.0\"?>\n<config>\n  <system>\n    <place/>\n    <host>h</host>\n  "
            "</system>\n  <server/>\n  <port name=\"w\">\n    <speed>2</speed>\n    <type>wire</type>\n    "
            "<mtu>1</mtu>\n  </port>\n  <radio name=\"r\">\n    <mode>a</mode>\n  </radio>\n</config>\n");
}

std::string seen;
int see_running(vorn_instances *instances, vorn_instance *) {
  seen += instances == vorn_config_get_running() ? all_names(instances) + ";" : "another;";
  return 1;
}

TEST_F(Config, TheNewConfigurationIsTheRunningOneWhileItIsLoaded) {
  load("<config><radio name='old'/></config>");
  vorn_class_set_instance_validate_fn(vorn_classes_get("radio"), see_running);
  load("<config><radio name='r'/><rule name='s'/><radio name='t'/></config>");
  EXPECT_EQ(seen, ";radio:r,rule:s;");
}

// One of these pieces, or an element that holds some.
std::string random_piece(std::mt19937 &random, int depth) {
  static const char *const pieces[] = {"a",
                                       "wire",
                                       "bad",
                                       "&lt;&amp;",
                                       "&#38;#38;",
                                       "<!-- c -->",
                                       "<?p i?>",
                                       "<![CDATA[c<]]>",
                                       "\r\n",
                                       "",
                                       "<![CDATA[]]>",
                                       "air",
                                       "\u20ac",
                                       "<p:mode xmlns:p='u'/>"};
  static const char *const broken[] = {"&none;", "<", "]]>", "\x01", "<mode>", "<p:q/>"};
  static const char *const names[] = {"mode", "mode", "power", "type", "colour"};
  static const char *const classes[] = {"radio", "radio", "radio", "port", "system", "nothing"};
  static const char *const attributes[] = {
      " name='%'", " name='%'", " name='%'",           " name='%&amp;&#38;lt;'",
      " name=''",  "",          " name='%' x:name='u'"};
  const auto one_of = [&](const auto &from) { return std::string(from[random() % std::size(from)]); };
  if (random() % 400 == 0) return one_of(broken);
  if (depth > 3 || random() % 4 > (depth > 1 ? 0 : 2)) return one_of(pieces);
  const std::string element = depth == 0 ? one_of(classes) : one_of(names);
  std::string text = "<" + element + (depth == 0 ? one_of(attributes) : "") + ">";
  if (const size_t at = text.find('%'); at != std::string::npos)
    text.replace(at, 1, std::to_string(random()));
  for (size_t count = random() % 4; count > 0; --count) text += random_piece(random, depth + 1);
  return text + "</" + element + ">";
}

// A file with a document type declaration is read by way of a document, others are not.
TEST_F(Config, AFileIsReadAlikeAsAStreamAndAsADocument) {
  std::mt19937 random(1);
  const auto outcome = [&](const std::string &text) {
    const std::string names = load(text);
    return names + log.take() + printed(vorn_instances_print, vorn_config_get_running());
  };
  for (int i = 0; i < 2000; ++i) {
    std::string text = "<config>";
    for (size_t count = random() % 8; count > 0; --count) text += random_piece(random, 0);
    text += "</config>";
    if (random() % 20 == 0) text.resize(text.size() - random() % 12);
    ASSERT_EQ(outcome(text), outcome("<!DOCTYPE config>" + text)) << text;
  }
}

// Some characters of every kind, or few, or blanks alone.
std::string random_text(std::mt19937 &random) {
  static const char *const characters[] = {" ",      "\n",         "\t",  "<",   "&",     ">",
                                           "\"",     "'",          "\r",  "a",   "&amp;", "\u0085",
                                           "\u20ac", "\U00010000", "]]>", "\x7f"};
  std::string text;
  const size_t kinds = random() % 4 == 0 ? 3 : std::size(characters);
  for (size_t length = random() % 6; length > 0; --length) text += characters[random() % kinds];
  return text;
}

// The running configuration as a document of libxml2's, as libxml2 writes it.
std::string by_libxml2() {
  const vorn::XmlDocument document(vorn::new_document("config"));
  for (const char *name : {"system", "server", "port", "radio", "rule"}) {
    vorn_instances_iterator it(*vorn_config_get_running(), *vorn_classes_get(name));
    while (it.has_next()) {
      const vorn_instance &instance = *it.next();
      xmlNode *element = vorn::add_element(xmlDocGetRootElement(document.get()), name);
      if (instance.name) vorn::set_attribute(element, "name", instance.name);
      for (const vorn::Value &value : instance.values)
        vorn::add_element(element, value.property()->name.c_str(), value.text());
    }
  }
  xmlChar *dump = nullptr;
  int size = 0;
  xmlDocDumpFormatMemory(document.get(), &dump, &size, 1);
  return vorn::text_of(vorn::XmlText(dump).get());
}

TEST_F(Config, WritesTheBytesOfLibxml2) {
  std::mt19937 random(1);
  const auto maybe = [&](vorn_instance *instance, const char *property) {
    if (random() % 3 > 0) vorn_instance_set_value(instance, property, random_text(random).c_str());
  };
  for (int i = 0; i < 200; ++i) {
    vorn_instances_delete_all(vorn_config_get_running());
    vorn::set_running(vorn_instances_new());
    for (size_t count = random() % 8; count > 0; --count) {
      vorn_instance *rule = add(vorn_config_get_running(), "rule", random_text(random).c_str());
      if (rule) maybe(rule, "action");
      vorn_instance *air =
          add(vorn_config_get_running(), "air", random_text(random).c_str(), {{"type", "air"}});
      if (!air) continue;
      maybe(air, "channel");
      maybe(air, "mtu");
    }
    ASSERT_EQ(save(), by_libxml2());
  }
}

TEST_F(Config, AFileThatCannotBeWrittenKeepsItsContentAndTheReasonIsLogged) {
  vorn::set_running(vorn_instances_new());
  add(vorn_config_get_running(), "radio", "r");
  EXPECT_EQ(vorn_config_dump_running("/dev/full"), 1);
  EXPECT_EQ(log.take(), "vorn: Can't write /dev/full: No space left on device\n");
  EXPECT_EQ(vorn_config_dump_running((path + "/none").c_str()), 1);
  EXPECT_EQ(log.take(), "vorn: Can't write " + path + "/none: No such file or directory\n");
  EXPECT_EQ(vorn_config_dump_running("/dev/null"), 0);
  std::ofstream(path) << std::string(100000, 'x');
  EXPECT_EQ(save(), by_libxml2()); // what was longer leaves nothing behind
}

TEST_F(Config, EveryTextComesBackUnchanged) {
  const char *const texts[] = {
      "a&b<c>d\"e'f", "&amp;",        "&#65;", "]]>", " ", "\t\n ", "  padded  ", "Zürich — 東京 🙂",
      "a\rb\r\nc",    "\xef\xbf\xbd", "%s%n"};
  vorn::set_running(vorn_instances_new());
  for (const char *text : texts)
    add(vorn_config_get_running(), "air", text, {{"type", "air"}, {"channel", text}});
  add(vorn_config_get_running(), "radio", "r", {{"mode", ""}});
  load(save());
  EXPECT_EQ(log.take(), "");
  for (const char *text : texts) EXPECT_STREQ(value("port", text, "channel"), text);
  EXPECT_STREQ(value("radio", "r", "mode"), "");
}

TEST_F(Config, WhatXmlCannotCarryIsLeftOutAlone) {
  for (const char *text :
       {"\x01", "\x7f\x80", "\xc0\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "a\xe2\x82", "\xef\xbf\xbf"})
    EXPECT_FALSE(vorn::xml_can_carry(text)) << text;
  EXPECT_FALSE(vorn::xml_can_carry(std::string(10000000, 'x').c_str())); // libxml2 would not read it again
  vorn::set_running(vorn_instances_new());
  add(vorn_config_get_running(), "radio", "r", {{"mode", "\x01"}, {"power", "1"}});
  add(vorn_config_get_running(), "radio", "\xff");
  add(vorn_config_get_running(), "radio", "s");
  const std::string text = save();
  EXPECT_EQ(log.take(),
            "vorn: The configuration file cannot hold property \"mode\" of instance \"r\" of class "
            "\"radio\" - leaving it out.\n"
            "vorn: The configuration file cannot hold the name of instance \"\xff\" of class \"radio\" - "
            "leaving it out.\n");
  vorn_instances_delete_all(vorn_config_get_running());
  vorn::set_running(nullptr);
  EXPECT_EQ(load(text), "radio:r,radio:s,system");
  EXPECT_STREQ(value("radio", "r", "power"), "1");
}

TEST_F(Config, WithoutARunningConfigurationNothingIsWritten) {
  std::ofstream(path) << "kept";
  EXPECT_EQ(vorn_config_dump_running(path.c_str()), 1);
  EXPECT_EQ(vorn_config_dump_running(nullptr), 1);
  std::string text;
  std::ifstream(path) >> text;
  EXPECT_EQ(text, "kept");
}

} // namespace
