#include "model/instances.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "model/classes.h"

namespace {

using vorn::ClassStore;
using vorn::guarded;
using vorn::OwnedInstances;
using vorn::refuse_aloud;

// The class that an operation names, or null with the reason logged.
vorn_class *known_class(const vorn_instances *instances, const char *class_name) {
  if (!instances) return refuse_aloud("Null instances.\n");
  if (!class_name) return refuse_aloud("Null class_name.\n");
  vorn_class *cls = vorn_classes_get(class_name);
  if (!cls) return refuse_aloud("Unknown class \"%s\".\n", class_name);
  return cls;
}

// The instance of that name in a family of subclasses, in their order, and where it was found.
vorn_instance *find_in_subclasses(const vorn_instances &instances, const vorn_class &cls, const char *name,
                                  const vorn_class **found_in = nullptr) {
  for (const auto &subclass : cls.subclasses) {
    const ClassStore *store = instances.store(*subclass.value);
    vorn_instance *instance = store ? store->find(name) : nullptr;
    if (!instance) continue;
    if (found_in) *found_in = subclass.value;
    return instance;
  }
  return nullptr;
}

// A name is unique in the whole family of an abstract class.
bool name_is_taken_in_family(const vorn_instances &instances, const vorn_instance &instance) {
  const vorn_class &cls = *instance.cls;
  return cls.type == VORN_CLASS_UNIQUE_NAMED && cls.superclass && instance.name.get() &&
         find_in_subclasses(instances, *cls.superclass, instance.name.get());
}

// Finds the class's store or makes it; it stays even when the first instance is refused.
ClassStore *store_for(vorn_instances &instances, const vorn_class &cls) {
  if (auto *entry = instances.stores.find(cls.name.c_str())) return entry->value.get();
  std::unique_ptr<ClassStore> store = ClassStore::make(cls);
  if (!store) return nullptr;
  return instances.stores.insert(cls.name.c_str(), std::move(store))->value.get();
}

void delete_instances(const ClassStore &store) {
  vorn::StoreCursor cursor = store.cursor();
  while (cursor.has_next()) vorn_instance_delete(cursor.next());
}

// Drops a class's store, with or without its instances. An abstract class never has one.
int drop_class(vorn_instances *instances, const char *class_name, bool and_instances) {
  if (!known_class(instances, class_name)) return 1;
  auto *entry = instances->stores.find(class_name);
  if (!entry) return 0;
  if (and_instances) delete_instances(*entry->value);
  instances->stores.remove(entry);
  return 0;
}

// Copies every store; `whole` tells whether memory sufficed for all instances.
OwnedInstances copy_stores(const vorn_instances &from, bool &whole) {
  whole = true;
  return guarded(OwnedInstances(), [&] {
    OwnedInstances copy(new vorn_instances);
    for (const auto &store : from.stores) {
      std::unique_ptr<ClassStore> empty = ClassStore::make(store.value->cls());
      if (!empty) continue; // the class has lost its type
      auto *entry = copy->stores.insert_like(store, std::move(empty));
      if (!entry->value->copy_from(*store.value)) whole = false;
    }
    return copy;
  });
}

} // namespace

OwnedInstances vorn::copy_whole(const vorn_instances &instances) noexcept {
  bool whole;
  OwnedInstances copy = copy_stores(instances, whole);
  if (!whole) copy.reset();
  return copy;
}

std::optional<vorn_instances_iterator>
vorn::walk_group(const vorn_instances *instances, const char *class_name, const char *group_name) noexcept {
  const auto none = [](auto) { return std::nullopt; };
  if (!instances) return none(refuse_aloud("Null instances.\n"));
  if (group_name && !class_name) return none(refuse_aloud("group_name specified but class_name is null.\n"));
  if (!class_name) return vorn_instances_iterator(*instances);
  const vorn_class *cls = known_class(instances, class_name);
  if (!cls) return std::nullopt;
  if (!group_name) return vorn_instances_iterator(*instances, *cls);
  if (cls->type != VORN_CLASS_UNIQUE_NAMED && cls->type != VORN_CLASS_GROUP_NAMED)
    return none(refuse_aloud("Group iterators can only be used on named classes.\n"));
  if (cls->abstract == 1 && !find_in_subclasses(*instances, *cls, group_name, &cls))
    return vorn_instances_iterator();
  return vorn_instances_iterator(*instances, *cls, group_name);
}

vorn_instances *vorn_instances_new() noexcept {
  return guarded<vorn_instances *>(nullptr, [] { return new vorn_instances; });
}

vorn_instances *vorn_instances_copy(const vorn_instances *instances) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  bool whole;
  return copy_stores(*instances, whole).release();
}

