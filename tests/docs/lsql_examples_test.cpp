// Holds the documents to what the agent does: every example of docs/lsql.md is evaluated, in the order of the
// page. The line above a block says what it is.
#include "commit/providers.h"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/config_reader.hpp"
#include "layout.hpp"
#include "query/query.h"
#include "request.hpp"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <vector>

namespace {

using namespace vorn::test;
using std::string;

struct Block {
  string label, text;
};

// The blocks of a page that hold XML or text, each with the last line of the prose above it.
std::vector<Block> blocks_of(const string &page) {
  std::ifstream file(VORN_DOCS_DIR "/" + page);
  std::vector<Block> blocks;
  string label, line;
  while (std::getline(file, line)) {
    if (!line.starts_with("```")) {
      if (!line.empty()) label = line;
      continue;
    }
    const bool wanted = line == "```xml" || line == "```text";
    Block block{label, ""};
    while (std::getline(file, line) && line != "```") block.text += line + '\n';
    if (wanted) blocks.push_back(block);
  }
  return blocks;
}

string text_of(const std::vector<Block> &blocks, const string &label) {
  for (const Block &block : blocks)
    if (block.label == label) return block.text;
  return "no block \"" + label + "\"";
}

// A reply without the layout between its elements, which the documents add for their readers.
string bare(const string &reply) {
  const lsql::XmlDocument document = lsql::parse_xml(reply);
  if (!document) return "not XML: " + reply;
  lsql::drop_layout(document.get(), lsql::Layout::blanks);
  return lsql::xml_text(document.get(), false);
}

int is_mtu(const char *value) { return atoi(value) >= 576 && atoi(value) <= 9000; }

void declare_classes() {
  add_class("system", VORN_CLASS_SINGLETON, {"hostname", "location", "uptime"});
  add_abstract_class("interface", {"enabled", "mtu", "status"});
  add_class("ethernet", VORN_CLASS_UNIQUE_NAMED, {}, "interface");
  add_class("radio", VORN_CLASS_UNIQUE_NAMED, {"channel"}, "interface");
  add_class("access-list", VORN_CLASS_GROUP_NAMED, {"mac", "action"});
  add_class("syslog-server", VORN_CLASS_ANONYMOUS, {"address", "port"});
  const auto property = [](const char *cls, const char *name) {
    return vorn_class_get_property(vorn_classes_get(cls), name);
  };
  for (vorn_property *live : {property("system", "uptime"), property("interface", "status")}) {
    vorn_property_set_writable(live, 0);
    vorn_property_set_persistence(live, 0);
  }
  for (vorn_property *required : {property("interface", "enabled"), property("access-list", "mac"),
                                  property("syslog-server", "address")})
    vorn_property_set_required_on_insert(required, 1);
  vorn_property_set_is_valid_fn(property("interface", "mtu"), is_mtu);
  vorn_classes_done_adding();
}

int commits;
int count_commit(vorn_commit_info *) { return ++commits, 0; }

struct Documents : testing::Test {
  Documents() {
    declare_classes();
    vorn_provider *provider = vorn_provider_new("counting");
    vorn_provider_set_commit_fn(provider, count_commit, nullptr);
    vorn_providers_add(provider);
    vorn_providers_done_adding();
    std::ofstream(path) << start;
    vorn::ReadConfig file = vorn::open_config(path.c_str());
    if (file.draft) vorn::load_config(std::move(file.draft));
  }
  ~Documents() override {
    vorn_instances_delete_all(vorn_config_get_running());
    unlink(path.c_str());
  }

  const std::vector<Block> page = blocks_of("lsql.md");
  const string start = text_of(page, "Starting configuration:");
  const string path = testing::TempDir() + "vorn-docs-" + std::to_string(getpid()) + ".xml";
  Log log;
};

TEST_F(Documents, ClassesStandAsTheAgentListsThem) {
  EXPECT_EQ(printed(vorn_classes_print), text_of(page, "Classes:") + '\n');
}

TEST_F(Documents, ConfigurationsStandAsTheAgentWritesThem) {
  ASSERT_EQ(vorn_config_dump_running(path.c_str()), 0);
  EXPECT_EQ(lsql::read_request(path, std::cin), start);
  EXPECT_EQ(text_of(blocks_of("configuration-file.md"), "/etc/config/config.xml:"), start);
}

TEST_F(Documents, EveryRequestGetsItsReply) {
  string requests;
  for (size_t i = 0; i < page.size(); ++i) {
    const auto &[label, text] = page[i];
    if (label == "Classes:" || label == "Starting configuration:") continue;
    const bool exact = label == "Request, sent exactly:", passive = label == "Passive request:";
    ASSERT_TRUE(exact || passive || label == "Request:") << label << '\n' << text;
    ASSERT_LT(++i, page.size()) << "no reply to " << text;
    const auto &[reply_label, reply] = page[i];
    ASSERT_TRUE(reply_label == "Reply:" || reply_label == "Reply, committed:") << reply_label << '\n'
                                                                               << reply;

    const string request = exact ? text : lsql::compact_request(text);
    requests += request;
    commits = 0;
    const vorn::CString answer((passive ? vorn_query_eval_passive : vorn_query_eval)(request.c_str()));
    ASSERT_NE(answer, nullptr) << text;
    EXPECT_EQ(commits, reply_label == "Reply, committed:" ? 1 : 0) << text;
    // The story's startup file is the configuration that it starts with; this machine has another one, or
    // none.
    const vorn::CString file(vorn_config_get_startup_as_xml());
    EXPECT_EQ(bare(answer.get() == string(file.get()) ? start : answer.get()), bare(reply)) << text;
  }
  for (const string name : {"select", "update", "insert", "delete", "where", "eq", "not", "and", "or",
                            "property", "value", "metadata", "write-transaction", "get_conf"})
    EXPECT_TRUE(requests.find("</" + name + ">") != string::npos ||
                requests.find("<" + name + "/>") != string::npos)
        << "no example of " << name;
}

} // namespace
