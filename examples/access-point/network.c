/* The plugin of the network: interfaces, and the wireless networks on top of them. */
#include "network.h"
#include "declare.h"

static int declare_interface_provider(void) {
  vorn_committer *committer = new_interface_committer();
  vorn_refresher *refresher = new_interface_refresher();
  if (committer == NULL || refresher == NULL) return 1;
  return declare_provider(
      &(struct provider_row){"interfaces", vorn_committer_fn, committer, vorn_refresher_fn, refresher});
}

/* Both are in one plugin because a network names the radio that it uses. The configuration file has the
 * classes in the order of their declaration and is read from top to bottom, so the radios must be declared
 * first; but plugins are loaded in no particular order. Classes are declared before the committers, too,
 * which refuse some callbacks of a class that is unknown. */
int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (declare_interface_classes() != 0 || declare_wireless_classes() != 0) return 1;
  if (declare_interface_provider() != 0 || declare_wireless_providers() != 0) return 1;
  return declare_link_inform();
}