vorn_instance *vorn_instances_get_singleton(const vorn_instances *instances,
                                            const char *class_name) noexcept {
  const vorn_class *cls = known_class(instances, class_name);
  if (!cls) return nullptr;
  if (cls->type != VORN_CLASS_SINGLETON)
    return refuse_aloud("Class \"%s\" is not a singleton.\n", class_name);
  const ClassStore *store = instances->store(*cls);
  if (!store) return refuse_aloud("Singleton instance of class \"%s\" is missing.\n", class_name);
  return store->cursor().next();
}

vorn_instance *vorn_instances_get(const vorn_instances *instances, const char *class_name,
                                  const char *instance_name) noexcept {
  const vorn_class *cls = known_class(instances, class_name);
  if (!cls) return nullptr;
  if (!instance_name) return refuse_aloud("Null instance_name.\n");
  if (cls->type != VORN_CLASS_UNIQUE_NAMED)
    return refuse_aloud("Class \"%s\" is not unique named.\n", class_name);
  if (cls->abstract == 1) return find_in_subclasses(*instances, *cls, instance_name);
  const ClassStore *store = instances->store(*cls);
  return store ? store->find(instance_name) : nullptr;
}

int vorn_instances_add(vorn_instances *instances, vorn_instance *instance) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  if (!instance) return refuse_aloud("Null instance. (%s)\n", "vorn_instances_add");
  return guarded(1, [&] {
    ClassStore *store = store_for(*instances, *instance->cls);
    if (!store || name_is_taken_in_family(*instances, *instance) || !store->add(instance)) return 1;
    if (instances->listener) instances->listener(instance, VORN_INSTANCES_ADDED, instances->listener_data);
    return 0;
  });
}

int vorn_instances_remove(vorn_instances *instances, vorn_instance *instance) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  if (!instance) return refuse_aloud("Null instance. (%s)\n", "vorn_instances_remove");
  auto *entry = instances->stores.find(instance->cls->name.c_str());
  if (!entry || !entry->value->remove(instance)) return 1;
  if (instances->listener) instances->listener(instance, VORN_INSTANCES_REMOVED, instances->listener_data);
  return 0;
}

int vorn_instances_remove_class(vorn_instances *instances, const char *class_name) noexcept {
  return drop_class(instances, class_name, false);
}

int vorn_instances_delete_class(vorn_instances *instances, const char *class_name) noexcept {
  return drop_class(instances, class_name, true);
}

void vorn_instances_delete(vorn_instances *instances) noexcept { delete instances; }

void vorn_instances_delete_all(vorn_instances *instances) noexcept {
  if (!instances) return;
  for (const auto &store : instances->stores) delete_instances(*store.value);
  delete instances;
}

vorn_instances_iterator *vorn_instances_new_iterator(const vorn_instances *instances) noexcept {
  return vorn_instances_new_group_iterator(instances, nullptr, nullptr);
}

vorn_instances_iterator *vorn_instances_new_class_iterator(const vorn_instances *instances,
                                                           const char *class_name) noexcept {
  return vorn_instances_new_group_iterator(instances, class_name, nullptr);
}

vorn_instances_iterator *vorn_instances_new_group_iterator(const vorn_instances *instances,
                                                           const char *class_name,
                                                           const char *group_name) noexcept {
  const auto walk = vorn::walk_group(instances, class_name, group_name);
  return guarded<vorn_instances_iterator *>(
      nullptr, [&] { return walk ? new vorn_instances_iterator(*walk) : nullptr; });
}

int vorn_instances_iterator_has_next(const vorn_instances_iterator *it) noexcept {
  if (!it) return refuse_aloud<0>("Null iterator.\n");
  return it->has_next() ? 1 : 0;
}

vorn_instance *vorn_instances_iterator_next(vorn_instances_iterator *it) noexcept {
  if (!it) return refuse_aloud("Null iterator.\n");
  return it->next();
}

int vorn_instances_delete_iterator(vorn_instances_iterator *it) noexcept {
  if (!it) return refuse_aloud("Null iterator.\n");
  delete it;
  return 0;
}

void vorn_instances_print(const vorn_instances *instances, FILE *stream) noexcept {
  if (!instances) {
    vorn_debug_eprintf("Null instances.\n");
    return;
  }
  for (const auto &store : instances->stores) {
    vorn::StoreCursor cursor = store.value->cursor();
    while (cursor.has_next()) {
      vorn_instance_print(cursor.next(), stream);
      fputs("\n", stream);
    }
    fputs("\n", stream);
  }
}

int vorn_instances_is_empty(const vorn_instances *instances) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  return vorn_instances_iterator(*instances).has_next() ? 0 : 1;
}

int vorn_instances_set_listener(vorn_instances *instances, vorn_instances_listener_fn fn,
                                void *data) noexcept {
  if (!instances) return 1;
  instances->listener = fn;
  instances->listener_data = fn ? data : nullptr;
  return 0;
}
