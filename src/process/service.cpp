#include "process/service.h"

#include "core/guard.hpp"
#include "core/handles.hpp"
#include "core/immortal.hpp"
#include "core/keyed_table.hpp"
#include "core/refuse.hpp"
#include "process/argument_list.hpp"
#include "process/reboot.h"
#include "process/spawn.hpp"
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <sys/wait.h>

volatile int sig_child_received = 0;

namespace {

using vorn::guarded;
using vorn::log_rest;
using vorn::refuse_aloud;
using Clock = std::chrono::steady_clock;

constexpr unsigned poll_interval = 50'000; // all in microseconds
constexpr unsigned shutdown_timeout = 5'000'000;
constexpr unsigned kill_timeout = 1'000'000;

enum class State { stopped, running, stopping };

struct Service {
  State state = State::stopped;
  pid_t pid = 0;
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

// The state letter of a process (proc(5), "stat"), which follows its name in parentheses; the name may
// hold any character. NUL when it cannot be read.
char process_state(pid_t pid) {
  char path[32];
  char line[256] = "";
  snprintf(path, sizeof path, "/proc/%d/stat", pid);
  const vorn::File file(fopen(path, "re"));
  if (file) line[fread(line, 1, sizeof line - 1, file.get())] = '\0';
  const char *end = strrchr(line, ')');
  return end && end[1] == ' ' ? end[2] : '\0';
}

int start(const char *name, char *const argv[], const vorn::SpawnOptions &options) {
  Service *service = find_or_add(name);
  if (!service) return 1;
  const pid_t pid = vorn::spawn(argv, options);
  if (pid < 1) return 1;
  service->pid = pid;
  vorn_debug_1printf("%s: service %s started, pid %d...\n", "vorn_service_execvod", name, pid);
  service->state = State::running;
  log_rest("\n");
  return 0;
}

int start_list(const char *name, const char *program, va_list *rest, bool with_options) {
  vorn::ArgumentList list;
  return list.read(program, rest, with_options) ? start(name, list.arguments.data(), list.options) : 1;
}

// Waits for the end of a process. Returns whether it has come; it has also when somebody else has collected
// the process.
bool wait_for_end(pid_t pid, unsigned timeout) {
  const auto begin = Clock::now();
  const std::chrono::microseconds limit(timeout);
  while (waitpid(pid, nullptr, WNOHANG) == 0) {
    usleep(poll_interval);
    if (Clock::now() - begin > limit) return false;
  }
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin);
  vorn_debug_1printf("child pid %d exited in %d seconds\n", pid, static_cast<int>(seconds.count()));
  return true;
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
  const char state = process_state(service->pid);
  return state && state != 'Z' ? 1 : 0;
}

int vorn_service_stop(const char *name, int signal, unsigned timeout) noexcept {
  Service *service = find(name);
  if (!service || service->state == State::stopped) return 0;
  const pid_t pid = service->pid;
  vorn_debug_1printf("%s: Sending signal %d to service %s with pid %d.\n", "vorn_service_stop", signal, name,
                     pid);
  service->state = State::stopping;
  if (vorn_process_no_actions) {
    log_rest("(no actions)\n");
    service->state = State::stopped;
    return 0;
  }
  kill(pid, signal); // one that cannot be sent leaves the verdict to the wait
  if (timeout == 0 || wait_for_end(pid, timeout)) return 1;
  vorn_debug_printf("Timeout while sending signal %d to service %s with pid %d.\n", signal, name, pid);
  return -1;
}

void vorn_service_shutdown() noexcept {
  for (auto &entry : *services) {
    if (entry.value.state != State::running) continue;
    vorn_debug_1printf("Stopping %s (%d)...\n", entry.name(), entry.value.pid);
    if (vorn_service_stop(entry.name(), SIGTERM, shutdown_timeout) < 0)
      vorn_service_stop(entry.name(), SIGKILL, kill_timeout);
  }
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
  for (auto it = services->iterate(); auto *entry = it.next();) {
    Service &service = entry->value;
    if (service.state == State::stopped || process_exists(service.pid)) continue;
    if (service.state == State::stopping)
      service.state = State::stopped;
    else
      forget(entry);
  }
  polling = false;
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
