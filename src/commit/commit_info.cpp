#include "commit/commit_info.hpp"

#include <new>

vorn_commit_info *vorn_commit_info_new(vorn_instances *before, vorn_instances *after, vorn_changes *changes,
                                       vorn_actions *actions, void *data) noexcept {
  return new (std::nothrow) vorn_commit_info{before, after, changes, actions, data};
}

vorn_instances *vorn_commit_info_get_before(const vorn_commit_info *info) noexcept {
  return info ? info->before : nullptr;
}

vorn_instances *vorn_commit_info_get_after(const vorn_commit_info *info) noexcept {
  return info ? info->after : nullptr;
}

vorn_changes *vorn_commit_info_get_changes(const vorn_commit_info *info) noexcept {
  return info ? info->changes : nullptr;
}

vorn_actions *vorn_commit_info_get_actions(const vorn_commit_info *info) noexcept {
  return info ? info->actions : nullptr;
}

void *vorn_commit_info_get_data(const vorn_commit_info *info) noexcept { return info ? info->data : nullptr; }

void vorn_commit_info_set_data(vorn_commit_info *info, void *data) noexcept {
  if (info) info->data = data;
}

void vorn_commit_info_delete(vorn_commit_info *info) noexcept { delete info; }
