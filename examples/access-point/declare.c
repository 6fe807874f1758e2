#include "declare.h"

#include <stdlib.h>

int plugin_is_accepted(void) {
  vorn_plugin *plugin = vorn_plugin_new(VORN_PLUGIN_VERSION);
  if (plugin == NULL) return 0;
  /* The record only tells a plugin the name of its file, which these plugins do not need. */
  free(plugin->name);
  free(plugin);
  return 1;
}

/* The setters fail for null only, so their results need no check here. */
static vorn_property *new_property(const struct property_row *row) {
  vorn_property *property = vorn_property_new(row->name);
  if (property == NULL) return NULL;
  vorn_property_set_writable(property, row->use == SETTING || row->use == REQUIRED);
  vorn_property_set_required_on_insert(property, row->use == REQUIRED || row->use == FIXED);
  if (row->is_valid != NULL) vorn_property_set_is_valid_fn(property, row->is_valid);
  if (row->is_instance_valid != NULL)
    vorn_property_set_is_instance_valid_fn(property, row->is_instance_valid);
  if (row->use == LIVE) vorn_property_set_persistence(property, 0); /* the others follow their class */
  return property;
}

static int add_properties(vorn_class *cls, const struct property_row *rows) {
  for (const struct property_row *row = rows; row->name != NULL; row++) {
    vorn_property *property = new_property(row);
    if (property == NULL) return 1;
    if (vorn_class_add_property(cls, property) != 0) {
      vorn_property_delete(property);
      return 1;
    }
  }
  return 0;
}

static int make_abstract(vorn_class *cls, const char *identifier) {
  vorn_property *property = vorn_property_new(identifier);
  if (property == NULL) return 1;
  if (vorn_class_set_abstract(cls, 1) == 0 && vorn_class_set_subclass_identifier(cls, property) == 0)
    return 0;
  vorn_property_delete(property);
  return 1;
}

static int fill_class(vorn_class *cls, const struct class_row *row) {
  if (vorn_class_set_type(cls, row->type) != 0) return 1;
  vorn_class_set_persistence(cls, 1);
  vorn_class_set_instance_validate_fn(cls, row->is_instance_valid);
  if (row->superclass != NULL && vorn_class_set_superclass(cls, row->superclass) != 0) return 1;
  if (row->identifier != NULL && make_abstract(cls, row->identifier) != 0) return 1;
  if (add_properties(cls, row->properties) != 0) return 1;
  return row->tables != NULL && vorn_util_txt_tables_add_properties(row->tables, cls) != 0;
}

int declare_class(const struct class_row *row) {
  vorn_class *cls = vorn_class_new(row->name);
  /* There is no function that frees a class: a failure here leaks it, once, with the reason in the log. */
  if (cls != NULL && fill_class(cls, row) == 0 && vorn_classes_add(cls) == 0) return 0;
  vorn_debug_eprintf("Class \"%s\" cannot be declared.\n", row->name);
  return 1;
}

int declare_provider(const struct provider_row *row) {
  vorn_provider *provider = vorn_provider_new(row->name);
  if (provider != NULL) {
    if (row->commit != NULL) vorn_provider_set_commit_fn(provider, row->commit, row->commit_data);
    if (row->refresh != NULL) vorn_provider_set_refresh_fn(provider, row->refresh, row->refresh_data);
    if (vorn_providers_add(provider) == 0) return 0;
  }
  vorn_debug_eprintf("Provider \"%s\" cannot be declared.\n", row->name);
  return 1;
}
