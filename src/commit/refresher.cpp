#include "commit/refresher.hpp"

#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "model/classes.h"
#include "model/instance.h"
#include "model/instances.hpp"

namespace {

using vorn::guarded;
using vorn::refuse;
using vorn::refuse_aloud;

void refresh_instance(const vorn_refresher &refresher, vorn_instance *instance, vorn_refresh_info *info) {
  if (refresher.instance) refresher.instance(instance, info);
  for (const auto &property : refresher.properties) {
    const char *name = property.name();
    if (!vorn_refresh_info_contains_property(info, instance, name)) continue;
    vorn_debug_lprintf(4, "  Refreshing property %s.\n", name);
    vorn_instance_set_value(instance, name, property.value(instance, name, info));
  }
}

} // namespace

vorn_refresher *vorn_refresher_new(const char *class_name) noexcept {
  if (!class_name) return nullptr;
  return guarded<vorn_refresher *>(nullptr, [&] { return new vorn_refresher{.class_name = class_name}; });
}

int vorn_refresher_set_pre_refresh_fn(vorn_refresher *refresher, vorn_refresher_pre_refresh_fn fn) noexcept {
  if (!refresher) return refuse("Null refresher.\n");
  if (!fn) return refuse("Null pre_refresh.\n");
  refresher->pre_refresh = fn;
  return 0;
}

int vorn_refresher_set_instance_fn(vorn_refresher *refresher, vorn_refresher_instance_fn fn) noexcept {
  if (!refresher) return refuse("Null refresher.\n");
  if (!fn) return refuse("Null instance_fn.\n");
  refresher->instance = fn;
  return 0;
}

int vorn_refresher_set_property_fn(vorn_refresher *refresher, const char *property_name,
                                   vorn_refresher_property_fn fn) noexcept {
  if (!refresher) return refuse("Null refresher.\n");
  if (!property_name) return refuse("Null property.\n");
  if (!fn) return refuse("Null property_fn.\n");
  return guarded(1, [&] { return refresher->properties.insert(property_name, fn) ? 0 : 1; });
}

int vorn_refresher_fn(vorn_refresh_info *info) noexcept {
  const auto *refresher = static_cast<const vorn_refresher *>(vorn_refresh_info_get_data(info));
  if (!refresher) return refuse("vorn_refresher_fn called without refresher as data.\n");
  const char *class_name = refresher->class_name;
  if (!vorn_refresh_info_contains_class(info, class_name)) return 0;
  vorn_debug_lprintf(4, "Refreshing class %s.\n", class_name);
  if (refresher->pre_refresh) refresher->pre_refresh(info);
  vorn_instances *instances = vorn_refresh_info_get_instances(info);
  const vorn_class *cls = vorn_classes_get(class_name);
  if (!cls) return refuse_aloud<0>("Unknown class \"%s\".\n", class_name);
  if (!instances) return refuse_aloud<0>("Null instances.\n");
  return guarded(0, [&] {
    for (vorn_instances_iterator it(*instances, *cls); vorn_instance *shown = it.next();)
      if (vorn_refresh_info_contains_instance(info, shown))
        refresh_instance(*refresher, &vorn::own(*instances, *shown), info);
    return 0;
  });
}
