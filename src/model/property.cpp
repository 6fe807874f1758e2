#include "model/property.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "core/xml_text.hpp"

namespace {

using vorn::refuse;
using vorn::refuse_aloud;

template <class Field, class Value>
int set(vorn_property *property, Field vorn_property::*field, Value value) {
  if (!property) return refuse("Null property.\n");
  property->*field = value;
  return 0;
}

} // namespace

vorn_property *vorn_property_new(const char *name) noexcept {
  if (!name) return refuse("Null name.\n");
  return vorn::guarded<vorn_property *>(nullptr, [&] { return new vorn_property{.name = name}; });
}

vorn_property *vorn_property_clone(const vorn_property *property) noexcept {
  if (!property) return refuse("Null property.\n");
  return vorn::guarded<vorn_property *>(nullptr, [&] { return new vorn_property(*property); });
}

const char *vorn_property_get_name(const vorn_property *property) noexcept {
  if (!property) return refuse("Null property.\n");
  return property->name.c_str();
}

int vorn_property_set_readable(vorn_property *property, int readable) noexcept {
  return set(property, &vorn_property::readable, readable);
}

int vorn_property_set_writable(vorn_property *property, int writable) noexcept {
  if (property && property->is_subclass_identifier && writable)
    return refuse_aloud("Subclass identifiers must be non-writable.\n");
  return set(property, &vorn_property::writable, writable);
}

int vorn_property_set_required_on_insert(vorn_property *property, int required) noexcept {
  if (property && property->is_subclass_identifier && !required)
    return refuse_aloud("Subclass identifiers must be required on insert.\n");
  return set(property, &vorn_property::required_on_insert, required);
}

int vorn_property_set_is_valid_fn(vorn_property *property, vorn_property_is_valid_fn fn) noexcept {
  if (property && !fn) return refuse("Null is_valid fn.\n");
  return set(property, &vorn_property::is_valid, fn);
}

int vorn_property_set_is_instance_valid_fn(vorn_property *property,
                                           vorn_property_is_instance_valid_fn fn) noexcept {
  // The text is that of the value check, deliberately: the two share it.
  if (property && !fn) return refuse("Null is_valid fn.\n");
  return set(property, &vorn_property::is_instance_valid, fn);
}

int vorn_property_set_persistence(vorn_property *property, int persistence) noexcept {
  return set(property, &vorn_property::persistence, persistence);
}

int vorn_property_is_valid(const vorn_property *property) noexcept {
  if (!property) return refuse<0>("Null property.\n");
  const char *name = property->name.c_str();
  if (!vorn::is_xml_name(name))
    return refuse_aloud<0>("Property \"%s\" is refused: that is no XML name without a colon.\n", name);
  if (property->writable && !property->is_valid)
    return refuse<0>("Property %s is writable but has no is_valid fn.\n", name);
  if (property->required_on_insert && !property->is_subclass_identifier && !property->is_valid)
    return refuse<0>("Property %s is required on insert but has no is_valid fn.\n", name);
  return 1;
}

void vorn_property_print(const vorn_property *property, FILE *stream) noexcept {
  if (!property) {
    vorn_debug_1printf("Null property.\n");
    return;
  }
  const auto flag = [](int set, const char *letter) { return set ? letter : "-"; };
  fprintf(stream, "Property: %-45s %s%s%s%s", property->name.c_str(), flag(property->readable, "r"),
          flag(property->writable, "w"), flag(property->required_on_insert, "i"),
          flag(property->persistence, "p"));
}

int vorn_property_delete(vorn_property *property) noexcept {
  if (!property) return refuse("Null property.\n");
  delete property;
  return 0;
}
