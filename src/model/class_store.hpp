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

// A walk over one store, or over one group of it. It has always moved past what it returned last.
class StoreCursor {
public:
  StoreCursor() noexcept = default;
  explicit StoreCursor(vorn_instance *instance) noexcept : single_(instance) {}
  explicit StoreCursor(UniqueNames::Iterator walk) noexcept : instances_(walk) {}
  explicit StoreCursor(Groups::Iterator groups) noexcept : groups_(groups) { skip_to_group(); }

  bool has_next() const noexcept { return single_ || instances_.has_next(); }
  vorn_instance *next() noexcept;

private:
  void skip_to_group() noexcept;
  vorn_instance *single_ = nullptr;
  UniqueNames::Iterator instances_; // of the class, or of the present group
  Groups::Iterator groups_;         // those still to come
};

// Holds references: freeing a store frees no instance.
class ClassStore {
public:
  // Returns an empty store that suits the class, or null for a class without a type.
  static std::unique_ptr<ClassStore> make(const vorn_class &cls);
  virtual ~ClassStore() = default;
  ClassStore(const ClassStore &) = delete;
  ClassStore &operator=(const ClassStore &) = delete;

  const vorn_class &cls() const noexcept { return cls_; }

  // The operations return whether they were done; adding throws std::bad_alloc. Refusals are logged where the
  // caller could not know them.
  virtual bool add(vorn_instance *instance) = 0;
  virtual bool remove(vorn_instance *instance) = 0;
  // Fills this empty store with copies of another of the same type. False when memory ran out on the way.
  virtual bool copy_from(const ClassStore &other) = 0;

  virtual StoreCursor cursor() const = 0;
  virtual StoreCursor group_cursor(const char *) const { return {}; }
  // The instance of that name of a unique-named class, or null.
  virtual vorn_instance *find(const char *) const { return nullptr; }

protected:
  explicit ClassStore(const vorn_class &cls) noexcept : cls_(cls) {}

private:
  const vorn_class &cls_;
};

} // namespace vorn
