#include "process/service.h"

#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/immortal.hpp"
#include "core/keyed_table.hpp"
#include "core/refuse.hpp"
#include "core/signal_block.hpp"
#include "process/argument_list.hpp"
#include "process/reboot.h"
#include "process/service_record.hpp"
#include "process/spawn.hpp"
#include "process/wait_until.hpp"
#include <cerrno>
#include <csignal>
#include <sys/wait.h>

volatile int sig_child_received = 0;

namespace {

using vorn::Clock;
using vorn::guarded;
using vorn::log_rest;
using vorn::refuse_aloud;

enum class State { stopped, running, stopping };

struct Service {
  State state = State::stopped;
  pid_t pid = 0;
  unsigned long long start = 0; // of the process; 0 is unknown
  bool awaited = false;         // by the shutdown
  vorn_service_exited_fn exited = nullptr;
  void *value = nullptr;
};

using Services = vorn::KeyedTable<Service>;

vorn::Immortal<Services> services;

Service *find(const char *name) {
  if (!name) return refuse_aloud("Null service.\n");
  auto *entry = services->find(name);
  return entry ? &entry->value : nullptr;
}

Service *find_or_add(const char *name) {
  if (!name) return refuse_aloud("Null service.\n");
  return guarded<Service *>(nullptr, [&] { return &services->find_or_insert(name)->value; });
}

bool process_exists(pid_t pid) { return kill(pid, 0) == 0; }

// Notes what runs for an agent that comes after this one, if it is killed.
void record_services() {
  if (!vorn::keeps_service_record()) return;
  guarded(0, [] {
    std::vector<vorn::RecordedService> running;
    for (const auto &entry : *services)
      if (const Service &service = entry.value; service.state != State::stopped && service.start > 0)
        running.push_back({{service.pid, service.start}, entry.name()});
    running.resize(std::min(running.size(), vorn::max_recorded_services));
    if (running.empty())
      vorn::remove_service_record();
    else
      vorn::write_service_record(running);
    return 0;
  });
}

int start(const char *name, char *const argv[], const vorn::SpawnOptions &options) {
  const vorn::SignalBlock blocked; // a handler that stops the services finds this one whole, or not at all
  Service *service = find_or_add(name);
  if (!service) return 1;
  const pid_t pid = vorn::spawn(argv, options);
  if (pid < 1) return 1;
  service->pid = pid;
  service->start = vorn::identify(pid).start;
  vorn_debug_1printf("%s: service %s started, pid %d...\n", "vorn_service_execvod", name, pid);
  service->state = State::running;
  log_rest("\n");
  record_services();
  return 0;
}

int start_list(const char *name, const char *program, va_list *rest, bool with_options) {
  vorn::ArgumentList list;
  return list.read(program, rest, with_options) ? start(name, list.arguments.data(), list.options) : 1;
}

// Sends a signal to a service, which is stopping from now on. Returns false in the mode without actions.
bool ask_to_end(const char *name, Service &service, int signal) {
  vorn_debug_1printf("%s: Sending signal %d to service %s with pid %d.\n", "vorn_service_stop", signal, name,
                     service.pid);
  service.state = State::stopping;
  if (vorn_process_no_actions) {
    log_rest("(no actions)\n");
    service.state = State::stopped;
    return false;
  }
  // One that cannot be sent leaves the verdict to the wait; and the number may have gone to another process.
  if (service.start == 0 || vorn::identify(service.pid).start == service.start) kill(service.pid, signal);
  return true;
}

// Returns whether a process, which was asked to end at `asked`, has; it has also when somebody else has
// collected it.
bool has_ended(pid_t pid, Clock::time_point asked) {
  if (waitpid(pid, nullptr, WNOHANG) == 0) return false;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - asked);
  vorn_debug_1printf("child pid %d exited in %d seconds\n", pid, static_cast<int>(seconds.count()));
  return true;
}

void tell_timeout(const char *name, const Service &service, int signal) {
  vorn_debug_printf("Timeout while sending signal %d to service %s with pid %d.\n", signal, name,
                    service.pid);
}

// Waits for all services that have been asked, together. Returns whether they have ended; who has not is
// awaited still.
bool await_all(int signal, unsigned timeout) {
  const auto none_left = [asked = Clock::now()] {
    bool none = true;
    for (auto &entry : *services)
      if (Service &service = entry.value; service.awaited) {
        service.awaited = !has_ended(service.pid, asked);
        none = none && !service.awaited;
      }
    return none;
  };
  if (vorn::holds_within(timeout, none_left)) return true;
  for (const auto &entry : *services)
    if (entry.value.awaited) tell_timeout(entry.name(), entry.value, signal);
  return false;
}

