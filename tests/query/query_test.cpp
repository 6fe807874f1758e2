#include "commit/providers.h"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/running.hpp"
#include "core/debug.h"
#include "query/query.h"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;

std::string commits;
std::string refreshes;
void (*during_refresh)();

int note_commit(vorn_commit_info *info) {
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  commits += "[" + names(vorn_changes_new_class_instances_iterator(changes, nullptr)) + "/" +
             names(vorn_changes_new_deleted_class_instances_iterator(changes, nullptr)) + "]";
  return 0;
}

int note_refresh(vorn_refresh_info *info) {
  std::string text = printed([&](FILE *out) { vorn_refresh_info_print(info, out); });
  for (size_t at; (at = text.find('\n')) != std::string::npos;) text.replace(at, 1, "|");
  refreshes += text.substr(strlen("Refresh info:|"));
  if (during_refresh) during_refresh();
  return 0;
}

struct Query : testing::Test {
  Query() {
    add_all_kinds();
    vorn_property_set_writable(vorn_class_get_property(vorn_classes_get("server"), "state"), 0);
    vorn_provider *provider = vorn_provider_new("p");
    vorn_provider_set_commit_fn(provider, note_commit, nullptr);
    vorn_provider_set_refresh_fn(provider, note_refresh, nullptr);
    vorn_providers_add(provider);
    vorn_providers_done_adding();
    vorn_instances *running = vorn_instances_new();
    vorn::set_running(running);
    add(running, "system", nullptr, {{"host", "ap"}});
    add(running, "radio", "a", {{"mode", "n"}, {"power", "1"}});
    add(running, "radio", "b", {{"mode", "n"}});
    add(running, "wire", "w", {{"type", "wire"}, {"mtu", "1500"}});
    for (const char *action : {"x", "y"}) add(running, "rule", "g", {{"action", action}});
    commits.clear();
    refreshes.clear();
    during_refresh = nullptr;
  }
  ~Query() override { vorn_instances_delete_all(vorn_config_get_running()); }

  // Returns what is in the result document's root, or "none".
  static std::string strip(char *reply) {
    if (!reply) return "none";
    std::string text = reply;
    free(reply);
    const std::string head = "<?xml version=\"1.0\"?>\n<lsql_result";
    EXPECT_EQ(text.substr(0, head.size()), head);
    text = text.substr(head.size() + 1);
    const std::string tail = "</lsql_result>\n";
    return text.ends_with(tail) ? text.substr(0, text.size() - tail.size()) : "";
  }
  static std::string eval(const std::string &operations, const std::string &attributes = "") {
    return strip(vorn_query_eval(("<lsql" + attributes + ">" + operations + "</lsql>").c_str()));
  }
  static std::string passive(const std::string &operations) {
    return strip(vorn_query_eval_passive(("<lsql>" + operations + "</lsql>").c_str()));
  }
  static const char *value(const char *cls, const char *name, const char *property) {
    return vorn_instance_get_value(vorn_instances_get(vorn_config_get_running(), cls, name), property);
  }
  static std::string eq(const std::string &property, const std::string &text) {
    return "<eq><property>" + property + "</property><value>" + text + "</value></eq>";
  }
  Log log;
};

constexpr char ok[] = "<rc>0</rc><counter>1</counter>";

TEST_F(Query, RequestsThatAreNone) {
  const struct {
    const char *request, *result;
  } cases[] = {
      {"<other/>", "<error>Top level name is not lsql.</error><rc>1</rc><counter>0</counter>"},
      {"<lsql/>", "<error>Incomplete lsql request.</error><rc>1</rc><counter>0</counter>"},
      {"<lsql><select/></lsql>", "<error>Incomplete lsql request.</error><rc>1</rc><counter>0</counter>"},
      {"<lsql><drop><x/></drop></lsql>",
       "<error>Invalid operation &quot;drop&quot;.</error><rc>1</rc><counter>0</counter>"},
      {"<lsql> <select><radio/></select></lsql>",
       "<error>Invalid operation &quot;text&quot;.</error><rc>1</rc><counter>0</counter>"},
      {"<lsql><![CDATA[x]]></lsql>",
       "<error>Invalid operation &quot;(null)&quot;.</error><rc>1</rc><counter>0</counter>"},
      {"<lsql><select><![CDATA[x]]></select></lsql>",
       "<error>No class name.</error><rc>1</rc><counter>0</counter>"},
      {"<lsql><write-transaction/></lsql>", ""},
      {"<lsql>", "none"},
      {"", "none"},
  };
  for (const auto &c : cases) {
    std::string expected = c.result;
    for (size_t at; (at = expected.find("&quot;")) != std::string::npos;) expected.replace(at, 6, "\"");
    EXPECT_EQ(strip(vorn_query_eval(c.request)), expected) << c.request;
  }
  EXPECT_NE(log.take().find("vorn: Invalid LSQL request: <lsql>\n"), std::string::npos);
  EXPECT_EQ(vorn_query_eval(nullptr), nullptr);
  EXPECT_EQ(commits, "[/]"); // the empty transaction's
}

