#include "commit/changes.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "model/classes.h"

namespace {

using vorn::address_key;
using vorn::guarded;
using Record = vorn_changes::Record;

int instance_changed(vorn_instance *instance, const char *property_name, void *data) {
  auto *changes = static_cast<vorn_changes *>(data);
  vorn_changes_instance_updated(changes, instance);
  return vorn_changes_add_property(changes, instance, property_name);
}

// What is added and removed concerns the outer recorders too: each must have a record for every instance that
// the collection holds and for no other. Values concern the recorder that listens.
int instances_changed(vorn_instance *instance, int event, void *data) {
  for (auto *changes = static_cast<vorn_changes *>(data); changes; changes = changes->outer) {
    switch (event) {
    case VORN_INSTANCES_ADDED: vorn_changes_instance_inserted(changes, instance); break;
    case VORN_INSTANCES_REMOVED: vorn_changes_instance_deleted(changes, instance); break;
    default:
      vorn_debug_eprintf("instances_changed() for vorn_changes: Unidentified action request.\n");
      return 1;
    }
  }
  return 0;
}

// Makes a record with its before-copy for every watched instance. The copied collection has the same order.
bool snapshot(vorn_changes &changes) {
  changes.before = vorn::copy_whole(*changes.watched);
  if (!changes.before) return false;
  vorn_instances_iterator now(*changes.watched), before(*changes.before);
  while (now.has_next()) {
    vorn_instance *const instance = now.next();
    changes.records.insert(address_key(instance), false, before.next());
  }
  return true;
}

// Gives the instances back to the outer recorder, if there is one.
void give_instances_back(const vorn_changes &changes) {
  vorn_instances_iterator it(*changes.watched);
  while (it.has_next()) {
    vorn_instance *instance = it.next();
    const Record *record = changes.outer ? changes.outer->record(instance) : nullptr;
    // Instances that were inserted have no listener: what they carried when they were added is their change.
    const bool listens = record && record->before;
    vorn_instance_set_listener(instance, listens ? instance_changed : nullptr, changes.outer);
  }
}

void start_listening(vorn_changes &changes) {
  if (changes.watched->listener == instances_changed)
    changes.outer = static_cast<vorn_changes *>(changes.watched->listener_data);
  vorn_instances_iterator it(*changes.watched);
  while (it.has_next()) vorn_instance_set_listener(it.next(), instance_changed, &changes);
  vorn_instances_set_listener(changes.watched, instances_changed, &changes);
}

// The recorder that was started over this one, or null when it is the one that listens.
vorn_changes *inner_recorder(const vorn_changes &changes) {
  if (changes.watched->listener != instances_changed) return nullptr;
  auto *inner = static_cast<vorn_changes *>(changes.watched->listener_data);
  if (inner == &changes) return nullptr;
  while (inner && inner->outer != &changes) inner = inner->outer;
  return inner;
}

void stop_listening(vorn_changes &changes) {
  if (vorn_changes *inner = inner_recorder(changes)) {
    inner->outer = changes.outer; // freed out of turn: the others go on
    return;
  }
  give_instances_back(changes);
  vorn_instances_set_listener(changes.watched, changes.outer ? instances_changed : nullptr, changes.outer);
}

void add_property(Record &record, const char *name) {
  if (!record.properties) record.properties = std::make_unique<vorn::NameSet>(4);
  record.properties->insert(name);
}

bool class_has_instances(const vorn_instances &instances, const vorn_class &cls) {
  return vorn_instances_iterator(instances, cls).has_next();
}

} // namespace

vorn_changes *vorn_changes_new(vorn_instances *after) noexcept {
  if (!after) return vorn::refuse_aloud("%s: Null after.\n", "vorn_changes_new");
  return guarded<vorn_changes *>(nullptr, [&]() -> vorn_changes * {
    auto changes = std::make_unique<vorn_changes>(after);
    if (!snapshot(*changes)) return nullptr;
    start_listening(*changes);
    return changes.release();
  });
}

