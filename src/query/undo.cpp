#include "query/undo.hpp"

namespace vorn {

void Undo::will_set_values(vorn_instance &instance) { changes_.push_back({&instance, instance.values}); }

void Undo::will_insert() { changes_.push_back({}); }

void Undo::take_back() noexcept {
  for (; !changes_.empty(); changes_.pop_back()) {
    Change &change = changes_.back();
    if (change.values)
      change.instance->values.swap(*change.values);
    else if (change.instance)
      delete_prepared(*target_, *change.instance);
  }
}

} // namespace vorn
