#include "commits.h"

#include <string.h>

int commit_starts_from_nothing(vorn_commit_info *info) {
  vorn_instances *before = vorn_commit_info_get_before(info);
  return before != NULL && vorn_instances_is_empty(before);
}

const char *changed_value(vorn_changes *changes, vorn_instance *instance, const char *property) {
  if (!vorn_changes_contains_property(changes, instance, property)) return NULL;
  const char *value = vorn_instance_get_value(instance, property);
  vorn_instance *before = vorn_changes_get_instance_before(changes, instance);
  const char *old = before != NULL ? vorn_instance_get_value(before, property) : NULL;
  return value != NULL && old != NULL && strcmp(value, old) == 0 ? NULL : value;
}
