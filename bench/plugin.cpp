// Registers the measured class with the agent, as its plugin or in a program of ours.
#include "plugins/vorn.h"
#include "station.hpp"

namespace {

int is_not_empty(const char *value) { return value[0] != '\0'; }
int commit_nothing(vorn_commit_info *) { return 0; }
int refresh_nothing(vorn_refresh_info *) { return 0; }

bool add_property(vorn_class *cls, const char *name) {
  vorn_property *property = vorn_property_new(name);
  return property && vorn_property_set_is_valid_fn(property, is_not_empty) == 0 &&
         vorn_class_add_property(cls, property) == 0;
}

bool register_class() {
  vorn_class *cls = vorn_class_new(bench::station_class.c_str());
  bool done = cls && vorn_class_set_type(cls, VORN_CLASS_UNIQUE_NAMED) == 0 &&
              vorn_class_set_persistence(cls, 1) == 0;
  for (const char *name : bench::station_properties) done = done && add_property(cls, name);
  return done && vorn_classes_add(cls) == 0;
}

bool register_provider() {
  vorn_provider *provider = vorn_provider_new("station");
  return provider && vorn_provider_set_commit_fn(provider, commit_nothing, nullptr) == 0 &&
         vorn_provider_set_refresh_fn(provider, refresh_nothing, nullptr) == 0 &&
         vorn_providers_add(provider) == 0;
}

} // namespace

bool bench::register_station() { return register_class() && register_provider(); }

int vorn_plugin_init(void) { return !vorn_plugin_new(VORN_PLUGIN_VERSION) || !bench::register_station(); }