TEST_F(Query, SelectReturnsWhatItNames) {
  EXPECT_EQ(
      eval("<select><radio><power/><colour/><mode/></radio></select>"),
      "<dataset><radio name=\"a\"><power>1</power><colour/><mode>n</mode></radio>"
      "<radio name=\"b\"><power/><colour/><mode>n</mode></radio></dataset><rc>0</rc><counter>2</counter>");
  EXPECT_EQ(eval("<select><port name=\"w\" properties=\"all\"/></select>"), // as the class that was asked for
            "<dataset><port "
            "name=\"w\"><type>wire</type><mtu>1500</mtu></port></dataset><rc>0</rc><counter>1</counter>");
  EXPECT_EQ(eval("<select><wire properties=\"all\"/></select>"),
            "<dataset><wire name=\"w\"><type>wire</type><mtu>1500</mtu><speed/></wire></dataset>"
            "<rc>0</rc><counter>1</counter>");
  EXPECT_EQ(eval("<select><rule name=\"g\"><action/></rule></select>"),
            "<dataset><rule name=\"g\"><action>x</action></rule><rule "
            "name=\"g\"><action>y</action></rule></dataset>"
            "<rc>0</rc><counter>2</counter>");
  EXPECT_EQ(eval("<select><system><host/></system></select>"),
            "<dataset><system><host>ap</host></system></dataset><rc>0</rc><counter>1</counter>");
  for (const char *cls : {"<nothing/>", "<radio name=\"c\"/>", "<radio name=\"\"/>", "<server/>"})
    EXPECT_EQ(eval("<select>" + std::string(cls) + "</select>"), "<dataset/><rc>0</rc><counter>0</counter>")
        << cls;
  EXPECT_EQ(commits, "");
}

TEST_F(Query, SelectStopsAtAPropertiesAttributeThatIsNotAll) {
  EXPECT_EQ(eval("<select><radio properties=\"some\"/></select>"),
            "<dataset><radio name=\"a\"/></dataset><error>Invalid properties=\"some\".</error><rc>1</rc>"
            "<counter>1</counter>");
  EXPECT_EQ(eval("<select><server properties=\"some\"/></select>"),
            "<dataset/><rc>0</rc><counter>0</counter>");
}

TEST_F(Query, WhereFilters) {
  const std::string by_name = "<eq><metadata>name</metadata><value>b</value></eq>";
  const struct {
    std::string where;
    const char *found;
  } cases[] = {
      {eq("power", "1"), "a"},
      {"<not>" + eq("power", "1") + "</not>", "b"},
      {by_name, "b"},
      {"<and>" + eq("mode", "n") + by_name + "</and>", "b"},
      {"<or>" + by_name + eq("power", "1") + "</or>", "ab"},
      {"<and/>", "ab"},
      {"<or/>", ""},
      {"<not/>", "ab"},
      {"<property>power</property>", "a"},
      {"<eq><property>power</property><value/></eq>", ""}, // an empty element yields nothing
      {"<eq><property>colour</property><property>colour</property></eq>", ""},
      {"<eq><value>x</value></eq>", ""},
      {"<eq><property/><value>x</value></eq>", ""},
      {"<xor/>", ""},
      {"<metadata>age</metadata>", ""},
  };
  for (const auto &c : cases) {
    const std::string result = eval("<select><radio/></select><where>" + c.where + "</where>");
    std::string found;
    for (const char *name : {"a", "b"})
      if (result.find("name=\"" + std::string(name) + "\"") != std::string::npos) found += name;
    EXPECT_EQ(found, c.found) << c.where;
  }
  EXPECT_EQ(log.take(), "vorn: eval_expr: Unknown expression name \"xor\".\n"
                        "vorn: eval_expr: Unknown expression name \"xor\".\n"
                        "vorn: Metadata other than \"name\" is not supported.\n"
                        "vorn: Metadata other than \"name\" is not supported.\n");
}

