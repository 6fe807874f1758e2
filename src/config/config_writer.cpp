// Writes the running configuration in the format of the configuration file.
#include "config/config.h"
#include "core/debug.h"
#include "core/handles.hpp"
#include "model/classes.hpp"
#include "model/instances.hpp"
#include "support/xml_nodes.hpp"
#include <libxml/parser.h>

namespace {

// Whether the file can hold a property's value or, for null, the instance's name. One control character would make
// the whole file unreadable at the next boot: what XML cannot carry is left out, alone, and reported.
bool can_save(const vorn_instance &instance, const char *property, const char *text) {
  if (vorn::xml_can_carry(text)) return true;
  const char *name = instance.name.get() ? instance.name.get() : "(null)";
  const char *class_name = instance.cls->name.c_str();
  if (property)
    vorn_debug_eprintf("The configuration file cannot hold property \"%s\" of instance \"%s\" of class \"%s\" - "
                       "leaving it out.\n",
                       property, name, class_name);
  else
    vorn_debug_eprintf("The configuration file cannot hold the name of instance \"%s\" of class \"%s\" - "
                       "leaving it out.\n",
                       name, class_name);
  return false;
}

bool is_saved(const vorn_instance &instance, const char *property_name) {
  const vorn_property *property = vorn_class_get_property(instance.cls, property_name);
  return property && property->persistence;
}

// Returns false when memory has run out, as all here.
bool write_instance(xmlNode *root, const vorn_class &cls, const vorn_instance &instance) {
  const char *name = instance.name.get();
  if (name && !can_save(instance, nullptr, name)) return true;
  xmlNode *element = vorn::add_element(root, cls.name.c_str());
  if (!element || (name && !vorn::set_attribute(element, "name", name))) return false;
  for (const auto &entry : *instance.values) {
    const char *value = entry.value.get();
    if (!is_saved(instance, entry.name()) || !can_save(instance, entry.name(), value)) continue;
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
    if (!cls.persistence || cls.superclass_name) continue;
    if (!write_class(xmlDocGetRootElement(document.get()), cls, instances)) return nullptr;
  }
  return document;
}

} // namespace

int vorn_config_dump_running(const char *path) noexcept {
  if (!path) return vorn_debug_eprintf("Config filename is null.\n"), 1;
  const vorn_instances *running = vorn_config_get_running();
  if (!running) return vorn_debug_eprintf("Null instances.\n"), 1;
  const vorn::XmlDocument document = build_document(*running);
  if (!document) return vorn_debug_eprintf("No memory to write the configuration.\n"), 1;
  xmlSaveFormatFile(path, document.get(), 1);
  return 0;
}
