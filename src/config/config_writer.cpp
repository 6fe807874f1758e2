// Writes the running configuration in the format of the configuration file.
#include "config/config.h"
#include "core/refuse.hpp"
#include "model/classes.hpp"
#include "model/instances.hpp"
#include "xml/handles.hpp"
#include "xml/nodes.hpp"

namespace {

using vorn::refuse_aloud;

// What XML cannot carry would make the whole file unreadable at the next boot: it is left out, alone, and
// reported.
bool leave_out(const vorn_instance &instance, const char *what, const char *property) {
  return refuse_aloud(
      "The configuration file cannot hold %s%s%s of instance \"%s\" of class \"%s\" - leaving it out.\n",
      what, property, *property ? "\"" : "", vorn::or_null(instance.name.get()), instance.cls->name.c_str());
}

bool can_save_name(const vorn_instance &instance) {
  const char *name = instance.name.get();
  return !name || vorn::xml_can_carry(name) || leave_out(instance, "the name", "");
}

bool can_save_value(const vorn_instance &instance, const char *property, const char *value) {
  return (vorn::is_xml_name(property) && vorn::xml_can_carry(value)) ||
         leave_out(instance, "property \"", property);
}

bool can_save_class(const vorn_class &cls) {
  if (vorn::is_xml_name(cls.name.c_str())) return true;
  return refuse_aloud("The configuration file cannot hold class \"%s\" - leaving it out.\n",
                      cls.name.c_str());
}

bool is_saved(const vorn_instance &instance, const char *property_name) {
  const vorn_property *property = vorn_class_get_property(instance.cls, property_name);
  return property && property->persistence;
}

// Returns false when memory has run out, as all here.
bool write_instance(xmlNode *root, const vorn_class &cls, const vorn_instance &instance) {
  const char *name = instance.name.get();
  if (!can_save_name(instance)) return true;
  xmlNode *element = vorn::add_element(root, cls.name.c_str());
  if (!element || (name && !vorn::set_attribute(element, "name", name))) return false;
  for (const auto &entry : *instance.values) {
    const char *value = entry.value.get();
    if (!is_saved(instance, entry.name()) || !can_save_value(instance, entry.name(), value)) continue;
    if (!vorn::add_element(element, entry.name(), value)) return false;
  }
  return true;
}

bool write_class(xmlNode *root, const vorn_class &cls, const vorn_instances &instances) {
  vorn_instances_iterator it(instances, cls);
  while (it.has_next())
    if (!write_instance(root, cls, *it.next())) return false;
  return true;
}

// The whole document, or null without memory: half of one must not replace a file.
vorn::XmlDocument build_document(const vorn_instances &instances) {
  vorn::XmlDocument document(vorn::new_document("config"));
  if (!document) return nullptr;
  for (const auto &entry : vorn::classes()) {
    const vorn_class &cls = *entry.value;
    // Instances of a subclass are written as such of the class that it extends.
    if (!cls.persistence || cls.superclass_name || !can_save_class(cls)) continue;
    if (!write_class(xmlDocGetRootElement(document.get()), cls, instances)) return nullptr;
  }
  return document;
}

} // namespace

int vorn_config_dump_running(const char *path) noexcept {
  if (!path) return refuse_aloud("Config filename is null.\n");
  const vorn_instances *running = vorn_config_get_running();
  if (!running) return refuse_aloud("Null instances.\n");
  const vorn::XmlDocument document = build_document(*running);
  if (!document) return refuse_aloud("No memory to write the configuration.\n");
  xmlSaveFormatFile(path, document.get(), 1);
  return 0;
}