int vorn_changes_instance_inserted(vorn_changes *changes, vorn_instance *instance) noexcept {
  if (!changes || !instance) return 1;
  if (changes->record(instance)) return 0;
  return guarded(1, [&] {
    Record record{.changed = true};
    vorn_class_property_iterator it(*instance->cls);
    while (const vorn_property *property = it.next())
      if (vorn_instance_get_value(instance, property->name.c_str()))
        add_property(record, property->name.c_str());
    auto *entry = changes->records.insert(address_key(instance), std::move(record));
    if (vorn_instances_add(&changes->changed, instance) == 0) return 0;
    changes->records.remove(entry);
    return 1;
  });
}

int vorn_changes_instance_deleted(vorn_changes *changes, vorn_instance *instance) noexcept {
  if (!changes || !instance) return 1;
  auto *entry = changes->records.find(address_key(instance));
  if (!entry) return 0;
  vorn_instances_remove(&changes->changed, instance);
  if (entry->value.before) vorn_instances_add(&changes->deleted, entry->value.before);
  changes->records.remove(entry);
  vorn_instance_set_listener(instance, nullptr, nullptr); // it leaves: this recorder must not hear of it
  return 0;
}

int vorn_changes_instance_updated(vorn_changes *changes, vorn_instance *instance) noexcept {
  if (!changes || !instance) return 1;
  Record *record = changes->record(instance);
  if (!record) return 1;
  if (record->changed) return 0;
  if (vorn_instances_add(&changes->changed, instance) != 0) return 1;
  record->changed = true;
  return 0;
}

int vorn_changes_add_property(vorn_changes *changes, vorn_instance *instance,
                              const char *property_name) noexcept {
  if (!changes || !instance || !property_name) return 1;
  Record *record = changes->record(instance);
  if (!record) return 1;
  return guarded(1, [&] {
    add_property(*record, property_name);
    return 0;
  });
}

vorn_instances *vorn_changes_get_before(const vorn_changes *changes) noexcept {
  return changes ? changes->before.get() : nullptr;
}

vorn_instances_iterator *vorn_changes_new_class_instances_iterator(const vorn_changes *changes,
                                                                   const char *class_name) noexcept {
  return changes ? vorn_instances_new_class_iterator(&changes->changed, class_name) : nullptr;
}

vorn_instances_iterator *vorn_changes_new_deleted_class_instances_iterator(const vorn_changes *changes,
                                                                           const char *class_name) noexcept {
  return changes ? vorn_instances_new_class_iterator(&changes->deleted, class_name) : nullptr;
}

vorn_instance *vorn_changes_get_instance_before(const vorn_changes *changes,
                                                vorn_instance *instance) noexcept {
  const Record *record = changes && instance ? changes->record(instance) : nullptr;
  return record ? record->before : nullptr;
}

int vorn_changes_contains_class(const vorn_changes *changes, const char *class_name) noexcept {
  const vorn_class *cls = changes ? vorn_classes_get(class_name) : nullptr;
  if (!cls) return 0;
  return class_has_instances(changes->changed, *cls) || class_has_instances(changes->deleted, *cls) ? 1 : 0;
}

int vorn_changes_contains_instance(const vorn_changes *changes, vorn_instance *instance) noexcept {
  const Record *record = changes && instance ? changes->record(instance) : nullptr;
  return record && record->changed ? 1 : 0;
}

int vorn_changes_contains_property(const vorn_changes *changes, vorn_instance *instance,
                                   const char *property_name) noexcept {
  const Record *record = changes && instance && property_name ? changes->record(instance) : nullptr;
  return record && record->properties && record->properties->find(property_name) ? 1 : 0;
}

void vorn_changes_print(const vorn_changes *changes, FILE *stream) noexcept {
  if (!changes) {
    vorn_debug_1printf("Null changes.\n");
    return;
  }
  fputs("Changed (updated or inserted) instances:\n", stream);
  vorn_instances_print(&changes->changed, stream);
  fputs("\nDeleted instances:\n", stream);
  vorn_instances_print(&changes->deleted, stream);
  fputs("\n", stream);
}

void vorn_changes_delete(vorn_changes *changes) noexcept {
  if (!changes) return;
  stop_listening(*changes);
  delete changes;
}
