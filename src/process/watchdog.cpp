//   descriptor     | acknowledge                      | stop
//   not_opened     | open, then keep alive; or stop   | stopped, nothing to disarm
//   an open one    | keep alive                       | disarm, close
//   stopped        | nothing                          | said again
#include "process/watchdog.hpp"

#include "core/debug.h"
#include <fcntl.h>
#include <linux/watchdog.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr char path[] = "/dev/watchdog";
constexpr int timeout_seconds = 240;
constexpr char magic_close[] = {'V'}; // drivers that know it disarm the watchdog when it is closed

constexpr int not_opened = -1;
constexpr int stopped = -2;
int descriptor = not_opened;

bool open_watchdog() {
  descriptor = open(path, O_WRONLY);
  if (descriptor < 0) {
    vorn_debug_perror("vorn_watchdog_ack fopen");
    descriptor = not_opened;
    vorn_watchdog_stop();
    return false;
  }
  int seconds = timeout_seconds;
  if (ioctl(descriptor, WDIOC_SETTIMEOUT, &seconds) < 0)
    vorn_debug_perror("vorn_watchdog_ack ioctl[WDIOC_SETTIMEOUT]");
  if (fcntl(descriptor, F_SETFD, FD_CLOEXEC) < 0) vorn_debug_perror("vorn_watchdog_ack fcntl");
  return true;
}

} // namespace

bool vorn::watchdog_is_armed() noexcept { return descriptor >= 0; }

void vorn_watchdog_ack() noexcept {
  if (descriptor == stopped || (descriptor == not_opened && !open_watchdog())) return;
  if (ioctl(descriptor, WDIOC_KEEPALIVE, nullptr) < 0)
    vorn_debug_perror("vorn_watchdog_ack ioctl[WDIOC_KEEPALIVE]");
}

void vorn_watchdog_stop() noexcept {
  if (descriptor == stopped) {
    vorn_debug_printf("Watchdog already stopped.\n");
    return;
  }
  const bool was_opened = descriptor != not_opened;
  if (was_opened) {
    if (write(descriptor, magic_close, sizeof magic_close) < 0) vorn_debug_perror("vorn_watchdog_stop write");
    close(descriptor);
  }
  descriptor = stopped;
  vorn_debug_printf(was_opened ? "Watchdog stopped.\n" : "Watchdog stopped (before start).\n");
}
