#pragma once

#include "core/keyed_table.hpp"
#include "model/class.h"
#include "model/property.hpp"
#include <memory>
#include <optional>
#include <string>

// One class; owned by the registry once it is added.
struct vorn_class {
  using Properties = vorn::KeyedTable<std::unique_ptr<vorn_property>>;
  using Subclasses = vorn::KeyedTable<vorn_class *>;

  explicit vorn_class(const char *class_name, size_t property_buckets = 8)
      : name(class_name), properties(property_buckets) {}

  std::string name;
  std::optional<std::string> superclass_name;
  vorn_class *superclass = nullptr; // found by vorn_class_resolve
  int abstract = -1;                // -1 until decided
  vorn_property *subclass_identifier = nullptr;
  Subclasses subclasses{16}; // of an abstract class, filled as they resolve
  int persistence = 0;
  unsigned type = 0;
  Properties properties; // the own ones
  vorn_class_instance_validate_fn instance_validate = nullptr;
};

// The walk itself needs no memory: inside the agent it stands on the stack.
struct vorn_class_property_iterator {
  explicit vorn_class_property_iterator(const vorn_class &cls);
  bool has_next() const { return walk_.has_next(); }
  vorn_property *next();

private:
  void skip_to_pending();
  vorn_class::Properties::Iterator walk_;
  const vorn_class *pending_; // the class to walk after the present one
};
