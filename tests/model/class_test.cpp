#include "common/log.hpp"
#include "common/schema.hpp"
#include "core/debug.h"
#include "model/class.hpp"

#include <gtest/gtest.h>

namespace {

using namespace vorn::test;

// Refusals are logged only while debugging.
struct ClassTest : testing::Test {
  ClassTest() {
    vorn_debug_set(1);
    log.take();
  }
  Log log;
};
using Class = ClassTest;
using Property = ClassTest;
using Classes = ClassTest;

TEST_F(Property, FlagsOfAnIdentifierCannotBeTakenBackEvenWithoutDebugging) {
  vorn_class *cls = add_abstract_class("a", {});
  vorn_property *identifier = vorn_class_get_property(cls, "type");
  vorn_debug_set(0);
  log.take();
  EXPECT_EQ(vorn_property_set_writable(identifier, 1), 1);
  EXPECT_EQ(vorn_property_set_required_on_insert(identifier, 0), 1);
  EXPECT_EQ(log.take(), "vorn: Subclass identifiers must be non-writable.\n"
                        "vorn: Subclass identifiers must be required on insert.\n");
  EXPECT_EQ(vorn_property_set_writable(identifier, 0), 0);
  EXPECT_EQ(printed([&](FILE *out) { vorn_property_print(identifier, out); }),
            "Property: type                                          r-ip");
}

TEST_F(Property, NeedsAValueCheckToBeWritableOrRequired) {
  vorn_property *property = vorn_property_new("p");
  EXPECT_EQ(vorn_property_is_valid(property), 0);
  EXPECT_EQ(log.take(), "vorn: Property p is writable but has no is_valid fn.\n");
  vorn_property_set_writable(property, 0);
  EXPECT_EQ(vorn_property_is_valid(property), 1);
  vorn_property_set_required_on_insert(property, 1);
  vorn_property_set_is_instance_valid_fn(property, [](vorn_instance *, const char *) { return 1; });
  EXPECT_EQ(vorn_property_is_valid(property), 0); // the instance's check does not count
  EXPECT_EQ(log.take(), "vorn: Property p is required on insert but has no is_valid fn.\n");
  EXPECT_EQ(vorn_property_set_is_instance_valid_fn(property, nullptr), 1);
  EXPECT_EQ(log.take(), "vorn: Null is_valid fn.\n");
  vorn_property_set_is_valid_fn(property, not_bad);
  vorn_property *clone = vorn_property_clone(property);
  EXPECT_EQ(vorn_property_is_valid(clone), 1);
  EXPECT_STREQ(vorn_property_get_name(clone), "p");
  vorn_property_delete(clone);
  vorn_property_delete(property);
}

TEST_F(Class, DecidesItsPlaceInAHierarchyOnce) {
  vorn_class *cls = vorn_class_new("c");
  EXPECT_EQ(vorn_class_set_abstract(cls, 2), 1);
  EXPECT_EQ(vorn_class_set_abstract(cls, 0), 0);
  EXPECT_EQ(vorn_class_set_abstract(cls, 1), 1);
  EXPECT_EQ(vorn_class_set_superclass(cls, "s"), 0);
  EXPECT_EQ(vorn_class_set_superclass(cls, "t"), 1);
  EXPECT_EQ(vorn_class_set_abstract(cls, 1), 1);
  EXPECT_EQ(vorn_class_set_type(cls, 0), 1);
  EXPECT_EQ(vorn_class_set_type(cls, 5), 1);
  vorn_class *abstract = add_abstract_class("a", {});
  EXPECT_EQ(vorn_class_set_superclass(abstract, "s"), 1);
  EXPECT_EQ(log.take(), "vorn: Bad abstract value.\n"
                        "vorn: Class is already abstract.\n"
                        "vorn: Superclass name has already been set.\n"
                        "vorn: An class with a superclass may not be abstract.\n"
                        "vorn: Bad type.\nvorn: Bad type.\n"
                        "vorn: An abstract class may not have a superclass.\n");
  delete cls;
}

TEST_F(Class, TakesOneIdentifierAndForcesItsFlags) {
  vorn_class *concrete = vorn_class_new("c");
  vorn_property *identifier = vorn_property_new("type");
  EXPECT_EQ(vorn_class_set_subclass_identifier(concrete, nullptr), 1);
  EXPECT_EQ(vorn_class_set_subclass_identifier(concrete, identifier), 1);
  vorn_class *abstract = vorn_class_new("a");
  vorn_class_set_abstract(abstract, 1);
  vorn_class_add_property(abstract, make_property("type"));
  EXPECT_EQ(vorn_class_set_subclass_identifier(abstract, identifier), 1);
  EXPECT_EQ(identifier->writable, 1); // refused before anything was forced
  vorn_property *other = vorn_property_new("kind");
  EXPECT_EQ(vorn_class_set_subclass_identifier(abstract, other), 0);
  EXPECT_EQ(vorn_class_set_subclass_identifier(abstract, identifier), 1);
  EXPECT_EQ(log.take(),
            "vorn: Null property.\nvorn: Class is not abstract.\n"
            "vorn: A property with the same name as the subclass identifier property is in the class.\n"
            "vorn: Class already has subclass_identifier.\n");
  EXPECT_EQ(vorn_class_get_properties(abstract), 2);
  vorn_property_delete(identifier);
  delete concrete;
  delete abstract;
}

TEST_F(Class, FindsAndListsTheSuperclassPropertiesOnceResolved) {
  vorn_class *sub = add_class("sub", VORN_CLASS_UNIQUE_NAMED, {"x", "y"}, "super");
  add_abstract_class("super", {"a"});
  EXPECT_EQ(vorn_class_get_property(sub, "type"), nullptr);
  EXPECT_EQ(vorn_classes_done_adding(), 0); // the superclass came later
  EXPECT_STREQ(vorn_property_get_name(vorn_class_get_property(sub, "type")), "type");
  EXPECT_EQ(vorn_class_get_properties(sub), 2);
  std::string list;
  auto *it = vorn_class_new_property_iterator(sub);
  while (vorn_class_property_iterator_has_next(it))
    list.append(vorn_property_get_name(vorn_class_property_iterator_next(it))).append(" ");
  EXPECT_EQ(vorn_class_property_iterator_next(it), nullptr);
  vorn_class_delete_property_iterator(it);
  EXPECT_EQ(list, "type a x y ");
  EXPECT_EQ(printed([&](FILE *out) { vorn_class_print(sub, out); }).substr(0, 88),
            "Class: sub                  Type: unique-named  Persistence: 1\nSuperclass: super\n  Prope");
}

TEST_F(Class, EndsTheLookUpInACircleOfSuperclasses) {
  vorn_class *self = add_class("self", VORN_CLASS_UNIQUE_NAMED, {"p"}, "self");
  vorn_class *left = add_class("left", VORN_CLASS_UNIQUE_NAMED, {"l"}, "right");
  add_class("right", VORN_CLASS_UNIQUE_NAMED, {"r"}, "left");
  EXPECT_EQ(vorn_classes_done_adding(), 1);
  EXPECT_EQ(vorn_class_get_property(self, "absent"), nullptr);
  EXPECT_EQ(vorn_class_get_property(left, "absent"), nullptr);
  EXPECT_NE(vorn_class_get_property(left, "r"), nullptr);
}

TEST_F(Classes, ReportWhatIsWrongWithEachInBothPasses) {
  add_abstract_class("childless", {});
  vorn_class *untyped = vorn_class_new("untyped");
  vorn_classes_add(untyped);
  vorn_class *anonymous = vorn_class_new("anonymous");
  vorn_class_set_type(anonymous, VORN_CLASS_ANONYMOUS);
  vorn_class_set_abstract(anonymous, 1);
  vorn_class_set_subclass_identifier(anonymous, vorn_property_new("type"));
  vorn_classes_add(anonymous);
  vorn_class *nameless = vorn_class_new("nameless");
  vorn_class_set_abstract(nameless, 1);
  vorn_class_set_type(nameless, VORN_CLASS_UNIQUE_NAMED);
  vorn_classes_add(nameless);
  add_class("lost", VORN_CLASS_UNIQUE_NAMED, {}, "nowhere");
  add_class("grouped", VORN_CLASS_GROUP_NAMED, {}, "anonymous");
  add_class("plain", VORN_CLASS_UNIQUE_NAMED, {"p"});
  add_class("child", VORN_CLASS_UNIQUE_NAMED, {}, "plain");
  vorn_class *transient = add_class("transient", VORN_CLASS_SINGLETON, {"follows", "persists", "open"});
  vorn_class_set_persistence(transient, 0);
  vorn_property_set_persistence(vorn_class_get_property(transient, "persists"), 1);
  log.take();
  EXPECT_EQ(vorn_classes_add(untyped), 1);
  EXPECT_EQ(vorn_classes_done_adding(), 1);
  EXPECT_EQ(log.take(), "vorn: Class with name \"untyped\" already in classes.\n"
                        "vorn: Class \"lost\" has a non-existent superclass \"nowhere\".\n"
                        "vorn: Class \"lost\" is invalid.\n"
                        "vorn: Non-persistent class \"transient\" has a persistent property \"persists\".\n"
                        "vorn: Class \"transient\" is invalid.\n"
                        "vorn: Class \"childless\" is abstract but does not have any subclasses.\n"
                        "vorn: Class \"childless\" is invalid.\n"
                        "vorn: Class \"untyped\" has no type set.\n"
                        "vorn: Class \"untyped\" is invalid.\n"
                        "vorn: Class \"anonymous\" is abstract but is not unique-named.\n"
                        "vorn: Class \"anonymous\" is invalid.\n"
                        "vorn: Class \"nameless\" is abstract but does not have a subclass identifier.\n"
                        "vorn: Class \"nameless\" is invalid.\n"
                        "vorn: Class \"lost\" is invalid.\n"
                        "vorn: Class \"grouped\" is a subclassbut is not unique-named.\n"
                        "vorn: Class \"grouped\" is invalid.\n"
                        "vorn: Class \"child\" has a non-abstract superclass \"plain\".\n"
                        "vorn: Class \"child\" is invalid.\n");
  EXPECT_EQ(vorn_class_get_property(transient, "follows")->persistence, 0);
  EXPECT_EQ(vorn_class_get_property(transient, "open")->persistence, -1); // behind the one that failed
}

} // namespace
