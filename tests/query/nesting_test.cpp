// What plugins' functions may not do while the agent is in the midst of something.
#include "commit/providers.h"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "config/config.h"
#include "config/running.hpp"
#include "query/query.h"
#include "xml/handles.hpp"

#include <functional>
#include <gtest/gtest.h>
#include <set>

namespace {

using namespace vorn::test;
using std::string;

enum Place { in_refresh, in_commit, in_check };

std::function<void(Place)> during; // called from there
string told;                       // the commits: which classes have changed

void call(Place place) {
  if (during) during(place);
}

int note_commit(vorn_commit_info *info) {
  vorn_changes *changes = vorn_commit_info_get_changes(info);
  told += "[" + names(vorn_changes_new_class_instances_iterator(changes, nullptr)) + "]";
  return 0;
}

// Returns what is in the result document's root.
string eval(const string &operations, bool passive = false) {
  const string request = "<lsql origin=\"test\">" + operations + "</lsql>";
  const vorn::CString reply(passive ? vorn_query_eval_passive(request.c_str())
                                    : vorn_query_eval(request.c_str()));
  const string text = reply ? reply.get() : "", begin = "<lsql_result>", end = "</lsql_result>\n";
  const size_t from = text.find(begin) + begin.size();
  return text.ends_with(end) ? text.substr(from, text.size() - end.size() - from) : "none: " + text;
}

const string ok = "<rc>0</rc><counter>1</counter>";
const string update = "<update><radio><power>2</power></radio></update>";
const string transaction = "<write-transaction>" + update + "</write-transaction>";
const string checked = "<update><system><host>x</host></system></update>";
const string read = "<select><system/></select>";

string error(const string &text) { return "<error>" + text + "</error><rc>1</rc><counter>0</counter>"; }

struct Nesting : testing::Test {
  Nesting() {
    add_all_kinds();
    vorn_property_set_is_valid_fn(vorn_class_get_property(vorn_classes_get("system"), "host"),
                                  [](const char *) { return call(in_check), 1; });
    vorn_provider *calling = vorn_provider_new("\x1b[2J");
    vorn_provider_set_commit_fn(
        calling, [](vorn_commit_info *) { return call(in_commit), 0; }, nullptr);
    vorn_provider_set_refresh_fn(
        calling, [](vorn_refresh_info *) { return call(in_refresh), 0; }, nullptr);
    vorn_provider *noting = vorn_provider_new("note");
    vorn_provider_set_commit_fn(noting, note_commit, nullptr);
    for (vorn_provider *provider : {calling, noting}) vorn_providers_add(provider);
    vorn_providers_done_adding();
    vorn_instances *running = vorn_instances_new();
    vorn::set_running(running);
    add(running, "system");
    add(running, "radio", "a");
    log.take();
  }
  ~Nesting() override {
    during = nullptr;
    vorn_instances_delete_all(vorn_config_get_running());
  }
  Log log;
};

// How something comes to be under way, and from where in it the plugin calls.
struct Way {
  const char *name;
  Place place;
  std::function<bool()> begin; // returns whether it was carried out
  string result = {};          // what the commits tell, or the reply to one too many
};

string last_reply;

bool carries_out(const string &operations, bool passive = false) {
  last_reply = eval(operations, passive);
  return last_reply.ends_with(ok);
}

bool acts() {
  const int result = vorn_query_action("p", "a", nullptr, nullptr);
  last_reply = std::to_string(result);
  return result == 0;
}

// How a line of the log begins about it.
string who(const Way &way) { return way.place == in_check ? "vorn: " : "vorn: Provider \"\\x1b[2J\": "; }

const Way ways_to_be_busy[] = {
    {"refresh of a select", in_refresh, [] { return carries_out(read); }},
    {"refresh of a transaction", in_refresh, [] { return carries_out(transaction); }, "[radio:a]"},
    {"commit of an update", in_commit, [] { return carries_out(update); }, "[radio:a]"},
    {"commit of a transaction", in_commit, [] { return carries_out(transaction); }, "[radio:a]"},
    {"check", in_check, [] { return carries_out(checked); }, "[system]"},
    {"action", in_commit, acts, "[]"},
    {"commit by a plugin", in_commit,
     [] { return vorn_providers_commit(vorn_config_get_running(), nullptr, nullptr), true; }, "[]"},
};

TEST_F(Nesting, NothingReplacesTheRunningConfigurationUnderWhatIsUnderWay) {
  const string reasons[] = {
      "A write-transaction cannot be nested in a request, a commit or a load.",
      "The running configuration cannot be replaced within a request, a commit or a load.",
      "A configuration cannot be loaded within a request, a commit or a load."};
  for (const Way &way : ways_to_be_busy) {
    SCOPED_TRACE(way.name);
    string lines;
    for (const string &reason : reasons) lines += who(way) + reason + "\n";
    int calls = 0;
    during = [&](Place place) {
      if (place != way.place || calls++ > 0) return;
      const char *origin = vorn_query_origin;
      vorn_instances *running = vorn_config_get_running(), *other = vorn_instances_new();
      EXPECT_EQ(eval(transaction), error(reasons[0]));
      EXPECT_TRUE(way.result == "[]" || vorn_query_origin == origin); // of the request around it, if any
      EXPECT_EQ(vorn_config_replace_running(other), running);
      EXPECT_EQ(vorn_config_copy_backup_to_running(), 1);
      EXPECT_EQ(log.take(), lines);
      vorn_instances_delete_all(other); // it is still the caller's
      EXPECT_EQ(eval(transaction, true), ok);
      EXPECT_EQ(vorn_config_replace_running(nullptr), running);
    };
    told.clear();
    EXPECT_TRUE(way.begin());
    EXPECT_EQ(told, way.result);
    EXPECT_GT(calls, 0);
    EXPECT_EQ(eval(transaction), ok); // nothing is under way any more
    EXPECT_EQ(log.take(), "");
  }
}

const string too_deep = "Requests are nested too deeply.";
const Way ways_to_begin_again[] = {
    {"refresh", in_refresh, [] { return carries_out(read); }, error(too_deep)},
    {"passive refresh", in_refresh, [] { return carries_out(transaction, true); }, error(too_deep)},
    {"commit", in_commit, [] { return carries_out(update); }, error(too_deep)},
    {"action", in_commit, acts, "1"},
    {"check", in_check, [] { return carries_out(checked); }, error(too_deep)},
};

// Also where each sends three: that does not come to 3 to the power of 16.
TEST_F(Nesting, RequestsThatEndUpInThemselvesAreRefusedBeyondSixteen) {
  for (const Way &way : ways_to_begin_again) {
    SCOPED_TRACE(way.name);
    int depth = 1, deepest = 16, sent = 1, carried_out = 0;
    std::set<string> refusals;
    during = [&](Place place) {
      if (place != way.place) return;
      ++depth;
      for (int i = 0; i < sent && depth <= deepest; ++i) {
        const bool done = way.begin();
        carried_out += done;
        if (!done) refusals.insert(last_reply);
      }
      --depth;
    };
    EXPECT_TRUE(way.begin());
    EXPECT_EQ(carried_out, 15);
    EXPECT_EQ(log.take(), "");
    deepest = 1'000, sent = 3, carried_out = 0;
    EXPECT_TRUE(way.begin());
    EXPECT_EQ(carried_out, 3 * 15);
    EXPECT_EQ(refusals, std::set{way.result});
    const string line = who(way) + too_deep + "\n";
    EXPECT_EQ(log.take(), line + line + line);
  }
}

} // namespace
