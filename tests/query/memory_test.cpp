// Each allocation of a request fails once, those of libxml2 too: the request is evaluated as it was sent, or
// has no effect and says so.
#include "commit/providers.h"
#include "common/allocation.hpp"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/running.hpp"
#include "core/handles.hpp"
#include "query/query.h"
#include "query/result.hpp"

#include <gtest/gtest.h>

namespace {

long until_failure = -1; // allocations until one fails; negative for never

bool for_good = false; // so do all that follow
bool has_failed = false;

bool fails_now() {
  const bool fails = until_failure == 0;
  if (until_failure > 0 || (fails && !for_good)) --until_failure;
  has_failed |= fails;
  return fails;
}

} // namespace

// Stand for the allocating functions in the agent's code, through which libxml2's and operator new's go too
// (the linker's --wrap).
#pragma GCC visibility push(default)
extern "C" {
void *__real_malloc(size_t size);
void *__real_realloc(void *block, size_t size);
char *__real_strdup(const char *text);
void *__wrap_malloc(size_t size) { return fails_now() ? nullptr : __real_malloc(size); }
void *__wrap_realloc(void *block, size_t size) { return fails_now() ? nullptr : __real_realloc(block, size); }
char *__wrap_strdup(const char *text) { return fails_now() ? nullptr : __real_strdup(text); }
}
#pragma GCC visibility pop

namespace {

using namespace vorn::test;
using std::string;

struct Memory : testing::Test {
  Memory() {
    add_all_kinds();
    vorn_provider *provider = vorn_provider_new("p");
    vorn_provider_set_commit_fn(provider, note_commit, nullptr);
    vorn_provider_set_refresh_fn(provider, note_refresh, nullptr);
    vorn_providers_add(provider);
    vorn_providers_done_adding();
  }

  static int note_commit(vorn_commit_info *info) {
    const long left = std::exchange(until_failure, -1);
    vorn_changes *changes = vorn_commit_info_get_changes(info);
    if (changes) committed += printed(vorn_changes_print, changes);
    until_failure = left;
    return 0;
  }
  static int note_refresh(vorn_refresh_info *info) {
    const long left = std::exchange(until_failure, -1);
    refreshed += printed(vorn_refresh_info_print, info);
    until_failure = left;
    return 0;
  }

  struct Outcome {
    string reply, state, committed, refreshed;
    bool operator==(const Outcome &) const = default;
  };

  // The instances; a class that had some once does not count.
  static string state_of(const vorn_instances &instances) {
    string text;
    for (vorn_instances_iterator it(instances); it.has_next();)
      text += printed(vorn_instance_print, it.next());
    return text;
  }

  // Evaluates the request on a fresh configuration, with the allocation of that number failing. Nothing of it
  // stays: neither of what succeeds nor of what does not.
  static Outcome evaluate(const char *request, bool passive, long failing) {
    for (string *text : {&reply, &state, &committed, &refreshed}) text->clear(), text->reserve(100000);
    const long blocks = live_blocks;
    {
      vorn::OwnedInstances filled(vorn_instances_new());
      vorn::set_running(filled.get());
      for (const char *name : {"a", "b", "c"})
        add(filled.get(), "radio", name, {{"mode", "n"}, {"power", "1"}});
      add(filled.get(), "system", nullptr, {{"host", "ap"}});
      until_failure = failing;
      has_failed = false;
      const vorn::CString text(passive ? vorn_query_eval_passive(request) : vorn_query_eval(request));
      until_failure = -1;
      if (vorn_config_get_running() != filled.get()) { // a transaction has replaced it
        static_cast<void>(filled.release());
        filled.reset(vorn_config_get_running());
      }
      reply.append(text ? text.get() : "none");
      state.append(state_of(*filled));
    }
    EXPECT_TRUE(live_blocks == blocks || failing < 0) << request << ", allocation " << failing;
    return {reply, state, committed, refreshed};
  }

