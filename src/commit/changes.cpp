#include "commit/changes.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "model/classes.h"
#include "model/listeners.hpp"
#include "model/overlay.hpp"

namespace {

using vorn::guarded;
using vorn::Overlay;
using vorn::OwnedInstance;
using Record = vorn_changes::Record;

void list(vorn_instances &list, vorn_instance &instance) {
  if (vorn_instances_add(&list, &instance) != 0) throw std::bad_alloc();
}

bool class_has_instances(const vorn_instances &instances, const vorn_class &cls) {
  return vorn_instances_iterator(instances, cls).has_next();
}

} // namespace

vorn_changes::vorn_changes(vorn_instances &after)
    : watched(&after), before_(*this, after), outer_(after.recorder) {
  before.source = &before_;
  watched->recorder = this;
  // Recorders were listeners once: what a plugin has set before is displaced, still.
  vorn::drop_listeners(*watched);
  vorn_instances_set_listener(watched, nullptr, nullptr);
}

vorn_changes::~vorn_changes() {
  const Watcher **newest = &watched->recorder;
  while (*newest != this) newest = &static_cast<vorn_changes *>(const_cast<Watcher *>(*newest))->outer_;
  *newest = outer_;
  vorn::drop_listeners(*watched);
  vorn_instances_set_listener(watched, nullptr, nullptr);
}

// ---- Records ----

vorn_changes::Records::Entry *vorn_changes::entry_of(vorn_instance &instance) const noexcept {
  vorn_instance *const address = &instance;
  return records_.find(vorn::address_key(address));
}

Record *vorn_changes::find(vorn_instance &instance) const noexcept {
  auto *entry = entry_of(instance);
  return entry && !entry->value.gone ? &entry->value : nullptr;
}

// The instance by which the collection knows this one, or null.
vorn_instance *vorn_changes::known_as(vorn_instance &instance) const noexcept {
  if (watched->holds(instance)) return &instance;
  return watched->overlay ? watched->overlay->known_as(instance) : nullptr;
}

// Makes the record of an instance that was there when the recorder was made, and of which there is none.
Record &vorn_changes::remember(vorn_instance &instance) {
  OwnedInstance copy(vorn_instance_copy(&instance));
  if (!copy) throw std::bad_alloc();
  if (copies_.size() == copies_.capacity()) copies_.reserve(2 * copies_.size() + 1);
  if (watched->overlay) before_.expect_departure(); // it may be replaced
  vorn_instance *const address = &instance;
  auto *entry = records_.insert(vorn::address_key(address), instance.cls, copy.get());
  copies_.push_back(std::move(copy));
  return entry->value;
}

Record *vorn_changes::record_of(vorn_instance &instance) {
  if (auto *entry = entry_of(instance)) return entry->value.gone ? nullptr : &entry->value;
  return known_as(instance) == &instance ? &remember(instance) : nullptr;
}

vorn_instance *vorn_changes::copy_as_it_was(vorn_instance &instance) {
  const auto *entry = entry_of(instance);
  vorn_instance *stand_in = !entry && watched->overlay ? watched->overlay->stand_in_for(instance) : nullptr;
  if (stand_in) entry = entry_of(*stand_in);
  return entry ? entry->value.before : remember(stand_in ? *stand_in : instance).before;
}

void vorn_changes::insert(vorn_instance &instance) {
  vorn_instance *const address = &instance;
  auto *entry = records_.insert(vorn::address_key(address), instance.cls, nullptr);
  if (!entry) return;
  try {
    Record &record = entry->value;
    for (const vorn::Value &value : instance.values) {
      record.properties.reserve(*value.property(), *instance.cls);
      record.properties.add(*value.property(), *instance.cls);
    }
    list(changed, instance);
    record.inserted = record.changed = true;
  } catch (...) {
    records_.remove(entry);
    throw;
  }
}

void vorn_changes::update(vorn_instance &instance, Record &record) {
  if (record.changed) return;
  list(changed, instance);
  record.changed = true;
}

