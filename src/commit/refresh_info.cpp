#include "commit/refresh_info.h"

#include "core/guard.hpp"
#include "core/keyed_table.hpp"
#include "core/log_text.hpp"
#include "model/instance.hpp"
#include <optional>

namespace {

using vorn::guarded;
using vorn::KeyedTable;
using vorn::NameSet;

// The properties that are asked for of one instance, or of every instance.
struct InstanceRequest {
  bool all_properties = false;
  NameSet properties{1};

  bool asks_for(const char *property) const { return all_properties || properties.find(property); }
};

// What is asked for of one class.
struct ClassRequest {
  KeyedTable<InstanceRequest> named{1}; // by instance name
  std::optional<InstanceRequest> every{};

  // The request of a name, or of every instance for null.
  InstanceRequest &find_or_add(const char *instance_name) {
    if (!instance_name) return every ? *every : every.emplace();
    return named.find_or_insert(instance_name)->value;
  }
};

void print_properties(const InstanceRequest &request, FILE *stream) {
  fputs("Properties:", stream);
  if (request.all_properties) {
    fputs(" All.\n", stream);
  } else if (!request.properties.empty()) {
    for (const auto &property : request.properties) {
      fputs(" ", stream);
      vorn::put_escaped(stream, property.name());
    }
    fputs(".\n", stream);
  } else {
    fputs(" None.\n", stream);
  }
}

void print_class(const ClassRequest &request, FILE *stream) {
  if (!request.named.empty()) {
    fputs("    Named instances:\n", stream);
    for (const auto &instance : request.named) {
      fputs("      Instance ", stream);
      vorn::put_escaped(stream, instance.name());
      fputs(": ", stream);
      print_properties(instance.value, stream);
    }
  }
  if (!request.every) return;
  fputs("    Every instance: ", stream);
  print_properties(*request.every, stream);
}

} // namespace

struct vorn_refresh_info {
  vorn_instances *instances;
  KeyedTable<ClassRequest> classes{1};
  void *data = nullptr;
};

namespace {

// The request that covers an instance's class: requests are made for the base class of a family.
const ClassRequest *request_for(const vorn_refresh_info *info, const vorn_instance *instance) {
  if (!info || !instance) return nullptr;
  const vorn_class &cls = instance->cls->superclass ? *instance->cls->superclass : *instance->cls;
  const auto *entry = info->classes.find(cls.name.c_str());
  return entry ? &entry->value : nullptr;
}

// The request of the instance's own name, or null.
const InstanceRequest *named_request(const ClassRequest &request, const vorn_instance &instance) {
  const auto *entry = instance.name ? request.named.find(instance.name) : nullptr;
  return entry ? &entry->value : nullptr;
}

} // namespace

vorn_refresh_info *vorn_refresh_info_new(vorn_instances *instances) noexcept {
  return guarded<vorn_refresh_info *>(nullptr, [&] { return new vorn_refresh_info{.instances = instances}; });
}

int vorn_refresh_info_add_instance(vorn_refresh_info *info, const char *class_name,
                                   const char *instance_name) noexcept {
  if (!info || !class_name) return 1;
  return guarded(1, [&] {
    info->classes.find_or_insert(class_name)->value.find_or_add(instance_name);
    return 0;
  });
}

int vorn_refresh_info_add_all_properties(vorn_refresh_info *info, const char *class_name,
                                         const char *instance_name) noexcept {
  if (vorn_refresh_info_add_instance(info, class_name, instance_name) != 0) return 1;
  info->classes.find(class_name)->value.find_or_add(instance_name).all_properties = true;
  return 0;
}

int vorn_refresh_info_add_property(vorn_refresh_info *info, const char *class_name, const char *instance_name,
                                   const char *property_name) noexcept {
  if (!property_name || vorn_refresh_info_add_instance(info, class_name, instance_name) != 0) return 1;
  ClassRequest &cls = info->classes.find(class_name)->value;
  if (cls.every && cls.every->all_properties) return 0;
  InstanceRequest &request = cls.find_or_add(instance_name);
  if (request.all_properties) return 0;
  return guarded(1, [&] {
    request.properties.insert(property_name);
    return 0;
  });
}

int vorn_refresh_info_contains_class(const vorn_refresh_info *info, const char *class_name) noexcept {
  if (!info) return 1;
  return class_name && info->classes.find(class_name) ? 1 : 0;
}

int vorn_refresh_info_contains_instance(const vorn_refresh_info *info,
                                        const vorn_instance *instance) noexcept {
  const ClassRequest *request = request_for(info, instance);
  return request && (request->every || named_request(*request, *instance)) ? 1 : 0;
}

int vorn_refresh_info_contains_property(const vorn_refresh_info *info, const vorn_instance *instance,
                                        const char *property_name) noexcept {
  const ClassRequest *request = request_for(info, instance);
  if (!request || !property_name) return 0;
  if (request->every && request->every->asks_for(property_name)) return 1;
  const InstanceRequest *named = named_request(*request, *instance);
  return named && named->asks_for(property_name) ? 1 : 0;
}

vorn_instances *vorn_refresh_info_get_instances(const vorn_refresh_info *info) noexcept {
  return info ? info->instances : nullptr;
}

void *vorn_refresh_info_get_data(const vorn_refresh_info *info) noexcept {
  return info ? info->data : nullptr;
}

void vorn_refresh_info_set_data(vorn_refresh_info *info, void *data) noexcept {
  if (info) info->data = data;
}

void vorn_refresh_info_print(const vorn_refresh_info *info, FILE *stream) noexcept {
  fputs("Refresh info:\n", stream);
  if (!info) {
    fputs("  Null info.\n", stream);
    return;
  }
  if (info->classes.empty()) fputs("  No classes to refresh.\n", stream);
  for (const auto &cls : info->classes) {
    fprintf(stream, "  Class %s:\n", cls.name());
    print_class(cls.value, stream);
  }
}

void vorn_refresh_info_delete(vorn_refresh_info *info) noexcept { delete info; }
