// What closing the registry does to every class: first resolve all, then validate all.
#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "model/class.hpp"
#include "model/classes.h"

namespace {

using vorn::refuse;

// Finds the superclass and joins its subclasses. A concrete one has none to join: validation reports it.
int find_superclass(vorn_class &cls) {
  vorn_class *superclass = vorn_classes_get(cls.superclass_name->c_str());
  if (!superclass)
    return refuse("Class \"%s\" has a non-existent superclass \"%s\".\n", cls.name.c_str(),
                  cls.superclass_name->c_str());
  return vorn::guarded(1, [&] {
    if (superclass->abstract == 1) superclass->subclasses.insert(cls.name.c_str(), &cls);
    cls.superclass = superclass;
    return 0;
  });
}

int validate_hierarchy(const vorn_class &cls) {
  const char *name = cls.name.c_str();
  if (cls.type != VORN_CLASS_UNIQUE_NAMED)
    return refuse("Class \"%s\" is a subclassbut is not unique-named.\n", name);
  if (!cls.superclass) return 1; // resolving has said why
  if (cls.superclass->abstract == 1) return 0;
  return refuse("Class \"%s\" has a non-abstract superclass \"%s\".\n", name, cls.superclass_name->c_str());
}

} // namespace

int vorn_class_resolve(vorn_class *cls) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (cls->abstract == -1) cls->abstract = 0;
  if (cls->superclass_name && find_superclass(*cls) != 0) return 1;
  for (const auto &property : cls->properties) {
    int &persistence = property.value->persistence;
    if (persistence == -1) persistence = cls->persistence;
    if (cls->persistence != 0 || persistence != 1) continue;
    return refuse("Non-persistent class \"%s\" has a persistent property \"%s\".\n", cls->name.c_str(),
                  property.name());
  }
  return 0;
}

int vorn_class_validate(const vorn_class *cls) noexcept {
  if (!cls) return refuse("Null class.\n");
  const char *name = cls->name.c_str();
  const bool abstract = cls->abstract == 1;
  const struct {
    bool failed;
    const char *text;
  } checks[] = {
      {cls->type == 0, "Class \"%s\" has no type set.\n"},
      {abstract && !cls->subclass_identifier,
       "Class \"%s\" is abstract but does not have a subclass identifier.\n"},
      {abstract && cls->type != VORN_CLASS_UNIQUE_NAMED,
       "Class \"%s\" is abstract but is not unique-named.\n"},
      {abstract && cls->subclasses.empty(), "Class \"%s\" is abstract but does not have any subclasses.\n"},
      // The missing blanks, here and below, are part of the texts.
      {abstract && cls->superclass_name, "Class \"%s\" is abstract,but it has a superclass.\n"},
  };
  for (const auto &check : checks)
    if (check.failed) return refuse(check.text, name);
  return cls->superclass_name ? validate_hierarchy(*cls) : 0;
}