TEST_F(Query, AnElementWithoutChildrenBehindAnOperationIsPassedOver) {
  const std::string select = "<select><system><host/></system></select>";
  const std::string one = "<dataset><system><host>ap</host></system></dataset><rc>0</rc><counter>1</counter>";
  EXPECT_EQ(eval(select + "<where/>" + select), one + one);
  EXPECT_EQ(eval(select + "<drop/>" + select), one + one);
  EXPECT_EQ(eval(select + " " + select), one + one);         // so is blank text
  EXPECT_EQ(eval(select + "<where><and/></where><select/>"), // behind a "where" it is an operation again
            "<dataset/><rc>0</rc><counter>0</counter>"
            "<error>Incomplete lsql request.</error><rc>1</rc><counter>0</counter>");
}

TEST_F(Query, UpdateStopsAtItsFirstError) {
  const struct {
    const char *update, *error;
  } cases[] = {
      {"<nothing><p/></nothing>", "Unknown class \"nothing\"."},
      {"<radio><power>2</power><colour>red</colour></radio>",
       "Property \"colour\" is not valid for class \"radio\"."},
      {"<port><type>air</type></port>", "Property \"type\" of class \"port\" is not writable."},
      {"<port><mtu>bad</mtu></port>", "Value \"bad\" is not valid for property \"mtu\" of class \"port\"."},
      {"<port> <mtu>1</mtu></port>", "Property \"text\" is not valid for class \"port\"."},
  };
  for (const auto &c : cases)
    EXPECT_EQ(eval("<update>" + std::string(c.update) + "</update>"),
              "<error>" + std::string(c.error) + "</error><rc>1</rc><counter>0</counter>");
  EXPECT_STREQ(value("radio", "a", "power"), "2"); // what came before stays, uncommitted
  EXPECT_EQ(value("radio", "b", "power"), nullptr);
  EXPECT_EQ(commits, "");
}

TEST_F(Query, ErrorTextsAreCutBetweenCharacters) {
  std::string value;
  for (int i = 0; i < 40; ++i) value += "東京";
  const std::string result = eval("<select><radio properties=\"" + value + "\"/></select>");
  const std::string head = "<error>Invalid properties=\"";
  const size_t start = result.find(head), end = result.find("</error>");
  ASSERT_NE(start, std::string::npos);
  // In a result without an encoding, a character outside ASCII stands as a reference of 8 bytes.
  EXPECT_EQ((end - start - head.size()) / 8, (79 - strlen("Invalid properties=\"")) / 3);
}

TEST_F(Query, InsertRefuses) {
  vorn_property_set_required_on_insert(vorn_class_get_property(vorn_classes_get("rule"), "action"), 1);
  const struct {
    const char *element, *error;
  } cases[] = {
      {"<nothing/>", "Unknown class \"nothing\"."},
      {"<port name=\"n\"/>", "Unknown class \"port\"."},
      {"<radio/>", "Bad instance name \"(null)\" of class \"radio\"."},
      {"<server><state>1</state></server>", "Property \"state\" of class \"server\" is not writable."},
      {"<rule name=\"g\"/>",
       "Instance is invalid: Property \"action\" of class \"rule\" is required on insert but not set."},
      {"<radio name=\"a\"/>", "Couldn't add instance \"a\" of class \"radio\"."},
      {"<port name=\"w\"><type>air</type></port>", "Couldn't add instance \"w\" of class \"air\"."},
      {"<system/>", "Couldn't add instance \"(null)\" of class \"system\"."},
  };
  const std::string before = all_names(vorn_config_get_running());
  for (const auto &c : cases)
    EXPECT_EQ(eval("<insert>" + std::string(c.element) + "<server/></insert>"),
              "<error>" + std::string(c.error) + "</error><rc>1</rc><counter>0</counter>");
  EXPECT_EQ(all_names(vorn_config_get_running()), before);
  EXPECT_EQ(eval("<insert><server/><nothing/></insert>"),
            "<error>Unknown class \"nothing\".</error><rc>1</rc><counter>1</counter>");
  EXPECT_EQ(all_names(vorn_config_get_running()), before + ",server");
  EXPECT_EQ(commits, "");
}

