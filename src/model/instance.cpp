#include "model/instance.hpp"

#include "core/guard.hpp"
#include "core/log_text.hpp"
#include "core/refuse.hpp"
#include "model/listeners.hpp"
#include "model/watcher.hpp"
#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

using vorn::guarded;
using vorn::refuse_aloud;
using vorn::SharedText;
using vorn::Value;
using vorn::Watcher;

template <int value = 1> vorn::Refusal<value> refuse_null(const char *operation) {
  return refuse_aloud<value>("Null instance. (%s)\n", operation);
}

bool value_is_valid(vorn_instance &instance, const vorn_property &property, const char *value) {
  if (!property.is_valid)
    vorn_debug_lprintf(5, "Property \"%s\" of class \"%s\" does not have an is_valid function.\n",
                       property.name.c_str(), instance.cls->name.c_str());
  const bool valid = (!property.is_valid || property.is_valid(value)) &&
                     (!property.is_instance_valid || property.is_instance_valid(&instance, value));
  if (valid) return true;
  return refuse_aloud("Value \"%s\" is not valid for property \"%s\" of class \"%s\".\n",
                      vorn::Excerpt(value).get(), property.name.c_str(), instance.cls->name.c_str());
}

auto position_of(vorn_instance &instance, const vorn_property &property) {
  return std::find_if(instance.values.begin(), instance.values.end(),
                      [&](const Value &value) { return value.property() == &property; });
}

// Makes sure that a value of the property can be put without memory.
void reserve(vorn_instance &instance, const vorn_property &property) {
  auto &values = instance.values;
  if (values.size() == values.capacity() && position_of(instance, property) == values.end())
    values.reserve(std::max<size_t>(4, 2 * values.size()));
}

// What can fail comes first.
void store(vorn_instance &instance, Value value) {
  const vorn_property &property = *value.property();
  if (!instance.was_added) return vorn::put_value(instance, std::move(value));
  reserve(instance, property);
  Watcher::before_change([&](Watcher &watcher) { watcher.will_set(instance, property); });
  vorn::put_value(instance, std::move(value));
  Watcher::after_change([&](Watcher &watcher) { watcher.was_set(instance, property); });
}

int store_and_tell(vorn_instance &instance, Value value) {
  const char *property_name = value.property()->name.c_str();
  store(instance, std::move(value));
  vorn::tell_listener(&instance, property_name);
  return 0;
}

// The first property that an instance needs and does not have, or null.
const vorn_property *missing_property(const vorn_instance &instance) {
  vorn_class_property_iterator it(*instance.cls);
  while (const vorn_property *property = it.next())
    if (property->required_on_insert && !instance.find(*property)) return property;
  return nullptr;
}

// Hands the reason to whoever asked for one. Returns 0, which is the answer that goes with it.
template <class... Arguments> int explain(char **error, const char *format, Arguments... arguments) {
  if (!error || asprintf(error, format, arguments...) >= 0) return 0;
  *error = nullptr;
  vorn::note_memory_failure();
  return 0;
}

} // namespace

const Value *vorn_instance::find(const vorn_property &property) const noexcept {
  for (const Value &value : values)
    if (value.property() == &property) return &value;
  return nullptr;
}

vorn::OwnedInstance vorn::make_instance(vorn_class &cls, const char *name, ValueRoom room) {
  const size_t name_size = name ? strlen(name) + 1 : 0;
  const size_t begin = sizeof(vorn_instance) + name_size, end = begin + room.bytes;
  if (end > INT32_MAX) throw std::bad_alloc();
  auto *block = static_cast<char *>(::operator new(end));
  OwnedInstance instance(new (block) vorn_instance{.cls = &cls, .room_begin = static_cast<uint32_t>(begin)});
  instance->room_end = static_cast<uint32_t>(end) & INT32_MAX;
  if (name) instance->name = static_cast<char *>(memcpy(block + sizeof(vorn_instance), name, name_size));
  instance->values.reserve(room.values);
  return instance;
}

vorn::Value vorn::make_value(vorn_instance &instance, const vorn_property *property, std::string_view text) {
  const size_t room = instance.room_end - instance.room_begin;
  if (text.size() > max_packed_value || text.size() >= room) return {property, SharedText(text)};
  char *place = reinterpret_cast<char *>(&instance) + instance.room_begin;
  text.copy(place, text.size());
  place[text.size()] = '\0';
  instance.room_begin += static_cast<uint32_t>(text.size() + 1);
  return {property, place};
}

// The old value is freed last, since the new one may have been read from it.
void vorn::put_value(vorn_instance &instance, Value value) {
  reserve(instance, *value.property());
  if (const auto old = position_of(instance, *value.property()); old != instance.values.end()) {
    std::rotate(old, old + 1, instance.values.end());
    std::swap(instance.values.back(), value);
  } else {
    instance.values.push_back(std::move(value));
  }
}

