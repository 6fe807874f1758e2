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

/* One plugin has both, because a network is checked against the radio that it names. The configuration file
 * lists the classes in the order of their declaration and is read from top to bottom, so the radios must be
 * declared first, while plugins are loaded in no particular order. Classes come before committers too, some
 * callbacks of which are refused while their class is unknown. */
int vorn_plugin_init(void) {
  if (!plugin_is_accepted()) return 1;
  if (declare_interface_classes() != 0 || declare_wireless_classes() != 0) return 1;
  if (declare_interface_provider() != 0 || declare_wireless_providers() != 0) return 1;
  return accept_link_news();
}
