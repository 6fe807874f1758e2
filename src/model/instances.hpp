#pragma once

#include "model/class_store.hpp"
#include "model/instances.h"
#include "model/watcher.hpp"
#include <memory>
#include <optional>

namespace vorn {

// By class name.
using Stores = KeyedTable<std::unique_ptr<ClassStore>>;

// Where a collection that depends on another one has its stores from. What returns stores may allocate them
// first: it throws std::bad_alloc.
class Source {
public:
  virtual ~Source() = default;
  // The store of a class, or null.
  virtual ClassStore *store(const vorn_class &cls) = 0;
  virtual ClassStore *store_for(const vorn_class &cls) = 0; // made where there is none
  virtual const Stores &all() = 0;                          // in the order of the classes
  // Without memory: the store when it has been made.
  virtual ClassStore *made(const vorn_class &cls) const noexcept = 0;
  virtual bool is_empty() const noexcept = 0;
  virtual void drop(const vorn_class &cls, bool and_instances) noexcept = 0;
  virtual void delete_instances() noexcept = 0;
};

class Overlay;

} // namespace vorn

// A collection: one store for every class that has ever had an instance in it.
struct vorn_instances {
  vorn_instances();
  ~vorn_instances();
  vorn_instances(const vorn_instances &) = delete;
  vorn_instances &operator=(const vorn_instances &) = delete;

  // The store of a class, or null. Throws std::bad_alloc.
  vorn::ClassStore *store(const vorn_class &cls) const;
  const vorn::Stores &all_stores() const { return source ? source->all() : stores; }
  // Whether the very instance is one of its own.
  bool holds(vorn_instance &instance) const noexcept;

  vorn::Stores stores{1};
  vorn::Source *source = nullptr;          // of one that has no stores itself
  std::unique_ptr<vorn::Overlay> overlay;  // which is the source of a transaction's
  const vorn::Watcher *recorder = nullptr; // the newest one that is made over it
  vorn_instances_listener_fn listener = nullptr;
  void *listener_data = nullptr;
};

// The walk itself needs no memory: inside the agent it stands on the stack.
struct vorn_instances_iterator {
  vorn_instances_iterator() = default;
  // All instances. Throw std::bad_alloc, over a collection that has no stores itself.
  explicit vorn_instances_iterator(const vorn_instances &instances);
  // Those of a class, or of the subclasses of an abstract one.
  vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls);
  // Those of one name of a concrete class.
  vorn_instances_iterator(const vorn_instances &instances, const vorn_class &cls, const char *name);

  // The instance to come, or null at the end: one that must not be changed nor handed out where the
  // collection is a transaction's.
  vorn_instance *peek();
  bool has_next() { return peek() != nullptr; }
  vorn_instance *next();

  // As peek, but the instance is the collection's own; without memory for that the walk is at its end.
  vorn_instance *peek_own() noexcept;

private:
  const vorn_instances *instances_ = nullptr;
  vorn::ClassCursor cursor_{};                    // in the present class
  vorn::Stores::Iterator stores_{};               // those still to come in a walk over everything
  vorn_class::Subclasses::Iterator subclasses_{}; // those still to come in a walk over an abstract class
};

namespace vorn {

struct CollectionDeleter {
  void operator()(vorn_instances *instances) const noexcept { vorn_instances_delete_all(instances); }
};
// A collection and its instances.
using OwnedInstances = std::unique_ptr<vorn_instances, CollectionDeleter>;

// What vorn_instances_new_group_iterator walks, without memory for the iterator; none, with the reason
// logged, where that refuses. Throws std::bad_alloc.
std::optional<vorn_instances_iterator> walk_group(const vorn_instances *instances, const char *class_name,
                                                  const char *group_name);

// The collection's own instance where a walk shows one. Throws std::bad_alloc.
vorn_instance &own(vorn_instances &instances, vorn_instance &shown);
// The same for one that counts as changed whatever becomes of it.
vorn_instance &own_to_change(vorn_instances &instances, vorn_instance &shown);

// Deletion of an instance that a walk shows, in two steps: what throws std::bad_alloc, and what cannot fail.
// An instance that has just been added needs the second one only.
void prepare_deletion(vorn_instances &instances, vorn_instance &shown);
void delete_prepared(vorn_instances &instances, vorn_instance &shown) noexcept;

} // namespace vorn
