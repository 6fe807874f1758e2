#include "model/instances.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "model/classes.h"
#include "model/overlay.hpp"

namespace {

using vorn::ClassStore;
using vorn::guarded;
using vorn::PlainStore;
using vorn::refuse_aloud;
using vorn::Watcher;

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
  return cls.type == VORN_CLASS_UNIQUE_NAMED && cls.superclass && instance.name &&
         find_in_subclasses(instances, *cls.superclass, instance.name);
}

// Finds the class's store or makes it; it stays even when the first instance is refused.
ClassStore *store_for(vorn_instances &instances, const vorn_class &cls) {
  if (ClassStore *store = instances.store(cls)) return store;
  std::unique_ptr<ClassStore> store = PlainStore::make(cls);
  if (!store) return nullptr;
  Watcher::before_change([&](Watcher &watcher) { watcher.will_place(instances); });
  if (instances.source) return instances.source->store_for(cls);
  return instances.stores.insert(cls.name.c_str(), std::move(store))->value.get();
}

void tell_listener(vorn_instances &instances, vorn_instance &instance, int event) {
  if (instances.listener) instances.listener(&instance, event, instances.listener_data);
}

void tell_has_left(vorn_instances &instances, vorn_instance &instance, vorn_instance *predecessor) {
  Watcher::after_change([&](Watcher &watcher) { watcher.has_left(instances, instance, predecessor); });
}

void tell_will_join(vorn_instances &instances, ClassStore &store, vorn_instance &instance) {
  try {
    Watcher::before_change([&](Watcher &watcher) { watcher.will_join(instances, instance); });
  } catch (...) {
    store.remove(&instance);
    tell_has_left(instances, instance, nullptr);
    throw;
  }
}

void tell_will_leave(vorn_instances &instances, vorn_instance &instance) {
  Watcher::before_change([&](Watcher &watcher) { watcher.will_leave(instances, instance); });
}

// What may fail has been done.
void remove_from(vorn_instances &instances, ClassStore &store, vorn_instance &instance) {
  const bool plain = !instances.source;
  vorn_instance *predecessor = plain ? static_cast<PlainStore &>(store).predecessor(instance) : nullptr;
  store.remove(&instance);
  tell_has_left(instances, instance, predecessor);
  tell_listener(instances, instance, VORN_INSTANCES_REMOVED);
}

// Drops a class's store, with or without its instances. An abstract class never has one.
int drop_class(vorn_instances *instances, const char *class_name, bool and_instances) {
  const vorn_class *cls = known_class(instances, class_name);
  if (!cls) return 1;
  return guarded(1, [&] {
    if (!instances->store(*cls)) return 0;
    Watcher::before_change([&](Watcher &watcher) { watcher.will_drop(*instances, *cls); });
    Watcher::after_change([&](Watcher &watcher) { watcher.drops(*instances, *cls); });
    if (instances->source) {
      instances->source->drop(*cls, and_instances);
      return 0;
    }
    auto *entry = instances->stores.find(class_name);
    if (and_instances) entry->value->delete_instances();
    instances->stores.remove(entry);
    return 0;
  });
}

vorn_instance *own_or_null(const vorn_instances &instances, vorn_instance *shown) {
  return shown ? &vorn::own(const_cast<vorn_instances &>(instances), *shown) : nullptr;
}

// What memory does not suffice for is missing.
void copy_stores(const vorn_instances &from, vorn_instances &to) {
  for (const auto &store : from.all_stores()) {
    std::unique_ptr<PlainStore> made = PlainStore::make(store.value->cls());
    if (!made) continue; // the class has lost its type
    PlainStore &copies = *made;
    to.stores.insert_like(store, std::move(made));
    guarded(0, [&] {
      for (vorn::ClassCursor it = store.value->cursor(); vorn_instance *instance = it.next();) {
        vorn::OwnedInstance copy(vorn_instance_copy(instance));
        if (!copy || !copies.add(copy.get())) return 1;
        copy.release()->was_added = 1;
      }
      return 0;
    });
  }
}

} // namespace

vorn_instances::vorn_instances() = default;
vorn_instances::~vorn_instances() = default;

ClassStore *vorn_instances::store(const vorn_class &cls) const {
  if (source) return source->store(cls);
  const auto *entry = stores.find(cls.name.c_str());
  return entry ? entry->value.get() : nullptr;
}

bool vorn_instances::holds(vorn_instance &instance) const noexcept {
  const auto *entry = source ? nullptr : stores.find(instance.cls->name.c_str());
  const ClassStore *store = source ? source->made(*instance.cls) : entry ? entry->value.get() : nullptr;
  return store && store->contains(instance);
}

