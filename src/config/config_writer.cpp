// Writes the running configuration in the format of the configuration file.
#include "config/config.h"
#include "config/in_place.hpp"
#include "config/paths.hpp"
#include "config/running.hpp"
#include "config/startup_write.hpp"
#include "core/guard.hpp"
#include "core/limits.hpp"
#include "core/refuse.hpp"
#include "model/classes.hpp"
#include "model/instances.hpp"
#include "xml/nodes.hpp"
#include "xml/serialize.hpp"
#include <cstring>

namespace {

using vorn::refuse_aloud;

// What XML cannot carry would make the whole file unreadable at the next boot: it is left out, alone, and
// reported.
bool leave_out(const vorn_instance &instance, const char *what, const char *property) {
  return refuse_aloud(
      "The configuration file cannot hold %s%s%s of instance \"%s\" of class \"%s\" - leaving it out.\n",
      what, property, *property ? "\"" : "", vorn::or_null(instance.name), instance.cls->name.c_str());
}

bool can_save_name(const vorn_instance &instance) {
  const char *name = instance.name;
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

// All that write throw std::bad_alloc.
void write_value(std::string &out, const char *property, const char *value) {
  out.append("    <").append(property);
  if (!*value) {
    out += "/>\n";
    return;
  }
  out += '>';
  vorn::append_xml_text(out, value);
  out.append("</").append(property).append(">\n");
}

void write_instance(std::string &out, const char *class_name, const vorn_instance &instance) {
  if (!can_save_name(instance)) return;
  out.append("  <").append(class_name);
  if (const char *name = instance.name) {
    out += " name=\"";
    vorn::append_xml_attribute(out, name);
    out += '"';
  }
  const size_t head = out.size();
  out += ">\n";
  const size_t empty = out.size();
  for (const vorn::Value &value : instance.values) {
    const char *property = value.property()->name.c_str();
    if (value.property()->persistence && can_save_value(instance, property, value.text()))
      write_value(out, property, value.text());
  }
  if (out.size() > empty)
    out.append("  </").append(class_name).append(">\n");
  else
    out.replace(head, std::string::npos, "/>\n");
}

// The bytes that libxml2 writes for such a document, indented.
std::string write_document(const vorn_instances &instances) {
  std::string out = "<?xml version=\"1.0\"?>\n<config>\n";
  const size_t empty = out.size();
  for (const auto &entry : vorn::classes()) {
    const vorn_class &cls = *entry.value;
    // Instances of a subclass are written as such of the class that it extends.
    if (!cls.persistence || cls.superclass_name || !can_save_class(cls)) continue;
    vorn_instances_iterator it(instances, cls);
    while (it.has_next()) write_instance(out, cls.name.c_str(), *it.next());
  }
  if (out.size() > empty)
    out += "</config>\n";
  else
    out.replace(empty - strlen(">\n"), std::string::npos, "/>\n");
  return out;
}

} // namespace

int vorn_config_dump_running(const char *path) noexcept {
  if (!path) return refuse_aloud("Config filename is null.\n");
  const vorn_instances *running = vorn_config_get_running();
  if (!running) return refuse_aloud("Null instances.\n");
  const bool is_startup = strcmp(path, vorn::startup_path) == 0;
  if (is_startup && !vorn::may_be_saved()) return 1;
  std::string content;
  const bool whole = vorn::guarded(false, [&] {
    content = write_document(*running);
    return true;
  });
  if (!whole) return refuse_aloud("No memory to write the configuration.\n");
  if (content.size() > vorn::max_config_size)
    return refuse_aloud("The configuration is too long to be read again: %zu bytes.\n", content.size());
  return is_startup ? vorn::replace_startup(content) : vorn::write_file(path, content);
}
