/* The plugin that makes every change survive a reboot. It has no classes: whoever leaves it out gets a device
 * on which changes are tried until the next start. On request it also keeps the configuration as the one to
 * fall back on when the saved one cannot be read:
 *
 *   lsql inform configuration action=keep-as-default */
#include "commits.h"
#include "declare.h"

/* What a start has just read would be written back as it was, wearing the flash and telling the subscribers
 * of a change that was none. An empty collection alone does not make a start: clients may delete everything,
 * and what they insert then must be saved. But they have made requests, which the agent counts. */
static int device_starts(vorn_commit_info *info) {
  return commit_starts_from_nothing(info) && vorn_query_transaction_number == 0;
}

/* A request also commits when its condition has matched no instance. */
static int anything_changed(vorn_changes *changes) {
  int changed = 0;
  vorn_classes_iterator *it = vorn_classes_new_iterator();
  while (!changed && vorn_classes_iterator_has_next(it))
    changed = vorn_changes_contains_class(changes, vorn_class_get_name(vorn_classes_iterator_next(it)));
  vorn_classes_delete_iterator(it);
  return changed;
}

/* What a provider has changed by itself is saved at a start, too. */
static int commit(vorn_commit_info *info) {
  int is_news = !device_starts(info) && anything_changed(vorn_commit_info_get_changes(info));
  if (!is_news && !save_is_requested(info)) return 0;
  return vorn_config_copy_running_to_startup();
}

/* Saving comes last: subscribers are told then, and what they are told of has taken effect. A provider that
 * is missing does no harm in the order. */
static int come_last(void) {
  static const char *const others[] = {"system",         "interfaces", "wireless",
                                       "wireless-files", "syslog",     "dhcp"};
  for (size_t i = 0; i < sizeof others / sizeof others[0]; i++)
    if (vorn_providers_order(others[i], "save") != 0) return 1;
  return 0;
}

static int take_order(void) {
  const char *action = vorn_inform_get_value("action");
  if (is_same(action, "keep-as-default")) return vorn_config_copy_running_to_default();
  vorn_debug_eprintf("configuration: action \"%s\" is not known.\n", action != NULL ? action : "");
  return 1;
}

int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (come_last() != 0 || vorn_inform_fn_add("configuration", take_order) != 0) return 1;
  return declare_provider(&(struct provider_row){.name = "save", .commit = commit});
}
