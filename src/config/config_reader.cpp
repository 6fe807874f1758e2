#include "config/config_reader.hpp"

#include "commit/changes.h"
#include "commit/providers.h"
#include "config/config.h"
#include "config/running.hpp"
#include "core/log_text.hpp"
#include "core/memory_watch.hpp"
#include "core/refuse.hpp"
#include "model/classes.hpp"
#include "model/instances.hpp"
#include "xml/nodes.hpp"
#include <libxml/parser.h>
#include <malloc.h>

namespace {

using vorn::CString;
using vorn::element_text;
using vorn::node_name;
using vorn::or_null;
using vorn::OwnedInstance;
using vorn::refuse_aloud;
using vorn::XmlDocument;

constexpr char root_name[] = "config";

const xmlNode *find_child(const xmlNode &element, const char *name) {
  for (const xmlNode *child = vorn::first_child(element); child; child = child->next)
    if (child->type == XML_ELEMENT_NODE && vorn::is_named(child, name)) return child;
  return nullptr;
}

// The subclass that an element of an abstract class names by its identifier property.
const char *subclass_name(const vorn_class &cls, const xmlNode &element) {
  const char *name = cls.name.c_str();
  const char *property = cls.subclass_identifier ? cls.subclass_identifier->name.c_str() : "(null)";
  const xmlNode *identifier = find_child(element, property);
  if (!identifier)
    return refuse_aloud("Instance of class \"%s\" does not contain a subclass identifier property \"%s\".\n",
                        name, property);
  const char *value = element_text(*identifier);
  if (!value)
    return refuse_aloud("Instance of class \"%s\" subclass identifier property \"%s\" has a null value.\n",
                        name, property);
  const vorn_class *subclass = vorn_classes_get(value);
  if (!subclass)
    return refuse_aloud("Instance of class \"%s\" subclass identifier property \"%s\" value is an "
                        "unknown class \"%s\".\n",
                        name, property, vorn::Excerpt(value).get());
  if (!subclass->superclass_name || *subclass->superclass_name != name)
    return refuse_aloud("Instance of class \"%s\" subclass identifier property \"%s\" value is \"%s\", "
                        "which is not a subclass of \"%s\".\n",
                        name, property, value, name);
  return value;
}

void load_value(vorn_instance &instance, const xmlNode &element) {
  const char *name = node_name(element);
  const char *class_name = instance.cls->name.c_str();
  const char *text = element_text(element);
  const char *value = text ? text : "";
  const vorn_property *property = vorn_class_get_property(instance.cls, name);
  if (!property)
    vorn_debug_eprintf("Property \"%s\" is not valid for class \"%s\" - skipping.\n", name, class_name);
  else if (!vorn::keeps_class(instance, *property, value) ||
           vorn_instance_set_value(&instance, name, value) != 0)
    vorn_debug_eprintf("Value \"%s\" is not valid for property \"%s\" of class \"%s\" - skipping.\n", value,
                       name, class_name);
}

// Checks the instance and adds it; what is refused is freed.
void add_instance(vorn_instances &running, vorn_changes &changes, OwnedInstance instance) {
  char *reason = nullptr;
  const bool valid = vorn_instance_is_valid(&running, instance.get(), &reason);
  const CString owned_reason(reason);
  if (!valid)
    vorn_debug_eprintf("Instance is invalid: %s Skipping instance.", or_null(reason));
  else if (vorn_instances_add(&running, instance.get()) != 0)
    vorn_debug_eprintf("Couldn't add instance \"%s\" of class \"%s\". Skipping instance.\n",
                       or_null(instance->name), instance->cls->name.c_str());
  else
    vorn_changes_instance_inserted(&changes, instance.release());
}

void load_instance(vorn_instances &running, vorn_changes &changes, const xmlDoc &document,
                   const xmlNode &element) {
  const char *class_name = vorn_config_get_class_name(&document, &element);
  if (!class_name) return;
  const char *name = vorn_util_xmlGetProp(&element, "name");
  OwnedInstance instance(vorn_instance_new(vorn_classes_get(class_name), name));
  if (!instance) {
    vorn_debug_eprintf("Bad instance name \"%s\" of class \"%s\"- skipping.\n", or_null(name), class_name);
    return;
  }
  for (const xmlNode *child = vorn::first_child(element); child; child = child->next)
    if (child->type == XML_ELEMENT_NODE) load_value(*instance, *child);
  add_instance(running, changes, std::move(instance));
}

void load_instances(vorn_instances &running, vorn_changes &changes, const xmlDoc &document) {
  const xmlNode *root = xmlDocGetRootElement(&document);
  for (const xmlNode *child = root->children; child; child = child->next)
    if (child->type == XML_ELEMENT_NODE) load_instance(running, changes, document, *child);
}

// Frees the document, whole. Freed node by node while the instances are made, it would leave these scattered
// over the holes for good: measured, twice the memory after loading, and three times the time of every later
// request.
void free_document(XmlDocument document) {
  document.reset();
#ifdef __GLIBC__
  malloc_trim(0); // its pages, too
#endif
}

// Every singleton class has its instance, whether the file has one or not.
void add_singletons(vorn_instances &running, vorn_changes &changes) {
  for (const auto &cls : vorn::classes()) {
    if (cls.value->type != VORN_CLASS_SINGLETON) continue;
    if (vorn_instances_iterator(running, *cls.value).has_next()) continue;
    OwnedInstance instance(vorn_instance_new(cls.value, nullptr));
    if (!instance || vorn_instances_add(&running, instance.get()) != 0) continue;
    vorn_changes_instance_inserted(&changes, instance.release());
  }
}

bool has_right_root(const xmlDoc &document) {
  const xmlNode *root = xmlDocGetRootElement(&document);
  if (!root) return refuse_aloud("Empty document.\n");
  return vorn::is_named(root, root_name) ||
         refuse_aloud("Document of the wrong type: root node is not \"%s\".", root_name);
}

} // namespace

vorn::ParsedFile vorn::open_config(const char *path) noexcept {
  ParsedFile file;
  if (!path) {
    vorn_debug_eprintf("Config filename is null.\n");
    return file;
  }
  file = parse_file(path);
  if (file.undecided)
    vorn_debug_eprintf("Config not read: no memory, or no descriptor.\n");
  else if (!file.document)
    vorn_debug_eprintf("Config not parsed successfully.\n");
  else if (!has_right_root(*file.document))
    file.document.reset();
  return file;
}

int vorn::load_config(XmlDocument document) noexcept {
  const MemoryWatch memory;
  OwnedInstances running(vorn_instances_new());
  vorn_changes *changes = running ? vorn_changes_new(running.get()) : nullptr;
  if (!changes) return refuse_aloud("No memory to load the configuration.\n");
  set_running(running.get());
  load_instances(*running, *changes, *document);
  free_document(std::move(document));
  add_singletons(*running, *changes);
  if (memory.has_failed()) refuse_saving("memory ran out while it was loaded");
  vorn_providers_commit(running.release(), changes, nullptr);
  vorn_changes_delete(changes);
  return 0;
}

const char *vorn_config_get_class_name(const xmlDoc *, const xmlNode *element) noexcept {
  if (!element) return nullptr;
  const vorn_class *cls = vorn_classes_get(node_name(*element));
  if (!cls)
    return refuse_aloud("Instance has an unknown class \"%s\".\n", vorn::Excerpt(node_name(*element)).get());
  return cls->abstract == 1 ? subclass_name(*cls, *element) : vorn::text_of(element->name);
}
