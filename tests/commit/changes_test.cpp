#include "commit/actions.h"
#include "commit/changes.hpp"
#include "common/log.hpp"
#include "common/schema.hpp"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;

struct Changes : testing::Test {
  Changes() { add_all_kinds(); }
  ~Changes() override {
    vorn_changes_delete(changes);
    vorn_instances_delete_all(all);
  }
  void record() { changes = vorn_changes_new(all); }
  void remove(vorn_instance *instance) {
    EXPECT_EQ(vorn_instances_remove(all, instance), 0);
    vorn_instance_delete(instance);
  }
  std::string changed(const char *cls) const {
    return names(vorn_changes_new_class_instances_iterator(changes, cls));
  }
  std::string deleted(const char *cls) const {
    return names(vorn_changes_new_deleted_class_instances_iterator(changes, cls));
  }
  std::string properties(vorn_instance *instance) const {
    std::string text;
    for (const char *name : {"mode", "power", "mtu", "speed", "type"})
      if (vorn_changes_contains_property(changes, instance, name)) text.append(name).append(" ");
    return text;
  }
  Log log;
  vorn_instances *all = vorn_instances_new();
  vorn_changes *changes = nullptr;
};

TEST_F(Changes, RecordUpdatesOnceWithAllTheirProperties) {
  vorn_instance *a = add(all, "radio", "a", {{"mode", "1"}});
  vorn_instance *b = add(all, "radio", "b");
  record();
  vorn_instance_set_value(b, "mode", "1");
  vorn_instance_set_value(a, "power", "2");
  vorn_instance_set_value(a, "mode", "1"); // an equal value counts
  vorn_instance_set_value(a, "mode", "bad");
  EXPECT_EQ(changed("radio"), "radio:b,radio:a"); // as they were first touched
  EXPECT_EQ(properties(a), "mode power ");
  EXPECT_EQ(properties(b), "mode ");
  EXPECT_EQ(vorn_instance_get_value(vorn_changes_get_instance_before(changes, a), "power"), nullptr);
  EXPECT_EQ(vorn_changes_contains_class(changes, "radio"), 1);
  EXPECT_EQ(vorn_changes_contains_class(changes, "wire"), 0);
  EXPECT_EQ(all_names(vorn_changes_get_before(changes)), "radio:a,radio:b");
}

TEST_F(Changes, RecordInsertionsWithWhatTheyCarried) {
  record();
  vorn_instance *wire = add(all, "wire", "w", {{"speed", "1"}, {"mtu", "2"}});
  EXPECT_EQ(vorn_changes_instance_inserted(changes, wire), 0); // a loader may say it again
  vorn_instance_set_value(wire, "type", "wire");
  EXPECT_EQ(changed("wire"), "wire:w");
  EXPECT_EQ(changed("port"), "wire:w"); // also as one of its family
  EXPECT_EQ(properties(wire), "mtu speed ");
  EXPECT_EQ(vorn_changes_get_instance_before(changes, wire), nullptr);
}

TEST_F(Changes, RecordDeletionsAsTheyWere) {
  vorn_instance *untouched = add(all, "radio", "untouched", {{"mode", "1"}});
  vorn_instance *updated = add(all, "radio", "updated", {{"mode", "1"}});
  record();
  vorn_instance_set_value(updated, "mode", "2");
  remove(updated);
  remove(untouched);
  remove(add(all, "radio", "passing"));
  EXPECT_EQ(changed("radio"), "");
  EXPECT_EQ(deleted("radio"), "radio:updated,radio:untouched");
  EXPECT_EQ(vorn_changes_contains_class(changes, "radio"), 1);
  auto *it = vorn_changes_new_deleted_class_instances_iterator(changes, "radio");
  EXPECT_STREQ(vorn_instance_get_value(vorn_instances_iterator_next(it), "mode"), "1");
  vorn_instances_delete_iterator(it);
  vorn_instance *again = add(all, "radio", "updated"); // whatever its address, it is a new one
  EXPECT_EQ(changed("radio"), "radio:updated");
  EXPECT_EQ(vorn_changes_get_instance_before(changes, again), nullptr);
}

