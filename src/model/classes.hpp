#pragma once

#include "model/class.hpp"
#include "model/classes.h"

namespace vorn {

using Classes = KeyedTable<vorn_class *>;

// Every class, in the order of addition.
Classes &classes() noexcept;

} // namespace vorn

struct vorn_classes_iterator {
  vorn::Classes::Iterator walk;
};
