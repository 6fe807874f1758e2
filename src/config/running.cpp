#include "config/running.hpp"

#include "commit/activity.hpp"
#include "config/config.h"
#include "core/refuse.hpp"
#include "model/instances.h"

namespace {
vorn_instances *running = nullptr;
const char *refusal = nullptr; // why it is not saved
} // namespace

void vorn::set_running(vorn_instances *instances) { running = instances; }

void vorn::replace_running(vorn_instances *instances) noexcept {
  if (!instances || instances == running) return;
  vorn_instances_delete_all(running);
  running = instances;
}

void vorn::refuse_saving(const char *reason) noexcept {
  refusal = reason;
  vorn_debug_eprintf("The configuration is incomplete (%s): it is not saved until the next start.\n", reason);
}

bool vorn::may_be_saved() noexcept {
  return !refusal || refuse_aloud("The configuration is not saved: it is incomplete (%s).\n", refusal);
}

vorn_instances *vorn_config_get_running() noexcept { return running; }

vorn_instances *vorn_config_replace_running(vorn_instances *instances) noexcept {
  if (instances && instances != running && vorn::is_busy())
    vorn::refuse_nested("The running configuration cannot be replaced within a request, a commit or a load.");
  else
    vorn::replace_running(instances);
  return running;
}
