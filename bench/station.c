#include "station.h"

#include "plugins/vorn.h"

static int is_not_empty(const char *value) { return value[0] != '\0'; }

static int commit_nothing(vorn_commit_info *info) {
  (void)info;
  return 0;
}

static int refresh_nothing(vorn_refresh_info *info) {
  (void)info;
  return 0;
}

static int add_property(vorn_class *cls, const char *name) {
  vorn_property *property = vorn_property_new(name);
  return property == NULL || vorn_property_set_is_valid_fn(property, is_not_empty) != 0 ||
         vorn_class_add_property(cls, property) != 0;
}

static int register_class(void) {
  vorn_class *cls = vorn_class_new(STATION_CLASS);
  if (cls == NULL || vorn_class_set_type(cls, VORN_CLASS_UNIQUE_NAMED) != 0 ||
      vorn_class_set_persistence(cls, 1) != 0)
    return 1;
  for (int i = 0; i < STATION_PROPERTIES; i++)
    if (add_property(cls, station_properties[i]) != 0) return 1;
  return vorn_classes_add(cls);
}

static int register_provider(void) {
  vorn_provider *provider = vorn_provider_new("station");
  return provider == NULL || vorn_provider_set_commit_fn(provider, commit_nothing, NULL) != 0 ||
         vorn_provider_set_refresh_fn(provider, refresh_nothing, NULL) != 0 ||
         vorn_providers_add(provider) != 0;
}

int station_register(void) { return register_class() != 0 || register_provider() != 0; }
