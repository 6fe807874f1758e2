#include "commits.h"

#include <string.h>

int commit_starts_from_nothing(vorn_commit_info *info) {
  vorn_instances *before = vorn_commit_info_get_before(info);
  return before != NULL && vorn_instances_is_empty(before);
}

int is_same(const char *one, const char *other) {
  return one == other || (one != NULL && other != NULL && strcmp(one, other) == 0);
}

void request_save(vorn_commit_info *info) {
  vorn_actions_add(vorn_commit_info_get_actions(info), "save", "needed", NULL, NULL);
}

int save_is_requested(vorn_commit_info *info) {
  return vorn_actions_exists(vorn_commit_info_get_actions(info), "save", "needed", NULL, NULL);
}