std::optional<vorn_instances_iterator> vorn::walk_group(const vorn_instances *instances,
                                                        const char *class_name, const char *group_name) {
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

vorn_instance &vorn::own(vorn_instances &instances, vorn_instance &shown) {
  if (!instances.overlay) return shown;
  vorn_instance &instance = *instances.store(*shown.cls)->own(&shown);
  if (&instance != &shown)
    Watcher::after_change([&](Watcher &watcher) { watcher.was_replaced(instances, shown, instance); });
  return instance;
}

vorn_instance &vorn::own_to_change(vorn_instances &instances, vorn_instance &shown) {
  vorn_instance &instance = own(instances, shown);
  if (instances.overlay) instances.overlay->overlay_store(*instance.cls)->note_touch(instance);
  return instance;
}

void vorn::prepare_deletion(vorn_instances &instances, vorn_instance &shown) {
  if (instances.overlay) instances.overlay->store_for(*shown.cls);
  if (instances.overlay) instances.overlay->overlay_store(*shown.cls)->prepare_removal(shown);
  tell_will_leave(instances, shown);
}

void vorn::delete_prepared(vorn_instances &instances, vorn_instance &shown) noexcept {
  const bool shared = instances.overlay && instances.overlay->origin_of(shown) == &shown;
  remove_from(instances, *instances.store(*shown.cls), shown);
  if (!shared) vorn_instance_delete(&shown);
}

vorn_instances *vorn_instances_new() noexcept {
  return guarded<vorn_instances *>(nullptr, [] { return new vorn_instances; });
}

vorn_instances *vorn_instances_copy(const vorn_instances *instances) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  return guarded<vorn_instances *>(nullptr, [&] {
    vorn::OwnedInstances copy(new vorn_instances);
    copy_stores(*instances, *copy);
    return copy.release();
  });
}

vorn_instance *vorn_instances_get_singleton(const vorn_instances *instances,
                                            const char *class_name) noexcept {
  const vorn_class *cls = known_class(instances, class_name);
  if (!cls) return nullptr;
  if (cls->type != VORN_CLASS_SINGLETON)
    return refuse_aloud("Class \"%s\" is not a singleton.\n", class_name);
  return guarded<vorn_instance *>(nullptr, [&]() -> vorn_instance * {
    ClassStore *store = instances->store(*cls);
    if (!store) return refuse_aloud("Singleton instance of class \"%s\" is missing.\n", class_name);
    return own_or_null(*instances, store->cursor().peek());
  });
}

vorn_instance *vorn_instances_get(const vorn_instances *instances, const char *class_name,
                                  const char *instance_name) noexcept {
  const vorn_class *cls = known_class(instances, class_name);
  if (!cls) return nullptr;
  if (!instance_name) return refuse_aloud("Null instance_name.\n");
  if (cls->type != VORN_CLASS_UNIQUE_NAMED)
    return refuse_aloud("Class \"%s\" is not unique named.\n", class_name);
  return guarded<vorn_instance *>(nullptr, [&]() -> vorn_instance * {
    if (cls->abstract == 1)
      return own_or_null(*instances, find_in_subclasses(*instances, *cls, instance_name));
    const ClassStore *store = instances->store(*cls);
    return store ? own_or_null(*instances, store->find(instance_name)) : nullptr;
  });
}

int vorn_instances_add(vorn_instances *instances, vorn_instance *instance) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  if (!instance) return refuse_aloud("Null instance. (%s)\n", "vorn_instances_add");
  return guarded(1, [&] {
    ClassStore *store = store_for(*instances, *instance->cls);
    if (!store || name_is_taken_in_family(*instances, *instance) || !store->add(instance)) return 1;
    tell_will_join(*instances, *store, *instance);
    instance->was_added = 1;
    tell_listener(*instances, *instance, VORN_INSTANCES_ADDED);
    return 0;
  });
}

int vorn_instances_remove(vorn_instances *instances, vorn_instance *instance) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  if (!instance) return refuse_aloud("Null instance. (%s)\n", "vorn_instances_remove");
  return guarded(1, [&] {
    ClassStore *store = instances->store(*instance->cls);
    if (!store || !store->contains(*instance)) return 1;
    tell_will_leave(*instances, *instance);
    remove_from(*instances, *store, *instance);
    return 0;
  });
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
  if (instances->source) instances->source->delete_instances();
  for (const auto &store : instances->stores) store.value->delete_instances();
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
  return guarded<vorn_instances_iterator *>(nullptr, [&] {
    const auto walk = vorn::walk_group(instances, class_name, group_name);
    return walk ? new vorn_instances_iterator(*walk) : nullptr;
  });
}

int vorn_instances_iterator_has_next(const vorn_instances_iterator *it) noexcept {
  if (!it) return refuse_aloud<0>("Null iterator.\n");
  // What it is about to return is made here, where a lack of memory can still be told.
  return const_cast<vorn_instances_iterator *>(it)->peek_own() ? 1 : 0;
}

vorn_instance *vorn_instances_iterator_next(vorn_instances_iterator *it) noexcept {
  if (!it) return refuse_aloud("Null iterator.\n");
  return it->peek_own() ? it->next() : nullptr;
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
  guarded(0, [&] {
    for (const auto &store : instances->all_stores()) {
      for (vorn::ClassCursor cursor = store.value->cursor(); vorn_instance *instance = cursor.next();) {
        vorn_instance_print(instance, stream);
        fputs("\n", stream);
      }
      fputs("\n", stream);
    }
    return 0;
  });
}

int vorn_instances_is_empty(const vorn_instances *instances) noexcept {
  if (!instances) return refuse_aloud("Null instances.\n");
  if (instances->source) return instances->source->is_empty() ? 1 : 0;
  return vorn_instances_iterator(*instances).has_next() ? 0 : 1;
}

int vorn_instances_set_listener(vorn_instances *instances, vorn_instances_listener_fn fn,
                                void *data) noexcept {
  if (!instances) return 1;
  instances->listener = fn;
  instances->listener_data = fn ? data : nullptr;
  return 0;
}
