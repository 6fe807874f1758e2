#include "model/overlay_store.hpp"

#include "core/refuse.hpp"
#include "model/instances.hpp"

namespace vorn {

OverlayStore::OverlayStore(const vorn_class &cls, vorn_instances &base, bool detached)
    : ClassStore(cls), base_(base), added_(PlainStore::make(cls)), detached_(detached) {
  if (!added_) throw std::bad_alloc();
}

OverlayStore::~OverlayStore() = default;

// ---- As a store ----

bool OverlayStore::add(vorn_instance *instance) {
  const char *name = instance->name;
  if (cls().type == VORN_CLASS_SINGLETON && cursor().peek())
    return refuse_aloud("Singleton class may not have multiple instances.\n");
  if (cls().type == VORN_CLASS_UNIQUE_NAMED && name && find(name)) return false;
  if (cls().type == VORN_CLASS_GROUP_NAMED && name && !added_->table_group_cursor(name).peek()) {
    // The group is new here: it goes on where it is below, or begins at the end.
    auto *entry = in_place_.find(name);
    const bool goes_on = group_cursor(name).peek() != nullptr;
    if (goes_on && !entry) in_place_.insert(name);
    if (!goes_on && entry) in_place_.remove(entry);
  }
  return added_->add(instance);
}

bool OverlayStore::remove(vorn_instance *instance) noexcept {
  if (added_->remove(instance)) return true;
  auto *origin = origins_.find(address_key(instance));
  auto *entry = substitute_of(origin ? *origin->value : *instance);
  if (!entry || entry->value.removed || (!origin && entry->value.own)) return false;
  if (origin) origins_.remove(origin);
  entry->value.own.release(); // the caller's again
  entry->value.removed = true;
  substitutes_.move_to_end(entry);
  return true;
}

bool OverlayStore::contains(vorn_instance &instance) const noexcept {
  if (origin_of(instance) || added_->contains(instance)) return true;
  const auto *entry = substitute_of(instance);
  return entry && !entry->value.own && !entry->value.removed;
}

ClassCursor OverlayStore::cursor() noexcept {
  PlainStore *store = below();
  return {*this, store ? store->table_cursor() : TableCursor(), added_->table_cursor(), false};
}

ClassCursor OverlayStore::group_cursor(const char *name) noexcept {
  PlainStore *store = below();
  return {*this, store ? store->table_group_cursor(name) : TableCursor(), added_->table_group_cursor(name),
          true};
}

vorn_instance *OverlayStore::find(const char *name) const noexcept {
  if (vorn_instance *instance = added_->find(name)) return instance;
  const PlainStore *store = below();
  vorn_instance *instance = store ? store->find(name) : nullptr;
  return instance ? shown_for(*instance) : nullptr;
}

vorn_instance *OverlayStore::own(vorn_instance *shown) {
  if (origin_of(*shown) || added_->contains(*shown)) return shown;
  OwnedInstance copy(vorn_instance_copy(shown));
  if (!copy) throw std::bad_alloc();
  vorn_instance *const own = copy.get();
  auto *entry = substitutes_.find_or_insert(address_key(shown));
  origins_.insert(address_key(own), shown);
  entry->value.own = std::move(copy);
  own->was_added = 1;
  return own;
}

void OverlayStore::delete_instances() noexcept {
  substitutes_.clear();
  origins_.clear();
  added_->delete_instances();
}

// ---- Beside the store below ----

PlainStore *OverlayStore::below() const noexcept {
  return detached_ ? nullptr : static_cast<PlainStore *>(base_.store(cls()));
}

vorn_instance *OverlayStore::address_of(const Substitutes::Entry &entry) noexcept {
  vorn_instance *instance;
  memcpy(&instance, entry.key().data(), sizeof instance);
  return instance;
}

OverlayStore::Substitutes::Entry *OverlayStore::substitute_of(vorn_instance &below) const noexcept {
  vorn_instance *const address = &below;
  return substitutes_.empty() ? nullptr : substitutes_.find(address_key(address));
}

void OverlayStore::prepare_removal(vorn_instance &shown) {
  vorn_instance *const address = &shown;
  if (!origin_of(shown) && !added_->contains(shown)) substitutes_.find_or_insert(address_key(address));
}

vorn_instance *OverlayStore::shown_for(vorn_instance &below) const noexcept {
  const auto *entry = substitute_of(below);
  if (!entry) return &below;
  if (entry->value.removed) return nullptr;
  return entry->value.own ? entry->value.own.get() : &below;
}

vorn_instance *OverlayStore::origin_of(vorn_instance &own) const noexcept {
  vorn_instance *const address = &own;
  const auto *entry = origins_.empty() ? nullptr : origins_.find(address_key(address));
  return entry ? entry->value : nullptr;
}

bool OverlayStore::extends_group(const char *name) const noexcept {
  if (in_place_.empty() || !in_place_.find(name) || !added_->table_group_cursor(name).peek()) return false;
  PlainStore *store = below();
  return store && store->table_group_cursor(name).peek();
}

TableCursor OverlayStore::extras(const char *name) const noexcept {
  return extends_group(name) ? added_->table_group_cursor(name) : TableCursor();
}

void OverlayStore::prepare_own_value(vorn_instance &own, const vorn_property &property) {
  if (vorn_instance *origin = origin_of(own)) substitute_of(*origin)->value.set.reserve(property, cls());
}

void OverlayStore::note_own_value(vorn_instance &own, const vorn_property &property) noexcept {
  vorn_instance *origin = origin_of(own);
  if (!origin) return;
  substitute_of(*origin)->value.set.add(property, cls());
  note_touch(own);
}

void OverlayStore::note_touch(vorn_instance &own) noexcept {
  if (vorn_instance *origin = origin_of(own)) substitute_of(*origin)->value.touched = true;
}

void OverlayStore::take_value(vorn_instance &below, const vorn_property &property) {
  auto *entry = substitute_of(below);
  if (!entry || !entry->value.own || entry->value.set.contains(property, cls())) return;
  vorn_instance &own = *entry->value.own;
  const char *text = below.find(property)->text();
  put_value(own, make_value(own, &property, text));
}

bool OverlayStore::displaces(const vorn_instance &joining) const noexcept {
  if (cls().type == VORN_CLASS_SINGLETON) return added_->table_cursor().peek() != nullptr;
  return cls().type == VORN_CLASS_UNIQUE_NAMED && added_->find(joining.name);
}

void OverlayStore::expect(const vorn_instance &joining) {
  if (cls().type == VORN_CLASS_GROUP_NAMED && added_->table_group_cursor(joining.name).peek())
    in_place_.find_or_insert(joining.name);
}

void OverlayStore::hide(vorn_instance &below) {
  vorn_instance *const address = &below;
  substitutes_.find_or_insert(address_key(address))->value.removed = true;
}

void OverlayStore::forget(vorn_instance &below) noexcept {
  auto *entry = substitute_of(below);
  if (!entry) return;
  if (vorn_instance *const own = entry->value.own.get()) origins_.remove(origins_.find(address_key(own)));
  substitutes_.remove(entry);
}

void OverlayStore::forget_all() noexcept {
  substitutes_.clear();
  origins_.clear();
}

void OverlayStore::retire(bool and_instances) noexcept {
  if (and_instances)
    delete_instances();
  else
    for (auto &entry : substitutes_) entry.value.own.release();
  forget_all();
  added_.reset();
}

// ---- The end of the transaction ----

void OverlayStore::replace_below(PlainStore &below, Substitutes::Entry &entry) noexcept {
  vorn_instance &replaced = *address_of(entry);
  below.replace(replaced, *entry.value.own.release());
  vorn_instance_delete(&replaced);
}

} // namespace vorn
