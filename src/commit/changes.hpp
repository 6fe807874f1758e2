#pragma once

#include "commit/changes.h"
#include "model/instances.hpp"
#include <memory>

// The recorder of one change set.
struct vorn_changes {
  // What is known of one instance of the watched collection.
  struct Record {
    bool changed = false;            // updated or inserted
    vorn_instance *before = nullptr; // null for an inserted instance
    std::unique_ptr<vorn::NameSet> properties{};
  };

  explicit vorn_changes(vorn_instances *after) noexcept : watched(after) {}

  Record *record(vorn_instance *instance) const {
    auto *entry = records.find(vorn::address_key(instance));
    return entry ? &entry->value : nullptr;
  }

  vorn_instances *watched;
  vorn::OwnedInstances before;          // copies of everything at the start
  vorn_instances changed;               // refers to the watched collection's own instances
  vorn_instances deleted;               // refers to before-copies
  vorn::KeyedTable<Record> records{64}; // by the address of a watched instance
  vorn_changes *outer = nullptr;        // the recorder that this one was started over
};
