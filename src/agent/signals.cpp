#include "agent/signals.hpp"

#include "config/config.h"
#include "core/debug.h"
#include "core/eloop.h"
#include "model/classes.h"
#include "model/instances.h"
#include "process/service.h"
#include "process/steps.hpp"
#include "process/watchdog.h"
#include <csignal>
#include <cstdlib>

namespace vorn {

namespace {

void cycle_debug_level(int) {
  const int level = vorn_debug_get();
  vorn_debug_set(level == VORN_DEBUG_MAX ? 0 : level + 1);
}

void dump_state(int) {
  FILE *stream = vorn_debug_get_stream();
  vorn_classes_print(stream);
  if (const vorn_instances *running = vorn_config_get_running()) vorn_instances_print(running, stream);
  vorn_service_print(stream);
  fflush(stream);
}

void reap_children(int number) { vorn_service_sig_child(number, nullptr, nullptr); }

void stop_watchdog(int) { vorn_watchdog_stop(); }

[[noreturn]] void stop(int number) {
  vorn_service_shutdown();
  signal(SIGTERM, SIG_IGN); // the agent is one of its group
  send_signal(0, SIGTERM, "the process group");
  vorn_debug_printf("Exit due to signal %d.\n", number);
  exit(0);
}

// In the order of their registration with the loop.
constexpr struct {
  int number;
  void (*handle)(int number);
} handlers[] = {
    {SIGWINCH, cycle_debug_level},
    {SIGCHLD, reap_children},
    {SIGHUP, dump_state},
    {SIGTERM, stop},
    {SIGINT, stop},
    {SIGUSR1, stop_watchdog},
};

void handle_from_loop(int number, void *, void *) {
  for (const auto &handler : handlers)
    if (handler.number == number) handler.handle(number);
}

} // namespace

void install_signal_handlers() {
  signal(SIGPIPE, SIG_IGN);
  for (const auto &handler : handlers) signal(handler.number, handler.handle);
}

void register_signal_handlers() {
  for (const auto &handler : handlers) eloop_register_signal(handler.number, handle_from_loop, nullptr);
}

} // namespace vorn
