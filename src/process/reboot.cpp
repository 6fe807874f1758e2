#include "process/reboot.hpp"

#include "core/debug.h"
#include "core/eloop.h"

int vorn_process_no_actions = 0;

namespace {
bool requested = false;
}

bool vorn::reboot_requested() { return requested; }

int vorn_reboot() noexcept {
  requested = true;
  return eloop_terminate();
}

void vorn_util_reboot() noexcept {
  if (vorn_process_no_actions) {
    vorn_debug_printf("Rebooting the system is disabled.\n");
    return;
  }
  vorn_debug_printf("Rebooting the system.\n");
  vorn_reboot();
}
