#pragma once

#include "model/property.h"
#include <string>

// One member of a class; owned by the class that holds it once it is added.
struct vorn_property {
  std::string name;
  int readable = 1;
  int writable = 1;
  int required_on_insert = 0;
  bool is_subclass_identifier = false;
  vorn_property_is_valid_fn is_valid = nullptr;
  vorn_property_is_instance_valid_fn is_instance_valid = nullptr;
  int persistence = -1; // -1 until the class decides
  // Where a class holds it: its own number there, set when it joins.
  const vorn_class *owner = nullptr;
  size_t number = 0;
};