// Recorders do not need the places of listeners, but whoever relies on what becomes of his finds it so.
TEST_F(Changes, DisplaceListenersWhenTheyBeginAndWhenTheyEnd) {
  static std::string heard;
  heard.clear();
  const auto listen = [](vorn_instance *instance, const char *property, void *) {
    return heard.append(instance->name).append(".").append(property).append(" "), 0;
  };
  const auto listen_to_all = [](vorn_instance *instance, int event, void *) {
    return heard.append(instance->name).append(event ? "- " : "+ "), 0;
  };
  vorn_instance *a = add(all, "radio", "a"), *b = add(all, "radio", "b"), *left = add(all, "radio", "left");
  vorn_instance *outside = make("radio", "outside");
  for (vorn_instance *instance : {a, left, outside}) vorn_instance_set_listener(instance, listen, nullptr);
  vorn_instances_set_listener(all, listen_to_all, nullptr);
  const auto set_all = [&] {
    for (vorn_instance *instance : {a, b, left, outside}) vorn_instance_set_value(instance, "mode", "1");
  };
  record();
  set_all();
  add(all, "radio", "new");
  EXPECT_EQ(heard, "outside.mode ");
  for (vorn_instance *instance : {b, left}) vorn_instance_set_listener(instance, listen, nullptr);
  vorn_instances_set_listener(all, listen_to_all, nullptr);
  vorn_instances_remove(all, left); // it loses its own
  set_all();
  EXPECT_EQ(heard, "outside.mode left- b.mode outside.mode ");
  EXPECT_EQ(properties(b), "mode "); // who is listened to is recorded
  vorn_changes_delete(std::exchange(changes, nullptr));
  set_all();
  EXPECT_EQ(heard, "outside.mode left- b.mode outside.mode outside.mode ");
  vorn_instance_delete(left);
  vorn_instance_delete(outside);
}

// A refresh may evaluate a passive request while the outer request's recorder is at work.
TEST_F(Changes, BelongToTheInnermostRecorder) {
  vorn_instance *a = add(all, "radio", "a", {{"mode", "old"}});
  vorn_instance *gone = add(all, "radio", "gone");
  vorn_instance *mine = nullptr;
  record();
  mine = add(all, "radio", "mine");
  vorn_instance_set_value(gone, "mode", "1");
  vorn_changes *inner = vorn_changes_new(all);
  vorn_instance_set_value(a, "mode", "1");
  remove(gone);
  remove(mine);
  vorn_instance *fresh = add(all, "radio", "fresh");
  EXPECT_EQ(vorn_changes_contains_property(inner, a, "mode"), 1);
  EXPECT_EQ(names(vorn_changes_new_deleted_class_instances_iterator(inner, "radio")),
            "radio:gone,radio:mine");
  vorn_changes_delete(inner);
  EXPECT_EQ(changed("radio") + deleted("radio"), "");
  EXPECT_EQ(vorn_changes_contains_instance(changes, a), 0);
  vorn_instance_set_value(a, "power", "1");
  vorn_instance_set_value(fresh, "power", "1");
  add(all, "radio", "later");
  EXPECT_EQ(changed("radio"), "radio:a,radio:fresh,radio:later");
  EXPECT_EQ(properties(a) + properties(fresh), "power power ");
  EXPECT_EQ(vorn_changes_get_instance_before(changes, fresh), nullptr);
  EXPECT_STREQ(vorn_instance_get_value(vorn_changes_get_instance_before(changes, a), "mode"), "old");
  EXPECT_EQ(all_names(vorn_changes_get_before(changes)), "radio:a,radio:gone");
}

TEST_F(Changes, RecordersMayEndOutOfTurn) {
  vorn_instance *a = add(all, "radio", "a");
  record();
  vorn_changes *middle = vorn_changes_new(all), *inner = vorn_changes_new(all);
  vorn_changes_delete(middle);
  vorn_instance_set_value(a, "mode", "1");
  EXPECT_EQ(vorn_changes_contains_instance(inner, a), 1);
  vorn_changes_delete(inner);
  vorn_instance_set_value(a, "mode", "2");
  EXPECT_EQ(changed("radio"), "radio:a");
}

TEST(Actions, MatchWholeStringsAndErrOnTheSideOfActing) {
  vorn_actions *actions = vorn_actions_new();
  for (int twice = 0; twice < 2; ++twice)
    EXPECT_EQ(vorn_actions_add(actions, "wifi", "restart", "ssid", "guest"), 0);
  EXPECT_EQ(vorn_actions_add(actions, nullptr, "a", nullptr, nullptr), 1);
  EXPECT_EQ(vorn_actions_exists(actions, "wifi", "restart", "ssid", "guest"), 1);
  EXPECT_EQ(vorn_actions_exists(actions, "wifi-restart", "ssid", "guest", nullptr), 1); // "-" is not escaped
  EXPECT_EQ(vorn_actions_exists(actions, "wifi", "restart", "ssid", nullptr), 0);
  EXPECT_EQ(vorn_actions_exists(actions, "p", "a", nullptr, "i"), 1); // an instance without its class
  EXPECT_EQ(vorn_actions_exists(nullptr, "p", "a", nullptr, nullptr), 1);
  vorn_actions_delete(actions);
}

} // namespace
