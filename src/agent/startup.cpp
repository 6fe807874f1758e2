#include "agent/startup.hpp"

#include "agent/options.hpp"
#include "agent/signals.hpp"
#include "agent/standard_streams.hpp"
#include "commit/providers.h"
#include "config/config.h"
#include "config/paths.hpp"
#include "core/debug.h"
#include "core/eloop.h"
#include "core/handles.hpp"
#include "model/classes.h"
#include "notify/notify.h"
#include "plugins/loader.hpp"
#include "process/command.h"
#include "process/leftovers.hpp"
#include "process/reboot.hpp"
#include "process/service.h"
#include "process/steps.hpp"
#include "process/watchdog.h"
#include "servers/inform.h"
#include "servers/lsql_server.hpp"
#include "servers/socket_api.hpp"
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vorn {

namespace {

constexpr char pid_path[] = "/var/run/vorn.pid";
constexpr char services_path[] = "/var/run/vorn.services";
constexpr char panic_path[] = "/proc/sys/kernel/panic";
constexpr char rebuild_path[] = "/etc/rebuild";
constexpr char post_init_path[] = "/etc/post-init";

constexpr unsigned periodic_seconds = 2;
constexpr unsigned rebuild_seconds = 16;
constexpr unsigned reboot_seconds = 5;
constexpr unsigned settle_seconds = 5;

bool can_be_read(const char *path) { return File(fopen(path, "re")) != nullptr; }

void check(int failed, const char *text) {
  if (failed) vorn_debug_fatal(text);
}

void count_boot() { check(vorn_config_init() < 0, "vorn_config_init() failed."); }

void close_schema() {
  check(vorn_plugins_init(), "Plugins were invalid.");
  check(vorn_classes_done_adding(), "Classes were invalid.");
  check(vorn_providers_done_adding(), "Providers were invalid.");
  if (vorn_debug_get() == 0) return;
  vorn_classes_print(vorn_debug_get_stream());
  vorn_providers_print(vorn_debug_get_stream());
}

void daemonize() {
  vorn_debug_printf("Daemonizing...\n");
  if (daemon(1, 1) != 0) perror("daemon");
  release_standard_input();
  vorn_debug_printf("Daemonized.\n");
}

// Lets the kernel reboot 5 seconds after a panic.
void set_panic_timeout() {
  if (const File file{fopen(panic_path, "we")}) fputs("5\n", file.get());
}

// The system is rebuilt from what the firmware brings; `rescue_files` is a shell pattern.
void take_corrective_action(const char *remove_rescue_files) {
  puts("\nTaking corrective action...");
  fflush(stdout);
  run_shell(remove_rescue_files);
  run_shell("rm -f /mnt/etc/.*rescue*");
  run_shell("rm -f /mnt/etc/config/config.xml");
  sync();
  run_shell("init -r");
}

void load_startup_configuration() {
  if (vorn_config_copy_startup_to_running() == 1) take_corrective_action("rm -f /mnt/etc/*rescue*");
}

// The files of a restore are the agent's own: they come and go in the mode without actions, too, in which no
// program is run for it.
void make_rebuild_marker() {
  const Descriptor marker(open(rebuild_path, O_WRONLY | O_CREAT | O_CLOEXEC, 0666)); // less the umask
  if (!marker) vorn_debug_perror(rebuild_path);
}

void remove_restored(const char *path) {
  if (unlink(path) != 0 && errno != ENOENT) vorn_debug_perror(path);
}

void rebuild_by_reboot(void *, void *) {
  vorn_debug_eprintf("auto rebuild procedure started.\n");
  make_rebuild_marker();
  vorn_util_reboot();
}

void reboot_restored(void *, void *) {
  vorn_debug_printf("Running configuration is saved and rebooting to restart all the deaemons. \r\n");
  vorn_util_reboot();
}

void restore_backup() {
  vorn_debug_eprintf("backup_config.xml is found. loading the config\n");
  if (vorn_config_copy_backup_to_running() == 1) {    // it never returns that: what would follow is kept
    take_corrective_action("rm -f /mnt/etc/rescue*"); // the narrower pattern is deliberate
    vorn_debug_fatal("Unable to read config.\n");
  } else {
    vorn_config_copy_running_to_startup();
    eloop_register_timeout(reboot_seconds, 0, reboot_restored, nullptr, nullptr);
  }
  remove_restored(backup_path);
  remove_restored(rebuild_path);
}

// A backup is restored over two boots: the first one marks the system for the rebuild and reboots, the second
// one loads the backup, saves it, and reboots so that every daemon starts with the restored configuration.
void handle_backup() {
  if (!can_be_read(backup_path)) return;
  if (can_be_read(rebuild_path))
    restore_backup();
  else
    eloop_register_timeout(rebuild_seconds, 0, rebuild_by_reboot, nullptr, nullptr);
}

void open_interfaces() {
  check(vorn_inform_init() == 1, "Unable to initialize inform interface.");
  check(vorn_notify_init() == 1, "Unable to initialize notify interface.");
  vorn_lsql_init();
  check(vorn_socket_api_init() == 1, "Unable to initialize socket API.");
}

void periodic(void *, void *) {
  vorn_service_poll();
  vorn_watchdog_ack();
  eloop_register_timeout(periodic_seconds, 0, periodic, nullptr, nullptr);
}

void write_pid_file() {
  const File file(fopen(pid_path, "we"));
  if (file)
    fprintf(file.get(), "%d\n", getpid());
  else
    vorn_debug_fatal("Unable to create pid file");
}

void announce() {
  vorn_debug_printf("Initialization complete.\r\n");
  sleep(settle_seconds);
  sync();
  run_shell("/usr/sbin/version &");
  struct stat status;
  if (stat(post_init_path, &status) == 0) vorn_command_execl(post_init_path, static_cast<char *>(nullptr));
}

int end_agent() {
  unlink(pid_path);
  if (reboot_requested()) send_signal(1, SIGTERM, "process 1"); // init restarts the device
  return 1;
}

} // namespace

int run_agent(int argc, char **argv) {
  fill_standard_streams();
  vorn_debug_init();
  vorn_watchdog_ack(); // the slow part begins
  const Options options = parse_options(argc, argv);
  if (options.debug_level != vorn_debug_get()) vorn_debug_set(options.debug_level);
  vorn_providers_init();
  eloop_init(nullptr);
  vorn_service_init();
  take_over_services(services_path);
  close_schema();
  if (!options.foreground) daemonize();
  install_signal_handlers();
  count_boot();
  set_panic_timeout();
  load_startup_configuration();
  handle_backup();
  open_interfaces();
  vorn_watchdog_ack();
  eloop_register_timeout(periodic_seconds, 0, periodic, nullptr, nullptr);
  register_signal_handlers();
  write_pid_file();
  announce();
  eloop_run();
  return end_agent();
}

} // namespace vorn
