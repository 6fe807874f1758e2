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
  EXPECT_EQ(printed(vorn_property_print, identifier),
            "Property: type                                          r-ip");
}

TEST_F(Property, NeedsAValueCheckToBeWritableOrRequired) {
  vorn_property *property = vorn_property_new("p");
  EXPECT_EQ(vorn_property_is_valid(property), 0);
  vorn_property_set_writable(property, 0);
  EXPECT_EQ(vorn_property_is_valid(property), 1);
  vorn_property_set_required_on_insert(property, 1);
  vorn_property_set_is_instance_valid_fn(property, [](vorn_instance *, const char *) { return 1; });
  EXPECT_EQ(vorn_property_is_valid(property), 0); // the instance's check does not count
  EXPECT_EQ(log.take(), "vorn: Property p is writable but has no is_valid fn.\n"
                        "vorn: Property p is required on insert but has no is_valid fn.\n");
  vorn_property_set_is_valid_fn(property, not_bad);
  vorn_property *clone = vorn_property_clone(property);
  EXPECT_EQ(vorn_property_is_valid(clone), 1);
  vorn_property_delete(clone);
  vorn_property_delete(property);
}

TEST_F(Class, DecidesItsPlaceInAHierarchyOnce) {
  vorn_class *cls = vorn_class_new("c"), *abstract = add_abstract_class("a", {});
  EXPECT_EQ(vorn_class_set_superclass(cls, "s"), 0);
  const int results[] = {vorn_class_set_abstract(abstract, 0), vorn_class_set_abstract(cls, 1),
                         vorn_class_set_superclass(cls, "t"), vorn_class_set_superclass(abstract, "s")};
  for (const int result : results) EXPECT_EQ(result, 1);
  EXPECT_EQ(log.take(), "vorn: Class is already abstract.\n"
                        "vorn: An class with a superclass may not be abstract.\n"
                        "vorn: Superclass name has already been set.\n"
                        "vorn: An abstract class may not have a superclass.\n");
  delete cls;
}

TEST_F(Class, TakesOneIdentifierAndForcesItsFlags) {
  const std::unique_ptr<vorn_class> concrete(vorn_class_new("c")), abstract(vorn_class_new("a"));
  vorn_property *identifier = vorn_property_new("type");
  EXPECT_EQ(vorn_class_set_subclass_identifier(concrete.get(), identifier), 1);
  vorn_class_set_abstract(abstract.get(), 1);
  vorn_class_add_property(abstract.get(), make_property("type"));
  EXPECT_EQ(vorn_class_set_subclass_identifier(abstract.get(), identifier), 1);
  EXPECT_EQ(identifier->writable, 1); // refused before anything was forced
  EXPECT_EQ(vorn_class_set_subclass_identifier(abstract.get(), vorn_property_new("kind")), 0);
  EXPECT_EQ(vorn_class_set_subclass_identifier(abstract.get(), identifier), 1);
  EXPECT_EQ(log.take(),
            "vorn: Class is not abstract.\n"
            "vorn: A property with the same name as the subclass identifier property is in the class.\n"
            "vorn: Class already has subclass_identifier.\n");
  vorn_property_delete(identifier);
}

TEST_F(Classes, AndPropertiesNeedNamesThatElementsCanHave) {
  vorn_debug_set(0); // it is said even without debugging
  log.take();
  const std::string no_name = "\" is refused: that is no XML name without a colon.\n";
  for (const std::string name :
       {"", "a b", "1a", "-a", "a:b", "#a", "a<", "a\xff", "lsql", "where", "größe.5"}) {
    const bool own = name == "lsql" || name == "where", good = own || name == "größe.5";
    vorn_class *cls = vorn_class_new(name.c_str());
    vorn_property *property = make_property(name.c_str()), *identifier = vorn_property_new(name.c_str());
    vorn_class_set_abstract(cls, 1);
    EXPECT_EQ(vorn_class_set_subclass_identifier(cls, identifier), !good) << name;
    EXPECT_EQ(vorn_class_add_property(cls, property), 1) << name; // if not for its name, there is one already
    EXPECT_EQ(vorn_classes_add(cls), !good || own) << name;
    EXPECT_EQ(vorn_classes_get(name.c_str()), good && !own ? cls : nullptr);
    const std::string said = "vorn: Property \"" + name + no_name;
    std::string expected = good ? "" : said + said + "vorn: Class \"" + name + no_name;
    if (own) expected = "vorn: Class \"" + name + "\" is refused: LSQL has elements of that name.\n";
    EXPECT_EQ(log.take(), expected);
    vorn_property_delete(property);
    if (!good) vorn_property_delete(identifier);
    if (!good || own) delete cls;
  }
}

