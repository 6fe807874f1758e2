#pragma once

#include "model/instance.hpp"
#include "model/instances.hpp"
#include <optional>
#include <vector>

namespace vorn {

// What an operation has changed in its collection, until it is known that it comes to its end. Taking it back
// needs no memory. What is deleted is not among it: a deletion does all that can fail before it begins.
class Undo {
public:
  explicit Undo(vorn_instances *target) noexcept : target_(target) {}

  // To be called before the change; throw std::bad_alloc.
  void will_set_values(vorn_instance &instance);
  void will_insert();
  // The instance that was announced last is in the collection.
  void inserted(vorn_instance &instance) noexcept { changes_.back().instance = &instance; }

  void take_back() noexcept;

private:
  struct Change {
    vorn_instance *instance;                  // null for one that never came into the collection
    std::optional<std::vector<Value>> values; // as they were; none for an inserted instance
  };
  vorn_instances *target_;
  std::vector<Change> changes_{};
};

} // namespace vorn
