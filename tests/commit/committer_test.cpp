#include "commit/changes.hpp"
#include "commit/committer.hpp"
#include "commit/refresher.hpp"
#include "common/log.hpp"
#include "common/schema.hpp"
#include "core/debug.h"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;
using std::string;

string calls;

string show(const char *text) { return text ? text : "-"; }
string show(vorn_instance *instance) { return instance ? show(vorn_instance_get_name(instance)) : "-"; }

// Every result is a failure, which nobody regards.
int note_pre_commit(vorn_commit_info *) { return calls += "pre ", 1; }
int note_create(vorn_instance *instance) { return calls += "create(" + show(instance) + ") ", 1; }
int note_delete(vorn_instance *before, vorn_commit_info *) {
  return calls += "delete(" + show(before) + ") ", 1;
}
int note_change(vorn_instance *after, vorn_instance *before, vorn_commit_info *) {
  return calls += "change(" + show(after) + "," + show(before) + ") ", 1;
}
int note_group(vorn_instances *after, const char *cls, const char *group, vorn_commit_info *info) {
  EXPECT_EQ(after, vorn_commit_info_get_after(info));
  return calls += "group(" + show(cls) + "," + show(group) + ") ", 1;
}
int note_property(vorn_instance *instance, const char *property, const char *value, const char *old) {
  return calls += show(instance) + "." + property + "(" + show(value) + "," + show(old) + ") ", 1;
}
int note_other(vorn_instance *instance, const char *, const char *, const char *) {
  return calls += show(instance) + ".other ", 1;
}

struct Committer : testing::Test {
  Committer() {
    calls.clear();
    add_all_kinds();
    for (const char *name : {"a", "b", "c"}) add(all, "radio", name, {{"mode", "1"}});
    for (const char *name : {"g", "h", "g", "i"}) add(all, "rule", name, {{"action", "x"}});
    add(all, "wire", "w");
    changes = vorn_changes_new(all);
  }
  ~Committer() override {
    vorn_changes_delete(changes);
    vorn_instances_delete_all(all);
    delete committer;
  }
  string commit(vorn_instances *before) {
    calls.clear();
    vorn_commit_info *info = vorn_commit_info_new(before, all, changes, nullptr, committer);
    EXPECT_EQ(vorn_committer_fn(info), 0);
    vorn_commit_info_delete(info);
    return calls;
  }
  string commit() { return commit(vorn_changes_get_before(changes)); }
  void remove(vorn_instance *instance) {
    vorn_instances_remove(all, instance);
    vorn_instance_delete(instance);
  }
  vorn_instance *radio(const char *name) { return vorn_instances_get(all, "radio", name); }
  vorn_instance *rule(const char *group) {
    vorn_instances_iterator *it = vorn_instances_new_group_iterator(all, "rule", group);
    vorn_instance *first = vorn_instances_iterator_next(it);
    vorn_instances_delete_iterator(it);
    return first;
  }
  Log log;
  vorn_instances *all = vorn_instances_new();
  vorn_changes *changes;
  vorn_committer *committer = vorn_committer_new();
};

TEST_F(Committer, CallsByClassThenDeletionsThenCreationBeforeChangeBeforeProperties) {
  vorn_committer_set_property_change_fn(committer, "radio", "power", note_other);
  vorn_committer_set_instance_create_fn(committer, "port", note_create); // of an abstract class
  vorn_committer_set_property_change_fn(committer, "radio", "mode", note_property);
  vorn_committer_set_property_change_fn(committer, "radio", "power", note_property); // keeps its place
  vorn_committer_set_instance_delete_fn(committer, "ghost", note_delete);            // no such class
  vorn_committer_set_instance_change_fn(committer, "radio", note_change, 1);
  vorn_committer_set_instance_delete_fn(committer, "radio", note_delete);
  vorn_committer_set_instance_create_fn(committer, "radio", note_create);
  vorn_committer_set_pre_commit_fn(committer, note_pre_commit);
  EXPECT_EQ(commit(), "pre ");
  vorn_instance_set_value(radio("b"), "mode", "2");
  vorn_instance_set_value(radio("b"), "power", "5");
  vorn_instance_set_value(rule("g"), "action", "y"); // nobody asks for these
  add(all, "wire", "new");
  add(all, "radio", "n", {{"mode", "3"}});
  remove(radio("a"));
  EXPECT_EQ(commit(), "pre delete(a) change(-,a) change(b,b) b.power(5,-) b.mode(2,1) "
                      "create(n) change(n,-) n.mode(3,-) create(new) ");
  EXPECT_EQ(commit(nullptr), "pre delete(a) change(-,a) create(b) change(b,-) b.power(5,-) b.mode(2,-) "
                             "create(n) change(n,-) n.mode(3,-) create(new) ");
  EXPECT_NE(log.take().find("Unknown class \"ghost\".\n"), string::npos);
}

