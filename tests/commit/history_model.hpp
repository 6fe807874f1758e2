// A plain model of collections, recorders and transactions: it copies everything at once.
#pragma once

#include "commit/changes.h"
#include "model/types.h"
#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace vorn::test {

struct Item;
using ItemPtr = std::shared_ptr<Item>;

struct Item {
  std::string cls, name;
  std::vector<std::pair<std::string, std::string>> values{}; // as they were last set
  vorn_instance *real = nullptr;                             // once it was seen
  ItemPtr origin{};                                          // in a transaction: what it is a copy of
  std::set<std::string> set_here{};                          // by the transaction
};
using Items = std::vector<ItemPtr>;
using Classes = std::vector<std::pair<std::string, Items>>; // a class keeps its place without instances

inline ItemPtr copy_of(const Item &item) {
  return std::make_shared<Item>(Item{item.cls, item.name, item.values});
}

inline void set_value(Item &item, const std::string &property, const std::string &value) {
  std::erase_if(item.values, [&](auto &known) { return known.first == property; });
  item.values.emplace_back(property, value);
}

inline Items *find(Classes &classes, const std::string &cls) {
  const auto at =
      std::find_if(classes.begin(), classes.end(), [&](auto &entry) { return entry.first == cls; });
  return at == classes.end() ? nullptr : &at->second;
}

inline Items &place(Classes &classes, const std::string &cls) {
  Items *found = find(classes, cls);
  return found ? *found : classes.emplace_back(cls, Items()).second;
}

inline void put(Classes &classes, const ItemPtr &item) {
  Items &all = place(classes, item->cls);
  const auto last = std::find_if(all.rbegin(), all.rend(), [&](const ItemPtr &other) {
    return item->cls == "rule" && other->name == item->name;
  });
  all.insert(last == all.rend() ? all.end() : last.base(), item);
}

inline void take(Classes &classes, const ItemPtr &item) {
  if (Items *all = find(classes, item->cls)) std::erase(*all, item);
}

inline void drop(Classes &classes, const std::string &cls) {
  std::erase_if(classes, [&](auto &entry) { return entry.first == cls; });
}

inline Items all_of(const Classes &classes) {
  Items all;
  for (const auto &[cls, here] : classes) all.insert(all.end(), here.begin(), here.end());
  return all;
}

inline bool excludes(const Item &item, const Item &other) {
  const auto family = [](const std::string &cls) { return cls == "wire" || cls == "air" ? "port" : cls; };
  if (item.cls == "system") return other.cls == item.cls;
  return !item.name.empty() && item.cls != "rule" && item.name == other.name &&
         family(item.cls) == family(other.cls);
}

struct Recorder {
  Recorder(vorn_changes *made, const Classes &now) : real(made) {
    for (const auto &[cls, all] : now) {
      place(before, cls);
      for (const ItemPtr &item : all) put(before, copies[item] = copy_of(*item));
    }
  }

  void update(const ItemPtr &item) {
    const Items *listed = find(changed, item->cls);
    if (!listed || !std::count(listed->begin(), listed->end(), item)) put(changed, item);
  }
  void set(const ItemPtr &item, const std::string &property) {
    if (inserted.contains(item)) return;
    update(item);
    properties[item].insert(property);
  }
  void insert(const ItemPtr &item) {
    for (const auto &[property, value] : item->values) properties[item].insert(property);
    put(changed, item);
    inserted.insert(item);
  }
  void remove(const ItemPtr &item) {
    if (copies.contains(item)) put(deleted, copies[item]);
  }
  void forget(const ItemPtr &item) {
    take(changed, item);
    copies.erase(item);
    inserted.erase(item);
    properties.erase(item);
  }

  vorn_changes *real;
  Classes before{}, changed{}, deleted{};
  std::map<ItemPtr, ItemPtr> copies{}; // of those that have not left
  std::map<ItemPtr, std::set<std::string>> properties{};
  std::set<ItemPtr> inserted{};
};

// A transaction's is a copy of its base to which all is done that becomes of the base. In the order of its
// instances, what it has added and removed comes after that.
struct Collection {
  explicit Collection(vorn_instances *made) : real(made) {}

  std::unique_ptr<Collection> share(vorn_instances *made) {
    auto shared = std::make_unique<Collection>(made);
    shared->base = this;
    for (const ItemPtr &item : all_of(classes)) shared->show(item);
    transaction = shared.get();
    return shared;
  }