TEST_F(Class, FindsAndListsTheSuperclassPropertiesOnceResolved) {
  vorn_class *sub = add_class("sub", VORN_CLASS_UNIQUE_NAMED, {"x", "y"}, "super");
  add_abstract_class("super", {"a"});
  EXPECT_EQ(vorn_class_get_property(sub, "type"), nullptr);
  EXPECT_EQ(vorn_classes_done_adding(), 0); // the superclass came later
  std::string list;
  auto *it = vorn_class_new_property_iterator(sub);
  while (vorn_class_property_iterator_has_next(it))
    list.append(vorn_property_get_name(vorn_class_property_iterator_next(it))).append(" ");
  EXPECT_EQ(vorn_class_property_iterator_next(it), nullptr);
  vorn_class_delete_property_iterator(it);
  EXPECT_EQ(list, "type a x y ");
}

TEST_F(Class, EndsTheLookUpInACircleOfSuperclasses) {
  vorn_class *self = add_class("self", VORN_CLASS_UNIQUE_NAMED, {"p"}, "self");
  vorn_class *left = add_class("left", VORN_CLASS_UNIQUE_NAMED, {"l"}, "right");
  add_class("right", VORN_CLASS_UNIQUE_NAMED, {"r"}, "left");
  EXPECT_EQ(vorn_classes_done_adding(), 1);
  for (const vorn_class *cls : {self, left}) EXPECT_EQ(vorn_class_get_property(cls, "absent"), nullptr);
}

TEST_F(Classes, ReportWhatIsWrongWithEachInBothPasses) {
  add_abstract_class("childless", {});
  vorn_class *untyped = vorn_class_new("untyped");
  vorn_classes_add(untyped);
  for (const char *name : {"anonymous", "nameless"}) {
    vorn_class *cls = vorn_class_new(name);
    vorn_class_set_abstract(cls, 1);
    vorn_class_set_type(cls, *name == 'a' ? VORN_CLASS_ANONYMOUS : VORN_CLASS_UNIQUE_NAMED);
    if (*name == 'a') vorn_class_set_subclass_identifier(cls, vorn_property_new("type"));
    vorn_classes_add(cls);
  }
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
  std::string expected = "vorn: Class with name \"untyped\" already in classes.\n";
  const std::pair<const char *, const char *> reasons[] = {
      {"lost", "vorn: Class \"lost\" has a non-existent superclass \"nowhere\".\n"},
      {"transient", "vorn: Non-persistent class \"transient\" has a persistent property \"persists\".\n"},
      {"childless", "vorn: Class \"childless\" is abstract but does not have any subclasses.\n"},
      {"untyped", "vorn: Class \"untyped\" has no type set.\n"},
      {"anonymous", "vorn: Class \"anonymous\" is abstract but is not unique-named.\n"},
      {"nameless", "vorn: Class \"nameless\" is abstract but does not have a subclass identifier.\n"},
      {"lost", ""}, // the reason is known already
      {"grouped", "vorn: Class \"grouped\" is a subclassbut is not unique-named.\n"},
      {"child", "vorn: Class \"child\" has a non-abstract superclass \"plain\".\n"},
  };
  for (const auto &[name, reason] : reasons)
    expected += reason + ("vorn: Class \"" + std::string(name) + "\" is invalid.\n");
  EXPECT_EQ(log.take(), expected);
  EXPECT_EQ(vorn_class_get_property(transient, "follows")->persistence, 0);
  EXPECT_EQ(vorn_class_get_property(transient, "open")->persistence, -1); // after the one that failed
}

} // namespace
