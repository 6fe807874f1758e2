#pragma once

#include "commit/refresher.h"
#include "core/keyed_table.hpp"

// A table of callbacks for one class; owned by the plugin that made it, and never freed by the agent.
struct vorn_refresher {
  const char *class_name;
  vorn_refresher_pre_refresh_fn pre_refresh = nullptr;
  vorn_refresher_instance_fn instance = nullptr;
  vorn::KeyedTable<vorn_refresher_property_fn> properties{4};
};
