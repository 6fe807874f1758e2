#include "model/instance.hpp"

#include "core/guard.hpp"
#include "core/log_text.hpp"
#include "core/refuse.hpp"
#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

using vorn::guarded;
using vorn::refuse_aloud;
using vorn::SharedText;

template <int value = 1> vorn::Refusal<value> refuse_null(const char *operation) {
  return refuse_aloud<value>("Null instance. (%s)\n", operation);
}

// Whether an instance of the class may have this name, or none.
bool name_fits(const vorn_class &cls, const char *name) {
  const bool named = cls.type == VORN_CLASS_UNIQUE_NAMED || cls.type == VORN_CLASS_GROUP_NAMED;
  if (named == (name != nullptr)) return true;
  // The doubled word is part of the text.
  return refuse_aloud(named ? "Instance of \"%s\" requires requires name.\n"
                            : "Instance of \"%s\" may not have a name.\n",
                      cls.name.c_str());
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

// Puts the value after all others. What can fail comes first; the old value is freed last, since the new one
// may have been read from it.
void store(vorn_instance &instance, const char *property_name, SharedText value) {
  if (instance.values.use_count() > 1)
    instance.values = std::make_shared<vorn_instance::Values>(*instance.values);
  vorn_instance::Values &values = *instance.values;
  if (auto *entry = values.find(property_name)) {
    std::swap(entry->value, value);
    values.move_to_end(entry);
  } else {
    values.insert(property_name, std::move(value));
  }
}

// The first property that an instance needs and does not have, or null.
const vorn_property *missing_property(const vorn_instance &instance) {
  vorn_class_property_iterator it(*instance.cls);
  while (const vorn_property *property = it.next())
    if (property->required_on_insert && !vorn_instance_get_value(&instance, property->name.c_str()))
      return property;
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

vorn_instance *vorn_instance_new(vorn_class *cls, const char *name) noexcept {
  if (!cls) return refuse_aloud("Null class.\n");
  if (cls->abstract != 0)
    return refuse_aloud("Cannot create instance of abstract class \"%s\".\n", cls->name.c_str());
  if (cls->type < VORN_CLASS_SINGLETON || cls->type > VORN_CLASS_GROUP_NAMED) return nullptr;
  if (!name_fits(*cls, name)) return nullptr;
  return guarded<vorn_instance *>(nullptr, [&] {
    return new vorn_instance{
        cls, SharedText(name),
        std::make_shared<vorn_instance::Values>(std::max<size_t>(cls->properties.size(), 1))};
  });
}

vorn_instance *vorn_instance_copy(const vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_copy");
  return guarded<vorn_instance *>(nullptr, [&] {
    return new vorn_instance{instance->cls, instance->name, instance->values};
  });
}

int vorn_instance_delete(vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_delete");
  delete instance;
  return 0;
}

vorn_class *vorn_instance_get_class(const vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_get_class");
  return instance->cls;
}

const char *vorn_instance_get_name(const vorn_instance *instance) noexcept {
  if (!instance) return refuse_null("vorn_instance_get_name");
  return instance->name.get();
}

const char *vorn_instance_get_value(const vorn_instance *instance, const char *property_name) noexcept {
  if (!instance) return refuse_null("vorn_instance_get_value");
  if (!property_name) return refuse_aloud("Null property.\n");
  const auto *entry = instance->values->find(property_name);
  return entry ? entry->value.get() : nullptr;
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
  return guarded(1, [&] {
    store(*instance, property_name, SharedText(value));
    if (instance->listener) instance->listener(instance, property_name, instance->listener_data);
    return 0;
  });
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
  const char *name = instance->name.get();
  fputs("Instance name: ", stream);
  vorn::put_escaped(stream, name ? name : "n/a");
  fprintf(stream, "\tclass: %s\n", instance->cls->name.c_str());
  for (const auto &entry : *instance->values) {
    fprintf(stream, "   %s =\t", entry.name());
    vorn::put_escaped(stream, entry.value.get());
    fputs("\n", stream);
  }
}

int vorn_instance_set_listener(vorn_instance *instance, vorn_instance_listener_fn fn, void *data) noexcept {
  if (!instance) return 1;
  instance->listener = fn;
  instance->listener_data = fn ? data : nullptr;
  return 0;
}
