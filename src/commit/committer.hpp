#pragma once

#include "commit/committer.h"
#include "core/keyed_table.hpp"

// A table of callbacks; owned by the plugin that made it, and never freed by the agent.
struct vorn_committer {
  // What is called for the instances of one class.
  struct ClassEntry {
    vorn_committer_instance_create_fn instance_create = nullptr;
    vorn_committer_instance_delete_fn instance_delete = nullptr;
    vorn_committer_instance_change_fn instance_change = nullptr;
    vorn_committer_group_change_fn group_change = nullptr;
    int change_on_delete = 0;
    vorn::KeyedTable<vorn_committer_property_change_fn> properties{1};
  };

  vorn_committer_pre_commit_fn pre_commit = nullptr;
  vorn::KeyedTable<ClassEntry> classes{1};
};