TEST_F(Query, DeleteRemovesAndCommits) {
  EXPECT_EQ(eval("<delete><nothing/></delete>"), "<rc>0</rc><counter>0</counter>");
  EXPECT_EQ(eval("<delete><rule name=\"g\"/></delete><where>" + eq("action", "x") + "</where>"), ok);
  EXPECT_EQ(eval("<delete><radio/></delete><delete><port name=\"w\"/></delete>"),
            "<rc>0</rc><counter>2</counter>" + std::string(ok));
  EXPECT_EQ(all_names(vorn_config_get_running()), "system,rule:g");
  EXPECT_EQ(commits, "[/][/rule:g][/radio:a,radio:b,wire:w]");
}

// The first pass ends with the errors of its last operation, and with the results of that pass; those of
// earlier operations come in the second one, which stops there.
TEST_F(Query, BothPassesOfARequestOfThreeOperations) {
  const std::string good = "<update><radio name=\"a\"><power>2</power></radio></update>";
  const std::string bad = "<update><nothing><p/></nothing></update>";
  const std::string error = "<error>Unknown class \"nothing\".</error><rc>1</rc><counter>0</counter>";
  const std::string none = "<rc>0</rc><counter>0</counter>";
  EXPECT_EQ(eval(good + good + bad), none + none + error);
  EXPECT_STREQ(value("radio", "a", "power"), "1"); // nothing was done
  EXPECT_EQ(eval(good + bad + good), ok + error);
  EXPECT_STREQ(value("radio", "a", "power"), "2"); // done and not committed
  EXPECT_EQ(eval(good + "<drop><x/></drop>" + good),
            none + "<error>Invalid operation \"drop\".</error><rc>1</rc><counter>0</counter>");
  EXPECT_EQ(commits, "");
  const unsigned number = vorn_query_transaction_number;
  EXPECT_EQ(eval(good + good + good), std::string(ok) + ok + ok);
  EXPECT_EQ(vorn_query_transaction_number, number + 6); // each operation in each pass
  EXPECT_EQ(commits, "[radio:a/]");
}

TEST_F(Query, ATransactionAppliesAllOrNothing) {
  const vorn_instances *before = vorn_config_get_running();
  const std::string text = printed([&](FILE *out) { vorn_instances_print(before, out); });
  EXPECT_NE(eval("<write-transaction><update><radio><power>9</power></radio></update><delete><port/></delete>"
                 "<insert><rule name=\"new\"/></insert><update><radio><mode>bad</mode></radio></update>"
                 "</write-transaction>")
                .find("<rc>1</rc>"),
            std::string::npos);
  EXPECT_EQ(vorn_config_get_running(), before);
  EXPECT_EQ(printed([&](FILE *out) { vorn_instances_print(before, out); }), text);
  EXPECT_EQ(commits, "");
  EXPECT_EQ(
      eval(
          "<write-transaction><update><radio "
          "name=\"b\"><power>9</power></radio></update><delete><port/></delete>"
          "</write-transaction><update><radio><power>8</power></radio></update>"), // behind it: not looked at
      std::string(ok) + ok);
  EXPECT_NE(vorn_config_get_running(), before);
  EXPECT_EQ(commits, "[radio:b/wire:w]");
  EXPECT_STREQ(value("radio", "b", "power"), "9");
}

TEST_F(Query, PassiveRequestsMaySetEverythingAndCommitNothing) {
  add(vorn_config_get_running(), "server");
  const unsigned number = vorn_query_transaction_number;
  EXPECT_EQ(passive("<update><server><state>up</state></server></update>"), ok);
  EXPECT_EQ(passive("<insert><server><state>new</state></server></insert>"), ok);
  EXPECT_EQ(vorn_query_transaction_number, number);
  const std::string state = "<select><server><state/></server></select>";
  EXPECT_NE(eval(state).find("<state>up</state>"), std::string::npos);
  EXPECT_EQ(passive("<write-transaction><delete><server/></delete></write-transaction>"),
            "<rc>0</rc><counter>2</counter>");
  EXPECT_NE(eval(state).find("<counter>2</counter>"), std::string::npos);
  EXPECT_EQ(commits, "");
}