int vorn::set_value(vorn_instance &instance, Value value) noexcept {
  if (!value_is_valid(instance, *value.property(), value.text())) return 1;
  return guarded(1, [&] { return store_and_tell(instance, std::move(value)); });
}

bool vorn::may_be_instance(const vorn_class &cls, const char *name) noexcept {
  if (cls.abstract != 0)
    return refuse_aloud("Cannot create instance of abstract class \"%s\".\n", cls.name.c_str());
  if (cls.type < VORN_CLASS_SINGLETON || cls.type > VORN_CLASS_GROUP_NAMED) return false;
  const bool named = cls.type == VORN_CLASS_UNIQUE_NAMED || cls.type == VORN_CLASS_GROUP_NAMED;
  if (named == (name != nullptr)) return true;
  // The doubled word is part of the text.
  return refuse_aloud(named ? "Instance of \"%s\" requires requires name.\n"
                            : "Instance of \"%s\" may not have a name.\n",
                      cls.name.c_str());
}

vorn_instance *vorn::new_instance(vorn_class *cls, const char *name, ValueRoom room) noexcept {
  if (!cls) return refuse_aloud("Null class.\n");
  if (!may_be_instance(*cls, name)) return nullptr;
  return guarded<vorn_instance *>(nullptr, [&] { return make_instance(*cls, name, room).release(); });
}

vorn_instance *vorn_instance_new(vorn_class *cls, const char *name) noexcept {
  return vorn::new_instance(cls, name, {});
}

vorn_instance *vorn_instance_copy(const vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_copy");
  return guarded<vorn_instance *>(nullptr, [&] {
    vorn::ValueRoom room = {.values = instance->values.size()};
    for (const Value &value : instance->values)
      if (!value.is_shared()) room.bytes += strlen(value.text()) + 1;
    vorn::OwnedInstance copy = vorn::make_instance(*instance->cls, instance->name, room);
    for (const Value &value : instance->values)
      copy->values.push_back(value.is_shared() ? value
                                               : vorn::make_value(*copy, value.property(), value.text()));
    return copy.release();
  });
}

int vorn_instance_delete(vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_delete");
  vorn::drop_listener(instance);
  delete instance;
  return 0;
}

vorn_class *vorn_instance_get_class(const vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_get_class");
  return instance->cls;
}

const char *vorn_instance_get_name(const vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_get_name");
  return instance->name;
}

const char *vorn_instance_get_value(const vorn_instance *instance, const char *property_name) noexcept {
  if (!instance) return refuse_null("vorn_instance_get_value");
  if (!property_name) return refuse_aloud("Null property.\n");
  const vorn_property *property = vorn_class_get_property(instance->cls, property_name);
  const Value *value = property ? instance->find(*property) : nullptr;
  return value ? value->text() : nullptr;
}

int vorn_instance_set_value(vorn_instance *instance, const char *property_name, const char *value) noexcept {
  if (!instance) return refuse_null("vorn_instance_set_value");
  if (!property_name) return refuse_aloud("Null property.\n");
  if (!value) return refuse_aloud("Null value.\n");
  const vorn_property *property = vorn_class_get_property(instance->cls, property_name);
  if (!property)
    return refuse_aloud("Property \"%s\" not in class \"%s\" (or its superclasses).\n", property_name,
                        instance->cls->name.c_str());
  if (!value_is_valid(*instance, *property, value)) return 1;
  return guarded(1, [&] { return store_and_tell(*instance, vorn::make_value(*instance, property, value)); });
}

int vorn_instance_get_status(const vorn_instance *instance) noexcept {
  if (!instance) return refuse_null<0>("vorn_instance_get_status");
  const char *status = vorn_instance_get_value(instance, "status");
  return status && strcmp(status, "up") == 0 ? 1 : 0;
}

int vorn_instance_is_valid(vorn_instances *collection, vorn_instance *instance, char **error) noexcept {
  if (!instance) return explain(error, "%s", "Null instance.");
  const char *class_name = instance->cls->name.c_str();
  if (instance->cls->instance_validate && !instance->cls->instance_validate(collection, instance))
    return explain(error, "Class \"%s\" validation function failed", class_name);
  if (const vorn_property *missing = missing_property(*instance))
    return explain(error, "Property \"%s\" of class \"%s\" is required on insert but not set.",
                   missing->name.c_str(), class_name);
  return 1;
}

void vorn_instance_print(const vorn_instance *instance, FILE *stream) noexcept {
  if (!instance) {
    vorn_debug_eprintf("Instance is null.\n");
    return;
  }
  const char *name = instance->name;
  fputs("Instance name: ", stream);
  vorn::put_escaped(stream, name ? name : "n/a");
  fprintf(stream, "\tclass: %s\n", instance->cls->name.c_str());
  for (const Value &value : instance->values) {
    fprintf(stream, "   %s =\t", value.property()->name.c_str());
    vorn::put_escaped(stream, value.text());
    fputs("\n", stream);
  }
}
