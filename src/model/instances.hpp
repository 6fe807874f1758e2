#pragma once

#include "model/class_store.hpp"
#include "model/instances.h"
#include <memory>
#include <optional>

// A collection: one store for every class that has ever had an instance in it, by class name.
struct vorn_instances {
  using Stores = vorn::KeyedTable<std::unique_ptr<vorn::ClassStore>>;

  // The store of a class, or null.
  const vorn::ClassStore *store(const vorn_class &cls) const {
    const auto *entry = stores.find(cls.name.c_str());
    return entry ? entry->value.get() : nullptr;
  }

  Stores stores{64};
  vorn_instances_listener_fn listener = nullptr;
  void *listener_data = nullptr;
};

// The walk itself needs no memory: inside the agent it stands on the stack.
struct vorn_instances_iterator {
  vorn_instances_iterator() = default;
  // All instances.
  explicit vorn_instances_iterator(const vorn_instances &instances);
  // Those of a class, or of the subclasses of an abstract one.
  vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls);
  // Those of one name of a concrete class.
  vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls, const char *name);

  bool has_next() const { return cursor_.has_next(); }
  vorn_instance *next();

private:
  void skip_empty_classes();
  const vorn_instances *instances_ = nullptr;
  vorn::StoreCursor cursor_;                    // in the present class
  vorn_instances::Stores::Iterator stores_;     // those still to come in a walk over everything
  vorn_class::Subclasses::Iterator subclasses_; // those still to come in a walk over an abstract class
};

namespace vorn {

struct CollectionDeleter {
  void operator()(vorn_instances *instances) const noexcept { vorn_instances_delete_all(instances); }
};
// A collection and its instances.
using OwnedInstances = std::unique_ptr<vorn_instances, CollectionDeleter>;

// What vorn_instances_new_group_iterator walks, without memory; none, with the reason logged, where that
// refuses.
std::optional<vorn_instances_iterator> walk_group(const vorn_instances *instances, const char *class_name,
                                                  const char *group_name) noexcept;

// As vorn_instances_copy, but all or nothing: null when any instance could not be copied.
OwnedInstances copy_whole(const vorn_instances &instances) noexcept;

} // namespace vorn
