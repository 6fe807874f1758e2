// What a write-transaction works on.
#pragma once

#include "model/instances.hpp"
#include "model/overlay_store.hpp"

namespace vorn {

// The source of a collection that is the running configuration with a transaction's changes.
class Overlay final : public Source, private Watcher {
public:
  explicit Overlay(vorn_instances &base) noexcept : base_(base) {}

  vorn_instances &base() const noexcept { return base_; }

  // The instance by which its collection knows one of the base: a stand-in, or the same where it shows that;
  // null when the transaction has removed it, and for others.
  vorn_instance *known_as(vorn_instance &below) const noexcept;
  // The stand-in of an instance of the base, or null.
  vorn_instance *stand_in_for(vorn_instance &below) const noexcept;
  // The reverse: null for an instance that was added.
  vorn_instance *origin_of(vorn_instance &own) const noexcept;
  OverlayStore *overlay_store(const vorn_class &cls) const noexcept;

  ClassStore *store(const vorn_class &cls) override;
  ClassStore *store_for(const vorn_class &cls) override;
  const Stores &all() override;
  ClassStore *made(const vorn_class &cls) const noexcept override;
  bool is_empty() const noexcept override;
  void drop(const vorn_class &cls, bool and_instances) noexcept override;
  void delete_instances() noexcept override;

  // Why the changes cannot be made.
  enum class Fault {
    none,
    memory,   // that was short when something changed below
    conflict, // what has joined below has the place of what was added here
  };
  Fault fault() const noexcept { return fault_; }

  // Makes all changes in the base, and the base's stores those of its collection. Nothing can fail. Returns
  // the overlay, which holds instances that it has handed out and that nobody has changed: they are not in
  // the collection any more, but good as long as it lives.
  static std::unique_ptr<Overlay> apply(vorn_instances &collection) noexcept;

private:
  void will_set(vorn_instance &, const vorn_property &) override;
  void was_set(vorn_instance &, const vorn_property &) noexcept override;
  void will_join(vorn_instances &, vorn_instance &) override;
  void will_leave(vorn_instances &, vorn_instance &) override {}
  void has_left(vorn_instances &, vorn_instance &, vorn_instance *) noexcept override;
  void will_drop(vorn_instances &, const vorn_class &) override;
  void drops(vorn_instances &, const vorn_class &) noexcept override;
  void will_place(vorn_instances &) override {}
  void was_replaced(vorn_instances &, vorn_instance &, vorn_instance &) noexcept override {}

  bool is_dropped(const vorn_class &cls) const noexcept;
  OverlayStore *below(vorn_instances &changed, const vorn_class &cls) const noexcept;
  void apply_class(vorn_instances &collection, OverlayStore &changes) noexcept;

  vorn_instances &base_;
  Stores stores_{1};            // of the classes that were asked for
  Stores retired_{1};           // of classes that were dropped
  KeyedTable<bool> dropped_{1}; // classes, and whether their instances below are not seen any more
  Fault fault_ = Fault::none;
  bool is_applied_ = false;
};

// Returns a collection that shares everything with `base` until it is changed. Throws std::bad_alloc. It must
// not outlive the base, unless its overlay is applied.
OwnedInstances share(vorn_instances &base);

} // namespace vorn
