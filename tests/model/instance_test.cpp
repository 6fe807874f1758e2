#include "common/log.hpp"
#include "common/schema.hpp"
#include "model/instance.hpp"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;

struct Instance : testing::Test {
  Instance() { add_all_kinds(); }
  Log log;
};

TEST_F(Instance, IsRefusedForAbstractOrUnfinishedClasses) {
  const std::unique_ptr<vorn_class> open(vorn_class_new("open"));
  vorn_class *const none = nullptr;
  for (vorn_class *cls : {none, open.get(), vorn_classes_get("port")})
    EXPECT_EQ(vorn_instance_new(cls, "x"), nullptr);
  EXPECT_EQ(log.take(), "vorn: Null class.\n"
                        "vorn: Cannot create instance of abstract class \"open\".\n"
                        "vorn: Cannot create instance of abstract class \"port\".\n");
}

TEST_F(Instance, KeepsValuesInTheOrderInWhichTheyWereSetLast) {
  const vorn::OwnedInstance radio(make("radio", "r", {{"power", "1"}, {"mode", "a"}, {"power", "2"}}));
  EXPECT_EQ(printed(vorn_instance_print, radio.get()),
            "Instance name: r\tclass: radio\n   mode =\ta\n   power =\t2\n");
}

TEST_F(Instance, RefusesAValueAndKeepsTheOldOne) {
  const vorn::OwnedInstance wire(make("wire", "w", {{"mtu", "1500"}, {"type", "wire"}})); // both inherited
  EXPECT_EQ(log.take(), "");
  static int told = 0;
  vorn_instance_set_listener(
      wire.get(), [](vorn_instance *, const char *, void *) { return ++told; }, nullptr);
  EXPECT_EQ(vorn_instance_set_value(wire.get(), "mtu", "bad"), 1);
  EXPECT_EQ(vorn_instance_set_value(wire.get(), "channel", "1"), 1);
  EXPECT_EQ(log.take(), "vorn: Value \"bad\" is not valid for property \"mtu\" of class \"wire\".\n"
                        "vorn: Property \"channel\" not in class \"wire\" (or its superclasses).\n");
  EXPECT_STREQ(vorn_instance_get_value(wire.get(), "mtu"), "1500");
  EXPECT_EQ(told, 0);
  vorn_instance_set_value(wire.get(), "mtu", "1500");
  EXPECT_EQ(told, 1); // an equal value is set all the same
}

TEST_F(Instance, AsksTheValueCheckBeforeTheInstanceCheck) {
  static std::string asked;
  vorn_property *mode = vorn_class_get_property(vorn_classes_get("radio"), "mode");
  vorn_property_set_is_valid_fn(mode, [](const char *value) { return asked += "v", not_bad(value); });
  vorn_property_set_is_instance_valid_fn(mode, [](vorn_instance *instance, const char *) {
    asked += "i";
    return vorn_instance_get_value(instance, "power") ? 1 : 0;
  });
  const vorn::OwnedInstance radio(make("radio", "r"));
  EXPECT_EQ(vorn_instance_set_value(radio.get(), "mode", "bad"), 1);
  EXPECT_EQ(vorn_instance_set_value(radio.get(), "mode", "a"), 1);
  vorn_instance_set_value(radio.get(), "power", "1");
  EXPECT_EQ(vorn_instance_set_value(radio.get(), "mode", "a"), 0);
  EXPECT_EQ(asked, "vvivi");
}

TEST_F(Instance, CanBeSetToItsOwnValue) {
  const std::string text = "some longer value that was allocated";
  const vorn::OwnedInstance radio(make("radio", "r", {{"mode", text.c_str()}}));
  for (const char *property : {"mode", "power"}) {
    vorn_instance_set_value(radio.get(), property, vorn_instance_get_value(radio.get(), "mode"));
    EXPECT_EQ(vorn_instance_get_value(radio.get(), property), text);
  }
}

TEST_F(Instance, CopyIsIndependentAndHasNoListener) {
  vorn::OwnedInstance radio(make("radio", "r", {{"mode", "a"}, {"power", "1"}}));
  vorn_instance_set_listener(
      radio.get(), [](vorn_instance *, const char *, void *) { return ADD_FAILURE(), 0; }, nullptr);
  const vorn::OwnedInstance copy(vorn_instance_copy(radio.get()));
  const char *power = vorn_instance_get_value(copy.get(), "power");
  vorn_instance_set_value(copy.get(), "mode", "b");
  EXPECT_STREQ(vorn_instance_get_value(radio.get(), "mode"), "a");
  radio.reset();
  EXPECT_STREQ(power, "1"); // a value holds until it is set again, whatever else is
  EXPECT_STREQ(vorn_instance_get_name(copy.get()), "r");
  EXPECT_EQ(printed(vorn_instance_print, copy.get()),
            "Instance name: r\tclass: radio\n   power =\t1\n   mode =\tb\n");
}

TEST_F(Instance, IsValidAsAWhole) {
  vorn_class *cls = vorn_classes_get("wire");
  for (const char *name : {"speed", "mtu"})
    vorn_property_set_required_on_insert(vorn_class_get_property(cls, name), 1);
  const vorn::OwnedInstance wire(make("wire", "w"));
  const auto reason = [&](vorn_instance *instance) {
    char *error = nullptr;
    const int valid = vorn_instance_is_valid(nullptr, instance, &error);
    const std::string text = error ? error : "";
    free(error);
    return valid ? "valid" : text;
  };
  // The superclass's properties come first, and the message names the instance's class.
  for (const char *missing : {"type", "mtu", "speed"}) {
    EXPECT_EQ(reason(wire.get()), "Property \"" + std::string(missing) +
                                      "\" of class \"wire\" is required on insert but not set.");
    vorn_instance_set_value(wire.get(), missing, ""); // an empty value is set
  }
  vorn_class_set_instance_validate_fn(cls, [](vorn_instances *, vorn_instance *) { return 0; });
  EXPECT_EQ(reason(wire.get()), "Class \"wire\" validation function failed");
  EXPECT_EQ(vorn_instance_is_valid(nullptr, wire.get(), nullptr), 0);
  vorn_class_set_instance_validate_fn(cls, nullptr);
  EXPECT_EQ(reason(wire.get()), "valid");
}

} // namespace
