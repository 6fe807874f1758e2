// Where a collection keeps the instances of one class; the shape depends on the class's type.
#pragma once

#include "core/keyed_table.hpp"
#include "model/instance.hpp"
#include <memory>

namespace vorn {

// Instances by identity (their address), in the order of insertion.
using Members = KeyedTable<vorn_instance *>;
// The instances of a unique-named class.
using UniqueNames = KeyedTable<vorn_instance *>;
// The groups of a group-named class; none is empty.
using Groups = KeyedTable<Members>;

// A walk over instances that stand in tables, or in a group's. Whatever is inserted and removed meanwhile, it
// goes on.
class TableCursor {
public:
  TableCursor() noexcept = default;
  explicit TableCursor(UniqueNames::Iterator walk) noexcept : instances_(walk) {}
  explicit TableCursor(Groups::Iterator groups) noexcept : groups_(groups) {}

  // The instance to come, or null at the end.
  vorn_instance *peek() noexcept;
  vorn_instance *next() noexcept;

private:
  UniqueNames::Iterator instances_{}; // of the class, or of the present group
  Groups::Iterator groups_{};         // those still to come
};

class OverlayStore;

// A walk over one store, or over one group of it. What it shows of a transaction's store may still be an
// instance of the running configuration: whoever wants to change it, or to hand it out, asks own() first.
class ClassCursor {
public:
  ClassCursor() noexcept = default;
  explicit ClassCursor(TableCursor walk) noexcept : base_(walk) {}
  // Over an overlay: its base, and what it adds, for one group only or for all.
  ClassCursor(OverlayStore &overlay, TableCursor base, TableCursor added, bool one_group) noexcept
      : overlay_(&overlay), one_group_(one_group), base_(base), added_(added) {}

  vorn_instance *peek() noexcept { return overlay_ ? peek_overlay() : base_.peek(); }
  vorn_instance *next() noexcept;

private:
  vorn_instance *peek_overlay() noexcept;
  void pass_base() noexcept;

  OverlayStore *overlay_ = nullptr;
  bool one_group_ = false;
  TableCursor base_{};
  TableCursor extras_{}; // what the overlay adds to the group of the base that was passed last
  TableCursor added_{};
};

// Holds references: freeing a store frees no instance.
class ClassStore {
public:
  virtual ~ClassStore() = default;
  ClassStore(const ClassStore &) = delete;
  ClassStore &operator=(const ClassStore &) = delete;

  const vorn_class &cls() const noexcept { return cls_; }

  // The operations return whether they were done; adding throws std::bad_alloc. Refusals are logged where the
  // caller could not know them.
  virtual bool add(vorn_instance *instance) = 0;
  virtual bool remove(vorn_instance *instance) noexcept = 0;
  virtual bool contains(vorn_instance &instance) const noexcept = 0;

  virtual ClassCursor cursor() noexcept = 0;
  // Over the instances of that name.
  virtual ClassCursor group_cursor(const char *) noexcept { return {}; }
  // The instance of that name of a unique-named class, or null.
  virtual vorn_instance *find(const char *) const noexcept { return nullptr; }

  // The instance to be changed where this one is shown. Throws std::bad_alloc.
  virtual vorn_instance *own(vorn_instance *shown) { return shown; }
  // Frees the instances that it owns as one of a collection.
  virtual void delete_instances() noexcept;

protected:
  explicit ClassStore(const vorn_class &cls) noexcept : cls_(cls) {}

private:
  const vorn_class &cls_;
};

// A store that holds its instances itself.
class PlainStore : public ClassStore {
public:
  // Returns an empty store that suits the class, or null for a class without a type.
  static std::unique_ptr<PlainStore> make(const vorn_class &cls);

  ClassCursor cursor() noexcept final { return ClassCursor(table_cursor()); }
  ClassCursor group_cursor(const char *name) noexcept final { return ClassCursor(table_group_cursor(name)); }
  virtual TableCursor table_cursor() noexcept = 0;
  virtual TableCursor table_group_cursor(const char *) noexcept { return {}; }

  // The instance before this one, or null for the first one.
  virtual vorn_instance *predecessor(vorn_instance &instance) const noexcept = 0;
  // Puts another instance of the same name in the place of one.
  virtual void replace(vorn_instance &instance, vorn_instance &by) noexcept = 0;
  // Takes the instances of another store of the same class over: to the end, or, of named groups, to the end
  // of each group that is here. This store must not be empty.
  virtual void absorb(PlainStore &other) noexcept = 0;
  virtual void absorb_group(PlainStore &, const char *) noexcept {}

protected:
  explicit PlainStore(const vorn_class &cls) noexcept : ClassStore(cls) {}
};

} // namespace vorn