void vorn_changes::remove(vorn_instance &instance, Record &record) {
  if (record.before) list(deleted, *record.before);
  if (record.changed) vorn_instances_remove(&changed, &instance);
  record.gone = true;
}

// ---- As a watcher ----

bool vorn_changes::concerns(const vorn_instances &instances) const noexcept {
  return &instances == watched || (watched->overlay && &instances == &watched->overlay->base());
}

// What an inserted instance carried when it came is its change; a transaction's base is not its own.
bool vorn_changes::is_to_record(vorn_instance &instance, const Record &record) const noexcept {
  return is_innermost() && !record.gone && !record.inserted &&
         (!watched->overlay || !watched->overlay->base().holds(instance));
}

void vorn_changes::will_set(vorn_instance &instance, const vorn_property &property) {
  auto *entry = entry_of(instance);
  vorn_instance *known = entry ? &instance : known_as(instance);
  if (!known) return;
  Record *record = entry ? &entry->value : known == &instance ? &remember(instance) : record_of(*known);
  if (known != &instance || !is_to_record(instance, *record)) return;
  record->properties.reserve(property, *instance.cls);
  update(instance, *record);
}

void vorn_changes::was_set(vorn_instance &instance, const vorn_property &property) noexcept {
  auto *entry = entry_of(instance);
  if (entry && is_to_record(instance, entry->value)) entry->value.properties.add(property, *instance.cls);
}

void vorn_changes::will_join(vorn_instances &instances, vorn_instance &instance) {
  if (!concerns(instances)) return;
  if (&instances == watched && is_innermost()) return insert(instance);
  if (watched->overlay) before_.expect_departure();
  vorn_instance *const address = &instance;
  records_.insert(vorn::address_key(address), instance.cls, nullptr);
}

void vorn_changes::will_leave(vorn_instances &instances, vorn_instance &instance) {
  if (!concerns(instances)) return;
  auto *entry = entry_of(instance);
  vorn_instance *known = entry ? &instance : known_as(instance);
  if (!known) return;
  Record &record = entry ? entry->value : known == &instance ? remember(instance) : *record_of(*known);
  before_.expect_departure();
  if (&instances != watched) return;
  record.origin = watched->overlay ? watched->overlay->origin_of(instance) : nullptr;
  if (is_innermost() && !record.gone) remove(instance, record);
}

void vorn_changes::has_left(vorn_instances &instances, vorn_instance &instance,
                            vorn_instance *predecessor) noexcept {
  if (!concerns(instances)) return;
  if (&instances == watched) vorn::drop_listener(&instance); // what it is from here on is nobody's concern
  auto *entry = entry_of(instance);
  vorn_instance *known = &instance;
  if (!entry && watched->overlay && (known = watched->overlay->stand_in_for(instance)))
    entry = entry_of(*known);
  if (!entry) return;
  Record &record = entry->value;
  if (record.changed && !record.gone) vorn_instances_remove(&changed, known);
  if (&instances == watched && record.origin) {
    // Below, it is there until the transaction is applied, and by that address it will leave.
    record.gone = true;
    records_.rename(entry, vorn::address_key(record.origin));
    return;
  }
  before_.note_departure(instance, predecessor, record.before);
  records_.remove(entry);
}

void vorn_changes::will_drop(vorn_instances &instances, const vorn_class &cls) {
  if (!concerns(instances)) return;
  before_.keep_order();
  before_.store(cls);
}

void vorn_changes::drops(vorn_instances &instances, const vorn_class &cls) noexcept {
  if (!concerns(instances)) return;
  for (auto it = records_.iterate(); auto *entry = it.next();) {
    if (entry->value.cls != &cls) continue;
    vorn_instance *instance;
    memcpy(&instance, entry->key().data(), sizeof instance);
    const bool added_here =
        &instances != watched && watched->holds(*instance) && !watched->overlay->origin_of(*instance);
    if (added_here) continue;
    if (entry->value.changed && !entry->value.gone) vorn_instances_remove(&changed, instance);
    records_.remove(entry);
  }
}