// A service has ended by itself. Its callback may start it again.
void forget(Services::Entry *entry) {
  const Service service = entry->value;
  // What the note says is the wrong way round, deliberately: it is known by these words.
  vorn_debug_1printf("%s: Service %s with pid %d is no longer running. %s.\n",
                     "vorn_service_sig_child_received", entry->name(), service.pid,
                     service.exited ? "Service has no callback" : "Running callback");
  services->remove(entry);
  if (service.exited) service.exited(service.value);
}

const char *state_name(State state) {
  static constexpr const char *names[] = {"stopped", "running", "stopping"};
  return names[static_cast<size_t>(state)];
}

} // namespace

int vorn_service_init() noexcept {
  return 0; // there is a table from the start
}

int vorn_service_set_exited_fn(const char *name, vorn_service_exited_fn fn, void *value) noexcept {
  Service *service = find_or_add(name);
  if (!service) return 1;
  service->exited = fn;
  service->value = value;
  return 0;
}

int vorn_service_execl(const char *name, const char *program, ...) noexcept {
  va_list rest;
  va_start(rest, program);
  const int result = start_list(name, program, &rest, false);
  va_end(rest);
  return result;
}

int vorn_service_execlod(const char *name, const char *program, ...) noexcept {
  va_list rest;
  va_start(rest, program);
  const int result = start_list(name, program, &rest, true);
  va_end(rest);
  return result;
}

int vorn_service_execv(const char *name, char *const argv[]) noexcept { return start(name, argv, {}); }

int vorn_service_execvod(const char *name, char *const argv[], int output, const char *directory) noexcept {
  return start(name, argv, {output, directory});
}

int vorn_service_is_running(const char *name) noexcept {
  const Service *service = find(name);
  if (!service || service->state != State::running || !process_exists(service->pid)) return 0;
  const char state = vorn::process_state(service->pid);
  return state && state != 'Z' ? 1 : 0;
}

int vorn_service_stop(const char *name, int signal, unsigned timeout) noexcept {
  Service *service = find(name);
  if (!service || service->state == State::stopped) return 0;
  if (!ask_to_end(name, *service, signal)) return 0;
  const auto ended = [pid = service->pid, asked = Clock::now()] { return has_ended(pid, asked); };
  if (timeout == 0 || vorn::holds_within(timeout, ended)) return 1;
  tell_timeout(name, *service, signal);
  return -1;
}

// It may run in signal context, while the agent starts: nothing is allocated.
void vorn_service_shutdown() noexcept {
  for (auto &entry : *services) {
    Service &service = entry.value;
    if (service.state == State::stopped) continue;
    vorn_debug_1printf("Stopping %s (%d)...\n", entry.name(), service.pid);
    service.awaited = ask_to_end(entry.name(), service, SIGTERM);
  }
  if (!await_all(SIGTERM, vorn::term_timeout)) {
    for (auto &entry : *services)
      if (entry.value.awaited) ask_to_end(entry.name(), entry.value, SIGKILL);
    if (!await_all(SIGKILL, vorn::kill_timeout)) return;
  }
  vorn::remove_service_record();
}

int vorn_service_sig_child(int, void *, void *) noexcept {
  const int error = errno; // whoever was interrupted still needs it
  while (waitpid(-1, nullptr, WNOHANG) > 0) continue;
  errno = error;
  sig_child_received = 1;
  return 1;
}

void vorn_service_poll() noexcept {
  static bool polling = false;
  if (!sig_child_received || polling) return; // from a callback: the next poll sees what there is
  sig_child_received = 0;
  polling = true;
  bool ended = false;
  for (auto it = services->iterate(); auto *entry = it.next();) {
    Service &service = entry->value;
    if (service.state == State::stopped || process_exists(service.pid)) continue;
    ended = true;
    if (service.state == State::stopping)
      service.state = State::stopped;
    else
      forget(entry);
  }
  polling = false;
  if (ended) record_services();
}

void vorn_service_print(FILE *stream) noexcept {
  fprintf(stream, "%-20s %-10s %5s\n", "Service", "State", "PID");
  for (const auto &entry : *services)
    fprintf(stream, "%-20s %-10s %5d\n", entry.name(), state_name(entry.value.state), entry.value.pid);
}

pid_t vorn_service_get_pid(const char *name) noexcept {
  const Service *service = find(name);
  return service ? service->pid : -1;
}
