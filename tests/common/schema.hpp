// Classes and instances for tests, in a line each.
#pragma once

#include "model/classes.h"
#include "model/instance.hpp"
#include "model/instances.hpp"
#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>

namespace vorn::test {

// Takes every value but "bad".
inline int not_bad(const char *value) { return strcmp(value, "bad") != 0; }

inline vorn_property *make_property(const char *name) {
  vorn_property *property = vorn_property_new(name);
  vorn_property_set_is_valid_fn(property, not_bad);
  return property;
}

// A persistent class with writable properties, in the registry; with an identifier it is abstract.
inline vorn_class *add_class(const char *name, unsigned type, std::initializer_list<const char *> properties,
                             const char *superclass = nullptr, vorn_property *identifier = nullptr) {
  vorn_class *cls = vorn_class_new(name);
  vorn_class_set_type(cls, type);
  vorn_class_set_persistence(cls, 1);
  if (superclass) vorn_class_set_superclass(cls, superclass);
  if (identifier) vorn_class_set_abstract(cls, 1);
  if (identifier) vorn_class_set_subclass_identifier(cls, identifier);
  for (const char *property : properties) vorn_class_add_property(cls, make_property(property));
  vorn_classes_add(cls);
  return cls;
}

// An abstract class whose subclasses are named by the property "type".
inline vorn_class *add_abstract_class(const char *name, std::initializer_list<const char *> properties) {
  return add_class(name, VORN_CLASS_UNIQUE_NAMED, properties, nullptr, vorn_property_new("type"));
}

// One class of each kind: system, server (anonymous), port with the subclasses wire and air, radio
// (unique-named), rule (group-named).
inline void add_all_kinds() {
  add_class("system", VORN_CLASS_SINGLETON, {"host", "place"});
  add_class("server", VORN_CLASS_ANONYMOUS, {"address", "state"});
  add_class("wire", VORN_CLASS_UNIQUE_NAMED, {"speed"}, "port"); // before its superclass: that may be
  add_abstract_class("port", {"mtu"});
  add_class("air", VORN_CLASS_UNIQUE_NAMED, {"channel"}, "port");
  add_class("radio", VORN_CLASS_UNIQUE_NAMED, {"mode", "power"});
  add_class("rule", VORN_CLASS_GROUP_NAMED, {"action"});
  vorn_classes_done_adding();
}

using Values = std::initializer_list<std::pair<const char *, const char *>>;

inline vorn_instance *make(const char *class_name, const char *name = nullptr, Values values = {}) {
  vorn_instance *instance = vorn_instance_new(vorn_classes_get(class_name), name);
  for (const auto &[property, value] : values) vorn_instance_set_value(instance, property, value);
  return instance;
}

// Makes an instance and adds it; null, with the instance freed, when it is refused.
inline vorn_instance *add(vorn_instances *instances, const char *class_name, const char *name = nullptr,
                          Values values = {}) {
  vorn_instance *instance = make(class_name, name, values);
  if (instance && vorn_instances_add(instances, instance) == 0) return instance;
  if (instance) vorn_instance_delete(instance);
  return nullptr;
}

// "class:name,class:name" of what an iterator yields; frees the iterator.
inline std::string names(vorn_instances_iterator *it) {
  std::string text;
  while (it && vorn_instances_iterator_has_next(it)) {
    const vorn_instance *instance = vorn_instances_iterator_next(it);
    const char *name = vorn_instance_get_name(instance);
    if (!text.empty()) text += ",";
    text += vorn_class_get_name(vorn_instance_get_class(instance));
    if (name) text.append(":").append(name);
  }
  if (it) vorn_instances_delete_iterator(it);
  return text;
}

inline std::string all_names(const vorn_instances *instances) {
  return names(vorn_instances_new_iterator(instances));
}

} // namespace vorn::test
