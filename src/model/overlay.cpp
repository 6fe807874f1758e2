#include "model/overlay.hpp"

#include "core/guard.hpp"
#include "model/listeners.hpp"

namespace vorn {

namespace {

OverlayStore *overlay_of(const Stores::Entry *entry) noexcept {
  return entry ? static_cast<OverlayStore *>(entry->value.get()) : nullptr;
}

} // namespace

OverlayStore *Overlay::overlay_store(const vorn_class &cls) const noexcept {
  return overlay_of(stores_.find(cls.name.c_str()));
}

bool Overlay::is_dropped(const vorn_class &cls) const noexcept {
  const auto *entry = dropped_.empty() ? nullptr : dropped_.find(cls.name.c_str());
  return entry && entry->value;
}

vorn_instance *Overlay::known_as(vorn_instance &below) const noexcept {
  if (is_dropped(*below.cls) || !base_.holds(below)) return nullptr;
  const OverlayStore *store = overlay_store(*below.cls);
  return store ? store->shown_for(below) : &below;
}

vorn_instance *Overlay::stand_in_for(vorn_instance &below) const noexcept {
  const OverlayStore *store = overlay_store(*below.cls);
  vorn_instance *shown = store ? store->shown_for(below) : nullptr;
  return shown == &below ? nullptr : shown;
}

vorn_instance *Overlay::origin_of(vorn_instance &own) const noexcept {
  const OverlayStore *store = overlay_store(*own.cls);
  if (vorn_instance *origin = store ? store->origin_of(own) : nullptr) return origin;
  return base_.holds(own) ? &own : nullptr;
}

// ---- As a source ----

ClassStore *Overlay::store(const vorn_class &cls) {
  if (OverlayStore *store = overlay_store(cls)) return store;
  return !is_dropped(cls) && base_.store(cls) ? store_for(cls) : nullptr;
}

ClassStore *Overlay::store_for(const vorn_class &cls) {
  if (OverlayStore *store = overlay_store(cls)) return store;
  if (cls.type < VORN_CLASS_SINGLETON || cls.type > VORN_CLASS_GROUP_NAMED) return nullptr;
  auto store = std::make_unique<OverlayStore>(cls, base_, is_dropped(cls));
  return stores_.insert(cls.name.c_str(), std::move(store))->value.get();
}

// First the classes of the base, as they come there, then those that are new here.
const Stores &Overlay::all() {
  bool in_order = true;
  auto at = stores_.iterate();
  for (const auto &below : base_.stores) {
    if (is_dropped(below.value->cls())) continue;
    const ClassStore *store = store_for(below.value->cls());
    const auto *entry = at.next();
    in_order = in_order && entry && entry->value.get() == store;
  }
  if (in_order) return stores_; // walks that stand in it are not led astray
  size_t others = stores_.size();
  for (const auto &below : base_.stores) {
    const vorn_class &cls = below.value->cls();
    if (is_dropped(cls)) continue;
    --others;
    stores_.move_to_end(stores_.find(below.name()));
  }
  for (; others > 0; --others) stores_.move_to_end(stores_.iterate().peek());
  return stores_;
}

ClassStore *Overlay::made(const vorn_class &cls) const noexcept { return overlay_store(cls); }

bool Overlay::is_empty() const noexcept {
  for (const auto &store : stores_)
    if (store.value->cursor().peek()) return false;
  for (const auto &below : base_.stores)
    if (!is_dropped(below.value->cls()) && !stores_.find(below.name()) && below.value->cursor().peek())
      return false;
  return true;
}

// The instances below are the base's until all is applied. That the class is dropped is noted already.
void Overlay::drop(const vorn_class &cls, bool and_instances) noexcept {
  auto *entry = stores_.find(cls.name.c_str());
  if (!entry) return;
  overlay_of(entry)->retire(and_instances);
  retired_.take(stores_, entry);
}

void Overlay::delete_instances() noexcept {
  for (const auto &store : stores_) store.value->delete_instances();
}

// ---- What happens below ----

void Overlay::will_set(vorn_instance &instance, const vorn_property &property) {
  if (is_applied_) return;
  if (OverlayStore *store = overlay_store(*instance.cls)) store->prepare_own_value(instance, property);
}

void Overlay::was_set(vorn_instance &instance, const vorn_property &property) noexcept {
  OverlayStore *store = is_applied_ ? nullptr : overlay_store(*instance.cls);
  if (!store) return;
  store->note_own_value(instance, property);
  const bool taken = guarded(false, [&] {
    store->take_value(instance, property);
    return true;
  });
  if (!taken) fault_ = Fault::memory;
}

void Overlay::will_join(vorn_instances &instances, vorn_instance &instance) {
  if (&instances != &base_ || is_applied_) return;
  if (OverlayStore *store = overlay_store(*instance.cls)) store->expect(instance);
  const auto displaces = [&](const vorn_class &cls) {
    const OverlayStore *store = overlay_store(cls);
    return store && store->displaces(instance);
  };
  bool displaced = displaces(*instance.cls);
  if (const vorn_class *family = instance.cls->superclass)
    for (const auto &subclass : family->subclasses) displaced = displaced || displaces(*subclass.value);
  if (!displaced) return;
  if (!is_dropped(*instance.cls)) static_cast<OverlayStore *>(store_for(*instance.cls))->hide(instance);
  fault_ = Fault::conflict;
}

// The store that shows what is about to change below, or null.
OverlayStore *Overlay::below(vorn_instances &changed, const vorn_class &cls) const noexcept {
  return &changed == &base_ && !is_applied_ && !is_dropped(cls) ? overlay_store(cls) : nullptr;
}

void Overlay::has_left(vorn_instances &instances, vorn_instance &instance, vorn_instance *) noexcept {
  if (OverlayStore *store = below(instances, *instance.cls)) store->forget(instance);
}

void Overlay::will_drop(vorn_instances &instances, const vorn_class &cls) {
  if (instances.overlay.get() != this) return;
  retired_.prepare_to_take();
  dropped_.find_or_insert(cls.name.c_str());
}

void Overlay::drops(vorn_instances &instances, const vorn_class &cls) noexcept {
  if (instances.overlay.get() == this) dropped_.find(cls.name.c_str())->value = true;
  if (OverlayStore *store = below(instances, cls)) store->forget_all();
}

// ---- The end of the transaction ----

void Overlay::apply_class(vorn_instances &collection, OverlayStore &changes) noexcept {
  auto *below = base_.stores.find(changes.cls().name.c_str());
  if (!below) return;
  if (!below->value->cursor().peek()) {
    below->value = changes.release_added();
    return;
  }
  const auto stays = [&](vorn_instance &own, vorn_instance &original) {
    after_change([&](Watcher &watcher) { watcher.was_replaced(collection, own, original); });
  };
  const auto replaced = [&](vorn_instance &instance, vorn_instance &by) {
    after_change([&](Watcher &watcher) { watcher.was_replaced(base_, instance, by); });
  };
  const auto leaves = [&](vorn_instance &instance, vorn_instance *predecessor) {
    after_change([&](Watcher &watcher) { watcher.has_left(base_, instance, predecessor); });
  };
  changes.apply(static_cast<PlainStore &>(*below->value), stays, replaced, leaves);
}

std::unique_ptr<Overlay> Overlay::apply(vorn_instances &collection) noexcept {
  Overlay &overlay = *collection.overlay;
  Stores &below = overlay.base_.stores, &changed = overlay.stores_;
  overlay.is_applied_ = true;
  for (const auto &name : overlay.dropped_) {
    auto *dropped = name.value ? below.find(name.name()) : nullptr;
    if (!dropped) continue;
    // Some may have joined below since, which the recorders know.
    after_change([&](Watcher &watcher) { watcher.drops(overlay.base_, dropped->value->cls()); });
    dropped->value->delete_instances();
    below.remove(dropped);
  }
  for (const auto &entry : changed)
    overlay.apply_class(collection, static_cast<OverlayStore &>(*entry.value));
  for (auto it = below.iterate(); auto *entry = it.next();) collection.stores.take(below, entry);
  for (auto it = changed.iterate(); auto *entry = it.next();) {
    if (collection.stores.find(entry->key())) continue;
    entry->value = overlay_of(entry)->release_added();
    collection.stores.take(changed, entry);
  }
  collection.source = nullptr;
  return std::move(collection.overlay);
}

OwnedInstances share(vorn_instances &base) {
  OwnedInstances collection(new vorn_instances);
  collection->stores.prepare_to_take();
  collection->overlay = std::make_unique<Overlay>(base);
  collection->source = collection->overlay.get();
  return collection;
}

} // namespace vorn
