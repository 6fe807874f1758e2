#include "process/leftovers.hpp"

#include "core/debug.h"
#include "core/guard.hpp"
#include "process/reboot.h"
#include "process/service_record.hpp"
#include "process/wait_until.hpp"
#include <algorithm>
#include <csignal>

namespace vorn {

namespace {

using Leftovers = std::vector<RecordedService>;

void drop_ended(Leftovers &leftovers) {
  std::erase_if(leftovers, [](const RecordedService &service) {
    return service.process.pid == getpid() || !lives(service.process);
  });
}

// Returns whether all have ended. The others are left, and told of.
bool end_all(Leftovers &leftovers, int signal, unsigned timeout) {
  for (const auto &service : leftovers)
    if (lives(service.process)) kill(service.process.pid, signal);
  const auto none_left = [&] {
    drop_ended(leftovers);
    return leftovers.empty();
  };
  if (holds_within(timeout, none_left)) return true;
  for (const auto &service : leftovers)
    vorn_debug_printf("Timeout while sending signal %d to service %s with pid %d.\n", signal,
                      service.name.c_str(), service.process.pid);
  return false;
}

void end_leftovers(Leftovers leftovers) {
  const char *instead = vorn_process_no_actions ? " -> (no actions)" : "";
  for (const auto &service : leftovers)
    vorn_debug_printf("Ending service %s (%d), which an earlier agent has left.%s\n", service.name.c_str(),
                      service.process.pid, instead);
  if (vorn_process_no_actions) return;
  if (!end_all(leftovers, SIGTERM, term_timeout)) end_all(leftovers, SIGKILL, kill_timeout);
}

bool take_over(const char *path) {
  ServiceRecord record = read_service_record(path);
  if (record.agent.pid != getpid() && lives(record.agent)) {
    vorn_debug_printf("Another agent runs, with pid %d: its services are left to it.\n", record.agent.pid);
    return false;
  }
  drop_ended(record.services);
  end_leftovers(std::move(record.services));
  return !vorn_process_no_actions;
}

} // namespace

void take_over_services(const char *path) noexcept {
  if (!guarded(true, [&] { return take_over(path); })) return;
  keep_service_record(path);
  remove_service_record();
}

} // namespace vorn
