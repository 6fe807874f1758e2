#include "model/class.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"

namespace {

using vorn::guarded;
using vorn::refuse;

constexpr const char *type_words[] = {"invalid", "singleton", "anonymous", "unique-named", "group-named"};

const char *type_word(unsigned type) { return type < std::size(type_words) ? type_words[type] : "unknown"; }

int refuse_property(const vorn_class &cls, const vorn_property &property) {
  return refuse("Property %s of class %s is not valid.\n", property.name.c_str(), cls.name.c_str());
}

// Takes the property over when its name is new to the class.
int take_property(vorn_class &cls, vorn_property *property) {
  return guarded(1, [&] {
    const size_t number = cls.properties.size();
    auto *entry = cls.properties.insert(property->name.c_str(), nullptr);
    if (!entry) return 1;
    entry->value.reset(property);
    property->owner = &cls;
    property->number = number;
    return 0;
  });
}

} // namespace

vorn_class *vorn_class_new(const char *name) noexcept {
  if (!name) return refuse("Null name.\n");
  return guarded<vorn_class *>(nullptr, [&] { return new vorn_class(name); });
}

vorn_class *vorn_class_clone(const vorn_class *cls, const char *name) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (!name) return refuse("Null name.\n");
  return guarded<vorn_class *>(nullptr, [&] {
    auto clone = std::make_unique<vorn_class>(name, cls->properties.size());
    clone->persistence = cls->persistence;
    clone->type = cls->type;
    clone->instance_validate = cls->instance_validate;
    for (const auto &property : cls->properties) {
      auto *entry =
          clone->properties.insert(property.key(), std::make_unique<vorn_property>(*property.value));
      entry->value->owner = clone.get();
    }
    return clone.release();
  });
}

const char *vorn_class_get_name(const vorn_class *cls) noexcept {
  if (!cls) return refuse("Null class.\n");
  return cls->name.c_str();
}

int vorn_class_set_superclass(vorn_class *cls, const char *name) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (!name) return refuse("Null superclass name.\n");
  if (cls->superclass_name) return refuse("Superclass name has already been set.\n");
  if (cls->abstract == 1) return refuse("An abstract class may not have a superclass.\n");
  return guarded(1, [&] {
    cls->superclass_name = std::string(name);
    return 0;
  });
}

int vorn_class_set_abstract(vorn_class *cls, int value) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (value != 0 && value != 1) return refuse("Bad abstract value.\n");
  if (cls->superclass_name) return refuse("An class with a superclass may not be abstract.\n");
  if (cls->abstract != -1) return refuse("Class is already abstract.\n");
  cls->abstract = value;
  return 0;
}

int vorn_class_set_subclass_identifier(vorn_class *cls, vorn_property *property) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (!property) return refuse("Null property.\n");
  if (cls->abstract != 1) return refuse("Class is not abstract.\n");
  if (cls->subclass_identifier) return refuse("Class already has subclass_identifier.\n");
  if (cls->properties.find(property->name.c_str()))
    return refuse("A property with the same name as the subclass identifier property is in the class.\n");
  property->writable = 0;
  property->required_on_insert = 1;
  property->is_subclass_identifier = true;
  if (!vorn_property_is_valid(property)) return refuse_property(*cls, *property);
  if (take_property(*cls, property) != 0) return 1;
  cls->subclass_identifier = property;
  return 0;
}

int vorn_class_set_persistence(vorn_class *cls, int persistence) noexcept {
  if (!cls) return refuse("Null class.\n");
  cls->persistence = persistence;
  return 0;
}

int vorn_class_set_type(vorn_class *cls, unsigned type) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (type < VORN_CLASS_SINGLETON || type > VORN_CLASS_GROUP_NAMED) return refuse("Bad type.\n");
  cls->type = type;
  return 0;
}

int vorn_class_set_instance_validate_fn(vorn_class *cls, vorn_class_instance_validate_fn fn) noexcept {
  if (!cls) return refuse("Null class.\n");
  cls->instance_validate = fn;
  return 0;
}

int vorn_class_add_property(vorn_class *cls, vorn_property *property) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (!property) return refuse("Null property.\n");
  if (!vorn_property_is_valid(property)) return refuse_property(*cls, *property);
  return take_property(*cls, property);
}

vorn_property *vorn_class_get_property(const vorn_class *cls, const char *name) noexcept {
  if (!cls) return refuse("Null class.\n");
  if (!name) return refuse("Null name.\n");
  // A second step at half the pace meets the first one in a circle of superclasses, which only validation
  // finds.
  const vorn_class *half_pace = cls;
  for (bool even = false; cls; even = !even) {
    if (const auto *property = cls->properties.find(name)) return property->value.get();
    cls = cls->superclass;
    if (even) half_pace = half_pace->superclass;
    if (cls == half_pace) break;
  }
  return nullptr;
}

int vorn_class_get_properties(const vorn_class *cls) noexcept {
  if (!cls) return refuse<0>("Null class.\n");
  return static_cast<int>(cls->properties.size());
}

vorn_class_property_iterator::vorn_class_property_iterator(const vorn_class &cls)
    : walk_((cls.superclass ? cls.superclass : &cls)->properties.iterate()),
      pending_(cls.superclass ? &cls : nullptr) {
  skip_to_pending();
}

vorn_property *vorn_class_property_iterator::next() {
  auto *entry = walk_.next();
  skip_to_pending();
  return entry ? entry->value.get() : nullptr;
}

void vorn_class_property_iterator::skip_to_pending() {
  if (walk_.has_next() || !pending_) return;
  walk_ = pending_->properties.iterate();
  pending_ = nullptr;
}

vorn_class_property_iterator *vorn_class_new_property_iterator(const vorn_class *cls) noexcept {
  if (!cls) return refuse("Null class.\n");
  return vorn::guarded<vorn_class_property_iterator *>(
      nullptr, [&] { return new vorn_class_property_iterator(*cls); });
}

int vorn_class_property_iterator_has_next(const vorn_class_property_iterator *it) noexcept {
  if (!it) return refuse<0>("Null iterator.\n");
  return it->has_next() ? 1 : 0;
}

vorn_property *vorn_class_property_iterator_next(vorn_class_property_iterator *it) noexcept {
  if (!it) return refuse("Null iterator.\n");
  return it->next();
}

int vorn_class_delete_property_iterator(vorn_class_property_iterator *it) noexcept {
  if (!it) return refuse("Null iterator.\n");
  delete it;
  return 0;
}

void vorn_class_print(const vorn_class *cls, FILE *stream) noexcept {
  if (!cls) {
    vorn_debug_1printf("Null class.\n");
    return;
  }
  fprintf(stream, "Class: %-20s Type: %-13s Persistence: %d\n", cls->name.c_str(), type_word(cls->type),
          cls->persistence);
  if (cls->abstract == 1)
    fprintf(stream, "Abstract class - subclass identifier: %s\n",
            cls->subclass_identifier ? cls->subclass_identifier->name.c_str() : "(null)");
  if (cls->superclass_name) fprintf(stream, "Superclass: %s\n", cls->superclass_name->c_str());
  for (const auto &property : cls->properties) {
    fputs("  ", stream);
    vorn_property_print(property.value.get(), stream);
    fputs("\n", stream);
  }
}