void vorn_changes::will_place(vorn_instances &instances) {
  if (concerns(instances)) before_.keep_order();
}

void vorn_changes::was_replaced(vorn_instances &instances, vorn_instance &instance,
                                vorn_instance &by) noexcept {
  if (&instances != watched && concerns(instances)) before_.note_replacement(instance, by);
  auto *entry = &instances == watched ? entry_of(instance) : nullptr;
  vorn_instance *const address = &by;
  if (entry) records_.rename(entry, vorn::address_key(address));
}

// ---- The exported interface ----

vorn_changes *vorn_changes_new(vorn_instances *after) noexcept {
  if (!after) return vorn::refuse_aloud("%s: Null after.\n", "vorn_changes_new");
  return guarded<vorn_changes *>(nullptr, [&] { return new vorn_changes(*after); });
}

int vorn_changes_instance_inserted(vorn_changes *changes, vorn_instance *instance) noexcept {
  if (!changes || !instance) return 1;
  return guarded(1, [&] {
    if (!changes->record_of(*instance)) changes->insert(*instance);
    return 0;
  });
}

int vorn_changes_instance_deleted(vorn_changes *changes, vorn_instance *instance) noexcept {
  if (!changes || !instance) return 1;
  return guarded(1, [&] {
    Record *record = changes->record_of(*instance);
    if (!record) return 0;
    changes->remove(*instance, *record);
    vorn::drop_listener(instance); // it leaves: this recorder must not hear of it
    return 0;
  });
}

int vorn_changes_instance_updated(vorn_changes *changes, vorn_instance *instance) noexcept {
  if (!changes || !instance) return 1;
  return guarded(1, [&] {
    Record *record = changes->record_of(*instance);
    if (!record) return 1;
    changes->update(*instance, *record);
    return 0;
  });
}

int vorn_changes_add_property(vorn_changes *changes, vorn_instance *instance,
                              const char *property_name) noexcept {
  if (!changes || !instance || !property_name) return 1;
  return guarded(1, [&] {
    Record *record = changes->record_of(*instance);
    if (!record) return 1;
    if (const vorn_property *property = vorn_class_get_property(instance->cls, property_name)) {
      record->properties.reserve(*property, *instance->cls);
      record->properties.add(*property, *instance->cls);
      return 0;
    }
    if (!record->foreign_names) record->foreign_names = std::make_unique<vorn::NameSet>(4);
    record->foreign_names->insert(property_name);
    return 0;
  });
}

vorn_instances *vorn_changes_get_before(const vorn_changes *changes) noexcept {
  return changes ? const_cast<vorn_instances *>(&changes->before) : nullptr;
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
  if (!changes || !instance) return nullptr;
  return guarded<vorn_instance *>(nullptr, [&] {
    const Record *record = const_cast<vorn_changes *>(changes)->record_of(*instance);
    return record ? record->before : nullptr;
  });
}

int vorn_changes_contains_class(const vorn_changes *changes, const char *class_name) noexcept {
  const vorn_class *cls = changes ? vorn_classes_get(class_name) : nullptr;
  if (!cls) return 0;
  return class_has_instances(changes->changed, *cls) || class_has_instances(changes->deleted, *cls) ? 1 : 0;
}

int vorn_changes_contains_instance(const vorn_changes *changes, vorn_instance *instance) noexcept {
  const Record *record = changes && instance ? changes->find(*instance) : nullptr;
  return record && record->changed ? 1 : 0;
}

int vorn_changes_contains_property(const vorn_changes *changes, vorn_instance *instance,
                                   const char *property_name) noexcept {
  const Record *record = changes && instance && property_name ? changes->find(*instance) : nullptr;
  if (!record) return 0;
  const vorn_property *property = vorn_class_get_property(instance->cls, property_name);
  if (property) return record->properties.contains(*property, *instance->cls) ? 1 : 0;
  return record->foreign_names && record->foreign_names->find(property_name) ? 1 : 0;
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

void vorn_changes_delete(vorn_changes *changes) noexcept { delete changes; }
