#pragma once

#include "commit/before.hpp"
#include "commit/changes.h"
#include "model/instances.hpp"
#include "model/property_set.hpp"
#include "model/watcher.hpp"
#include <memory>
#include <vector>

// The recorder of one change set. What it has no record of is as it was when it was made.
//
// Recorders nest: a provider that is being asked evaluates a request of its own, over the same collection or
// over the one that a transaction is based on. What happens then belongs to the innermost recorder. The outer
// ones note no more than they need to go on telling what was before: an instance's copy before its first
// change, an instance that came in meanwhile, one that has left.
struct vorn_changes final : private vorn::Watcher {
  // What is known of one instance.
  struct Record {
    const vorn_class *cls;
    vorn_instance *before;           // null for an instance that came in since
    bool inserted = false;           // as part of this change set, with these properties
    bool changed = false;            // updated or inserted
    bool gone = false;               // it has left, or is about to
    vorn_instance *origin = nullptr; // of a transaction's stand-in that leaves
    vorn::PropertySet properties{};
    std::unique_ptr<vorn::NameSet> foreign_names{}; // that were given as properties and are none of the class
  };

  explicit vorn_changes(vorn_instances &after);
  ~vorn_changes() override;

  // The record of an instance that the collection shows, made now when there is none; null for another
  // instance. Throws std::bad_alloc, as all here that is not noexcept.
  Record *record_of(vorn_instance &instance);
  // The record that there is.
  Record *find(vorn_instance &instance) const noexcept;

  void insert(vorn_instance &instance);
  void update(vorn_instance &instance, Record &record);
  // Lists the instance as deleted.
  void remove(vorn_instance &instance, Record &record);

  vorn_instances *watched;
  vorn_instances changed{}; // refers to the watched collection's own instances
  vorn_instances deleted{}; // refers to copies
  vorn_instances before{};  // the same, see Before

private:
  friend class vorn::Before;

  void will_set(vorn_instance &, const vorn_property &) override;
  void was_set(vorn_instance &, const vorn_property &) noexcept override;
  void will_join(vorn_instances &, vorn_instance &) override;
  void will_leave(vorn_instances &, vorn_instance &) override;
  void has_left(vorn_instances &, vorn_instance &, vorn_instance *) noexcept override;
  void will_drop(vorn_instances &, const vorn_class &) override;
  void drops(vorn_instances &, const vorn_class &) noexcept override;
  void will_place(vorn_instances &) override;
  void was_replaced(vorn_instances &, vorn_instance &, vorn_instance &) noexcept override;

  bool concerns(const vorn_instances &instances) const noexcept;
  bool is_innermost() const noexcept { return watched->recorder == this; }
  bool is_to_record(vorn_instance &instance, const Record &record) const noexcept;
  vorn_instance *known_as(vorn_instance &instance) const noexcept;
  Record &remember(vorn_instance &instance);
  // The copy of an instance that is there now, or was in the transaction's base; null when it came in since.
  vorn_instance *copy_as_it_was(vorn_instance &instance);

  using Records = vorn::KeyedTable<Record>;
  Records::Entry *entry_of(vorn_instance &instance) const noexcept;

  Records records_{1}; // by the address of an instance
  std::vector<vorn::OwnedInstance> copies_{};
  vorn::Before before_;
  const vorn::Watcher *outer_; // the recorder over the same collection that was innermost before
};
