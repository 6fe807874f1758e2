// Every allocation of the process fails once, and once with all that follow: the agent's, those of its
// libraries and of libc.
#include "commit/providers.h"
#include "common/allocation.hpp"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/config_reader.hpp"
#include "config/paths.hpp"
#include "core/handles.hpp"
#include "device/agent.hpp"
#include "faults/tracer.hpp"
#include "plugins/loader.hpp"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;
using std::string;

const string before = "<?xml version=\"1.0\"?>\n<config>\n  <system>\n    <host>a &amp; b, old</host>\n"
                      "  </system>\n  <radio name=\"r\">\n    <mode>n</mode>\n  </radio>\n</config>\n";
string with_host(const string &host) {
  string text = before;
  return text.replace(text.find("old"), 3, host);
}

struct Memory : testing::TestWithParam<bool> {
  void SetUp() override {
    if (!can_fail_mallocs()) GTEST_SKIP();
    mallocs_stay_out = GetParam();
    EXPECT_EQ(system("mkdir -p /etc/config && rm -rf /etc/config/* /etc/*config.xml"), 0);
    write_file(vorn::startup_path, before);
    write_file("/etc/rescueconfig.xml", with_host("rescue"));
  }
  Log log;
};

// The plugins, then the startup file, then a save with memory enough.
int boot(long mallocs) {
  mallocs_left = mallocs;
  vorn::vorn_plugins_init();
  vorn_classes_done_adding();
  vorn_providers_done_adding();
  const int result = vorn_config_copy_startup_to_running();
  mallocs_left = -1;
  if (result != 0) return 100; // the corrective action
  if (read_file(vorn::startup_path) != before) return 101;
  const int saved = vorn_config_dump_running(vorn::startup_path) == 0 ? 2 : 0;
  return (mallocs_failed > 0 ? 1 : 0) + saved;
}

TEST_P(Memory, MissingInABootTakesNoFallBackAndIsNeverSaved) {
  const string plugin = string(getenv("VORN_TEST_PLUGINS")) + "/plugin.so";
  ASSERT_EQ(system(("rm -f /usr/lib/vorn/plugins/* && mkdir -p /usr/lib/vorn/plugins && cp " + plugin +
                    " /usr/lib/vorn/plugins/")
                       .c_str()),
            0);
  ASSERT_EQ(vorn_classes_get("radio"), nullptr); // the plugin brings it
  int refused = 0, result = 1;
  for (long mallocs = 0; result != 2; ++mallocs) {
    log.take();
    result = run_in_child([&] { return boot(mallocs); });
    const string said = log.take();
    ASSERT_GE(result, 0) << mallocs << said;
    ASSERT_LT(result, 100) << mallocs << said;
    ASSERT_EQ(read_file(vorn::startup_path), before) << mallocs << said;
    if (result != 1) continue;
    ++refused;
    EXPECT_TRUE(contains(said, "is not saved")) << mallocs << said;
  }
  EXPECT_GT(refused, 50);
}

TEST_P(Memory, MissingInASaveLeavesTheOldFileOrWritesTheNewOne) {
  if (!vorn_classes_get("radio")) add_all_kinds();
  const string after = with_host("new" + string(1000, 'w')); // long enough to be written in steps
  write_file("/tmp/new.xml", after);
  vorn::load_config(vorn::open_config("/tmp/new.xml").draft);
  int refused = 0;
  fail_each_malloc(vorn_config_copy_running_to_startup, [&](int result, bool failed) {
    const string said = log.take();
    EXPECT_EQ(read_file(vorn::startup_path), result == 0 ? after : before);
    EXPECT_TRUE(result == 0 || (failed && !said.empty())) << said;
    refused += result;
    write_file(vorn::startup_path, before);
  });
  EXPECT_GT(refused, 3);
}

TEST_P(Memory, MissingWhileTheFileIsReadBackIsSaid) {
  int whole = 0;
  fail_each_malloc([] { return vorn::CString(vorn_config_get_startup_as_xml()); },
                   [&](const vorn::CString &text, bool failed) {
                     whole += text && text.get() == before;
                     EXPECT_TRUE(failed || text.get() == before);
                     EXPECT_TRUE(!text || text.get() == before || strstr(text.get(), "malloc failed"));
                   });
  EXPECT_GE(whole, 2);
}

string kind(const testing::TestParamInfo<bool> &how) { return how.param ? "AllFromOneOn" : "OneByOne"; }

INSTANTIATE_TEST_SUITE_P(Each, Memory, testing::Bool(), kind);

} // namespace
