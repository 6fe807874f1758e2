#pragma once

#include "core/limits.hpp"
#include "model/class.hpp"
#include "model/instance.h"
#include "model/value.hpp"
#include <memory>
#include <string_view>
#include <vector>

// One object of a class; owned by its maker until a collection takes it. Its name and the values that it was
// made for lie behind it in the same block of memory. The block never shrinks: what a getter has returned
// holds until that value is set again.
struct vorn_instance {
  vorn_class *cls;
  const char *name = nullptr;
  std::vector<vorn::Value> values{}; // in the order in which they were last set
  uint32_t room_begin = 0;           // of what is free in the block, from its beginning
  uint32_t room_end : 31 = 0;
  uint32_t was_added : 1 = 0; // to a collection: nobody watches others

  // The value of a property, or null.
  const vorn::Value *find(const vorn_property &property) const noexcept;

  // The block is longer than the record.
  static void operator delete(void *block) noexcept { ::operator delete(block); }
};

namespace vorn {

// Whether the value is none of a subclass identifier, or names the class of the instance. What else it named
// would decide the class at the next start.
inline bool keeps_class(const vorn_instance &instance, const vorn_property &property, const char *value) {
  return !property.is_subclass_identifier || instance.cls->name == value;
}

struct InstanceDeleter {
  void operator()(vorn_instance *instance) const noexcept { vorn_instance_delete(instance); }
};
// An instance that is in no collection.
using OwnedInstance = std::unique_ptr<vorn_instance, InstanceDeleter>;

// What an instance is to have room for in its block.
struct ValueRoom {
  size_t values = 0;
  size_t bytes = 0;

  void add(size_t length) noexcept {
    ++values;
    if (length <= max_packed_value) bytes += length + 1;
  }
};

// Makes an instance. The class must be a concrete one; the name, which may be null, is not checked against
// it. Throws std::bad_alloc.
OwnedInstance make_instance(vorn_class &cls, const char *name, ValueRoom room);

// As vorn_instance_new, with room. Null with the reason logged, or without memory.
vorn_instance *new_instance(vorn_class *cls, const char *name, ValueRoom room) noexcept;

// A new value of the instance, in its block when that has room. Throws std::bad_alloc.
Value make_value(vorn_instance &instance, const vorn_property *property, std::string_view text);

// Puts a value after all others, unchecked and unheard. Throws std::bad_alloc.
void put_value(vorn_instance &instance, Value value);

// Sets a value that make_value has made, as vorn_instance_set_value does. Returns 0 or 1 as that.
int set_value(vorn_instance &instance, Value value) noexcept;

// Whether there may be an instance of the class with this name, or with none; logs why not.
bool may_be_instance(const vorn_class &cls, const char *name) noexcept;

} // namespace vorn
