// A transaction's store of one class.
#pragma once

#include "model/class_store.hpp"
#include "model/property_set.hpp"

namespace vorn {

// Shows the store of the running configuration with what the transaction has changed: instances of its own
// that stand in for those below, instances that it has removed, and such as it has added. All that it does
// not touch it shares, and what becomes of that below is seen through it.
class OverlayStore final : public ClassStore {
public:
  // With nothing below it when the transaction has dropped the class.
  OverlayStore(const vorn_class &cls, vorn_instances &base, bool detached);
  ~OverlayStore() override;

  bool add(vorn_instance *instance) override;
  bool remove(vorn_instance *instance) noexcept override;
  // Its own instances, and those that it is prepared to remove.
  bool contains(vorn_instance &instance) const noexcept override;
  ClassCursor cursor() noexcept override;
  ClassCursor group_cursor(const char *name) noexcept override;
  vorn_instance *find(const char *name) const noexcept override;
  vorn_instance *own(vorn_instance *shown) override;
  void delete_instances() noexcept override;

  // Makes sure that an instance which it shows can be removed without memory. Throws std::bad_alloc.
  void prepare_removal(vorn_instance &shown);

  // What it shows for an instance below, null when that is removed; and the instance below for which it shows
  // one, null for what was added.
  vorn_instance *shown_for(vorn_instance &below) const noexcept;
  vorn_instance *origin_of(vorn_instance &own) const noexcept;

  // Whether instances of that name were added to a group that is below, and these.
  bool extends_group(const char *name) const noexcept;
  TableCursor extras(const char *name) const noexcept;

  // Whether what was added leaves no place for an instance that joins below.
  bool displaces(const vorn_instance &joining) const noexcept;
  // What was added to a group goes on after what joins it below. Throws std::bad_alloc.
  void expect(const vorn_instance &joining);
  // That one is not shown. Throws std::bad_alloc.
  void hide(vorn_instance &below);

  // Below, a value was set: it is taken over, unless the transaction has set that property itself.
  void prepare_own_value(vorn_instance &own, const vorn_property &property);
  void note_own_value(vorn_instance &own, const vorn_property &property) noexcept;
  void note_touch(vorn_instance &own) noexcept;
  void take_value(vorn_instance &below, const vorn_property &property);

  // Below, an instance has left, or all have.
  void forget(vorn_instance &below) noexcept;
  void forget_all() noexcept;

  // The transaction has dropped the class: the store's instances are freed, or the caller's from here on, and
  // walks that stand in it are at their end.
  void retire(bool and_instances) noexcept;
  bool is_retired() const noexcept { return !added_; }

  // Puts all changes into the store below, which must not be empty, and frees what they replace. Stand-ins
  // that nobody has changed stay here, and what they stand for stays there: `stays` is called for both;
  // `replaced` for an instance below and what takes its place; and `leaves` for each instance that is about
  // to be removed below and the one before it.
  template <class Stays, class Replaced, class Leaves>
  void apply(PlainStore &below, Stays stays, Replaced replaced, Leaves leaves) noexcept {
    for (auto &entry : substitutes_) {
      if (!entry.value.own) continue;
      if (!entry.value.touched) {
        stays(*entry.value.own, *address_of(entry));
        continue;
      }
      replaced(*address_of(entry), *entry.value.own);
      replace_below(below, entry);
    }
    for (const auto &group : in_place_)
      if (extends_group(group.name())) below.absorb_group(*added_, group.name());
    for (auto &entry : substitutes_) {
      if (!entry.value.removed) continue;
      vorn_instance &instance = *address_of(entry);
      leaves(instance, below.predecessor(instance));
      below.remove(&instance);
      vorn_instance_delete(&instance);
    }
    below.absorb(*added_);
  }
  // What was added, when there is nothing below.
  std::unique_ptr<PlainStore> release_added() noexcept { return std::move(added_); }

private:
  struct Substitute {
    OwnedInstance own{};
    PropertySet set{}; // by the transaction
    bool touched = false;
    bool removed = false;
  };
  using Substitutes = KeyedTable<Substitute>;

  PlainStore *below() const noexcept;
  static vorn_instance *address_of(const Substitutes::Entry &entry) noexcept;
  Substitutes::Entry *substitute_of(vorn_instance &below) const noexcept;
  void replace_below(PlainStore &below, Substitutes::Entry &entry) noexcept;

  vorn_instances &base_;
  Substitutes substitutes_{1};             // by the address of the instance below, in the order of removal
  KeyedTable<vorn_instance *> origins_{1}; // by the address of its own
  std::unique_ptr<PlainStore> added_;      // null in the end
  NameSet in_place_{1};                    // names of groups that are below
  bool detached_;
};

} // namespace vorn
