#include "commit/committer.hpp"

#include "commit/changes.hpp"
#include "core/guard.hpp"
#include "core/refuse.hpp"
#include "model/class.hpp"
#include "model/classes.h"
#include "model/instance.hpp"

namespace {

using vorn::guarded;
using vorn::NameSet;
using vorn::refuse;
using ClassEntry = vorn_committer::ClassEntry;

// What every setter for a class has in common: the handles, in their order, and the entry of the class, which
// exists from the first registration on.
template <class Fn, class Store>
int set_class_fn(vorn_committer *committer, const char *class_name, Fn fn, const char *null_fn, Store store) {
  if (!committer) return refuse("Null committer.\n");
  if (!class_name) return refuse("Null class.\n");
  if (!fn) return refuse("%s", null_fn);
  return guarded(1, [&] {
    const bool is_new = !committer->classes.find(class_name);
    auto *entry = committer->classes.find_or_insert(class_name);
    try {
      store(entry->value);
    } catch (...) {
      if (is_new) committer->classes.remove(entry);
      throw;
    }
    return 0;
  });
}

// The commit of one class. Of the walk nothing but the set of groups needs memory.
class ClassCommit {
public:
  ClassCommit(vorn_commit_info *info, const char *class_name, const ClassEntry &entry)
      : info_(info), changes_(vorn_commit_info_get_changes(info)), before_(vorn_commit_info_get_before(info)),
        name_(class_name), entry_(entry) {}

  void run() {
    if (!changes_) return;
    const vorn_class *cls = vorn_classes_get(name_);
    if (!cls) {
      vorn_debug_eprintf("Unknown class \"%s\".\n", name_);
      return;
    }
    if (entry_.instance_delete || entry_.group_change || entry_.change_on_delete)
      for (vorn_instances_iterator it(changes_->deleted, *cls); it.has_next();) commit_deleted(it.next());
    for (vorn_instances_iterator it(changes_->changed, *cls); it.has_next();) commit_changed(it.next());
  }

private:
  void commit_deleted(vorn_instance *before) {
    change_group(*before);
    if (entry_.instance_delete) {
      log_call("instance_delete");
      entry_.instance_delete(before, info_);
    }
    if (entry_.change_on_delete && entry_.instance_change) {
      log_call("instance_change");
      entry_.instance_change(nullptr, before, info_);
    }
  }

  void commit_changed(vorn_instance *instance) {
    vorn_instance *before = before_ ? vorn_changes_get_instance_before(changes_, instance) : nullptr;
    change_group(*instance);
    if (entry_.instance_create && !before) {
      log_call("instance_create");
      entry_.instance_create(instance);
    }
    if (entry_.instance_change) {
      log_call("instance_change");
      entry_.instance_change(instance, before, info_);
    }
    change_properties(instance, before);
  }

  void change_properties(vorn_instance *instance, const vorn_instance *before) {
    for (const auto &property : entry_.properties) {
      const char *property_name = property.name();
      if (!vorn_changes_contains_property(changes_, instance, property_name)) continue;
      vorn_debug_lprintf(5, " Committing class %s, property %s.\n", name_, property_name);
      property.value(instance, property_name, vorn_instance_get_value(instance, property_name),
                     before ? vorn_instance_get_value(before, property_name) : nullptr);
    }
  }

  // The instance's name is that of its group.
  void change_group(const vorn_instance &member) {
    const char *group = entry_.group_change ? member.name : nullptr;
    if (!group || !is_first_of(group)) return;
    vorn_debug_lprintf(5, " Committing class %s, group %s change.\n", name_, group);
    entry_.group_change(vorn_commit_info_get_after(info_), name_, group, info_);
  }

  // Without memory every member counts as the first: better a call too many than none.
  bool is_first_of(const char *group) {
    return guarded(true, [&] { return groups_seen_.insert(group) != nullptr; });
  }

  void log_call(const char *callback) const {
    vorn_debug_lprintf(5, " Committing class %s, %s.\n", name_, callback);
  }

  vorn_commit_info *info_;
  vorn_changes *changes_;
  vorn_instances *before_;
  const char *name_;
  const ClassEntry &entry_;
  NameSet groups_seen_{4};
};

} // namespace

vorn_committer *vorn_committer_new() noexcept {
  return guarded<vorn_committer *>(nullptr, [] { return new vorn_committer; });
}

int vorn_committer_set_pre_commit_fn(vorn_committer *committer, vorn_committer_pre_commit_fn fn) noexcept {
  if (!committer) return refuse("Null committer.\n");
  if (!fn) return refuse("Null pre_commit.\n");
  committer->pre_commit = fn;
  return 0;
}

int vorn_committer_set_instance_create_fn(vorn_committer *committer, const char *class_name,
                                          vorn_committer_instance_create_fn fn) noexcept {
  return set_class_fn(committer, class_name, fn, "Null instance_create.\n",
                      [&](ClassEntry &entry) { entry.instance_create = fn; });
}

int vorn_committer_set_instance_delete_fn(vorn_committer *committer, const char *class_name,
                                          vorn_committer_instance_delete_fn fn) noexcept {
  return set_class_fn(committer, class_name, fn, "Null instance_delete.\n",
                      [&](ClassEntry &entry) { entry.instance_delete = fn; });
}

int vorn_committer_set_instance_change_fn(vorn_committer *committer, const char *class_name,
                                          vorn_committer_instance_change_fn fn, int on_delete) noexcept {
  return set_class_fn(committer, class_name, fn, "Null instance_change.\n", [&](ClassEntry &entry) {
    entry.instance_change = fn;
    entry.change_on_delete = on_delete;
  });
}

int vorn_committer_set_group_change_fn(vorn_committer *committer, const char *class_name,
                                       vorn_committer_group_change_fn fn) noexcept {
  if (!committer) return refuse("Null committer.\n");
  if (!class_name) return refuse("Null class.\n");
  const vorn_class *cls = vorn_classes_get(class_name);
  if (!cls) return refuse("Unknown class \"%s\".\n", class_name);
  if (cls->type != VORN_CLASS_GROUP_NAMED) return refuse("Class \"%s\" is not group-named.\n", class_name);
  return set_class_fn(committer, class_name, fn, "Null group_change.\n",
                      [&](ClassEntry &entry) { entry.group_change = fn; });
}

int vorn_committer_set_property_change_fn(vorn_committer *committer, const char *class_name,
                                          const char *property_name,
                                          vorn_committer_property_change_fn fn) noexcept {
  if (committer && !property_name) return refuse("Null class.\n"); // the text for either name, deliberately
  // The name of another callback is deliberate too.
  return set_class_fn(committer, class_name, fn, "Null instance_change.\n",
                      [&](ClassEntry &entry) { entry.properties.find_or_insert(property_name)->value = fn; });
}

int vorn_committer_fn(vorn_commit_info *info) noexcept {
  const auto *committer = static_cast<const vorn_committer *>(vorn_commit_info_get_data(info));
  if (!committer) return refuse("vorn_committer_fn called without committer as data.\n");
  vorn_debug_lprintf(4, " Committer called.\n");
  if (committer->pre_commit) {
    vorn_debug_lprintf(5, " Calling pre_commit.\n");
    committer->pre_commit(info);
  }
  for (const auto &entry : committer->classes) ClassCommit(info, entry.name(), entry.value).run();
  return 0;
}
