#pragma once

#include "core/keyed_table.hpp"
#include "core/shared_text.hpp"
#include "model/class.hpp"
#include "model/instance.h"
#include <memory>

// One object of a class; owned by its maker until a collection takes it. Copies share the table of values
// until one of them changes: recorders and transactions copy whole configurations and then change little.
struct vorn_instance {
  using Values =
      vorn::KeyedTable<vorn::SharedText>; // by property name, in the order in which they were last set

  vorn_class *cls;
  vorn::SharedText name;
  std::shared_ptr<Values> values;
  vorn_instance_listener_fn listener = nullptr;
  void *listener_data = nullptr;
};

namespace vorn {

// Whether the value is none of a subclass identifier, or names the class of the instance. What else it named
// would decide the class at the next start.
inline bool keeps_class(const vorn_instance &instance, const vorn_property &property, const char *value) {
  return !property.is_subclass_identifier || instance.cls->name == value;
}

struct InstanceDeleter {
  void operator()(vorn_instance *instance) const noexcept { vorn_instance_delete(instance); }
};
// An instance that is in no collection.
using OwnedInstance = std::unique_ptr<vorn_instance, InstanceDeleter>;

} // namespace vorn
