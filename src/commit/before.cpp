#include "commit/before.hpp"

#include "commit/changes.hpp"
#include "model/overlay.hpp"
#include <algorithm>
#include <list>

namespace vorn {

// The instances of a class in their order, on the way back to what it was.
class Before::Line {
public:
  struct Place {
    vorn_instance *instance;
    vorn_instance *copy; // of one that has left
    bool left;
  };

  void append(vorn_instance *instance) {
    places_.push_back({instance, nullptr, false});
    note(std::prev(places_.end()));
  }

  // Puts one back after its predecessor. Of two with the same address, the one that was put back last stands
  // for it: the other one came later, and what left before that cannot have known it.
  void put_back(const Departure &departure) {
    auto after = places_.begin();
    if (departure.predecessor) {
      const auto *found = positions_.find(address_key(departure.predecessor));
      after = found ? std::next(found->value) : places_.end();
    }
    note(places_.insert(after, {departure.instance, departure.copy, true}));
  }

  const std::list<Place> &places() const { return places_; }

private:
  void note(std::list<Place>::iterator place) {
    positions_.find_or_insert(address_key(place->instance))->value = place;
  }

  std::list<Place> places_{};
  KeyedTable<std::list<Place>::iterator> positions_{1}; // by address
};

Before::Before(vorn_changes &changes, const vorn_instances &now)
    : changes_(changes), was_empty_(vorn_instances_is_empty(&now) != 0) {}

const Stores &Before::stores_now() const noexcept {
  const vorn_instances &now = *changes_.watched;
  return now.overlay ? now.overlay->base().stores : now.stores;
}

bool Before::had_store(const vorn_class &cls) const noexcept {
  if (order_) return std::find(order_->begin(), order_->end(), &cls) != order_->end();
  return stores_now().find(cls.name.c_str()) != nullptr;
}

void Before::keep_order() {
  if (order_) return;
  std::vector<const vorn_class *> order;
  for (const auto &store : stores_now()) order.push_back(&store.value->cls());
  order_ = std::move(order);
}

void Before::expect_departure() {
  const size_t size = departures_.size() + expected_ + 1;
  if (size > departures_.capacity()) departures_.reserve(2 * size);
  ++expected_;
}

void Before::note_departure(vorn_instance &instance, vorn_instance *predecessor,
                            vorn_instance *copy) noexcept {
  if (expected_ > 0) --expected_;
  if (made(*instance.cls) || departures_.size() == departures_.capacity()) return;
  departures_.push_back({instance.cls, &instance, predecessor, copy});
}

std::unique_ptr<ClassStore> Before::build(const vorn_class &cls) {
  Line line;
  if (const auto *now = stores_now().find(cls.name.c_str()))
    for (ClassCursor it = now->value->cursor(); vorn_instance *instance = it.next();) line.append(instance);
  for (auto it = departures_.rbegin(); it != departures_.rend(); ++it)
    if (it->cls == &cls) line.put_back(*it);
  std::unique_ptr<ClassStore> store = PlainStore::make(cls);
  for (const auto &place : line.places()) {
    vorn_instance *copy = place.left ? place.copy : changes_.copy_as_it_was(*place.instance);
    if (copy) store->add(copy);
  }
  return store;
}

ClassStore *Before::store(const vorn_class &cls) {
  if (ClassStore *store = made(cls)) return store;
  if (!had_store(cls)) return nullptr;
  return stores_.insert(cls.name.c_str(), build(cls))->value.get();
}

ClassStore *Before::store_for(const vorn_class &cls) {
  if (ClassStore *known = store(cls)) return known;
  std::unique_ptr<ClassStore> empty = PlainStore::make(cls);
  return empty ? stores_.insert(cls.name.c_str(), std::move(empty))->value.get() : nullptr;
}

const Stores &Before::all() {
  keep_order();
  for (const vorn_class *cls : *order_) {
    store(*cls);
    stores_.move_to_end(stores_.find(cls->name.c_str()));
  }
  return stores_;
}

ClassStore *Before::made(const vorn_class &cls) const noexcept {
  const auto *entry = stores_.find(cls.name.c_str());
  return entry ? entry->value.get() : nullptr;
}

void Before::drop(const vorn_class &cls, bool) noexcept {
  if (auto *entry = stores_.find(cls.name.c_str())) stores_.remove(entry);
}

} // namespace vorn