  static string reply, state, committed, refreshed;
  Log log;
};
string Memory::reply, Memory::state, Memory::committed, Memory::refreshed;

TEST_F(Memory, ARequestIsEvaluatedAsItWasSentOrNotAtAll) {
  const std::pair<const char *, bool> cases[] = {
      // and whether it is passive
      {"<lsql origin='web'><update><radio name='b'><power>a value that is not "
       "short</power></radio></update></lsql>",
       false},
      {"<lsql><update><radio><power>2</power><mode/></radio></update><where><eq><property>mode</"
       "property><value>n</value></eq></where></lsql>",
       false},
      {"<lsql><delete><radio name='b'/></delete></lsql>", false},
      {"<lsql><delete><radio/></delete><where><not><eq><metadata>name</metadata><value>b</value></eq></not></"
       "where></lsql>",
       false},
      {"<lsql><insert><radio "
       "name='d'><mode>x</mode></radio><server><address>1&amp;2</address></server></insert></lsql>",
       false},
      {"<lsql><write-transaction><update><radio><power>2</power></radio></update><delete><radio "
       "name='a'/></delete><insert><rule "
       "name='g'><action>x</action></rule></insert></write-transaction></lsql>",
       false},
      {"<lsql><select><radio name='b' "
       "properties='all'/></select><select><system><host/><place/></system></select></lsql>",
       false},
      {"<lsql><update><radio name='c'><mode>read</mode></radio></update></lsql>", true},
      {"<lsql><insert><server><state>up</state></server></insert></lsql>", true},
  };
  const string before = evaluate("<lsql><select><server/></select></lsql>", false, -1).state;
  for (const auto &[request, passive] : cases) {
    const Outcome whole = evaluate(request, passive, -1);
    ASSERT_EQ(whole.reply.find("<error>"), string::npos) << whole.reply;
    log.take();
    for (int i = 0; i < 2; ++i, for_good = !for_good) {
      long failing = 0;
      do {
        const Outcome outcome = evaluate(request, passive, failing);
        const string logged = log.take();
        const bool refused = outcome.reply == "none" ||
                             outcome.reply.find("<error>No memory to evaluate the request.") != string::npos;
        if (refused) {
          EXPECT_EQ(outcome.state, before) << request << ", allocation " << failing << "\n" << outcome.reply;
          EXPECT_EQ(outcome.committed, "") << request << ", allocation " << failing;
          EXPECT_NE(logged.find("No memory to evaluate the request.\n"), string::npos) << logged << failing;
        } else {
          EXPECT_EQ(outcome.reply, whole.reply) << request << ", allocation " << failing;
          EXPECT_EQ(outcome.state, whole.state) << request << ", allocation " << failing;
          EXPECT_EQ(outcome.committed, whole.committed) << request << ", allocation " << failing;
          EXPECT_EQ(outcome.refreshed, whole.refreshed) << request << ", allocation " << failing;
        }
        ++failing;
      } while (has_failed);
      EXPECT_GT(failing, 20);
    }
  }
}

// The end of a result, when a commit or an error is what it tells of.
TEST_F(Memory, IsThereForTheEndOfAResult) {
  string worst = "&";
  while (worst.size() < vorn::error_size) worst += worst;
  for (size_t size = 0; size < 600; ++size) {
    vorn::Budget budget;
    vorn::Result result(budget);
    result.begin_dataset();
    result.add_instance("radio", string(size, 'x').c_str());
    result.reserve_end();
    until_failure = 0;
    for_good = true;
    result.add_error(vorn::error_size, "%s", worst.c_str());
    result.end_operation(4294967295, 4294967295);
    const vorn::CString text = result.release();
    until_failure = -1;
    ASSERT_TRUE(string(text.get()).ends_with("</lsql_result>\n"));
  }
  for (int size = 2900; size < 3300; size += 10) {
    const string request = "<lsql><write-transaction><insert><rule name='g'><action>" +
                           string(static_cast<size_t>(size), 'x') +
                           "</action></rule></insert><select><rule><action/></rule></select>"
                           "</write-transaction></lsql>";
    long failing = 0;
    do {
      const Outcome outcome = evaluate(request.c_str(), false, failing++);
      const bool refused = outcome.reply == "none" || outcome.reply.find("<error>") != string::npos;
      EXPECT_EQ(outcome.committed.empty(), refused) << failing;
    } while (has_failed);
  }
  for_good = false;
}

// Outside of a transaction what earlier operations have changed stays; the reply tells which these are.
TEST_F(Memory, TheReplyTellsWhichOperationsWereCarriedOut) {
  string request = "<lsql><insert><rule name='g'><action>" +
                   string(4000, 'x') + // more than the first pass says
                   "</action></rule></insert><select><rule><action/></rule></select>";
  for (int i = 0; i < 100; ++i) request += "<insert><server/></insert>";
  request += "</lsql>";
  const auto count = [](const string &text, const string &part) {
    int times = 0;
    for (size_t at = 0; (at = text.find(part, at)) != string::npos; ++at) ++times;
    return times;
  };
  for (int i = 0; i < 2; ++i, for_good = !for_good) {
    long failing = 0;
    do {
      const Outcome outcome = evaluate(request.c_str(), false, failing);
      const int inserted = count(outcome.state, "class: server") + count(outcome.state, "class: rule");
      EXPECT_EQ(count(outcome.reply, "<rc>0</rc><counter>1</counter>"),
                inserted + count(outcome.reply, "<dataset>"))
          << failing << outcome.reply;
      EXPECT_EQ(outcome.committed.empty(), has_failed && inserted < 101);
      ++failing;
    } while (has_failed);
  }
}

} // namespace