TEST_F(Query, RefreshAsksForWhatTheOperationsRead) {
  eval("<select><radio name=\"a\"><mode/></radio></select><where>" + eq("power", "1") +
       "</where>"
       "<select><port "
       "properties=\"all\"/></select><update><rule><action>z</action></rule></update><where><and><not>" +
       eq("action", "x") + "</not><metadata>name</metadata></and></where><insert><server/></insert>");
  EXPECT_EQ(refreshes, "  Class radio:|    Named instances:|      Instance a: Properties: mode power.|"
                       "  Class port:|    Every instance: Properties: All.|"
                       "  Class rule:|    Every instance: Properties: action.|");
}

TEST_F(Query, ARefreshMayEvaluateAPassiveRequestAndItsDirectValuesCount) {
  during_refresh = [] {
    during_refresh = nullptr;
    EXPECT_EQ(strip(vorn_query_eval_passive(
                  "<lsql origin=\"inner\"><update><radio name=\"a\"><power>7</power></radio>"
                  "</update></lsql>")),
              ok);
    EXPECT_STREQ(vorn_query_origin, "outer");
    vorn_instance_set_value(vorn_instances_get(vorn_config_get_running(), "radio", "b"), "power", "7");
  };
  EXPECT_EQ(eval("<update><system><host>x</host></system></update><where>" + eq("host", "ap") + "</where>",
                 " origin=\"outer\""),
            ok);
  EXPECT_STREQ(value("radio", "a", "power"), "7");
  EXPECT_EQ(commits, "[radio:b,system/]");
}

TEST_F(Query, OriginOutlivesTheRequestAndCanBeProhibited) {
  const std::string select = "<select><server/></select>";
  eval(select, " origin=\"web&amp;ui\"");
  EXPECT_STREQ(vorn_query_origin, "web&ui");
  eval(select, " origin=\"\"");
  EXPECT_STREQ(vorn_query_origin, "");
  eval(select);
  EXPECT_EQ(vorn_query_origin, nullptr);
  vorn_query_disable_external_updates();
  const std::string refused = "<error>External updates are prohibited.</error><rc>1</rc><counter>0</counter>";
  EXPECT_EQ(eval(select, " origin=\"x\""), refused);
  EXPECT_EQ(strip(vorn_query_eval_passive("<lsql origin=\"\"><select><server/></select></lsql>")), refused);
  EXPECT_EQ(eval(select), "<dataset/><rc>0</rc><counter>0</counter>");
}

TEST_F(Query, SurvivesWithoutARunningConfiguration) {
  vorn_instances *kept = vorn_config_get_running();
  vorn::set_running(nullptr);
  EXPECT_EQ(eval("<select><radio/></select>"), "<dataset/><rc>0</rc><counter>0</counter>");
  EXPECT_EQ(eval("<update><radio><mode>a</mode></radio></update><delete><radio/></delete>"),
            "<rc>0</rc><counter>0</counter><rc>0</rc><counter>0</counter>");
  EXPECT_EQ(
      eval("<write-transaction><insert><server/></insert></write-transaction>"),
      "<error>Couldn't add instance \"(null)\" of class \"server\".</error><rc>1</rc><counter>0</counter>");
  EXPECT_EQ(vorn_query_action("p", "restart", nullptr, nullptr), 1);
  EXPECT_EQ(commits, "");
  vorn::set_running(kept);
}

TEST_F(Query, SurvivesHostileDocuments) {
  std::string deep;
  for (int i = 0; i < 5000; ++i) deep += "<not>";
  EXPECT_EQ(eval("<select><radio/></select><where>" + deep), "none");
  std::string nested = "<and/>";
  for (int i = 0; i < 200; ++i) nested = "<not>" + nested + "</not>";
  EXPECT_NE(eval("<select><radio/></select><where>" + nested + "</where>").find("<counter>2</counter>"),
            std::string::npos);
  // Entities are not expanded: their references are neither operations nor values.
  const std::string entities = "<!DOCTYPE lsql [<!ENTITY select \"x\"><!ENTITY v \"n\">]>";
  EXPECT_NE(strip(vorn_query_eval((entities + "<lsql>&select;</lsql>").c_str())).find("<rc>1</rc>"),
            std::string::npos);
  EXPECT_EQ(
      strip(vorn_query_eval(
          (entities + "<lsql><update><radio name=\"a\"><mode>&v;</mode></radio></update></lsql>").c_str())),
      ok);
  EXPECT_STREQ(value("radio", "a", "mode"), "");
  EXPECT_EQ(eval("<update><radio name=\"b\"><mode>" + std::string(1000000, 'x') + "</mode></radio></update>"),
            ok);
}

} // namespace
