/* The plugin that makes every change survive a reboot. It has no classes: a device without it forgets
 * all changes when it restarts. On request it also keeps the configuration as the default, which replaces a
 * saved one that cannot be read:
 *
 *   lsql inform configuration action=keep-as-default */
#include "commits.h"
#include "declare.h"
#include "files.h"

#include <unistd.h>

#define CONFIG_PATH "/etc/config/config.xml"
#define DUMP_PATH "/var/run/config.compare"

/* What was just read at a start need not be written back: that would wear the flash and notify the
 * subscribers of a change, though there is none. An empty collection alone does not mean a start: clients may
 * delete everything, and what they insert after that must be saved. But they have made requests, which the
 * agent counts. */
static int device_starts(vorn_commit_info *info) {
  return commit_starts_from_nothing(info) && vorn_query_transaction_number == 0;
}

/* The changes of a commit include live values that a request has read, and values that were set to what they
 * were. So the text that would be written is compared with the file. */
static int file_would_differ(void) {
  int differ = vorn_config_dump_running(DUMP_PATH) != 0 || !have_same_content(DUMP_PATH, CONFIG_PATH);
  unlink(DUMP_PATH);
  return differ;
}

/* Changes that a provider has made itself are saved at a start, too. */
static int commit(vorn_commit_info *info) {
  if (device_starts(info) ? !save_is_requested(info) : !file_would_differ()) return 0;
  return vorn_config_copy_running_to_startup();
}

/* Saving comes last, since it notifies the subscribers, by when the change must have taken effect. An order
 * may name providers that are missing. */
static int come_last(void) {
  static const char *const others[] = {"system",         "interfaces", "wireless",
                                       "wireless-files", "syslog",     "dhcp"};
  for (size_t i = 0; i < sizeof others / sizeof others[0]; i++)
    if (vorn_providers_order(others[i], "save") != 0) return 1;
  return 0;
}

static int handle_configuration(void) {
  const char *action = vorn_inform_get_value("action");
  if (is_same(action, "keep-as-default")) return vorn_config_copy_running_to_default();
  vorn_debug_eprintf("configuration: action \"%s\" is not known.\n", action != NULL ? action : "");
  return 1;
}

int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (come_last() != 0 || vorn_inform_fn_add("configuration", handle_configuration) != 0) return 1;
  return declare_provider(&(struct provider_row){.name = "save", .commit = commit});
}
