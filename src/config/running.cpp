#include "config/running.hpp"

#include "config/config.h"
#include "model/instances.h"

namespace {
vorn_instances *running = nullptr;
}

void vorn::set_running(vorn_instances *instances) { running = instances; }

vorn_instances *vorn_config_get_running() noexcept { return running; }

vorn_instances *vorn_config_replace_running(vorn_instances *instances) noexcept {
  if (!instances || instances == running) return running;
  vorn_instances_delete_all(running);
  return running = instances;
}