TEST_F(Committer, ChangeAloneIsNotCalledForDeletionsAndNeedsNoProperty) {
  vorn_committer_set_instance_change_fn(committer, "radio", note_change, 0);
  vorn_committer_set_property_change_fn(committer, "radio", "power", note_property);
  vorn_instance_set_value(radio("b"), "mode", "1");
  remove(radio("a"));
  EXPECT_EQ(commit(), "change(b,b) ");
}

TEST_F(Committer, GroupsChangeOnceAtTheirFirstMember) {
  vorn_committer_set_group_change_fn(committer, "rule", note_group);
  vorn_committer_set_instance_create_fn(committer, "rule", note_create);
  vorn_instance_set_value(rule("i"), "action", "y");
  vorn_instance_set_value(rule("h"), "action", "y");
  remove(rule("h"));
  remove(rule("g"));
  vorn_instance_set_value(rule("g"), "action", "y");
  add(all, "rule", "new");
  add(all, "rule", "new");
  add(all, "rule", "h");
  EXPECT_EQ(commit(),
            "group(rule,h) group(rule,g) group(rule,i) group(rule,new) create(new) create(new) create(h) ");
}

TEST_F(Committer, GroupsAreForGroupNamedClassesOnly) {
  vorn_debug_set(1);
  log.take();
  for (const char *cls : {"ghost", "radio"})
    EXPECT_EQ(vorn_committer_set_group_change_fn(committer, cls, note_group), 1);
  EXPECT_EQ(vorn_committer_set_instance_create_fn(committer, "ghost", nullptr), 1);
  EXPECT_EQ(vorn_committer_fn(nullptr), 1);
  log.take();
  vorn_instance_set_value(radio("a"), "mode", "2");
  EXPECT_EQ(commit(), "");
  EXPECT_EQ(log.take(), ""); // of no "ghost" that is registered
}

string live = "first";
const char *live_value(vorn_instance *instance, const char *property, vorn_refresh_info *) {
  calls += show(instance) + "." + property + " ";
  return live.empty() ? vorn_instance_get_value(instance, property) : live.c_str();
}
const char *other_value(vorn_instance *, const char *, vorn_refresh_info *) { return "other"; }

struct Refresher : Committer {
  ~Refresher() override {
    vorn_refresh_info_delete(info);
    delete refresher;
  }
  string refresh() {
    calls.clear();
    vorn_refresh_info_set_data(info, refresher);
    EXPECT_EQ(vorn_refresher_fn(info), 0);
    return calls;
  }
  string mode(const char *name) { return vorn_instance_get_value(radio(name), "mode"); }
  vorn_refresh_info *info = vorn_refresh_info_new(all);
  vorn_refresher *refresher = vorn_refresher_new("radio");
};

TEST_F(Refresher, CallsForWhatIsAskedForOnly) {
  vorn_refresher_set_pre_refresh_fn(refresher, [](vorn_refresh_info *) { return calls += "pre ", 1; });
  vorn_refresher_set_instance_fn(refresher, [](vorn_instance *instance, vorn_refresh_info *) {
    return calls += show(instance) + " ", 1;
  });
  EXPECT_EQ(vorn_refresher_set_property_fn(refresher, "power", live_value), 0);
  EXPECT_EQ(vorn_refresher_set_property_fn(refresher, "mode", live_value), 0);
  EXPECT_EQ(vorn_refresher_set_property_fn(refresher, "mode", other_value), 1); // the first one stays
  vorn_refresh_info_add_all_properties(info, "rule", nullptr);
  EXPECT_EQ(refresh(), "");
  vorn_refresh_info_add_property(info, "radio", "c", "mode");
  vorn_refresh_info_add_instance(info, "radio", "a");
  EXPECT_EQ(refresh(), "pre a c c.mode ");
  EXPECT_EQ(mode("a") + mode("c"), "1first");
  vorn_refresh_info_add_all_properties(info, "radio", "b");
  vorn_refresh_info_add_property(info, "radio", nullptr, "mode");
  EXPECT_EQ(refresh(), "pre a a.mode b b.power b.mode c c.mode ");
}

TEST_F(Refresher, StoresWhatItsCallbackReturnsWhateverThatIs) {
  vorn_refresher_set_property_fn(refresher, "mode", live_value);
  vorn_refresh_info_add_property(info, "radio", nullptr, "mode");
  live = ""; // from here on: the instance's own stored text
  vorn_instance_set_value(radio("a"), "mode", "a text of the instance's own that is not short");
  refresh();
  EXPECT_EQ(mode("a"), "a text of the instance's own that is not short");
  live = "bad"; // its check refuses it
  refresh();
  EXPECT_EQ(mode("b"), "1");
}

} // namespace
