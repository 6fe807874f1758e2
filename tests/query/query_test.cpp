#include "commit/providers.h"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/running.hpp"
#include "query/query.h"

#include <algorithm>
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

TEST_F(Query, OperationsThatAreNoneAreRefusedOrPassedOver) {
  const std::string failed = "</error><rc>1</rc><counter>0</counter>";
  const std::string empty = "<dataset/><rc>0</rc><counter>0</counter>", server = "<select><server/></select>";
  const std::pair<std::string, std::string> cases[] = {
      {"", "<error>Incomplete lsql request." + failed},
      {"<select/>", "<error>Incomplete lsql request." + failed},
      {"<![CDATA[x]]>", "<error>Invalid operation \"(null)\"." + failed},
      {"<select><![CDATA[x]]></select>", "<error>No class name." + failed},
      {server + " " + server, empty + empty}, // blank text after an operation
      {server + "<where><and/></where><select/>", empty + "<error>Incomplete lsql request." + failed},
      {"<select>", "none"},
  };
  for (const auto &[operations, result] : cases) EXPECT_EQ(eval(operations), result) << operations;
  EXPECT_NE(log.take().find("vorn: Invalid LSQL request: <lsql><select></lsql>\n"), std::string::npos);
  EXPECT_EQ(strip(vorn_query_eval("<other/>")), "<error>Top level name is not lsql." + failed);
  EXPECT_EQ(vorn_query_eval(nullptr), nullptr);
  EXPECT_EQ(commits, "");
}

TEST_F(Query, WhereIsFalseForWhatIsNoneOrUnknown) {
  for (const char *where :
       {"<eq><property>colour</property><property>colour</property></eq>", "<eq><value>x</value></eq>",
        "<eq><property/><value>x</value></eq>", "<xor/>", "<metadata>age</metadata>"})
    EXPECT_EQ(eval("<select><radio/></select><where>" + std::string(where) + "</where>"),
              "<dataset/><rc>0</rc><counter>0</counter>");
  const std::string unknown = "vorn: eval_expr: Unknown expression name \"xor\".\n";
  const std::string age = "vorn: Metadata other than \"name\" is not supported.\n";
  EXPECT_EQ(log.take(), unknown + age); // once for a request, however many instances there are
}

TEST_F(Query, ErrorTextsAreCutBetweenCharacters) {
  std::string value;
  for (int i = 0; i < 40; ++i) value += "東京";
  const std::string result = eval("<select><radio properties=\"" + value + "\"/></select>");
  // In a result without an encoding, a character outside ASCII stands as a reference. Each has three bytes.
  const auto whole = static_cast<size_t>(std::count(result.begin(), result.end(), '&'));
  EXPECT_EQ(whole, (79 - strlen("Invalid properties=\"")) / 3);
}

TEST_F(Query, AnInstanceStaysOfItsClass) {
  const std::string no_value = "<error>Value \"air\" is not valid for property \"type\" of class ";
  for (const char *insert : {"<wire name=\"n\"><type>air</type></wire>",
                             "<port name=\"n\"><type>wire</type><type>air</type></port>"}) {
    EXPECT_TRUE(eval("<insert>" + std::string(insert) + "</insert>").starts_with(no_value));
    EXPECT_TRUE(passive("<insert>" + std::string(insert) + "</insert>").starts_with(no_value));
  }
  EXPECT_TRUE(passive("<update><port name=\"w\"><type>air</type></port></update>").starts_with(no_value));
  EXPECT_EQ(commits, "");
}

TEST_F(Query, DeleteTakesTheNamedOrAll) {
  EXPECT_EQ(eval("<delete><radio name=\"\"/></delete>"), "<rc>0</rc><counter>0</counter>"); // nobody's name
  EXPECT_EQ(eval("<delete><radio/></delete><delete><port name=\"w\"/></delete>"),
            "<rc>0</rc><counter>2</counter>" + std::string(ok));
  EXPECT_EQ(all_names(vorn_config_get_running()), "system,rule:g,rule:g");
  EXPECT_EQ(commits, "[/][/radio:a,radio:b,wire:w]");
}

