// A recorded collection as it was.
#pragma once

#include "model/instances.hpp"
#include <optional>
#include <vector>

struct vorn_changes;

namespace vorn {

// The source of a recorder's before-collection: a class's store is made when somebody asks for it, of the
// instances that are there now, and of those that have left, put back where they stood. What has come in
// since is left out. Refers to copies that the recorder owns.
class Before final : public Source {
public:
  Before(vorn_changes &changes, const vorn_instances &now);

  ClassStore *store(const vorn_class &cls) override;
  ClassStore *store_for(const vorn_class &cls) override;
  const Stores &all() override;
  ClassStore *made(const vorn_class &cls) const noexcept override;
  bool is_empty() const noexcept override { return was_empty_; }
  void drop(const vorn_class &cls, bool and_instances) noexcept override;
  void delete_instances() noexcept override {}

  // To be called before the collection gets a class or loses one. Throws std::bad_alloc.
  void keep_order();

  // An instance leaves: its copy as it was, or null, and the one that stood before it. Making room for that
  // throws std::bad_alloc; without room the place is lost.
  void expect_departure();
  void note_departure(vorn_instance &instance, vorn_instance *predecessor, vorn_instance *copy) noexcept;
  // A transaction is applied, and its stand-in has taken the place of an instance: what left before may name
  // that one as its predecessor. Room was made as for a departure.
  void note_replacement(vorn_instance &instance, vorn_instance &by) noexcept {
    note_departure(instance, &by, nullptr);
  }

private:
  struct Departure {
    const vorn_class *cls;
    vorn_instance *instance;    // perhaps freed: no more than an address
    vorn_instance *predecessor; // the same
    vorn_instance *copy;
  };
  class Line;

  const Stores &stores_now() const noexcept;
  bool had_store(const vorn_class &cls) const noexcept;
  std::unique_ptr<ClassStore> build(const vorn_class &cls);

  vorn_changes &changes_;
  bool was_empty_;
  Stores stores_{1};                                       // of the classes that were asked for
  std::optional<std::vector<const vorn_class *>> order_{}; // of the classes, when it may be another now
  std::vector<Departure> departures_{};
  size_t expected_ = 0;
};

} // namespace vorn
