// The listeners that plugins set on instances. Few instances have one: they stand beside them, not in them.
#pragma once

#include "model/types.h"

namespace vorn {

// Calls the instance's listener, if it has one.
void tell_listener(vorn_instance *instance, const char *property_name);

// Forgets the listener of an instance, or of all that a collection holds.
void drop_listener(vorn_instance *instance) noexcept;
void drop_listeners(const vorn_instances &instances) noexcept;

} // namespace vorn
