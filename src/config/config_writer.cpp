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
#include <string>
#include <vector>

namespace {

using vorn::GrowingText;
using vorn::refuse_aloud;

// What XML cannot carry would make the whole file unreadable at the next boot: it is left out, alone, and
// reported.
bool leave_out(const vorn_instance &instance, const char *what, const char *property) {
  return refuse_aloud(
      "The configuration file cannot hold %s%s%s of instance \"%s\" of class \"%s\" - leaving it out.\n",
      what, property, *property ? "\"" : "", vorn::or_null(instance.name), instance.cls->name.c_str());
}

bool can_save_class(const vorn_class &cls) {
  if (vorn::is_xml_name(cls.name.c_str())) return true;
  return refuse_aloud("The configuration file cannot hold class \"%s\" - leaving it out.\n",
                      cls.name.c_str());
}

// Writes the bytes that libxml2 writes for such a document, indented. Throws std::bad_alloc.
class Writer {
public:
  explicit Writer(const vorn_instances &instances);
  GrowingText release() { return std::move(out_); }

private:
  // How the values of a property are written. Most instances have their values in the order of the one
  // before: it is found by its place there.
  struct Tags {
    const vorn_property *property;
    bool can_save;
    std::string start, end, empty;
  };

  const Tags &tags_of(const vorn_property &property, size_t place);
  void write_class(const vorn_instances &instances, const vorn_class &cls);
  void write_instance(const std::string &class_name, const vorn_instance &instance);
  bool write_name(const vorn_instance &instance);
  void write_values(const vorn_instance &instance);
  bool write_value(const Tags &tags, const char *value);

  GrowingText out_{};
  std::vector<Tags> tags_{};
};

Writer::Writer(const vorn_instances &instances) {
  out_ += "<?xml version=\"1.0\"?>\n<config>\n";
  const size_t empty = out_.size();
  for (const auto &cls : vorn::classes()) write_class(instances, *cls.value);
  if (out_.size() > empty) {
    out_ += "</config>\n";
  } else {
    out_.cut(empty - strlen(">\n"));
    out_ += "/>\n";
  }
}

const Writer::Tags &Writer::tags_of(const vorn_property &property, size_t place) {
  if (place >= tags_.size()) tags_.resize(place + 1);
  Tags &tags = tags_[place];
  if (tags.property == &property) return tags;
  const std::string &name = property.name, indented = "    <" + name;
  tags = {&property, vorn::is_xml_name(name.c_str()), indented + ">", "</" + name + ">\n", indented + "/>\n"};
  return tags;
}

// Instances of a subclass are written as such of the class that it extends.
void Writer::write_class(const vorn_instances &instances, const vorn_class &cls) {
  if (!cls.persistence || cls.superclass_name || !can_save_class(cls)) return;
  vorn_instances_iterator it(instances, cls);
  while (it.has_next()) write_instance(cls.name, *it.next());
}

void Writer::write_instance(const std::string &class_name, const vorn_instance &instance) {
  const size_t begin = out_.size();
  (out_ += "  <") += class_name;
  if (!write_name(instance)) {
    out_.cut(begin);
    leave_out(instance, "the name", "");
    return;
  }
  const size_t head = out_.size();
  out_ += ">\n";
  const size_t empty = out_.size();
  write_values(instance);
  if (out_.size() > empty) {
    ((out_ += "  </") += class_name) += ">\n";
  } else {
    out_.cut(head);
    out_ += "/>\n";
  }
}

bool Writer::write_name(const vorn_instance &instance) {
  if (!instance.name) return true;
  out_ += " name=\"";
  const bool written = vorn::append_xml_attribute(out_, instance.name);
  out_ += "\"";
  return written;
}

void Writer::write_values(const vorn_instance &instance) {
  size_t place = 0;
  for (const vorn::Value &value : instance.values) {
    const vorn_property &property = *value.property();
    if (property.persistence && !write_value(tags_of(property, place), value.text()))
      leave_out(instance, "property \"", property.name.c_str());
    ++place;
  }
}

bool Writer::write_value(const Tags &tags, const char *value) {
  if (!tags.can_save) return false;
  const size_t begin = out_.size();
  out_ += *value ? tags.start : tags.empty;
  if (!*value) return true;
  if (vorn::append_xml_text(out_, value)) {
    out_ += tags.end;
    return true;
  }
  out_.cut(begin);
  return false;
}

} // namespace

int vorn_config_dump_running(const char *path) noexcept {
  if (!path) return refuse_aloud("Config filename is null.\n");
  const vorn_instances *running = vorn_config_get_running();
  if (!running) return refuse_aloud("Null instances.\n");
  const bool is_startup = strcmp(path, vorn::startup_path) == 0;
  if (is_startup && !vorn::may_be_saved()) return 1;
  const GrowingText text = vorn::guarded(GrowingText(), [&] { return Writer(*running).release(); });
  const std::string_view content = text.view();
  if (content.empty()) return refuse_aloud("No memory to write the configuration.\n");
  if (content.size() > vorn::max_config_size)
    return refuse_aloud("The configuration is too long to be read again: %zu bytes.\n", content.size());
  return is_startup ? vorn::replace_startup(content) : vorn::write_file(path, content);
}
