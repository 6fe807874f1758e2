#include "config/config_reader.hpp"

#include "commit/changes.h"
#include "commit/providers.h"
#include "config/config.h"
#include "config/running.hpp"
#include "core/guard.hpp"
#include "core/log_text.hpp"
#include "core/memory_watch.hpp"
#include "core/refuse.hpp"
#include "model/classes.hpp"
#include "model/instances.hpp"
#include <iterator>
#include <vector>

namespace {

using vorn::ConfigDraft;
using vorn::CString;
using vorn::FileState;
using vorn::or_null;
using vorn::OwnedInstance;
using vorn::OwnedInstances;
using vorn::refuse_aloud;
using vorn::Value;

void load_value(vorn_instance &instance, const Value &value) {
  const vorn_property *property = value.property();
  const char *class_name = instance.cls->name.c_str();
  if (!property)
    vorn_debug_eprintf("Property \"%s\" is not valid for class \"%s\" - skipping.\n", value.text(),
                       class_name);
  else if (!vorn::keeps_class(instance, *property, value.text()) || vorn::set_value(instance, value) != 0)
    vorn_debug_eprintf("Value \"%s\" is not valid for property \"%s\" of class \"%s\" - skipping.\n",
                       value.text(), property->name.c_str(), class_name);
}

// Sets what was drafted, as if it came one by one. Throws std::bad_alloc.
void load_values(vorn_instance &instance, std::vector<Value> &drafts) {
  drafts.assign(std::move_iterator(instance.values.begin()), std::move_iterator(instance.values.end()));
  instance.values.clear();
  for (const Value &draft : drafts) load_value(instance, draft);
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

void load_element(vorn_instances &running, vorn_changes &changes, ConfigDraft::Element element,
                  std::vector<Value> &drafts) {
  if (element.fault) {
    vorn_debug_eprintf("%s\n", element.fault.get());
    return;
  }
  vorn_instance &instance = *element.instance;
  if (!vorn::may_be_instance(*instance.cls, instance.name)) {
    vorn_debug_eprintf("Bad instance name \"%s\" of class \"%s\"- skipping.\n", or_null(instance.name),
                       instance.cls->name.c_str());
    return;
  }
  load_values(instance, drafts);
  add_instance(running, changes, std::move(element.instance));
}

// Memory that runs out costs an element.
void load_elements(vorn_instances &running, vorn_changes &changes, ConfigDraft &draft) {
  std::vector<Value> drafts; // one for all instances
  while (!draft.empty())
    vorn::guarded(false, [&] {
      load_element(running, changes, draft.next(), drafts);
      return true;
    });
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

vorn::ReadConfig read_config(const char *path, bool keep) {
  vorn::ReadConfig config;
  config.draft =
      vorn::guarded(std::unique_ptr<ConfigDraft>(), [&] { return std::make_unique<ConfigDraft>(keep); });
  const FileState state = config.draft ? vorn::read_records(path, *config.draft) : FileState::undecided;
  config.undecided = state == FileState::undecided;
  if (state == FileState::whole && config.draft->has_right_root()) return config;
  config.draft.reset();
  if (state == FileState::undecided)
    vorn_debug_eprintf("Config not read: no memory, or no descriptor.\n");
  else if (state == FileState::faulty)
    vorn_debug_eprintf("Config not parsed successfully.\n");
  else
    vorn_debug_eprintf("Document of the wrong type: root node is not \"%s\".", ConfigDraft::root_name);
  return config;
}

} // namespace

vorn::ReadConfig vorn::open_config(const char *path) noexcept {
  if (path) return read_config(path, true);
  return {refuse_aloud("Config filename is null.\n")};
}

bool vorn::is_config(const char *path) noexcept { return read_config(path, false).draft != nullptr; }

int vorn::load_config(std::unique_ptr<ConfigDraft> draft) noexcept {
  const MemoryWatch memory;
  OwnedInstances running(vorn_instances_new());
  vorn_changes *changes = running ? vorn_changes_new(running.get()) : nullptr;
  if (!changes) return refuse_aloud("No memory to load the configuration.\n");
  set_running(running.get());
  load_elements(*running, *changes, *draft);
  draft.reset();
  add_singletons(*running, *changes);
  if (memory.has_failed()) refuse_saving("memory ran out while it was loaded");
  vorn_providers_commit(running.release(), changes, nullptr);
  vorn_changes_delete(changes);
  return 0;
}