TEST_F(Query, EachOperationCountsInEachPassUnlessItIsPassive) {
  const std::string good = "<update><radio name=\"a\"><power>2</power></radio></update>";
  const unsigned number = vorn_query_transaction_number;
  EXPECT_EQ(eval(good + good), std::string(ok) + ok);
  EXPECT_EQ(vorn_query_transaction_number, number + 4);
  EXPECT_EQ(passive(good), ok);
  EXPECT_EQ(vorn_query_transaction_number, number + 4);
  EXPECT_EQ(commits, "[radio:a/]");
}

TEST_F(Query, UpdatesCountFirstAndOnce) {
  vorn_property_set_is_instance_valid_fn(
      vorn_class_get_property(vorn_classes_get("radio"), "mode"), [](vorn_instance *, const char *) {
        vorn_instance_set_value(vorn_instances_get(vorn_config_get_running(), "radio", "b"), "power", "3");
        return 1;
      });
  const std::string system = "<update><system><host>h</host></system></update>";
  const std::string server = "<update><server><address>s</address></server></update>";
  eval("<insert><server/></insert>");
  commits.clear();
  eval("<update><radio name=\"a\"><mode>x</mode></radio></update><update><wire/></update>" + system + system +
       server + server);
  EXPECT_EQ(commits, "[radio:a,radio:b,wire:w,system,server/]");
  EXPECT_EQ(log.take(), "");
}

TEST_F(Query, ATransactionCommitsItsCopyInPlaceOfTheRunningOne) {
  const vorn_instances *before = vorn_config_get_running();
  EXPECT_EQ(eval("<write-transaction><update><radio name=\"b\"><power>9</power></radio></update>"
                 "<delete><port/></delete></write-transaction>"),
            std::string(ok) + ok);
  EXPECT_NE(vorn_config_get_running(), before);
  EXPECT_EQ(commits, "[radio:b/wire:w]");
  EXPECT_STREQ(value("radio", "b", "power"), "9");
}

TEST_F(Query, RefreshAsksForWhatTheOperationsRead) {
  eval("<select><radio name=\"a\"><mode/></radio></select><where>" + eq("power", "1") + "</where>" +
       "<select><port properties=\"all\"/></select><select><port name=\"w\"><mtu/></port></select>" +
       "<update><rule><action>z</action></rule></update><where><and><not>" + eq("action", "x") +
       "</not><metadata>name</metadata></and></where><insert><server/></insert>");
  EXPECT_EQ(refreshes, "  Class radio:|    Named instances:|      Instance a: Properties: mode power.|"
                       "  Class port:|    Named instances:|      Instance w: Properties: None.|    Every "
                       "instance: Properties: All.|"
                       "  Class rule:|    Every instance: Properties: action.|");
}

TEST_F(Query, ARefreshMayEvaluateAPassiveRequestAndItsDirectValuesCount) {
  during_refresh = [] {
    during_refresh = nullptr;
    EXPECT_EQ(passive("<update><radio name=\"a\"><power>7</power></radio></update>"), ok);
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
  eval(select);
  EXPECT_EQ(vorn_query_origin, nullptr);
  vorn_query_disable_external_updates();
  const std::string refused = "<error>External updates are prohibited.</error><rc>1</rc><counter>0</counter>";
  for (const char *origin : {" origin=\"x\"", " origin=\"\""}) EXPECT_EQ(eval(select, origin), refused);
  EXPECT_EQ(eval(select), "<dataset/><rc>0</rc><counter>0</counter>");
}

TEST_F(Query, SurvivesWithoutARunningConfiguration) {
  vorn_instances *kept = vorn_config_get_running();
  vorn::set_running(nullptr);
  EXPECT_EQ(eval("<delete><radio/></delete>"), "<rc>0</rc><counter>0</counter>");
  EXPECT_NE(eval("<write-transaction><insert><server/></insert></write-transaction>").find("<rc>1</rc>"),
            std::string::npos);
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
}

} // namespace
