#include "common/log.hpp"
#include "common/schema.hpp"
#include "model/instances.hpp"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;

struct Instances : testing::Test {
  Instances() { add_all_kinds(); }
  ~Instances() override { vorn_instances_delete_all(all); }
  Log log;
  vorn_instances *all = vorn_instances_new();
};

std::string class_names(const vorn_instances *all, const char *cls) {
  return names(vorn_instances_new_class_iterator(all, cls));
}
std::string group_names(const vorn_instances *all, const char *cls, const char *group) {
  return names(vorn_instances_new_group_iterator(all, cls, group));
}

TEST_F(Instances, EachTypeOfClassHasItsRules) {
  vorn_instance *system = add(all, "system");
  EXPECT_EQ(add(all, "system"), nullptr);
  EXPECT_EQ(vorn_instances_get_singleton(all, "system"), system);
  EXPECT_NE(add(all, "radio", "r"), nullptr);
  EXPECT_EQ(add(all, "radio", "r"), nullptr); // without a word
  for (int twice = 0; twice < 2; ++twice) {
    EXPECT_NE(add(all, "rule", "g"), nullptr);
    EXPECT_NE(add(all, "server"), nullptr);
  }
  EXPECT_EQ(vorn_instances_get_singleton(all, "radio"), nullptr);
  EXPECT_EQ(vorn_instances_get(all, "rule", "g"), nullptr);
  EXPECT_EQ(log.take(), "vorn: Singleton class may not have multiple instances.\n"
                        "vorn: Class \"radio\" is not a singleton.\n"
                        "vorn: Class \"rule\" is not unique named.\n");
  EXPECT_EQ(all_names(all), "system,radio:r,rule:g,rule:g,server,server");
  EXPECT_EQ(vorn_instances_remove(all, system), 0);
  EXPECT_EQ(vorn_instances_get_singleton(all, "system"), nullptr);
  EXPECT_EQ(log.take(), ""); // the store remains: it is not missing
  vorn_instance_delete(system);
}

TEST_F(Instances, AreListedByStoreByFamilyAndByGroup) {
  for (const char *name : {"b", "a"}) add(all, "air", name);
  add(all, "rule", "g1");
  for (const char *name : {"w2", "w1"}) add(all, "wire", name);
  for (const char *name : {"g2", "g1"}) add(all, "rule", name);
  add(all, "server");
  EXPECT_EQ(all_names(all), "air:b,air:a,rule:g1,rule:g1,rule:g2,wire:w2,wire:w1,server");
  EXPECT_EQ(class_names(all, "port"), "wire:w2,wire:w1,air:b,air:a"); // by the registry's order of subclasses
  EXPECT_EQ(group_names(all, "rule", "g1"), "rule:g1,rule:g1");
  EXPECT_EQ(group_names(all, "port", "a"), "air:a");
  EXPECT_EQ(group_names(all, "rule", nullptr), "rule:g1,rule:g1,rule:g2");
  EXPECT_EQ(log.take(), "");
  EXPECT_EQ(group_names(all, "server", "x"), "");
  EXPECT_EQ(class_names(all, "nothing"), "");
  EXPECT_EQ(log.take(), "vorn: Group iterators can only be used on named classes.\n"
                        "vorn: Unknown class \"nothing\".\n");
}

TEST_F(Instances, RemoveGoesByIdentityAndTellsTheListener) {
  static std::string events;
  const auto note = [](vorn_instance *instance, int event, void *data) {
    events += static_cast<const char *>(data)[event == VORN_INSTANCES_ADDED ? 0 : 1];
    events += vorn_instance_get_name(instance);
    return 1;
  };
  vorn_instances_set_listener(all, note, const_cast<char *>("+-"));
  vorn_instance *radio = add(all, "radio", "r");
  vorn_instance *rule = add(all, "rule", "g");
  add(all, "rule", "g");
  const vorn::OwnedInstance equal[] = {vorn::OwnedInstance(make("radio", "r")),
                                       vorn::OwnedInstance(make("rule", "g"))};
  for (const auto &instance : equal) EXPECT_EQ(vorn_instances_remove(all, instance.get()), 1);
  EXPECT_EQ(add(all, "radio", "r"), nullptr);
  EXPECT_EQ(events, "+r+g+g");
  vorn_instances_remove(all, radio);
  vorn_instances_remove(all, rule);
  EXPECT_EQ(vorn_instances_remove(all, rule), 1);
  EXPECT_EQ(events, "+r+g+g-r-g");
  EXPECT_EQ(all_names(all), "rule:g");
  vorn_instance_delete(radio);
  vorn_instance_delete(rule);
}

TEST_F(Instances, WholeClassesLeaveWithOrWithoutTheirInstances) {
  const auto fail_on_removal = [](vorn_instance *, int event, void *) {
    EXPECT_EQ(event, VORN_INSTANCES_ADDED);
    return 0;
  };
  vorn_instances_set_listener(all, fail_on_removal, nullptr);
  vorn_instance *kept[] = {add(all, "rule", "g"), add(all, "rule", "g"), add(all, "server")};
  add(all, "wire", "w");
  EXPECT_EQ(vorn_instances_remove_class(all, "rule"), 0);
  EXPECT_EQ(vorn_instances_remove_class(all, "server"), 0);
  EXPECT_EQ(vorn_instances_delete_class(all, "port"), 0); // an abstract class has no instances of its own
  EXPECT_EQ(all_names(all), "wire:w");
  EXPECT_EQ(vorn_instances_delete_class(all, "wire"), 0);
  EXPECT_EQ(vorn_instances_delete_class(all, "nothing"), 1);
  EXPECT_EQ(vorn_instances_is_empty(all), 1);
  for (vorn_instance *instance : kept) EXPECT_EQ(vorn_instance_delete(instance), 0); // still there
}

} // namespace
