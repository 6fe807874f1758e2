#include "agent/options.hpp"

#include "core/debug.h"
#include "process/reboot.h"
#include "process/watchdog.hpp"
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace vorn {

namespace {

constexpr char usage_text[] =
    "vorn - configuration and management agent for wireless access points\n"
    "Copyright the vorn developers.\n"
    "All rights reserved.\n"
    "\n"
    "Usage: vorn [-hfned]\n"
    "\n"
    "Options:\n"
    "   -h   show this usage\n"
    "   -f   run in foreground (do not become a daemon)\n"
    "   -n   no actions (executing processes, rebooting, watchdog, etc.)\n"
    "   -e   exit on fatal errors\n"
    "   -d   show debug messages - can be repeated up to %d times for more messages\n";

// Who only asks for help must not leave a watchdog behind that nobody feeds.
[[noreturn]] void exit_with_usage() {
  if (watchdog_is_armed()) vorn_watchdog_stop();
  fprintf(stderr, usage_text, VORN_DEBUG_MAX);
  exit(1);
}

void raise_debug_level(Options &options) {
  if (options.debug_level >= VORN_DEBUG_MAX) exit_with_usage();
  ++options.debug_level;
  vorn_debug_override = 1;
}

void disable_actions() {
  vorn_process_no_actions = 1;
  vorn_watchdog_stop();
}

} // namespace

Options parse_options(int argc, char **argv) {
  Options options = {vorn_debug_get(), false};
  for (int letter; (letter = getopt(argc, argv, "dhfne")) != -1;) {
    switch (letter) {
    case 'd': raise_debug_level(options); break;
    case 'f': options.foreground = true; break;
    case 'n': disable_actions(); break;
    case 'e': vorn_debug_set_exit_on_fatal(1); break;
    default: exit_with_usage();
    }
  }
  if (optind < argc) exit_with_usage();
  return options;
}

} // namespace vorn