  Classes now() const {
    if (!base) return classes;
    Classes all;
    for (const auto &[cls, below] : base->classes) {
      Items &here = test::place(all, cls);
      for (const ItemPtr &item : below)
        if (shown.contains(item)) here.push_back(shown.at(item));
    }
    for (const Step &step : log) {
      if (step.kind == Step::Kind::drop) test::drop(all, step.cls);
      if (step.kind == Step::Kind::remove) take(all, step.item);
      if (step.kind == Step::Kind::add) put(all, step.item);
      if (step.kind == Step::Kind::place) test::place(all, step.cls);
    }
    return all;
  }

  bool fits(const Item &item) const {
    const Items all = all_of(now());
    return std::none_of(all.begin(), all.end(), [&](auto &other) { return excludes(item, *other); });
  }

  void set(const ItemPtr &item, const std::string &property, const std::string &value) {
    set_value(*item, property, value);
    if (base) item->set_here.insert(property);
    if (!recorders.empty()) recorders.back()->set(item, property);
    const ItemPtr above = transaction ? transaction->known_as(item) : nullptr;
    if (above && !above->set_here.contains(property)) set_value(*above, property, value);
  }

  void place(const std::string &cls) {
    Classes all = now();
    if (test::find(all, cls)) return;
    if (base)
      log.push_back({Step::Kind::place, cls, nullptr});
    else
      test::place(classes, cls);
  }

  void add(const ItemPtr &item) {
    if (base)
      log.push_back({Step::Kind::add, item->cls, item});
    else
      put(classes, item);
    if (!recorders.empty()) recorders.back()->insert(item);
    if (transaction) transaction->joins_below(item);
  }

  // The item belongs to the caller then.
  void remove(const ItemPtr &item) {
    if (!recorders.empty()) recorders.back()->remove(item);
    forget(item);
    if (!base) return take(classes, item);
    // What becomes of its origin is nothing to it any more.
    const ItemPtr left = item->origin ? shown[item->origin] = copy_of(*item) : item;
    log.push_back({Step::Kind::remove, item->cls, left});
    item->origin = nullptr;
    item->set_here.clear();
  }

  // Returns what the collection had seen of the class, which is the caller's then.
  Items drop(const std::string &cls) {
    Classes all = now();
    const Items *here = test::find(all, cls);
    if (!here) return {};
    for (const ItemPtr &item : *here) {
      forget(item);
      if (item->origin) shown.erase(item->origin);
      item->origin = nullptr;
      item->set_here.clear();
    }
    if (base) log.push_back({Step::Kind::drop, cls, nullptr});
    test::drop(classes, cls);
    if (transaction) transaction->class_order_is_open = true;
    return *here;
  }

  // It becomes the base, with the instances that it has not touched.
  void apply() {
    classes = now();
    for (const ItemPtr &item : all_of(classes)) {
      if (item->origin && item->set_here.empty()) item->real = item->origin->real;
      item->origin = nullptr;
      item->set_here.clear();
    }
    base = nullptr;
    shown.clear();
    log.clear();
  }

  vorn_instances *real;
  Collection *base = nullptr;
  Collection *transaction = nullptr;
  std::vector<Recorder *> recorders{}; // the innermost last
  bool has_conflict = false;
  bool class_order_is_open = false; // a class was dropped below
  Classes classes{};                // of one without a base

private:
  struct Step {
    enum class Kind { add, remove, drop, place } kind;
    std::string cls;
    ItemPtr item;
  };

  void show(const ItemPtr &below) {
    shown[below] = copy_of(*below);
    shown[below]->origin = below;
  }
  ItemPtr known_as(const ItemPtr &below) const {
    const auto at = shown.find(below);
    return at == shown.end() ? nullptr : at->second;
  }

  void joins_below(const ItemPtr &item) {
    const bool conflicts = !fits(*item);
    has_conflict = has_conflict || conflicts;
    const bool dropped = std::any_of(log.begin(), log.end(), [&](const Step &step) {
      return step.kind == Step::Kind::drop && step.cls == item->cls;
    });
    if (!conflicts && !dropped) show(item);
  }

  void forget(const ItemPtr &item) {
    for (Recorder *recorder : recorders) recorder->forget(item);
    const ItemPtr above = transaction ? transaction->known_as(item) : nullptr;
    if (!above) return;
    transaction->forget(above);
    transaction->shown.erase(item);
  }

  std::map<ItemPtr, ItemPtr> shown{}; // by the item of the base
  std::vector<Step> log{};
};

} // namespace vorn::test
